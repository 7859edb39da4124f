#include "app/supervision.h"

#include <QTimer>

#include <systemd/sd-daemon.h>

#include <cstdint>
#include <utility>

#include "local/localdata.h"

Supervision *Supervision::start(LocalData *board)
{
    if (!qEnvironmentVariableIsSet("NOTIFY_SOCKET"))
        return nullptr;
    auto *const supervision = new Supervision(board);
    connect(supervision, &Supervision::asked, board, &LocalData::linkAsked);
    supervision->QThread::start();
    return supervision;
}

void Supervision::run()
{
    sd_notify(0, "READY=1");
    std::uint64_t intervalUs = 0;
    if (sd_watchdog_enabled(0, &intervalUs) <= 0)
        return;
    bool isUnderWay = false; // a round
    QTimer timer;
    // The timer as context: all of it runs in this thread, not in the object's.
    connect(m_board, &LocalData::linkAnswered, &timer, [&isUnderWay] {
        isUnderWay = false;
        sd_notify(0, "WATCHDOG=1");
    });
    connect(&timer, &QTimer::timeout, &timer, [this, &isUnderWay] {
        if (!std::exchange(isUnderWay, true))
            Q_EMIT asked();
    });
    timer.start(static_cast<int>(qBound<std::uint64_t>(1, intervalUs / 3000, 60'000)));
    exec();
}
