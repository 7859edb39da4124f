#include "app/standardstreams.h"

#include <QByteArray>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{

void replaceStream(int stream, int replacement)
{
    ::dup2(replacement, stream);
    ::close(replacement);
}

/// The mode of the present opening belongs to whoever started us as well.
bool openAnew(int stream)
{
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(stream);
    const int opened = ::open(path.constData(), O_WRONLY | O_NONBLOCK | O_NOCTTY);
    if (opened < 0)
        return false;
    replaceStream(stream, opened);
    return true;
}

/// False when nobody will ever take the bytes.
bool hand(int to, const char *bytes, ssize_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(to, bytes, static_cast<size_t>(size));
        if (written > 0) {
            bytes += written;
            size -= written;
        } else if (written < 0 && errno == EAGAIN) { // made non-blocking by whoever started us
            pollfd original = {to, POLLOUT, 0};
            ::poll(&original, 1, -1);
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

/// The carrying thread. Once it has closed \a from, each write into the pipe fails at once.
void carry(int from, int to)
{
    char bytes[4096];
    for (;;) {
        const ssize_t size = ::read(from, bytes, sizeof bytes);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0 || !hand(to, bytes, size))
            break;
    }
    ::close(from);
    ::close(to);
}

void putPipeBefore(int stream)
{
    int ends[2] = {-1, -1};
    const int original = ::fcntl(stream, F_DUPFD_CLOEXEC, 0);
    if (original < 0 || ::pipe2(ends, O_CLOEXEC) != 0) { // rather no output than one that blocks
        ::close(original);
        replaceStream(stream, ::open("/dev/null", O_WRONLY));
        return;
    }
    ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
    replaceStream(stream, ends[1]);
    std::thread(carry, ends[0], original).detach();
}

} // namespace

void occupyStandardStreams()
{
    int descriptor = 0;
    do
        descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO)
        ::close(descriptor);
}

void keepOutputFromBlocking()
{
    struct stat output = {};
    ::fstat(STDOUT_FILENO, &output);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat kind = {};
        ::fstat(stream, &kind);
        if (S_ISSOCK(kind.st_mode)) // a journal's: it belongs to this process alone
            ::fcntl(stream, F_SETFL, O_NONBLOCK);
        if (!S_ISFIFO(kind.st_mode) && !::isatty(stream))
            continue;
        if (stream == STDERR_FILENO && kind.st_dev == output.st_dev && kind.st_ino == output.st_ino)
            ::dup2(STDOUT_FILENO, STDERR_FILENO); // one way for both
        else if (!openAnew(stream))
            putPipeBefore(stream);
    }
}
