#include "geometry/pairclearances.h"

#include <QPointF>

#include <cmath>

#include "geometry/distancecalculation.h"
#include "geometry/jibgeometry.h"
#include "geometry/reproduciblemath.h"

namespace
{

struct Segment {
    QVector3D begin;
    QVector3D end;
};

/// A crane without its labels: the parts in the order of Lineto3D(), and the jib in plan.
struct CraneSegments {
    std::array<Segment, 4> parts;
    Segment plan;
};

/// Points on a ray from the slewing axis: as calculateEndpoint(), the sine and cosine taken once.
class Ray
{
public:
    Ray(double axis, float angle)
        : m_axis(axis), m_unit(JibGeometry::calculateEndpoint(QPointF(), 1.0f, angle))
    {
    }
    QVector3D at(float radius, float z) const
    {
        const auto length = static_cast<double>(radius);
        return QVector3D(static_cast<float>(m_axis + length * m_unit.x()),
                         static_cast<float>(0.0 + length * m_unit.y()), z);
    }

private:
    double m_axis;
    QPointF m_unit;
};

CraneSegments segmentsOf(const FoundationData &crane, float x, float direction)
{
    const Ray forward(static_cast<double>(x), direction);
    const Ray backward(static_cast<double>(x), direction + 180.0f);
    const float jibHeight = crane.craneheight + crane.foundation;
    const QVector3D root(x, 0.0f, jibHeight);
    const QVector3D foot(x, 0.0f, 0.0f);
    const QVector3D jibEnd = forward.at(crane.armlen, jibHeight);
    const QVector3D trolley = forward.at(crane.travel, jibHeight);
    const QVector3D hook(trolley.x(), trolley.y(), jibHeight - crane.height);
    const QVector3D towerTop(x, 0.0f, jibHeight + crane.towerhead);
    return {{Segment{root, jibEnd}, Segment{foot, towerTop}, Segment{trolley, hook},
             Segment{root, backward.at(crane.reararm, jibHeight)}},
            Segment{foot, QVector3D(jibEnd.x(), jibEnd.y(), 0.0f)}};
}

/// A segment with what every distance to it needs; see calculateDistance().
class MeasuredSegment
{
public:
    explicit MeasuredSegment(const Segment &segment)
        : m_begin(segment.begin), m_end(segment.end), m_span(segment.end - segment.begin),
          m_direction(m_span.normalized()), m_length(lengthOf(m_span))
    {
    }

    float distanceTo(const QVector3D &point) const
    {
        const QVector3D fromBegin = point - m_begin;
        const float along = dot(fromBegin, m_direction);
        if (!(along > 0.0f)) // not a number included
            return lengthOf(fromBegin);
        if (m_length <= along)
            return lengthOf(point - m_end);
        return lengthOf(cross(fromBegin, m_span)) / m_length;
    }

    /// As LineTLone(), where one of the two distances of each step is that of the step before.
    float clearanceTo(const Segment &other) const
    {
        QVector3D low = other.begin;
        QVector3D high = other.end;
        float lowDistance = distanceTo(low);
        float highDistance = distanceTo(high);
        for (int step = 1; step < QDrawingPaperView::mostHalvings; ++step) {
            if (static_cast<double>(std::fabs(lowDistance - highDistance)) <
                QDrawingPaperView::equallyFar)
                break;
            const QVector3D middle = (low + high) * 0.5f;
            if (!(lowDistance < highDistance)) {
                low = high;
                lowDistance = highDistance;
            }
            high = middle;
            highDistance = distanceTo(high);
        }
        return highDistance;
    }

private:
    QVector3D m_begin;
    QVector3D m_end;
    QVector3D m_span;
    QVector3D m_direction;
    float m_length;
};

} // namespace

PairClearances clearancesOf(const FoundationData &own, const FoundationData &neighbour)
{
    const CraneSegments ownSegments =
        segmentsOf(own, 0.0f, JibGeometry::McalculateDegree(own.rotation, own.offset));
    const CraneSegments segments =
        segmentsOf(neighbour, neighbour.location_X,
                   JibGeometry::HcalculateDegree(neighbour.rotation, neighbour.offset));
    PairClearances clearances;
    clearances.zone = MeasuredSegment(ownSegments.plan).clearanceTo(segments.plan);
    auto clearance = clearances.pairs.begin();
    for (const Segment &part : ownSegments.parts) {
        const MeasuredSegment measured(part);
        for (const Segment &other : segments.parts)
            *clearance++ = measured.clearanceTo(other);
    }
    return clearances;
}
