#include "jcjj.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTimer>

#include <mutex>

#include "jsonmembers.h"
#include "statefile.h"

FoundationData MParameter;
QList<tBasis> basis;

namespace
{

std::mutex engineMutex; // guards basis; not Qt's, which the thread sanitizer cannot see

constexpr int tickMs = 1000;

// One table drives both directions, so a key cannot be saved and not loaded.
constexpr NumberMember<tBasis> numberMembers[] = {
    {QLatin1String("location_X"), &tBasis::location_X},
    {QLatin1String("location_Y"), &tBasis::location_Y},
    {QLatin1String("moffset"), &tBasis::moffset},
    {QLatin1String("hoffset"), &tBasis::hoffset},
    {QLatin1String("absolute_X"), &tBasis::absolute_X},
    {QLatin1String("absolute_Y"), &tBasis::absolute_Y},
    {QLatin1String("armwidth"), &tBasis::armwidth},
    {QLatin1String("craneheight"), &tBasis::craneheight},
};

constexpr TextMember<tBasis> textMembers[] = {
    {QLatin1String("top"), &tBasis::duid},
    {QLatin1String("name"), &tBasis::name},
    {QLatin1String("heightzero"), &tBasis::heightzero},
    {QLatin1String("type"), &tBasis::type},
};

StateFile engineFile()
{
    return StateFile(QStringLiteral("jcjj.txt"), QStringLiteral("jcjj.txt配置文件"));
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
    {
        const std::lock_guard lock(engineMutex);
        ConfigureStaticRead();
    }
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
    const std::lock_guard lock(engineMutex);
    if (calibrate(MParameter, foundata, &basis))
        ConfigureStaticWrit();
    tBasis *entry = findByName(foundata.name, &basis);
    if (!entry)
        return;
    takeReport(entry, &MParameter, &foundata);
    sendAttitude();
    sendVicinity();
    sendStatus();
    sendZone(foundata, entry);
    sendPairs(foundata, entry);
}

void JCJJ::sendAttitude()
{
    static QString nexAttitudestring; // the last one sent
    const QString attitude = VicinityAttitude(MParameter, basis);
    if (attitude == nexAttitudestring)
        return;
    Q_EMIT VicinityAttitudeSignals(attitude);
    Q_EMIT VicinityAttitudeSignals(dataTopic(), attitude);
    nexAttitudestring = attitude;
}

void JCJJ::sendVicinity()
{
    static QString nexttring; // the last one sent
    const QString attribute = VicinityAttribute(MParameter, basis);
    const QString vicinity = VicinitytoV(MParameter, basis);
    if (attribute == nexttring)
        return;
    Q_EMIT VicinityAttributeSignals(attribute);
    Q_EMIT VicinitytoVSignals(dataTopic(), vicinity);
    nexttring = attribute;
}

void JCJJ::sendStatus()
{
    static QString nexttring; // the last one sent
    const QString status = VicinityStatus(basis);
    if (status == nexttring)
        return;
    Q_EMIT VicinityStatusSignals(status);
    Q_EMIT VicinityStatusSignals(dataTopic(), status);
    nexttring = status;
}

void JCJJ::sendZone(const FoundationData &report, tBasis *entry)
{
    const ZoneResult zone = evaluateZone(MParameter, report, entry);
    if (zone.alarm)
        Q_EMIT CollideMessageSignals(zone.alarm->text, zoneAlarmLevel,
                                     MParameter.MqttTop + MParameter.duid, zone.alarm->triggered);
    qDebug() << report.name << "回转到回转" << zone.distance; // slewing to slewing
}

void JCJJ::sendPairs(const FoundationData &report, tBasis *entry)
{
    for (const Alarm &alarm : evaluatePairs(MParameter, report, entry))
        Q_EMIT CollideMessageSignals(alarm.text, pairAlarmLevel, dataTopic(), alarm.triggered);
}

void JCJJ::ConfigureStaticRead()
{
    for (const QJsonObject &json : engineFile().readRecords()) {
        tBasis entry;
        readMembers(json, numberMembers, textMembers, &entry);
        basis.append(entry);
    }
}

void JCJJ::ConfigureStaticWrit()
{
    QJsonArray records;
    for (const tBasis &entry : qAsConst(basis))
        records.append(writeMembers(entry, numberMembers, textMembers));
    engineFile().write(QJsonDocument(records));
}
