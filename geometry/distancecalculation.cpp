#include "geometry/distancecalculation.h"

#include <cmath>

#include "geometry/reproduciblemath.h"

float QDrawingPaperView::calculateDistance(const QVector3D &point, const QVector3D &a,
                                           const QVector3D &b)
{
    const QVector3D ab = b - a;
    const QVector3D ap = point - a;
    const float length = ab.length();
    const float along = dot(ap, ab.normalized());
    if (!(along > 0.0f)) // not a number included
        return ap.length();
    if (length <= along)
        return (point - b).length();
    return cross(ap, ab).length() / length;
}

float QDrawingPaperView::LineTLone(const QVector3D &p1, const QVector3D &p2, const QVector3D &q1,
                                   const QVector3D &q2, QVector3D &nearest)
{
    QVector3D low = q1;
    QVector3D high = q2;
    float highDistance = 0.0f;
    for (int i = 0; i < mostHalvings; ++i) {
        const float lowDistance = calculateDistance(low, p1, p2);
        highDistance = calculateDistance(high, p1, p2);
        if (static_cast<double>(std::fabs(lowDistance - highDistance)) < equallyFar)
            break;
        const QVector3D middle = (low + high) * 0.5f;
        if (!(lowDistance < highDistance))
            low = high;
        high = middle;
    }
    nearest = high;
    return highDistance;
}
