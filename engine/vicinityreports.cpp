#include "vicinityreports.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>

#include "jibgeometry.h"

namespace
{

constexpr qint64 fixedTimestamp = 1690796770999;
constexpr qint32 mostSilentTicks = 9;

double cutToHundredths(float value)
{
    return VicinityReports::twoDecimalsCut(value * 100.0f);
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
        {QStringLiteral("luffing"), cutToHundredths(crane.travel)},
        {QStringLiteral("hoisting"), cutToHundredths(crane.height)},
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
    json.insert(QStringLiteral("x"), cutToHundredths(neighbour.absolute_X));
    json.insert(QStringLiteral("y"), cutToHundredths(neighbour.absolute_Y));
    json.insert(QStringLiteral("safedistance"), static_cast<double>(neighbour.safedistance));
    return json;
}

QJsonObject attitude(const FoundationData &self)
{
    return attitudeOf(self, cutToHundredths(self.rotation));
}

QJsonObject attitude(const tBasis &neighbour)
{
    const float direction = JibGeometry::HcalculateDegree(neighbour.rotation, neighbour.hoffset);
    QJsonObject json = attitudeOf(
        neighbour, VicinityReports::twoDecimalsCut((direction - neighbour.moffset) * -100.0f));
    json.insert(QStringLiteral("duid"), neighbour.duid);
    return json;
}

QJsonObject status(const tBasis &neighbour)
{
    return {
        {QStringLiteral("duid"), neighbour.duid},
        {QStringLiteral("status"), neighbour.silentTicks > mostSilentTicks
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

double VicinityReports::twoDecimalsCut(float hundredths)
{
    constexpr auto lowest = std::numeric_limits<qint32>::min();
    constexpr auto highest = std::numeric_limits<qint32>::max();
    if (std::isnan(hundredths))
        return 0.0;
    // The float next to the highest int is 2^31, one beyond it.
    if (hundredths >= -static_cast<float>(lowest))
        return highest / 100.0;
    if (hundredths < static_cast<float>(lowest))
        return lowest / 100.0;
    return static_cast<qint32>(hundredths) / 100.0;
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
