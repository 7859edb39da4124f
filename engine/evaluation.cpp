#include "evaluation.h"

#include <algorithm>

#include "distancecalculation.h"
#include "jibgeometry.h"

namespace
{

constexpr float calibrationArm = 999.0f;
constexpr quint64 zoneActive = 1;

QString metres(float distance)
{
    return QString::number(static_cast<double>(distance), 'f', 2) + QStringLiteral("米"); // m
}

/// "Slewing distance entered: crane NAME, D metres left to the slewing zone."
QString zoneText(const QString &neighbour, float distance)
{
    return QStringLiteral("回转距离进人") + neighbour + QStringLiteral("塔机\n回转区还有") +
           metres(distance);
}

/// "Own PART to crane NAME's PART, D metres."
QString pairText(const QString &ownPart, const QString &neighbour, const QString &part,
                 float distance)
{
    return QLatin1Char('\n') + ownPart + QStringLiteral("到") + neighbour + QStringLiteral("塔吊") +
           part + QLatin1Char('\n') + metres(distance);
}

float clearance(const Line_3D &own, const Line_3D &neighbour)
{
    QVector3D nearest;
    return QDrawingPaperView::LineTLone(own.begin, own.end, neighbour.begin, neighbour.end,
                                        nearest);
}

} // namespace

bool calibrate(const FoundationData &own, const FoundationData &report, QList<tBasis> *neighbours)
{
    if (!(report.armlen >= calibrationArm && own.armlen >= calibrationArm))
        return false;
    const auto found =
        std::find_if(neighbours->begin(), neighbours->end(),
                     [&report](const tBasis &entry) { return entry.duid == report.duid; });
    if (found == neighbours->end()) {
        tBasis entry;
        entry.duid = report.duid;
        entry.location_X = own.travel + report.travel;
        entry.moffset = own.offset;
        entry.hoffset = report.offset;
        neighbours->append(entry);
        return true;
    }
    found->hoffset = report.rotation;
    found->moffset = own.rotation;
    found->location_X = own.travel + report.travel;
    found->location_Y = 0.0f;
    found->name = report.name;
    const QPointF position = JibGeometry::Local_basis(found->location_X, found->moffset);
    found->absolute_X = static_cast<float>(position.y());
    found->absolute_Y = static_cast<float>(-position.x());
    return true;
}

void completeRadioReport(const tBasis &entry, FoundationData *report)
{
    report->type = entry.type;
    report->heightzero = entry.heightzero;
    report->armwidth = entry.armwidth;
}

tBasis *findByName(const QString &name, QList<tBasis> *neighbours)
{
    const auto found = std::find_if(neighbours->begin(), neighbours->end(),
                                    [&name](const tBasis &entry) { return entry.name == name; });
    return found == neighbours->end() ? nullptr : &*found;
}

void takeReport(tBasis *entry, FoundationData *own, FoundationData *report)
{
    report->location_X = entry->location_X;
    report->offset = entry->hoffset;
    own->offset = entry->moffset;
    entry->armlen = report->armlen;
    entry->reararm = report->reararm;
    entry->height = report->height;
    entry->travel = report->travel;
    entry->rotation = report->rotation;
    entry->type = report->type;
    entry->heightzero = report->heightzero;
    entry->armwidth = report->armwidth;
    entry->silentTicks = 0;
}

ZoneResult evaluateZone(const FoundationData &own, const FoundationData &report, tBasis *entry)
{
    Line_3D ownJib;
    Line_3D jib;
    JibGeometry::rotationT3D(own, own.armlen, 0.0f, &ownJib.begin, &ownJib.end, 0);
    JibGeometry::rotationT3D(report, report.armlen, 0.0f, &jib.begin, &jib.end, 1);
    ZoneResult result;
    result.distance = clearance(ownJib, jib);
    const bool isActive = entry->alarmFlags & zoneActive;
    if (result.distance > 2.0f * own.safelen) {
        if (isActive)
            result.alarm = Alarm{entry->zoneMessage, false, ownJib, jib};
        entry->alarmFlags &= ~zoneActive;
    } else if (!isActive) {
        entry->zoneMessage = zoneText(report.name, result.distance);
        entry->alarmFlags |= zoneActive;
        result.alarm = Alarm{entry->zoneMessage, true, ownJib, jib};
    }
    return result;
}

QVector<Alarm> evaluatePairs(const FoundationData &own, const FoundationData &report, tBasis *entry)
{
    QVector<Alarm> alarms;
    const QList<Line_3D> ownParts = JibGeometry::Lineto3D(own, 0);
    const QList<Line_3D> parts = JibGeometry::Lineto3D(report, 1);
    auto message = entry->pairMessages.begin(); // own part first, as the two loops run
    for (const Line_3D &ownPart : ownParts) {
        for (const Line_3D &part : parts) {
            const float distance = clearance(ownPart, part);
            if (distance <= own.safelen && message->isEmpty()) {
                *message = pairText(ownPart.name, report.name, part.name, distance);
                alarms.append({*message, true, ownPart, part});
            } else if (distance > own.safelen && !message->isEmpty()) {
                alarms.append({*message, false, ownPart, part});
                message->clear();
            }
            ++message;
        }
    }
    return alarms;
}
