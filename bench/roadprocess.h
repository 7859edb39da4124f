#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

/// A program that the bench has started in the network namespace of the moment. Its output goes to
/// a file; it ends with this object, and should the bench be killed it is killed, too.
class Process
{
public:
    /// Starts \a command with \a folder as its working directory and \a name.log there as its
    /// standard output and error.
    Process(const std::vector<std::string> &command, const std::filesystem::path &folder,
            const std::string &name);
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    /// Throws with the end of its output when it has ended.
    void mustRun();

    /// Processor time up to now in seconds, of all its threads, in user and system mode.
    double processorSeconds() const;
    /// Resident memory, exact.
    long residentKib() const;
    /// Empties the output file, which would fill the disk in a long run.
    void forgetOutput() const;

private:
    const std::string m_name;
    const std::filesystem::path m_output;
    pid_t m_pid = -1;
};
