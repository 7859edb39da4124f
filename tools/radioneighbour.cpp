#include "radioneighbour.h"

#include "radiotalk.h"

#include <QTextStream>

namespace
{
constexpr int motionPeriodMs = 500;
constexpr int attributePeriodMs = 20000;
constexpr int pulledOutAfterMs = 25000;
constexpr int pulledOutForMs = 5000;
constexpr int openingMs = 1500; // a controller tries a missing port once in a second

void say(const QString &text)
{
    QTextStream(stdout) << "radio: " << text << Qt::endl;
}
} // namespace

RadioNeighbour::RadioNeighbour(const SiteCrane &crane, quint16 craneNumber, const QString &link)
    : m_crane(crane), m_craneNumber(craneNumber), m_modem(link)
{
    connect(&m_modem, &RadioModem::heard, this, &RadioNeighbour::hear);
    connect(&m_motionTimer, &QTimer::timeout, this, &RadioNeighbour::sendMotion);
    connect(&m_attributeTimer, &QTimer::timeout, this, &RadioNeighbour::sendAttributes);
    m_modem.plugIn();
}

void RadioNeighbour::begin()
{
    say(m_crane.fieldNumber + QStringLiteral(" reports by radio"));
    sendAttributes();
    m_attributeTimer.start(attributePeriodMs);
    m_motionTimer.start(motionPeriodMs);
    QTimer::singleShot(pulledOutAfterMs, this, &RadioNeighbour::pullModem);
}

void RadioNeighbour::report(const CraneReading &reading)
{
    m_motion = radioMotionFrame(m_craneNumber, reading);
}

void RadioNeighbour::sendAttributes()
{
    m_modem.send(radioAttributeFrame(m_craneNumber, m_crane));
    m_motionTimer.start(); // two frames that meet are none
}

void RadioNeighbour::sendMotion()
{
    if (!m_modem.isPluggedIn() || m_motion == m_lastSent)
        return;
    m_modem.send(m_motion);
    m_lastSent = m_motion;
}

void RadioNeighbour::pullModem()
{
    say(QStringLiteral("the modem is pulled out"));
    m_modem.pull();
    m_attributeTimer.stop();
    QTimer::singleShot(pulledOutForMs, this, &RadioNeighbour::putModemBack);
}

void RadioNeighbour::putModemBack()
{
    if (!m_modem.plugIn()) {
        say(m_modem.problem());
        return;
    }
    say(QStringLiteral("the modem is back"));
    m_isOwnCraneHeard = false;
    m_motionTimer.stop();
    QTimer::singleShot(openingMs, this, &RadioNeighbour::sendAttributes);
    m_attributeTimer.start(attributePeriodMs);
}

/// A frame that another one has joined, or that came in pieces, is not understood.
void RadioNeighbour::hear(const QByteArray &bytes)
{
    constexpr int frameSize = 12;
    if (m_isOwnCraneHeard || bytes.size() != frameSize || radioCheck(bytes) != 0)
        return;
    m_isOwnCraneHeard = true;
    const int number = static_cast<quint8>(bytes.at(0)) << 8 | static_cast<quint8>(bytes.at(1));
    say(QStringLiteral("%1 reports by radio, and hears crane %2")
            .arg(m_crane.fieldNumber)
            .arg(number));
}
