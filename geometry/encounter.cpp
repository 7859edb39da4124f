#include "geometry/encounter.h"

#include "geometry/distancecalculation.h"
#include "geometry/jibgeometry.h"

Encounter encounterOf(const FoundationData &own, const FoundationData &neighbour)
{
    Encounter encounter{
        JibGeometry::segmentsOf(own, 0), JibGeometry::segmentsOf(neighbour, 1), 0, {}};
    encounter.zone = MeasuredSegment(encounter.own.plan).clearanceTo(encounter.neighbour.plan);
    auto clearance = encounter.pairs.begin();
    for (const Segment &part : encounter.own.parts) {
        const MeasuredSegment measured(part);
        for (const Segment &other : encounter.neighbour.parts)
            *clearance++ = measured.clearanceTo(other);
    }
    return encounter;
}
