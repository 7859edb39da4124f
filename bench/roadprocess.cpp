#include "bench/roadprocess.h"

#include "bench/roadclock.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>
#include <thread>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int longestEndMs = 3000;
constexpr std::size_t shownOutput = 2000; // bytes

/// In the child: becomes the command, or ends.
[[noreturn]] void become(const std::vector<std::string> &command, const char *folder,
                         const char *output)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int log = ::open(output, O_WRONLY | O_CREAT | O_APPEND, 0644);
    const int none = ::open("/dev/null", O_RDONLY);
    if (log < 0 || none < 0 || ::chdir(folder) != 0)
        ::_exit(127);
    ::dup2(none, STDIN_FILENO);
    ::dup2(log, STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    ::close_range(STDERR_FILENO + 1, ~0u, 0);
    std::vector<char *> arguments;
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    ::execvp(arguments.front(), arguments.data());
    const std::string reason = command.front() + ": " + std::strerror(errno) + '\n';
    static_cast<void>(!::write(STDERR_FILENO, reason.data(), reason.size()));
    ::_exit(127);
}

std::string endOf(const std::filesystem::path &path)
{
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return text.substr(text.size() > shownOutput ? text.size() - shownOutput : 0);
}

} // namespace

Process::Process(const std::vector<std::string> &command, const std::filesystem::path &folder,
                 const std::string &name)
    : m_name(name), m_output(folder / (name + ".log"))
{
    m_pid = ::fork();
    if (m_pid == 0)
        become(command, folder.c_str(), m_output.c_str());
    if (m_pid < 0)
        throw Failure("cannot start " + name + ": " + std::strerror(errno));
}

Process::~Process()
{
    if (m_pid < 0)
        return;
    ::kill(m_pid, SIGTERM);
    for (int waitedMs = 0; ::waitpid(m_pid, nullptr, WNOHANG) == 0; ++waitedMs) {
        if (waitedMs == longestEndMs)
            ::kill(m_pid, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void Process::mustRun()
{
    if (m_pid >= 0 && ::waitpid(m_pid, nullptr, WNOHANG) == 0)
        return;
    m_pid = -1; // its number may be another's by now
    throw Failure(m_name + " has ended; its last lines:\n" + endOf(m_output));
}

double Process::processorSeconds() const
{
    clockid_t clock = {};
    timespec time = {};
    if (::clock_getcpuclockid(m_pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0)
        throw Failure("cannot read the processor time of " + m_name);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

long Process::residentKib() const
{
    // The sums in status and statm lag behind by some pages a processor.
    std::ifstream file("/proc/" + std::to_string(m_pid) + "/smaps_rollup");
    for (std::string word; file >> word;) {
        long kib = 0;
        if (word == "Rss:" && file >> kib)
            return kib;
    }
    throw Failure("cannot read the resident memory of " + m_name);
}

void Process::forgetOutput() const
{
    std::filesystem::resize_file(m_output, 0);
}
