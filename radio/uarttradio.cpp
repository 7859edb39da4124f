#include "radio/uarttradio.h"

#include <QDebug>
#include <QFile>
#include <QSerialPort>
#include <QTimer>

#include <sys/ioctl.h>

#include "radio/portlock.h"
#include "radio/radioneighbours.h"
#include "state/cranefiles.h"
#include "state/recordfile.h"

namespace
{

const QString portPath = QStringLiteral("/dev/ttyUSB0");
constexpr int sendIntervalMs = 500;
constexpr int retryIntervalMs = 1000;

StateFile radioFile()
{
    return StateFile(RadioFile::name, RadioFile::label);
}

} // namespace

Radio::Radio(QObject *parent) : QThread(parent) {}

void Radio::Radioslots(QString string)
{
    applyReading(string, &m_record);
    QByteArray frame = buildMotionFrame(m_record);
    const std::lock_guard lock(m_frameMutex);
    m_currentFrame.swap(frame);
}

void Radio::run()
{
    QSerialPort port;
    m_port = &port;
    port.setPortName(portPath);
    port.setBaudRate(QSerialPort::Baud115200);
    port.setDataBits(QSerialPort::Data8);
    port.setParity(QSerialPort::NoParity);
    port.setStopBits(QSerialPort::OneStop);
    port.setFlowControl(QSerialPort::NoFlowControl);
    QTimer sendTimer;
    m_sendTimer = &sendTimer;
    sendTimer.setInterval(sendIntervalMs);
    QTimer retryTimer;
    m_retryTimer = &retryTimer;
    retryTimer.setInterval(retryIntervalMs);

    // Port and timers as context: all of it runs in this thread, not in the object's.
    connect(&sendTimer, &QTimer::timeout, &sendTimer, [this] { send(); });
    connect(&retryTimer, &QTimer::timeout, &retryTimer, [this] { openPort(); });
    connect(&port, &QSerialPort::readyRead, &port, [this] { receive(); });
    connect(&port, &QSerialPort::errorOccurred, &port, [this](QSerialPort::SerialPortError error) {
        if (error != QSerialPort::NoError && m_port->isOpen())
            losePort();
    });
    openPort();
    exec();
}

void Radio::openPort()
{
    // Opening makes, syncs and removes a lock file that all programs share; not every second for a
    // modem that is not there.
    const bool isThere = QFile::exists(portPath);
    if (!isThere || isPortInUse(portPath) || !m_port->open(QIODevice::ReadWrite)) {
        logLoss(isThere);
        m_retryTimer->start();
        return;
    }
    holdPortLock(portPath, m_port->handle());
    if (!m_isLoaded)
        ConfigureStaticRead();
    m_isLoaded = true;
    m_isLossLogged = m_isObstacleLogged = false;
    qDebug() << "打开成功"; // opened
    m_retryTimer->stop();
    m_schedule.restart();
    m_sendTimer->start();
}

void Radio::logLoss(bool isThere)
{
    if (!m_isLossLogged)
        qDebug() << "Can't open serial port!";
    m_isLossLogged = true;
    if (!isThere || m_isObstacleLogged)
        return;
    qWarning().noquote() << portPath + QStringLiteral(" cannot be opened:")
                         << portObstacle(portPath, m_port->errorString());
    m_isObstacleLogged = true;
}

/// At once: an adapter that is pulled out reports errors as fast as the loop can take them.
void Radio::losePort()
{
    m_sendTimer->stop();
    releasePortLock();
    m_port->close();
    m_retryTimer->start();
}

void Radio::send()
{
    const QByteArray frame = [this] {
        const std::lock_guard lock(m_frameMutex);
        return m_currentFrame;
    }();
    if (isWaiting())
        m_schedule.restart(); // the modem has taken nothing, so nothing counts as sent
    if (!m_schedule.isDue(frame))
        return;
    // For a modem that takes nothing only the newest frame may wait. Some drivers do not say what
    // they hold, hence the clearing each time; some clear nothing, and get no more then.
    if (!m_port->clear(QSerialPort::Output))
        return; // pulled out, and the port is closed by now
    if (isWaiting())
        m_schedule.restart();
    else
        m_port->write(frame);
}

/// Whether bytes of an earlier tick still wait, here or in the driver.
bool Radio::isWaiting() const
{
    int inDriver = 0;
    ::ioctl(m_port->handle(), TIOCOUTQ, &inDriver);
    return inDriver > 0 || m_port->bytesToWrite() > 0;
}

/// The bytes of one notification are one frame.
void Radio::receive()
{
    const QByteArray chunk = m_port->readAll();
    if (chunk.size() < shortestChunk)
        return;
    qDebug() << checkOf(chunk) << chunk;
    const std::optional<RadioFrame> frame = parseFrame(chunk);
    if (!frame)
        return;
    if (frame->type == RadioFrame::Motion) {
        for (const FoundationData &moved : takeMotion(*frame, &m_neighbours))
            Q_EMIT CollideSignal(moved);
    } else if (frame->type == RadioFrame::Attributes) {
        if (takeAttributes(*frame, &m_neighbours))
            ConfigureStaticWrit();
    }
}

void Radio::ConfigureStaticRead()
{
    appendRecords(radioFile(), RadioFile::numbers, RadioFile::texts, &m_neighbours);
}

void Radio::ConfigureStaticWrit()
{
    writeRecords(radioFile(), RadioFile::numbers, RadioFile::texts, m_neighbours);
}
