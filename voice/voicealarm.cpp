#include "voice/voicealarm.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include "voice/soundplayer.h"
#include "voice/warningsounds.h"

namespace
{

constexpr int longestSoundMs = 15000;
constexpr int pauseAfterFailureMs = 5000;

} // namespace

VoiceAlarm::VoiceAlarm(QObject *parent) : QThread(parent), m_player(new SoundPlayer)
{
    m_player->moveToThread(this);
    connect(m_player.get(), &SoundPlayer::finished, this, [this](bool isPlayed) {
        m_isPlayerBusy = false;
        if (!isPlayed)
            m_sinceFailure.start();
    });
}

VoiceAlarm::~VoiceAlarm()
{
    quit();
    wait();
}

void VoiceAlarm::run()
{
    exec();
}

void VoiceAlarm::VoiceMessageSlots(QString alarm, QVector3D, QVector3D mEnd, QVector3D,
                                   QVector3D hEnd, bool)
{
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/voice/") +
                         warningFileFor(alarm, mEnd, hEnd);
    m_waiting.add(path);
    if (m_isSpeaking)
        return;
    m_isSpeaking = true;
    while (const std::optional<QString> next = m_waiting.takeNext())
        playAudioAndWait(*next);
    m_isSpeaking = false;
}

void VoiceAlarm::playAudioAndWait(const QString &path)
{
    const bool isPausing =
        m_sinceFailure.isValid() && !m_sinceFailure.hasExpired(pauseAfterFailureMs);
    if (isPausing || m_isPlayerBusy)
        return;
    QEventLoop untilEnded;
    connect(m_player.get(), &SoundPlayer::finished, &untilEnded, &QEventLoop::quit);
    // By the slots' names, since around a function object the thread sanitizer sees no lock.
    QTimer::singleShot(longestSoundMs, Qt::PreciseTimer, &untilEnded, [this, &untilEnded] {
        m_sinceFailure.start();
        QMetaObject::invokeMethod(m_player.get(), "stop");
        untilEnded.quit();
    });
    m_isPlayerBusy = true;
    QMetaObject::invokeMethod(m_player.get(), "play", Q_ARG(QString, path));
    untilEnded.exec();
}
