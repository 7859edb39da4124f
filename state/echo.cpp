#include "state/echo.h"

#include <QByteArray>
#include <QElapsedTimer>

#include <cerrno>
#include <mutex>
#include <poll.h>
#include <unistd.h>

namespace
{

constexpr int patienceMs = 100; // for a reader that is slower than a long line

std::mutex mutex;        // held for one echo; not Qt's, which the thread sanitizer cannot see
bool isStalled = false;  // guarded by mutex: the last line got stuck, do not wait again
char lastWritten = '\n'; // guarded by mutex

/// Whether standard output takes more within \a limitMs.
bool isWritable(qint64 limitMs)
{
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    return ::poll(&output, 1, static_cast<int>(qMax<qint64>(limitMs, 0))) > 0 &&
           (output.revents & POLLOUT);
}

/// False when not all was taken. \a clock runs since the echo was asked for.
bool writeAll(const QByteArray &line, const QElapsedTimer &clock)
{
    const char *rest = line.constData();
    auto size = static_cast<size_t>(line.size());
    while (size > 0) { // a pipe takes a long line in pieces
        const ssize_t written = ::write(STDOUT_FILENO, rest, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0 && errno == EAGAIN &&
            isWritable(isStalled ? 0 : patienceMs - clock.elapsed()))
            continue;
        if (written <= 0)
            return false;
        rest += written;
        size -= static_cast<size_t>(written);
        lastWritten = rest[-1];
    }
    return true;
}

} // namespace

void echo(QByteArray line)
{
    QElapsedTimer clock;
    clock.start();
    const std::lock_guard lock(mutex);
    if (lastWritten != '\n') // the last line was given up half-way
        line.prepend('\n');
    line.append('\n');
    isStalled = !writeAll(line, clock);
}
