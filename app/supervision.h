#pragma once

#include <QThread>

class LocalData;

/// Tells the supervisor that started this process (systemd's notification protocol) that it is
/// ready, and then, at least twice in each watchdog interval, that it is alive.
///
/// A sign of life has gone round: from this object's thread to the main loop, from there to the
/// thread of the board's client, and back. So it stays away when either of the two that an alarm
/// goes through is blocked. The thread does nothing else, since telling may block as well: a
/// supervisor that does not listen holds up no alarm. Lives until the process ends.
class Supervision : public QThread
{
    Q_OBJECT
public:
    /// Starts it, after the workers; null, and nothing happens, where nobody supervises.
    static Supervision *start(LocalData *board);

Q_SIGNALS:
    /// A round begins. Emitted in the own thread.
    void asked();

protected:
    void run() override;

private:
    explicit Supervision(LocalData *board) : m_board(board) {}

    LocalData *const m_board;
};
