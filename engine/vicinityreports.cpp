#include "engine/vicinityreports.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>

#include "geometry/jibgeometry.h"

namespace
{

constexpr qint64 fixedTimestamp = 1690796770999;
constexpr qint32 mostSilentTicks = 9;

qint32 cutToInt(float value)
{
    constexpr auto lowest = std::numeric_limits<qint32>::min();
    constexpr auto highest = std::numeric_limits<qint32>::max();
    if (std::isnan(value))
        return 0;
    // The float next to the highest int is 2^31, one beyond it.
    if (value >= -static_cast<float>(lowest))
        return highest;
    if (value < static_cast<float>(lowest))
        return lowest;
    return static_cast<qint32>(value);
}

/// Two decimals, cut: 12.349 gives 12.34.
double cut(float value)
{
    return VicinityReports::hundredthsOf(value) / 100.0;
}

/// The members of FoundationData and tBasis that both reports of a crane take under one key.
template <typename Crane>
QJsonObject attributesOf(const Crane &crane)
{
    return {
        {QStringLiteral("duid"), crane.duid},
        {QStringLiteral("label"), crane.name},
        {QStringLiteral("type"), crane.type},
        {QStringLiteral("armlenth"), static_cast<double>(crane.armlen)},
        {QStringLiteral("heightzero"), crane.heightzero},
        {QStringLiteral("craneheight"), static_cast<double>(crane.craneheight)},
        {QStringLiteral("armwidth"), static_cast<double>(crane.armwidth)},
        {QStringLiteral("reararm"), static_cast<double>(crane.reararm)},
    };
}

template <typename Crane>
QJsonObject attitudeOf(const Crane &crane, double slewing)
{
    return {
        {QStringLiteral("slewing"), slewing},
        {QStringLiteral("luffing"), cut(crane.travel)},
        {QStringLiteral("hoisting"), cut(crane.height)},
        {QStringLiteral("label"), crane.name},
    };
}

QJsonObject attributes(const FoundationData &self)
{
    QJsonObject json = attributesOf(self);
    json.insert(QStringLiteral("x"), 0);
    json.insert(QStringLiteral("y"), 0);
    json.insert(QStringLiteral("safedistance"), static_cast<double>(self.safelen));
    return json;
}

QJsonObject attributes(const tBasis &neighbour)
{
    QJsonObject json = attributesOf(neighbour);
    json.insert(QStringLiteral("x"), cut(neighbour.absolute_X));
    json.insert(QStringLiteral("y"), cut(neighbour.absolute_Y));
    json.insert(QStringLiteral("safedistance"), static_cast<double>(neighbour.safedistance));
    return json;
}

QJsonObject attitude(const FoundationData &self)
{
    return attitudeOf(self, cut(self.rotation));
}

QJsonObject attitude(const tBasis &neighbour)
{
    QJsonObject json = attitudeOf(neighbour, VicinityReports::slewingHundredths(neighbour) / 100.0);
    json.insert(QStringLiteral("duid"), neighbour.duid);
    return json;
}

QJsonObject status(const tBasis &neighbour)
{
    return {
        {QStringLiteral("duid"), neighbour.duid},
        {QStringLiteral("status"), VicinityReports::isOffline(neighbour)
                                       ? QStringLiteral("offline")
                                       : QStringLiteral("online")},
    };
}

template <typename Describe>
QString reportText(const QString &upload, QJsonObject report, const QList<tBasis> &list,
                   Describe describe)
{
    QJsonArray neighbours;
    for (const tBasis &neighbour : list)
        neighbours.append(describe(neighbour));
    report.insert(QStringLiteral("neighbours"), neighbours);
    report.insert(QStringLiteral("timestamp"), fixedTimestamp);
    report.insert(QStringLiteral("upload"), upload);
    report.insert(QStringLiteral("version"), QStringLiteral("0.1.0"));
    return QString::fromUtf8(QJsonDocument(report).toJson());
}

} // namespace

qint32 VicinityReports::hundredthsOf(float value)
{
    return cutToInt(value * 100.0f);
}

qint32 VicinityReports::slewingHundredths(const tBasis &neighbour)
{
    const float direction = JibGeometry::HcalculateDegree(neighbour.rotation, neighbour.hoffset);
    return cutToInt((direction - neighbour.moffset) * -100.0f);
}

bool VicinityReports::isOffline(const tBasis &neighbour)
{
    return neighbour.silentTicks > mostSilentTicks;
}

QString VicinityReports::VicinitytoV(FoundationData self, const QList<tBasis> &list)
{
    return reportText(QStringLiteral("Vicinity"), {{QStringLiteral("self"), attributes(self)}},
                      list, [](const tBasis &neighbour) { return attributes(neighbour); });
}

QString VicinityReports::VicinityAttribute(FoundationData self, const QList<tBasis> &list)
{
    return VicinitytoV(self, list);
}

QString VicinityReports::VicinityAttitude(FoundationData self, const QList<tBasis> &list)
{
    return reportText(QStringLiteral("Attitude"), {{QStringLiteral("self"), attitude(self)}}, list,
                      [](const tBasis &neighbour) { return attitude(neighbour); });
}

QString VicinityReports::VicinityStatus(const QList<tBasis> &list)
{
    return reportText(QStringLiteral("VicinityStatus"), {}, list, status);
}
