#pragma once

#include "tools/sim/radiomodem.h"
#include "tools/sim/radiotalk.h"
#include "tools/sim/site.h"

#include <QObject>
#include <QTimer>

/// The unit of the one neighbour that reports by radio, and its modem.
///
/// Its attributes go on air at the begin, every 20 s, and when the modem is back in use; its motion
/// in the rhythm of a unit: twice a second while it moves, every 10.5 s at rest. The modem is
/// pulled out once, 25 s after the begin, and put back 5 s later; the unit speaks on meanwhile,
/// unheard. All times by the clock. What happens to the modem, and what is heard of the own crane,
/// is said on standard output. Lives in the creating thread and needs its event loop.
class RadioNeighbour : public QObject
{
    Q_OBJECT
public:
    /// \a link is the device that the controller opens. The modem is plugged in at once.
    RadioNeighbour(const SiteCrane &crane, quint16 craneNumber, const QString &link);

    /// Why the modem could not be plugged in; empty when it was.
    QString problem() const { return m_modem.problem(); }

    /// From now on it goes on air.
    void begin();
    /// Takes its present reading.
    void report(const CraneReading &reading);

private:
    void tick();
    void sendAttributes();
    void transmit(const QByteArray &frame);
    void pullModem();
    void putModemBack();
    void hear(const QByteArray &bytes);

    const SiteCrane m_crane;
    const quint16 m_craneNumber;
    RadioModem m_modem;
    QTimer m_ticks;
    int m_ticksToAttributes = 0;
    QByteArray m_motion; // empty until the first reading
    RadioRhythm m_rhythm;
    bool m_isOwnCraneHeard = false; // since the modem was plugged in
};
