#include "radio/sendschedule.h"

bool SendSchedule::isDue(const QByteArray &frame)
{
    constexpr qint32 ticksBetweenRepeats = 20;
    const bool isChanged = frame != m_lastSent;
    const bool isRepeat = !isChanged && m_repeats > ticksBetweenRepeats;
    if (isChanged)
        m_repeats = 0;
    else if (isRepeat)
        m_repeats = 1;
    else
        ++m_repeats;
    m_lastSent = frame;
    return isChanged || isRepeat;
}
