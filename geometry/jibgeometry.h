#pragma once

#include <QList>
#include <QPointF>

#include "geometry/segments.h"
#include "model/foundationdata.h"

/// From a crane record to its segments in the pair frame. Pure functions.
///
///            y
///            |        own jib at phi
///            |      /
///            |    /                            neighbour jib
///            |  /  phi                        \.
///            |/ )                               \.
///     own axis o---------------------------------o----> x
///            (0, 0)                      (location_X, 0)
///
/// The pair frame has its origin on the own slewing axis at the foot of the tower, +x towards the
/// neighbour's slewing axis, z up. Metres, degrees, single precision; the direction phi is
/// (cos phi, sin phi). Slewing readings run against it: phi falls as a reading rises. A reading
/// becomes a direction through the reference reading of the pair, at which the jib points at the
/// other crane: that is phi = 0 for the own jib and phi = 180 for the neighbour's.
///
/// Sines and cosines, their product with a length and the sum with the origin are double; each
/// finished point is narrowed to float once. `neighbour` is 0 for the own crane; otherwise
/// location_X and offset of the record are those of the pair.
class JibGeometry
{
public:
    /// Own direction: \a b (reference) less \a a (reading), wrapped into [0, 360). A result within
    /// a rounding error below 0 comes out as 360; one that is not finite as NaN.
    static float McalculateDegree(float a, float b);
    /// Neighbour's direction: as McalculateDegree(), turned by 180.
    static float HcalculateDegree(float a, float b);
    /// The point \a length from \a p in the direction \a angle.
    static QPointF calculateEndpoint(const QPointF &p, float length, float angle);
    /// The point \a distance from the origin in the direction \a angle.
    static QPointF Local_basis(float distance, float angle);
    /// A jib of \a length as one level segment at height \a z.
    static void rotationT3D(FoundationData fd, float length, float z, QVector3D *begin,
                            QVector3D *end, int neighbour);
    /// The crane's segments. The hook hangs `height` below the jib; a counter-jib points away from
    /// its jib.
    static CraneSegments segmentsOf(const FoundationData &crane, int neighbour);
    /// The four parts of segmentsOf() with their labels.
    static QList<Line_3D> Lineto3D(FoundationData fd, int neighbour);
};
