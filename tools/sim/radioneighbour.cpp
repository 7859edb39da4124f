#include "tools/sim/radioneighbour.h"

#include <QTextStream>

namespace
{
constexpr int tickMs = 500;
constexpr int attributePeriod = 40; // ticks
constexpr int apartMs = 250;        // attributes follow motion: two frames that meet are none
constexpr int pulledOutAfterMs = 25000;
constexpr int pulledOutForMs = 5000;

void say(const QString &text)
{
    QTextStream(stdout) << "radio: " << text << Qt::endl;
}
} // namespace

RadioNeighbour::RadioNeighbour(const SiteCrane &crane, quint16 craneNumber, const QString &link)
    : m_crane(crane), m_craneNumber(craneNumber), m_modem(link)
{
    connect(&m_modem, &RadioModem::heard, this, &RadioNeighbour::hear);
    connect(&m_ticks, &QTimer::timeout, this, &RadioNeighbour::tick);
    m_ticks.setTimerType(Qt::PreciseTimer);
    m_modem.plugIn();
}

void RadioNeighbour::begin()
{
    if (!m_isOwnCraneHeard) // else that has been said, with what it hears
        say(m_crane.fieldNumber + QStringLiteral(" reports by radio"));
    sendAttributes();
    m_ticksToAttributes = attributePeriod;
    m_ticks.start(tickMs);
    QTimer::singleShot(pulledOutAfterMs, this, &RadioNeighbour::pullModem);
}

void RadioNeighbour::report(const CraneReading &reading)
{
    m_motion = radioMotionFrame(m_craneNumber, reading);
}

void RadioNeighbour::tick()
{
    if (m_rhythm.isDue(m_motion))
        transmit(m_motion);
    if (--m_ticksToAttributes > 0)
        return;
    m_ticksToAttributes = attributePeriod;
    QTimer::singleShot(apartMs, this, &RadioNeighbour::sendAttributes);
}

void RadioNeighbour::sendAttributes()
{
    transmit(radioAttributeFrame(m_craneNumber, m_crane));
}

/// A controller sends as soon as it has opened its modem. What is sent before stays unheard: kept
/// in the line, it would arrive as one piece.
void RadioNeighbour::transmit(const QByteArray &frame)
{
    if (m_isOwnCraneHeard)
        m_modem.send(frame);
}

void RadioNeighbour::pullModem()
{
    say(QStringLiteral("the modem is pulled out"));
    m_modem.pull();
    m_isOwnCraneHeard = false;
    QTimer::singleShot(pulledOutForMs, this, &RadioNeighbour::putModemBack);
}

void RadioNeighbour::putModemBack()
{
    if (!m_modem.plugIn()) {
        say(m_modem.problem());
        return;
    }
    say(QStringLiteral("the modem is back"));
}

/// A frame that another one has joined, or that came in pieces, is not understood.
void RadioNeighbour::hear(const QByteArray &bytes)
{
    constexpr int frameSize = 12;
    if (m_isOwnCraneHeard || bytes.size() != frameSize || radioCheck(bytes) != 0)
        return;
    m_isOwnCraneHeard = true;
    m_ticksToAttributes = 0;
    const int number = static_cast<quint8>(bytes.at(0)) << 8 | static_cast<quint8>(bytes.at(1));
    say(QStringLiteral("%1 reports by radio, and hears crane %2")
            .arg(m_crane.fieldNumber)
            .arg(number));
}
