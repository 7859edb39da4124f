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

QVector3D atHeight(const QPointF &point, float z)
{
    return QVector3D(static_cast<float>(point.x()), static_cast<float>(point.y()), z);
}

} // namespace

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
    const QPointF axis = axisOf(fd, neighbour);
    *begin = atHeight(axis, z);
    *end = atHeight(calculateEndpoint(axis, length, directionOf(fd, neighbour)), z);
}

QList<Line_3D> JibGeometry::Lineto3D(FoundationData fd, int neighbour)
{
    const QPointF axis = axisOf(fd, neighbour);
    const float direction = directionOf(fd, neighbour);
    const float jibHeight = fd.craneheight + fd.foundation;
    const QVector3D root = atHeight(axis, jibHeight);
    const QPointF trolley = calculateEndpoint(axis, fd.travel, direction);
    return {
        {QStringLiteral("大臂"), // jib
         root, atHeight(calculateEndpoint(axis, fd.armlen, direction), jibHeight)},
        {QStringLiteral("塔身"), // tower
         atHeight(axis, 0.0f), atHeight(axis, jibHeight + fd.towerhead)},
        {QStringLiteral("吊绳"), // hoist rope
         atHeight(trolley, jibHeight), atHeight(trolley, jibHeight - fd.height)},
        {QStringLiteral("后臂"), // counter-jib
         root, atHeight(calculateEndpoint(axis, fd.reararm, direction + 180.0f), jibHeight)},
    };
}
