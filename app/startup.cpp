#include "app/startup.h"

#include "engine/jcjj.h"
#include "local/localdata.h"
#include "cloud/mymqtt.h"
#include "radio/uarttradio.h"
#include "voice/voicealarm.h"

Workers createWorkers()
{
    return {new MqttThread(nullptr), new LocalData(nullptr), new JCJJ(nullptr), new Radio(nullptr),
            new VoiceAlarm(nullptr)};
}

std::array<Connection, 13> wiring(const Workers &workers)
{
    QObject *cloud = workers.cloud;
    QObject *local = workers.local;
    QObject *engine = workers.engine;
    QObject *radio = workers.radio;
    QObject *voice = workers.voice;
    // clang-format off
    return {{
        {local,  SIGNAL(TopSignals(QString,QString)),
         cloud,  SLOT(TopSlots(QString,QString))},
        {cloud,  SIGNAL(CollideSignal(FoundationData)),
         engine, SLOT(CollideSlots(FoundationData))},
        {local,  SIGNAL(Localdatasignals(FoundationData)),
         engine, SLOT(mylocal(FoundationData))},
        {engine, SIGNAL(CollideMessageSignals(QString,int,QString,bool)),
         local,  SLOT(AlarmSlots(QString,int,QString,bool))},
        {engine, SIGNAL(VicinityAttributeSignals(QString)),
         local,  SLOT(VicinityAttributeSlots(QString))},
        {engine, SIGNAL(VicinitytoVSignals(QString,QString)),
         cloud,  SLOT(VicinityAttributeSlots(QString,QString))},
        {engine, SIGNAL(VicinityAttitudeSignals(QString,QString)),
         cloud,  SLOT(VicinityAttitudeSlots(QString,QString))},
        {engine, SIGNAL(VicinityStatusSignals(QString,QString)),
         cloud,  SLOT(VicinityStatusSlots(QString,QString))},
        {engine, SIGNAL(VicinityAttitudeSignals(QString)),
         local,  SLOT(VicinityAttitudeSlots(QString))},
        {engine, SIGNAL(VicinityStatusSignals(QString)),
         local,  SLOT(VicinityStatusSlots(QString))},
        {local,  SIGNAL(Radiosignals(QString)),
         radio,  SLOT(Radioslots(QString))},
        {radio,  SIGNAL(CollideSignal(FoundationData)),
         engine, SLOT(RadioCollideSlots(FoundationData))},
        {engine, SIGNAL(VoiceMessageSignals(QString,QVector3D,QVector3D,QVector3D,QVector3D,bool)),
         voice,  SLOT(VoiceMessageSlots(QString,QVector3D,QVector3D,QVector3D,QVector3D,bool)),
         Qt::QueuedConnection},
    }};
    // clang-format on
}

bool connectWorkers(const Workers &workers)
{
    qRegisterMetaType<FoundationData>("FoundationData"); // the radio's reports are queued
    bool all = true;
    for (const Connection &row : wiring(workers))
        all = QObject::connect(row.sender, row.signal, row.receiver, row.slot, row.type) && all;
    return all;
}

void startWorkers(const Workers &workers)
{
    workers.cloud->start(QThread::InheritPriority);
    workers.engine->start(QThread::InheritPriority);
    workers.local->start(QThread::InheritPriority);
    workers.voice->start(QThread::InheritPriority);
    workers.radio->start(QThread::InheritPriority);
}
