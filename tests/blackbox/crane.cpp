#include "tests/blackbox/crane.h"

#include <QFile>
#include <QRegularExpression>

#include <unistd.h>

// There is nothing to read before the first start.
Crane::Crane()
    : m_out(std::make_unique<TextFile>(m_logFolder.filePath(QStringLiteral("none")))),
      m_log(std::make_unique<TextFile>(m_logFolder.filePath(QStringLiteral("none"))))
{
}

Crane::~Crane()
{
    if (isRunning())
        terminate(10000);
}

void Crane::start(Streams streams, const QStringList &wrapper)
{
    sanitizerReport(); // keeps what the run before has left
    ++m_run;
    const QString outPath = m_logFolder.filePath(QStringLiteral("out.%1").arg(m_run));
    const QString logPath = m_logFolder.filePath(QStringLiteral("log.%1").arg(m_run));
    m_out = std::make_unique<TextFile>(outPath);
    m_log = std::make_unique<TextFile>(logPath);
    m_reader.reset();
    m_process = std::make_unique<Child>();
    m_process->setWorkingDirectory(folder());
    QStringList command = wrapper;
    command << QStringLiteral(ANTICOLLISIOND);
    const auto runThrough = [&command](const QString &script) {
        command = QStringList{QStringLiteral("sh"), QStringLiteral("-c"), script} + command;
    };
    switch (streams) {
    case Streams::Captured:
        m_process->setStandardOutputFile(outPath);
        m_process->setStandardErrorFile(logPath);
        break;
    case Streams::Closed:
        runThrough(QStringLiteral("exec \"$0\" >&- 2>&-"));
        break;
    case Streams::ReaderGone: // before the first word
        m_reader = std::make_unique<Child>();
        m_process->setStandardOutputProcess(m_reader.get());
        runThrough(QStringLiteral("sleep 0.5; exec \"$0\" 2>&1"));
        break;
    case Streams::Stalled:
        m_reader = std::make_unique<Child>();
        m_process->setStandardOutputProcess(m_reader.get());
        runThrough(QStringLiteral("exec \"$0\" 2>&1"));
        break;
    case Streams::StalledOfAnother: // root's privileges would open it all the same
        m_reader = std::make_unique<Child>();
        m_process->setStandardOutputProcess(m_reader.get());
        runThrough(QStringLiteral("chmod 0 /proc/self/fd/1; "
                                  "exec setpriv --inh-caps=-all --bounding-set=-all \"$0\" 2>&1"));
        break;
    }
    m_process->start(command.takeFirst(), command);
    if (m_reader && streams == Streams::ReaderGone) {
        m_reader->start(QStringLiteral("true"), QStringList());
        m_reader->waitForFinished();
    } else if (m_reader) {
        m_reader->start(QStringLiteral("sleep"), {QStringLiteral("1000")});
    }
    m_process->waitForStarted();
}

bool Crane::startAndSubscribe(const QStringList &wrapper)
{
    start(Streams::Captured, wrapper);
    return waitForLog("subscribed is sucessed topic: \"Local/#\" qos: 1\n");
}

bool Crane::terminate(int ms)
{
    if (!isRunning())
        return false;
    m_process->terminate();
    return m_process->waitForFinished(ms);
}

bool Crane::isRunning() const
{
    return m_process && m_process->state() == QProcess::Running;
}

QByteArray Crane::file(const QString &name) const
{
    QFile file(m_folder.filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void Crane::writeFile(const QString &name, const QByteArray &bytes) const
{
    QFile file(m_folder.filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

bool Crane::waitForOut(const QByteArray &text, int from, int ms)
{
    return m_out->waitFor(text, from, ms);
}

bool Crane::waitForLog(const QByteArray &text, int from, int ms)
{
    return m_log->waitFor(text, from, ms);
}

QByteArray Crane::sanitizerReport()
{
    const QByteArray text = log();
    for (const char *sign : {"Sanitizer", "runtime error"}) {
        const int at = text.indexOf(sign);
        if (at >= 0 && !m_sanitizerReport.contains(text.mid(at, 100)))
            m_sanitizerReport += text.mid(qMax(0, at - 200), 4000);
    }
    return m_sanitizerReport;
}

QByteArray Crane::procFile(const char *name) const
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(m_process->processId()).arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

qint64 Crane::statusNumber(const char *key) const
{
    const QRegularExpression line(QLatin1String(key) + QStringLiteral(":\\s+(\\d+)"));
    return line.match(QString::fromLatin1(procFile("status"))).captured(1).toLongLong();
}

qint64 Crane::residentKib() const
{
    return statusNumber("VmRSS");
}

int Crane::threads() const
{
    return static_cast<int>(statusNumber("Threads"));
}

double Crane::cpuSeconds() const
{
    const QByteArray stat = procFile("stat");
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    const double ticks = fields.value(11).toDouble() + fields.value(12).toDouble(); // user, system
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}
