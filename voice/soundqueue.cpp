#include "voice/soundqueue.h"

void SoundQueue::add(const QString &path)
{
    constexpr int mostWaiting = 3;
    if (m_paths.contains(path))
        return;
    if (m_paths.size() == mostWaiting)
        m_paths.removeFirst();
    m_paths.append(path);
}

std::optional<QString> SoundQueue::takeNext()
{
    if (m_paths.isEmpty())
        return std::nullopt;
    return m_paths.takeFirst();
}
