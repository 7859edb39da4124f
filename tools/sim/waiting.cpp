#include "tools/sim/waiting.h"

#include <QTimer>

bool Waiting::pause(qint64 milliseconds)
{
    until([] { return false; }, milliseconds);
    return !m_isStopped;
}

bool Waiting::until(const std::function<bool()> &condition, qint64 milliseconds)
{
    if (m_isStopped)
        return false;
    if (condition())
        return true;
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, &m_loop, &QEventLoop::quit);
    timer.start(static_cast<int>(milliseconds));
    m_condition = condition;
    m_loop.exec();
    m_condition = nullptr;
    return !m_isStopped && condition();
}

void Waiting::look()
{
    if (m_condition && m_condition())
        m_loop.quit();
}

void Waiting::stop()
{
    m_isStopped = true;
    m_loop.quit();
}
