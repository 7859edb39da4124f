#pragma once

#include <QVector3D>

#include "geometry/segments.h"

/// A segment with what every distance to it needs: one is measured against many.
///
/// Pure, single precision, metres, the same bits on every target. All points are in the pair frame
/// of jibgeometry.h.
class MeasuredSegment
{
public:
    explicit MeasuredSegment(const Segment &segment);

    /// Distance to \a point.
    ///
    /// Beside the segment it is |ap x ab| / |ab|, beyond it the distance to the nearer end. A
    /// segment of zero length (a rope hauled right in) counts as its begin. A projection that is
    /// not a number gives the distance to the begin.
    float distanceTo(const QVector3D &point) const;

    /// Clearance to \a other; \a nearest receives the point found on it.
    ///
    /// A bisection along the other segment: it keeps the half whose end is nearer to this one, at
    /// most 16 times, and stops when both ends of what is left are equally far to 0.01 m. The
    /// nearer half is judged by its two ends alone, so the result can be larger than the true
    /// clearance, never smaller: a crossing segment whose ends are equally far reports the end's
    /// distance, not the crossing's. Alarm texts and thresholds build on these values; they stay as
    /// they are. Each step measures one point: the other's distance is that of the step before.
    float clearanceTo(const Segment &other, QVector3D *nearest = nullptr) const;

private:
    QVector3D m_begin;
    QVector3D m_end;
    QVector3D m_span;
    QVector3D m_direction;
    float m_length;
};

/// The same by the names that integrators call, segment by segment; it draws nothing.
class QDrawingPaperView
{
public:
    /// Distance from \a point to the segment \a a - \a b.
    static float calculateDistance(const QVector3D &point, const QVector3D &a, const QVector3D &b);
    /// Clearance between the segments \a p1 - \a p2 and \a q1 - \a q2; \a nearest receives the
    /// point found on the second.
    static float LineTLone(const QVector3D &p1, const QVector3D &p2, const QVector3D &q1,
                           const QVector3D &q2, QVector3D &nearest);
};
