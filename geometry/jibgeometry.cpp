#include "geometry/jibgeometry.h"

#include <cmath>

namespace
{

constexpr float radiansPerDegree = 0.017453292f;

QPointF axisOf(const FoundationData &crane, int neighbour)
{
    return QPointF(neighbour ? static_cast<double>(crane.location_X) : 0.0, 0.0);
}

float directionOf(const FoundationData &crane, int neighbour)
{
    return neighbour ? JibGeometry::HcalculateDegree(crane.rotation, crane.offset)
                     : JibGeometry::McalculateDegree(crane.rotation, crane.offset);
}

/// Points on a ray from a slewing axis, its sine and cosine taken once.
class Ray
{
public:
    Ray(const QPointF &axis, float angle)
        : m_axis(axis), m_unit(JibGeometry::calculateEndpoint(QPointF(), 1.0f, angle))
    {
    }
    QVector3D at(float radius, float z) const
    {
        const QPointF point = m_axis + static_cast<double>(radius) * m_unit;
        return QVector3D(static_cast<float>(point.x()), static_cast<float>(point.y()), z);
    }
    QVector3D axisAt(float z) const { return QVector3D(static_cast<float>(m_axis.x()), 0.0f, z); }

private:
    QPointF m_axis;
    QPointF m_unit;
};

} // namespace

QString partName(size_t part)
{
    static const std::array<QString, 4> names{
        QStringLiteral("大臂"), // jib
        QStringLiteral("塔身"), // tower
        QStringLiteral("吊绳"), // hoist rope
        QStringLiteral("后臂"), // counter-jib
    };
    return names.at(part);
}

float JibGeometry::McalculateDegree(float a, float b)
{
    const float difference = b - a;
    float result = static_cast<float>(std::fmod(static_cast<double>(difference), 360.0));
    if (result < 0.0f)
        result += 360.0f;
    return result;
}

float JibGeometry::HcalculateDegree(float a, float b)
{
    float opposite = b - 180.0f;
    if (opposite < 0.0f)
        opposite += 360.0f;
    return McalculateDegree(a, opposite);
}

QPointF JibGeometry::calculateEndpoint(const QPointF &p, float length, float angle)
{
    const double radians = static_cast<double>(angle * radiansPerDegree);
    const double radius = static_cast<double>(length);
    return QPointF(p.x() + radius * std::cos(radians), p.y() + radius * std::sin(radians));
}

QPointF JibGeometry::Local_basis(float distance, float angle)
{
    return calculateEndpoint(QPointF(0.0, 0.0), distance, angle);
}

void JibGeometry::rotationT3D(FoundationData fd, float length, float z, QVector3D *begin,
                              QVector3D *end, int neighbour)
{
    const Ray ray(axisOf(fd, neighbour), directionOf(fd, neighbour));
    *begin = ray.axisAt(z);
    *end = ray.at(length, z);
}

CraneSegments JibGeometry::segmentsOf(const FoundationData &crane, int neighbour)
{
    const float direction = directionOf(crane, neighbour);
    const Ray forward(axisOf(crane, neighbour), direction);
    const Ray backward(axisOf(crane, neighbour), direction + 180.0f);
    const float jibHeight = crane.craneheight + crane.foundation;
    const QVector3D root = forward.axisAt(jibHeight);
    const QVector3D jibEnd = forward.at(crane.armlen, jibHeight);
    const QVector3D trolley = forward.at(crane.travel, jibHeight);
    const QVector3D hook(trolley.x(), trolley.y(), jibHeight - crane.height);
    const QVector3D foot = forward.axisAt(0.0f);
    return {{Segment{root, jibEnd}, Segment{foot, forward.axisAt(jibHeight + crane.towerhead)},
             Segment{trolley, hook}, Segment{root, backward.at(crane.reararm, jibHeight)}},
            Segment{foot, QVector3D(jibEnd.x(), jibEnd.y(), 0.0f)}};
}

QList<Line_3D> JibGeometry::Lineto3D(FoundationData fd, int neighbour)
{
    const CraneSegments segments = segmentsOf(fd, neighbour);
    QList<Line_3D> lines;
    for (size_t part = 0; part < segments.parts.size(); ++part)
        lines.append({partName(part), segments.parts[part].begin, segments.parts[part].end});
    return lines;
}
