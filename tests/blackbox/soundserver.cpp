#include "tests/blackbox/soundserver.h"

#include <QFile>
#include <QTest>

#include <csignal>

namespace
{

constexpr int patienceMs = 10000;

/// Its standard output; empty when it fails.
QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    Child process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    const bool isDone = process.waitForFinished(patienceMs) && process.exitCode() == 0;
    return isDone ? process.readAllStandardOutput() : QByteArray();
}

void end(QProcess *process)
{
    process->terminate();
    if (!process->waitForFinished(patienceMs))
        process->kill();
    process->waitForFinished();
}

} // namespace

SoundServer::~SoundServer()
{
    thaw();
    end(&m_recorder);
    end(&m_process);
}

bool SoundServer::start()
{
    const QString socket = m_folder.filePath(QStringLiteral("native"));
    QFile::remove(socket); // of one that was killed
    m_process.setProcessChannelMode(QProcess::ForwardedChannels);
    m_process.start(
        QStringLiteral("pulseaudio"),
        {QStringLiteral("-n"), QStringLiteral("--daemonize=no"),
         QStringLiteral("--exit-idle-time=-1"), QStringLiteral("--use-pid-file=no"),
         QStringLiteral("--disable-shm=yes"), QStringLiteral("--log-level=error"),
         QStringLiteral("-L"),
         QStringLiteral("module-null-sink sink_name=null0 rate=44100 channels=2 "
                        "format=s16le"),
         QStringLiteral("-L"),
         QStringLiteral("module-native-protocol-unix socket=%1 auth-anonymous=1").arg(socket)});
    return QTest::qWaitFor([&] { return QFile::exists(socket); }, patienceMs);
}

QByteArray SoundServer::address() const
{
    return QFile::encodeName(QStringLiteral("unix:") + m_folder.filePath(QStringLiteral("native")));
}

void SoundServer::kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

void SoundServer::freeze()
{
    signal(SIGSTOP);
}

void SoundServer::thaw()
{
    signal(SIGCONT);
}

void SoundServer::signal(int number) const
{
    if (m_process.processId() > 0)
        ::kill(static_cast<pid_t>(m_process.processId()), number);
}

bool SoundServer::startRecorder()
{
    m_recorder.setProcessChannelMode(QProcess::ForwardedChannels);
    m_recorder.start(QStringLiteral("parec"),
                     {QStringLiteral("--server=") + QString::fromLocal8Bit(address()),
                      QStringLiteral("--device=null0.monitor"), QStringLiteral("--rate=44100"),
                      QStringLiteral("--channels=2"), QStringLiteral("--format=s16le"),
                      QStringLiteral("--file-format=wav"), QStringLiteral("--latency-msec=20"),
                      m_folder.filePath(QStringLiteral("recorded.wav"))});
    QTest::qWait(2200);
    return m_recorder.state() == QProcess::Running;
}

double SoundServer::recordedSeconds()
{
    end(&m_recorder);
    return soundingSeconds(m_folder.filePath(QStringLiteral("recorded.wav")));
}

double SoundServer::soundingSeconds(const QString &file)
{
    const QTemporaryDir folder;
    const QString trimmed = folder.filePath(QStringLiteral("trimmed.wav"));
    const QStringList cut{QStringLiteral("silence"), QStringLiteral("1"), QStringLiteral("0.02"),
                          QStringLiteral("0.5%"), QStringLiteral("reverse")};
    outputOf(QStringLiteral("sox"), QStringList{QStringLiteral("-V1"), file, trimmed} + cut + cut);
    return outputOf(QStringLiteral("soxi"), {QStringLiteral("-D"), trimmed}).toDouble();
}
