#include "model/documents.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "model/jsonmembers.h"

namespace
{

/// First element of the array \a key, or an empty object if there is none.
QJsonObject firstElement(const QJsonObject &parent, QLatin1String key)
{
    return parent.value(key).toArray().at(0).toObject();
}

void storeIfPresent(const QJsonObject &parent, QLatin1String key, float *target)
{
    if (parent.contains(key))
        *target = numberOf(parent.value(key));
}

constexpr NumberMember<FoundationData> worksetNumbers[] = {
    {QLatin1String("armlen"), &FoundationData::armlen},
    {QLatin1String("craneheight"), &FoundationData::craneheight},
    {QLatin1String("reararm"), &FoundationData::reararm},
    {QLatin1String("safelen"), &FoundationData::safelen},
    {QLatin1String("armwidth"), &FoundationData::armwidth},
};

constexpr TextMember<FoundationData> worksetTexts[] = {
    {QLatin1String("fieldnumber"), &FoundationData::name},
    {QLatin1String("type"), &FoundationData::type},
    {QLatin1String("heightzero"), &FoundationData::heightzero},
};

QString idOf(const QJsonObject &parent, QLatin1String key)
{
    return parent.value(key).toObject().value(QLatin1String("id")).toString();
}

} // namespace

void backdata(QJsonObject document, float *rotation, float *travel, float *height)
{
    const QJsonObject tower = firstElement(document, QLatin1String("tower"));
    const QJsonObject gantry = firstElement(tower, QLatin1String("gantry"));
    const QJsonObject hoist = firstElement(gantry, QLatin1String("hoist"));
    storeIfPresent(tower, QLatin1String("rotation"), rotation);
    storeIfPresent(gantry, QLatin1String("travel"), travel);
    storeIfPresent(hoist, QLatin1String("height"), height);
}

bool Worksetdata(QJsonObject document, FoundationData *record)
{
    const QJsonArray workset = document.value(QLatin1String("workset")).toArray();
    for (const QJsonValue &element : workset) {
        const QJsonObject candidate = element.toObject();
        if (candidate.value(QLatin1String("object")).toString() == QLatin1String("general")) {
            readMembers(candidate, worksetNumbers, worksetTexts, record);
            return true;
        }
    }
    return false;
}

void parseJsonObject(const QJsonObject &document, FoundationData &record)
{
    const QJsonObject reginfo = document.value(QLatin1String("reginfo")).toObject();
    const QJsonObject company = reginfo.value(QLatin1String("company")).toObject();
    const QJsonObject department = company.value(QLatin1String("department")).toObject();
    const int typeNumber =
        reginfo.value(QLatin1String("type")).toObject().value(QLatin1String("id")).toInt();
    const QString project = QStringLiteral("F/") + QString::number(typeNumber) +
                            QStringLiteral("/0/") + idOf(reginfo, QLatin1String("company")) +
                            QLatin1Char('/') + idOf(company, QLatin1String("department")) +
                            QLatin1Char('/') + idOf(department, QLatin1String("project")) +
                            QLatin1Char('/');
    record.MqttTop = project + QStringLiteral("+/+/+/");
    record.name = reginfo.value(QLatin1String("generic"))
                      .toObject()
                      .value(QLatin1String("fieldnumber"))
                      .toString();
    record.MqttDataTop = project + idOf(reginfo, QLatin1String("vendor")) + QLatin1Char('/') +
                         idOf(reginfo, QLatin1String("owner")) + QStringLiteral("/0/");
}

QString alarmDocument(const QString &detail, int level, bool triggered, qint64 timestampMs)
{
    const QJsonObject entry{
        {QStringLiteral("detail"), detail},
        {QStringLiteral("kind"), QStringLiteral("threshold")},
        {QStringLiteral("level"), level},
        {QStringLiteral("triggered"), triggered},
    };
    const QJsonObject document{
        {QStringLiteral("alarm"), QJsonArray{entry}},
        {QStringLiteral("timestamp"), timestampMs},
        {QStringLiteral("upload"), QStringLiteral("alarm")},
        {QStringLiteral("version"), QStringLiteral("0.1.0")},
    };
    return QString::fromUtf8(QJsonDocument(document).toJson());
}
