#include "standardstreams.h"

#include <QByteArray>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

void occupyStandardStreams()
{
    int descriptor = 0;
    do
        descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO)
        ::close(descriptor);
}

/// Opened anew, since the mode of the present opening belongs to whoever started us as well; a file
/// needs no such thing, and a socket cannot be opened.
void keepOutputFromBlocking()
{
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat kind = {};
        ::fstat(stream, &kind);
        if (S_ISSOCK(kind.st_mode)) // a journal's: it belongs to this process alone
            ::fcntl(stream, F_SETFL, O_NONBLOCK);
        if (!S_ISFIFO(kind.st_mode) && !::isatty(stream))
            continue;
        const QByteArray path = "/proc/self/fd/" + QByteArray::number(stream);
        const int opened = ::open(path.constData(), O_WRONLY | O_NONBLOCK | O_NOCTTY);
        if (opened < 0)
            continue;
        ::dup2(opened, stream);
        ::close(opened);
    }
}
