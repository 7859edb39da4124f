#include "echo.h"

#include <QByteArray>
#include <QElapsedTimer>

#include <atomic>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace
{

constexpr int patienceMs = 100; // for a reader that is slower than a long line

/// Whether standard output takes more within \a limitMs.
bool isWritable(qint64 limitMs)
{
    pollfd output = {STDOUT_FILENO, POLLOUT, 0};
    return ::poll(&output, 1, static_cast<int>(qMax<qint64>(limitMs, 0))) > 0 &&
           (output.revents & POLLOUT);
}

} // namespace

void echo(QByteArray line)
{
    static std::atomic<bool> isStalled{false}; // the last line got stuck: do not wait again
    line.append('\n');
    const char *rest = line.constData();
    auto size = static_cast<size_t>(line.size());
    QElapsedTimer clock;
    clock.start();
    while (size > 0) { // a pipe takes a long line in pieces
        const ssize_t written = ::write(STDOUT_FILENO, rest, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0 && errno == EAGAIN &&
            isWritable(isStalled ? 0 : patienceMs - clock.elapsed()))
            continue;
        if (written <= 0)
            break;
        rest += written;
        size -= static_cast<size_t>(written);
    }
    isStalled = size > 0;
}
