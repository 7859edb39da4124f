#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// The sounds that wait while one plays: at most three, none twice, the oldest goes first when a
/// further one comes. A warning that comes late is worth less than the newest.
class SoundQueue
{
public:
    void add(const QString &path);
    /// The one that has waited longest, which then waits no more.
    std::optional<QString> takeNext();

private:
    QStringList m_paths;
};
