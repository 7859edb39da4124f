#include "voicealarm.h"

VoiceAlarm::VoiceAlarm(QObject *parent) : QThread(parent) {}

// TODO: play the sound file that belongs to the alarm; nothing calls this until alarms are spoken.
void VoiceAlarm::VoiceMessageSlots(QString, QVector3D, QVector3D, QVector3D, QVector3D, bool) {}

void VoiceAlarm::run()
{
    exec();
}
