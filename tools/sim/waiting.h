#pragma once

#include <QElapsedTimer>
#include <QEventLoop>
#include <QObject>

#include <functional>

/// Waits while the event loop goes on, until the time is over or the program is to end.
///
/// One object serves a whole program that is written as a sequence of steps. It lives in the
/// thread that waits; stop() is called there too. Waits do not nest.
class Waiting : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    /// Waits \a milliseconds, not less than one turn of the event loop. False: stopped.
    bool pause(qint64 milliseconds);

    /// Waits until \a condition holds, at most \a milliseconds, and says whether it does. It is
    /// asked at the begin and with each look(). Also false when stopped.
    bool until(const std::function<bool()> &condition, qint64 milliseconds);

    bool isStopped() const { return m_isStopped; }

public Q_SLOTS:
    /// Asks the condition that is waited for again.
    void look();
    /// Ends this wait and every later one.
    void stop();

private:
    QEventLoop m_loop;
    std::function<bool()> m_condition;
    bool m_isStopped = false;
};
