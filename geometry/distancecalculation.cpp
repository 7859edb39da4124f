#include "geometry/distancecalculation.h"

#include <cmath>

#include "geometry/reproduciblemath.h"

namespace
{

constexpr int mostHalvings = 16;
constexpr double equallyFar = 0.01; // metres

bool isEquallyFar(float a, float b)
{
    return static_cast<double>(std::fabs(a - b)) < equallyFar;
}

} // namespace

MeasuredSegment::MeasuredSegment(const Segment &segment)
    : m_begin(segment.begin), m_end(segment.end), m_span(segment.end - segment.begin),
      m_direction(m_span.normalized()), m_length(lengthOf(m_span))
{
}

float MeasuredSegment::distanceTo(const QVector3D &point) const
{
    const QVector3D fromBegin = point - m_begin;
    const float along = dot(fromBegin, m_direction);
    if (!(along > 0.0f)) // not a number included
        return lengthOf(fromBegin);
    if (m_length <= along)
        return lengthOf(point - m_end);
    return lengthOf(cross(fromBegin, m_span)) / m_length;
}

float MeasuredSegment::clearanceTo(const Segment &other, QVector3D *nearest) const
{
    QVector3D low = other.begin;
    QVector3D high = other.end;
    float lowDistance = distanceTo(low);
    float highDistance = distanceTo(high);
    for (int step = 1; step < mostHalvings && !isEquallyFar(lowDistance, highDistance); ++step) {
        const QVector3D middle = (low + high) * 0.5f;
        if (!(lowDistance < highDistance)) {
            low = high;
            lowDistance = highDistance;
        }
        high = middle;
        highDistance = distanceTo(high);
    }
    if (nearest) // the last halving is not measured
        *nearest = isEquallyFar(lowDistance, highDistance) ? high : (low + high) * 0.5f;
    return highDistance;
}

float QDrawingPaperView::calculateDistance(const QVector3D &point, const QVector3D &a,
                                           const QVector3D &b)
{
    return MeasuredSegment({a, b}).distanceTo(point);
}

float QDrawingPaperView::LineTLone(const QVector3D &p1, const QVector3D &p2, const QVector3D &q1,
                                   const QVector3D &q2, QVector3D &nearest)
{
    return MeasuredSegment({p1, p2}).clearanceTo({q1, q2}, &nearest);
}
