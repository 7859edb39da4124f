#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

/// A real broker (mosquitto) of the test's own, on a loopback port, ended with this object.
///
/// Its configuration and its temporary folder are its own; nothing persists over a restart.
/// Every function blocks until what it names has happened, at most 10 s, and none needs an event
/// loop. start() gives false, with the reason on standard error, where no broker can run.
class TestBroker
{
public:
    /// \a port 0 takes a free one below the range of outgoing connections. \a extraConfig is
    /// appended to the configuration file, a line per setting.
    explicit TestBroker(quint16 port = 0, const QByteArray &extraConfig = QByteArray());
    ~TestBroker(); // stops it

    /// Starts the broker on port() and waits until it accepts connections. Also after stop() or
    /// kill(): the port stays the same.
    bool start();
    void stop(); // ended in good order (SIGTERM)
    void kill(); // ended without a word (SIGKILL)
    /// Stops its process (SIGSTOP): connections stand and accept data, nothing is answered.
    void freeze();
    void thaw();

    bool isRunning() const { return m_process.state() == QProcess::Running; }
    quint16 port() const { return m_port; }
    qint64 processId() const { return m_process.processId(); }

private:
    bool writeConfiguration() const;
    bool waitUntilAnswering();
    void end();

    // Dies with the thread that started it, also when the test crashes.
    class Process : public QProcess
    {
        void setupChildProcess() override;
    };

    const quint16 m_port;
    const QByteArray m_extraConfig;
    QTemporaryDir m_folder;
    Process m_process;
};

/// A loopback port in 20000..32767 that nobody listens on now, 0 if none is found.
quint16 freePort();
