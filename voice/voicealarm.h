#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QThread>
#include <QVector3D>

#include <memory>

#include "voice/soundqueue.h"

class SoundPlayer;

/// Speaks warnings: one of four recordings, in the folder voice/ beside the executable.
///
/// The object belongs to the main thread, and its slot waits there, in a nested event loop, until
/// the sound has ended; alarms and everything else go on meanwhile. Further warnings wait in a
/// short queue. The player lives in the thread of run(). A sound that cannot be played is not
/// reported; after one, none is tried for 5 s.
class VoiceAlarm : public QThread
{
    Q_OBJECT
public:
    explicit VoiceAlarm(QObject *parent = nullptr);
    ~VoiceAlarm() override; // ends the thread

    /// Plays the file and returns when it has ended, failed, or taken 15 s; at once for 5 s after a
    /// failure, and while the player has not yet said that its last sound has ended. Main thread.
    void playAudioAndWait(const QString &path);

public Q_SLOTS:
    /// Speaks the warning for an alarm of the kind \a alarm between two segments; see
    /// warningFileFor(). Only the segments' ends count. While a sound plays it returns at once.
    /// Connect it queued: it must not run inside the cycle that raises the alarm.
    void VoiceMessageSlots(QString alarm, QVector3D mBegin, QVector3D mEnd, QVector3D hBegin,
                           QVector3D hEnd, bool triggered);

protected:
    void run() override;

private:
    // Main thread only, but for the player itself, which is only reached by queued calls.
    std::unique_ptr<SoundPlayer> m_player;
    bool m_isPlayerBusy = false; // it has not yet said that its sound has ended
    bool m_isSpeaking = false;   // a slot call is at work, further ones queue
    SoundQueue m_waiting;
    QElapsedTimer m_sinceFailure; // invalid until the first one
};
