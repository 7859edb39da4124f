#pragma once

#include <QByteArray>

/// When the own frame goes on air: a changed one at the next tick, an unchanged one again 22 ticks
/// later and then every 21. A tick is 500 ms.
class SendSchedule
{
public:
    /// One tick; whether \a frame is to be sent now.
    bool isDue(const QByteArray &frame);
    /// Nothing has been sent yet: the port is a new one.
    void restart() { m_lastSent.clear(); }

private:
    QByteArray m_lastSent; // as of the last tick
    qint32 m_repeats = 0;
};
