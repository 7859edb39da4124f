#include "tools/sim/sitedocuments.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace
{
QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QString neighbourTopic(const SiteCrane &neighbour, const QString &kind)
{
    return QStringLiteral("F/3/0/C1/D2/P3/V5/O4/0/%1/%2").arg(neighbour.duid, kind);
}

QJsonObject withId(const char *id)
{
    return {{QStringLiteral("id"), QLatin1String(id)}};
}

QJsonObject objectAt(const QJsonObject &parent, const char *key)
{
    return parent.value(QLatin1String(key)).toObject();
}

QJsonObject neighbourIn(const QJsonObject &report, const QString &duid)
{
    for (const QJsonValue entry : report.value(QLatin1String("neighbours")).toArray()) {
        const QJsonObject neighbour = entry.toObject();
        if (neighbour.value(QLatin1String("duid")).toString() == duid)
            return neighbour;
    }
    return {};
}

/// Whether \a object says \a expected under \a key, but for the cut to two decimals.
bool says(const QJsonObject &object, const char *key, double expected)
{
    constexpr double tolerance = 0.03;
    return std::abs(object.value(QLatin1String(key)).toDouble(HUGE_VAL) - expected) < tolerance;
}

bool saysName(const QJsonObject &object, const SiteCrane &crane)
{
    return object.value(QLatin1String("label")).toString() == crane.fieldNumber;
}

/// The neighbour stands where the own jib points, on the report's axes: x as the sine of the own
/// reading, y against its cosine.
bool showsPlace(const QJsonObject &neighbour, const CalibrationPose &pose)
{
    constexpr double radiansPerDegree = 0.017453292519943295;
    const double distance = pose.own.travel + pose.neighbour.travel;
    const double angle = pose.own.rotation * radiansPerDegree;
    return says(neighbour, "x", distance * std::sin(angle)) &&
           says(neighbour, "y", -distance * std::cos(angle));
}
} // namespace

QString neighbourWorksetTopic(const SiteCrane &neighbour)
{
    return neighbourTopic(neighbour, QStringLiteral("Workset"));
}

QString neighbourStateTopic(const SiteCrane &neighbour)
{
    return neighbourTopic(neighbour, QStringLiteral("Data"));
}

QByteArray deviceIdDocument(const SiteCrane &crane)
{
    const QJsonObject value{{QStringLiteral("value"), crane.duid}};
    return compact({{QStringLiteral("duid"), value}});
}

QByteArray registrationDocument(const SiteCrane &crane)
{
    QJsonObject department = withId("D2");
    department.insert(QStringLiteral("project"), withId("P3"));
    QJsonObject company = withId("C1");
    company.insert(QStringLiteral("department"), department);
    const QJsonObject registration{
        {QStringLiteral("type"), QJsonObject{{QStringLiteral("id"), 3}}},
        {QStringLiteral("generic"),
         QJsonObject{{QStringLiteral("fieldnumber"), crane.fieldNumber}}},
        {QStringLiteral("company"), company},
        {QStringLiteral("owner"), withId("O4")},
        {QStringLiteral("vendor"), withId("V5")},
    };
    return compact({{QStringLiteral("reginfo"), registration}});
}

QByteArray worksetDocument(const SiteCrane &crane, double armLength)
{
    const QJsonObject general{
        {QStringLiteral("object"), QStringLiteral("general")},
        {QStringLiteral("fieldnumber"), crane.fieldNumber},
        {QStringLiteral("type"), QStringLiteral("hammerhead")},
        {QStringLiteral("armlen"), armLength},
        {QStringLiteral("reararm"), crane.rearArm},
        {QStringLiteral("armwidth"), crane.armWidth},
        {QStringLiteral("craneheight"), crane.craneHeight},
        {QStringLiteral("safelen"), crane.safeLength},
        {QStringLiteral("heightzero"), QStringLiteral("ground")},
    };
    return compact({{QStringLiteral("workset"), QJsonArray{general}}});
}

QByteArray craneStateDocument(const CraneReading &reading)
{
    const QJsonObject hoist{{QStringLiteral("height"), reading.height}};
    const QJsonObject gantry{{QStringLiteral("travel"), reading.travel},
                             {QStringLiteral("hoist"), QJsonArray{hoist}}};
    const QJsonObject tower{{QStringLiteral("rotation"), reading.rotation},
                            {QStringLiteral("gantry"), QJsonArray{gantry}}};
    return compact({{QStringLiteral("tower"), QJsonArray{tower}}});
}

bool showsCalibration(const QByteArray &attributeReport, const QByteArray &attitudeReport,
                      const SiteCrane &neighbour, const CalibrationPose &pose)
{
    const QJsonObject attributes = QJsonDocument::fromJson(attributeReport).object();
    const QJsonObject attitudes = QJsonDocument::fromJson(attitudeReport).object();
    const QJsonObject place = neighbourIn(attributes, neighbour.duid);
    const QJsonObject attitude = neighbourIn(attitudes, neighbour.duid);
    const QJsonObject own = objectAt(attitudes, "self");
    return saysName(place, neighbour) && showsPlace(place, pose) && saysName(attitude, neighbour) &&
           // The report gives the neighbour's jib on the own scale: half a turn from the own one.
           says(attitude, "slewing", pose.own.rotation - 180) &&
           says(attitude, "luffing", pose.neighbour.travel) &&
           says(attitude, "hoisting", pose.neighbour.height) &&
           says(own, "slewing", pose.own.rotation) && says(own, "luffing", pose.own.travel);
}

bool showsArmLengths(const QByteArray &attributeReport, const Site &site)
{
    const QJsonObject report = QJsonDocument::fromJson(attributeReport).object();
    QJsonArray entries = report.value(QLatin1String("neighbours")).toArray();
    entries.append(report.value(QLatin1String("self")));
    QHash<QString, QJsonObject> byDuid;
    for (const QJsonValue entry : qAsConst(entries))
        byDuid.insert(entry.toObject().value(QLatin1String("duid")).toString(), entry.toObject());
    return std::all_of(site.begin(), site.end(), [&byDuid](const SiteCrane &crane) {
        return says(byDuid.value(crane.duid), "armlenth", crane.armLength);
    });
}
