#pragma once

#include <QMediaPlayer>
#include <QObject>
#include <QString>

#include <memory>

/// Plays one sound file at a time. Lives in a thread with an event loop and nothing else to do: the
/// first start of a player holds its thread for up to a quarter of a second.
class SoundPlayer : public QObject
{
    Q_OBJECT
public Q_SLOTS:
    /// Starts the file; finished() follows, unless the multimedia back end never says anything.
    void play(const QString &path);
    /// Gives up what plays; finished() follows.
    void stop();

Q_SIGNALS:
    /// Once for each play(): played to its end, or failed.
    void finished(bool isPlayed);

private:
    void follow(QMediaPlayer *player);
    void finish(bool isPlayed);

    std::unique_ptr<QMediaPlayer> m_player; // one for each sound
};
