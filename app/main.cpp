#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QTimer>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "loghandler.h"
#include "startup.h"

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
    while (descriptor >= 0 && descriptor <= 2);
    if (descriptor > 2)
        ::close(descriptor);
}

} // namespace

int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN); // whoever reads our output may go
    occupyStandardStreams();
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
    });
    startUpTimer.start(startUpDelayMs);

    QTimer retentionTimer;
    QObject::connect(&retentionTimer, &QTimer::timeout, &retentionTimer,
                     [] { pruneLogs(QDateTime::currentDateTime()); });
    retentionTimer.start(retentionIntervalMs);

    return QCoreApplication::exec();
}
