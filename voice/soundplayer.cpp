#include "voice/soundplayer.h"

#include <QUrl>

void SoundPlayer::play(const QString &path)
{
    stop();
    m_player = std::make_unique<QMediaPlayer>();
    follow(m_player.get());
    m_player->setMedia(QUrl::fromLocalFile(path));
    if (m_player) // not if the file was refused at once
        m_player->play();
}

void SoundPlayer::stop()
{
    if (m_player)
        finish(false);
}

/// The end shows in several ways, and a failure not always as a stop; whatever comes first counts.
void SoundPlayer::follow(QMediaPlayer *player)
{
    connect(player, &QMediaPlayer::stateChanged, this, [this](QMediaPlayer::State state) {
        if (state == QMediaPlayer::StoppedState)
            finish(true);
    });
    connect(player, &QMediaPlayer::mediaStatusChanged, this,
            [this](QMediaPlayer::MediaStatus status) {
                if (status == QMediaPlayer::InvalidMedia)
                    finish(false);
                else if (status == QMediaPlayer::EndOfMedia)
                    finish(true);
            });
    connect(player, QOverload<QMediaPlayer::Error>::of(&QMediaPlayer::error), this,
            [this] { finish(false); });
}

void SoundPlayer::finish(bool isPlayed)
{
    m_player->disconnect(this);
    m_player.release()->deleteLater(); // it may be the one that calls
    Q_EMIT finished(isPlayed);
}
