#include "engine/jcjj.h"

#include <QDebug>
#include <QTimer>

#include "state/cranefiles.h"
#include "state/recordfile.h"

FoundationData MParameter;
QList<tBasis> basis;

namespace
{

std::mutex engineMutex; // guards basis; not Qt's, which the thread sanitizer cannot see

constexpr int tickMs = 1000;

StateFile engineFile()
{
    return StateFile(CalibrationFile::name, CalibrationFile::label);
}

/// Prefix of the own vicinity topics, and the topic of the pair alarms.
QString dataTopic()
{
    return MParameter.MqttDataTop + MParameter.duid;
}

} // namespace

JCJJ::JCJJ(QObject *parent) : QThread(parent) {}

void JCJJ::run()
{
    lockLoadedList().unlock();
    QTimer tick;
    // The timer as context: the count runs in this thread, not in the object's.
    connect(&tick, &QTimer::timeout, &tick, [] {
        const std::lock_guard lock(engineMutex);
        for (tBasis &entry : basis)
            ++entry.silentTicks;
    });
    tick.start(tickMs);
    exec();
}

void JCJJ::mylocal(FoundationData data)
{
    MParameter = data;
}

void JCJJ::CollideSlots(FoundationData foundata)
{
    const std::unique_lock lock = lockLoadedList();
    runCycle(foundata);
}

void JCJJ::RadioCollideSlots(FoundationData report)
{
    const std::unique_lock lock = lockLoadedList();
    if (const tBasis *entry = findByName(report.name, &basis))
        completeRadioReport(*entry, &report);
    runCycle(report);
}

/// The mutex keeps the two threads apart but does not order them: a cycle does not wait for the
/// engine's thread to come up, it reads the file itself. An engine that is not started reads none.
std::unique_lock<std::mutex> JCJJ::lockLoadedList()
{
    std::unique_lock lock(engineMutex);
    if (!m_isLoaded && isRunning()) {
        m_isLoaded = true;
        ConfigureStaticRead();
    }
    return lock;
}

void JCJJ::runCycle(FoundationData report)
{
    if (calibrate(MParameter, report, &basis))
        ConfigureStaticWrit();
    tBasis *entry = findByName(report.name, &basis);
    if (!entry)
        return;
    takeReport(entry, &MParameter, &report);
    m_texts.update(MParameter, basis);
    sendAttitude();
    sendVicinity();
    sendStatus();
    const Encounter encounter = encounterOf(MParameter, report);
    sendZone(report, encounter, entry);
    sendPairs(report, encounter, entry);
}

void JCJJ::sendAttitude()
{
    static QString nexAttitudestring; // the last one sent
    if (m_texts.attitude() == nexAttitudestring)
        return;
    nexAttitudestring = m_texts.attitude();
    Q_EMIT VicinityAttitudeSignals(nexAttitudestring);
    Q_EMIT VicinityAttitudeSignals(dataTopic(), nexAttitudestring);
}

void JCJJ::sendVicinity()
{
    static QString nexttring; // the last one sent
    if (m_texts.vicinity() == nexttring)
        return;
    nexttring = m_texts.vicinity();
    Q_EMIT VicinityAttributeSignals(nexttring);
    Q_EMIT VicinitytoVSignals(dataTopic(), nexttring);
}

void JCJJ::sendStatus()
{
    static QString nexttring; // the last one sent
    if (m_texts.status() == nexttring)
        return;
    nexttring = m_texts.status();
    Q_EMIT VicinityStatusSignals(nexttring);
    Q_EMIT VicinityStatusSignals(dataTopic(), nexttring);
}

void JCJJ::sendZone(const FoundationData &report, const Encounter &encounter, tBasis *entry)
{
    if (const std::optional<Alarm> alarm = evaluateZone(MParameter, report, encounter, entry))
        sendAlarm(*alarm, zoneAlarmLevel, MParameter.MqttTop + MParameter.duid,
                  QStringLiteral("rotationTorotation"));
    qDebug() << report.name << "回转到回转" << encounter.zone; // slewing to slewing
}

void JCJJ::sendPairs(const FoundationData &report, const Encounter &encounter, tBasis *entry)
{
    for (const Alarm &alarm : evaluatePairs(MParameter, report, encounter, entry))
        sendAlarm(alarm, pairAlarmLevel, dataTopic(), QStringLiteral("HeightTRotationAlarm"));
}

/// Only what is raised is spoken.
void JCJJ::sendAlarm(const Alarm &alarm, int level, const QString &top, const QString &voiceKind)
{
    Q_EMIT CollideMessageSignals(alarm.text, level, top, alarm.triggered);
    if (alarm.triggered)
        Q_EMIT VoiceMessageSignals(voiceKind, alarm.own.begin, alarm.own.end, alarm.neighbour.begin,
                                   alarm.neighbour.end, true);
}

void JCJJ::ConfigureStaticRead()
{
    appendRecords(engineFile(), CalibrationFile::numbers, CalibrationFile::texts, &basis);
}

void JCJJ::ConfigureStaticWrit()
{
    writeRecords(engineFile(), CalibrationFile::numbers, CalibrationFile::texts, basis);
}
