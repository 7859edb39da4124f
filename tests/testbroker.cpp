#include "tests/testbroker.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>
#include <QtCore/QStandardPaths>
#include <QtCore/QThread>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{

constexpr int patienceMs = 10000;

QString brokerProgram()
{
    const QString inPath = QStandardPaths::findExecutable(QStringLiteral("mosquitto"));
    return !inPath.isEmpty() ? inPath
                             : QStandardPaths::findExecutable(QStringLiteral("mosquitto"),
                                                              {QStringLiteral("/usr/sbin"),
                                                               QStringLiteral("/usr/local/sbin")});
}

void sendSignal(const QProcess &process, int number)
{
    if (process.state() == QProcess::Running)
        ::kill(static_cast<pid_t>(process.processId()), number);
}

} // namespace

// Below the range of outgoing connections: a client that retries on a free port of that range
// can be given this very port as its own and then connects to itself.
quint16 freePort()
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        const auto port = static_cast<quint16>(QRandomGenerator::global()->bounded(20000, 32768));
        QTcpServer probe;
        if (probe.listen(QHostAddress::LocalHost, port))
            return port;
    }
    return 0;
}

void TestBroker::Process::setupChildProcess()
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
}

TestBroker::TestBroker(quint16 port, const QByteArray &extraConfig)
    : m_port(port ? port : freePort()), m_extraConfig(extraConfig)
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.setStandardOutputFile(QProcess::nullDevice());
}

TestBroker::~TestBroker()
{
    stop();
}

bool TestBroker::start()
{
    const QString program = brokerProgram();
    if (program.isEmpty() || !writeConfiguration()) {
        qWarning("test broker: %s",
                 program.isEmpty() ? "mosquitto is not installed" : "no temporary folder");
        return false;
    }
    m_process.start(program, {QStringLiteral("-c"), m_folder.filePath(QStringLiteral("conf"))});
    return waitUntilAnswering();
}

void TestBroker::stop()
{
    thaw(); // a frozen process takes no SIGTERM
    m_process.terminate();
    end();
}

void TestBroker::kill()
{
    m_process.kill();
    end();
}

void TestBroker::freeze()
{
    sendSignal(m_process, SIGSTOP);
}

void TestBroker::thaw()
{
    sendSignal(m_process, SIGCONT);
}

bool TestBroker::writeConfiguration() const
{
    QFile file(m_folder.filePath(QStringLiteral("conf")));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write("listener " + QByteArray::number(m_port) +
               " 127.0.0.1\n"
               "allow_anonymous true\n"
               "set_tcp_nodelay true\n"
               "persistence false\n"
               "log_type error\n"
               "log_dest stderr\n");
    if (::geteuid() == 0)
        file.write("user root\n"); // it cannot change its user inside a user namespace
    file.write(m_extraConfig + '\n');
    return file.flush();
}

bool TestBroker::waitUntilAnswering()
{
    QElapsedTimer waited;
    waited.start();
    m_process.waitForStarted(patienceMs);
    while (isRunning() && !waited.hasExpired(patienceMs)) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), m_port);
        if (socket.waitForConnected(1000))
            return true;
        m_process.waitForFinished(10); // ends at once where it could not take the port
    }
    qWarning("test broker: mosquitto does not answer on port %d", m_port);
    return false;
}

void TestBroker::end()
{
    if (isRunning() && !m_process.waitForFinished(patienceMs)) {
        m_process.kill();
        m_process.waitForFinished(patienceMs);
    }
}
