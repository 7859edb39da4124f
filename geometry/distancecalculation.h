#pragma once

class QVector3D;

/// Distances between crane parts; the name is fixed, it draws nothing.
///
/// Pure functions in single precision, metres. All points are in the pair frame of
/// jibgeometry.h.
class QDrawingPaperView
{
public:
    static constexpr int mostHalvings = 16;
    static constexpr double equallyFar = 0.01; ///< metres

    /// Distance in metres from \a point to the segment \a a - \a b.
    ///
    /// Inside the segment it is |ap x ab| / |ab|, outside it the distance to the nearer end. A
    /// segment of zero length (a rope hauled right in) counts as the point \a a. A projection that
    /// is not a number gives the distance to \a a.
    static float calculateDistance(const QVector3D &point, const QVector3D &a, const QVector3D &b);

    /// Clearance in metres between the segments \a p1 - \a p2 and \a q1 - \a q2; \a nearest
    /// receives the point found on the second.
    ///
    /// A bisection along the second segment: it keeps the half whose end is nearer to the first
    /// segment, at most 16 times, and stops when both ends of what is left are equally far to
    /// 0.01 m. The nearer half is judged by its two ends alone, so the result can be larger than
    /// the true clearance, never smaller: a crossing segment whose ends are equally far reports
    /// the end's distance, not the crossing's. Alarm texts and thresholds build on these values;
    /// they stay as they are.
    static float LineTLone(const QVector3D &p1, const QVector3D &p2, const QVector3D &q1,
                           const QVector3D &q2, QVector3D &nearest);
};
