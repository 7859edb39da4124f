#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QTimer>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "loghandler.h"
#include "startup.h"
#include "supervision.h"

namespace
{

constexpr int startUpDelayMs = 1000;
constexpr int retentionIntervalMs = 600000; // ten minutes

/// A closed standard stream would hand its number to the next file or socket that is opened, and
/// the echoes and log lines would end up in there.
void occupyStandardStreams()
{
    int descriptor = 0;
    do
        descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO)
        ::close(descriptor);
}

/// A reader of our output that has stalled must not hold up an alarm: what a full pipe or a halted
/// terminal does not take is lost. Opened anew, since the mode of the present opening belongs to
/// whoever started us as well; a file needs no such thing, and a socket cannot be opened.
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

} // namespace

int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN); // whoever reads our output may go
    occupyStandardStreams();
    keepOutputFromBlocking();
    installLogHandler();
    const QCoreApplication application(argc, argv);
    const QString start =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
    qDebug() << "开始运行时间" << start; // running since

    QTimer startUpTimer;
    QObject::connect(&startUpTimer, &QTimer::timeout, &startUpTimer, [&startUpTimer] {
        qDebug() << "Timer timeout!";
        const Workers workers = createWorkers();
        connectWorkers(workers);
        startWorkers(workers);
        startUpTimer.stop();
        Supervision::start(workers.local);
    });
    startUpTimer.start(startUpDelayMs);

    QTimer retentionTimer;
    QObject::connect(&retentionTimer, &QTimer::timeout, &retentionTimer,
                     [] { pruneLogs(QDateTime::currentDateTime()); });
    retentionTimer.start(retentionIntervalMs);

    return QCoreApplication::exec();
}
