#include "echo.h"

#include <QByteArray>

#include <cerrno>
#include <unistd.h>

void echo(QByteArray line)
{
    line.append('\n');
    const char *rest = line.constData();
    auto size = static_cast<size_t>(line.size());
    while (size > 0) { // a pipe may take a long line in pieces
        const ssize_t written = ::write(STDOUT_FILENO, rest, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return;
        rest += written;
        size -= static_cast<size_t>(written);
    }
}
