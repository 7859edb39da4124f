#pragma once

#include <QList>
#include <QString>
#include <QVector>

#include <optional>

#include "geometry/encounter.h"
#include "model/foundationdata.h"
#include "model/tbasis.h"

/// What one report of a neighbour means: calibration, motion taken over, clearances, alarms.
///
/// Pure functions on values; the caller sends and saves what comes out. The thresholds are the own
/// crane's safety distance, without a release margin. An alarm keeps the text, and so the
/// distance, of the moment it was raised.

/// Levels of the alarm document.
constexpr int zoneAlarmLevel = 15; ///< slewing zone: the jibs in plan
constexpr int pairAlarmLevel = 25; ///< a part of the own crane and one of the neighbour

struct Alarm {
    QString text;
    bool triggered = false; ///< true when it is raised, false when it is cleared
    Segment own;            ///< the two segments that came close; of a raised alarm only
    Segment neighbour;
};

/// Takes a calibration report: both cranes in calibration mode (arm lengths of 999 and more), the
/// jibs on the line between the slewing axes and pointing at each other, the trolleys over the
/// same point. The first report of a device id appends an entry without a name, the next ones
/// set its readings, name and position. Returns whether the list is to be saved.
bool calibrate(const FoundationData &own, const FoundationData &report, QList<tBasis> *neighbours);

/// First entry whose name is \a name; null if there is none.
tBasis *findByName(const QString &name, QList<tBasis> *neighbours);

/// Gives a report that came by radio what no frame carries, so that it blanks nothing.
void completeRadioReport(const tBasis &entry, FoundationData *report);

/// Takes the motion and dimensions of \a report into its entry, and gives both records what the
/// entry knows of the pair: the reference readings, the neighbour's place. Ends its silence.
void takeReport(tBasis *entry, FoundationData *own, FoundationData *report);

/// The slewing zone, both jibs in plan: alarms at up to twice the safety distance. A distance that
/// is not a number raises.
std::optional<Alarm> evaluateZone(const FoundationData &own, const FoundationData &report,
                                  const Encounter &encounter, tBasis *entry);

/// The 16 pairs of segments in 3D, own jib first; alarms at up to the safety distance. A clearance
/// that is not a number changes nothing.
QVector<Alarm> evaluatePairs(const FoundationData &own, const FoundationData &report,
                             const Encounter &encounter, tBasis *entry);
