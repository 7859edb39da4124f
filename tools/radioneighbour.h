#pragma once

#include "radiomodem.h"
#include "site.h"

#include <QObject>
#include <QTimer>

/// The unit of the one neighbour that reports by radio, and its modem.
///
/// Its attributes go on air at the begin, every 20 s, and when the modem is put back; its motion
/// twice a second while it moves. The modem is pulled out once, 25 s after the begin, and put back
/// 5 s later; all times by the clock. What happens to it, and what is heard of the own crane, is
/// said on standard output. Lives in the creating thread and needs its event loop.
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
    void sendAttributes();
    void sendMotion();
    void pullModem();
    void putModemBack();
    void hear(const QByteArray &bytes);

    const SiteCrane m_crane;
    const quint16 m_craneNumber;
    RadioModem m_modem;
    QTimer m_motionTimer;
    QTimer m_attributeTimer;
    QByteArray m_motion; // to be sent, empty when the last one has been
    QByteArray m_lastSent;
    bool m_isOwnCraneHeard = false; // since the modem was plugged in
};
