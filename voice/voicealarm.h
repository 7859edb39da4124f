#pragma once

#include <QString>
#include <QThread>
#include <QVector3D>

/// The spoken warnings.
class VoiceAlarm : public QThread
{
    Q_OBJECT
public:
    explicit VoiceAlarm(QObject *parent = nullptr);

public Q_SLOTS:
    /// Speaks the warning for an alarm of the kind \a alarm between two segments. Main thread.
    void VoiceMessageSlots(QString alarm, QVector3D mBegin, QVector3D mEnd, QVector3D hBegin,
                           QVector3D hEnd, bool triggered);

protected:
    void run() override;
};
