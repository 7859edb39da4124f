#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QTimer>

#include <csignal>

#include "app/loghandler.h"
#include "app/standardstreams.h"
#include "app/startup.h"
#include "app/supervision.h"

namespace
{

constexpr int startUpDelayMs = 1000;
constexpr int retentionIntervalMs = 600000; // ten minutes

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
