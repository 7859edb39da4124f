#include "engine/evaluation.h"

#include <algorithm>

#include "geometry/jibgeometry.h"

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

std::optional<Alarm> evaluateZone(const FoundationData &own, const FoundationData &report,
                                  const Encounter &encounter, tBasis *entry)
{
    const bool isActive = entry->alarmFlags & zoneActive;
    if (encounter.zone > 2.0f * own.safelen) {
        entry->alarmFlags &= ~zoneActive;
        if (isActive)
            return Alarm{entry->zoneMessage, false, {}, {}};
    } else if (!isActive) {
        entry->zoneMessage = zoneText(report.name, encounter.zone);
        entry->alarmFlags |= zoneActive;
        return Alarm{entry->zoneMessage, true, encounter.own.plan, encounter.neighbour.plan};
    }
    return std::nullopt;
}

QVector<Alarm> evaluatePairs(const FoundationData &own, const FoundationData &report,
                             const Encounter &encounter, tBasis *entry)
{
    QVector<Alarm> alarms;
    for (size_t pair = 0; pair < encounter.pairs.size(); ++pair) {
        const float distance = encounter.pairs[pair];
        QString &message = entry->pairMessages[pair];
        if (distance <= own.safelen && message.isEmpty()) {
            const size_t ownPart = pair / 4;
            const size_t part = pair % 4;
            message = pairText(partName(ownPart), report.name, partName(part), distance);
            alarms.append(
                {message, true, encounter.own.parts[ownPart], encounter.neighbour.parts[part]});
        } else if (distance > own.safelen && !message.isEmpty()) {
            alarms.append({message, false, {}, {}});
            message.clear();
        }
    }
    return alarms;
}
