#pragma once

#include <QVector3D>

/// Dot and cross product in single precision, the same bits on every target.
///
/// Qt's own are compiled with fused multiply-add on AArch64, which would move about one clearance
/// in a hundred. Its inline operators, length() and normalized() are safe: they square floats in
/// double, which is exact.

inline float dot(const QVector3D &a, const QVector3D &b)
{
    return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

inline QVector3D cross(const QVector3D &a, const QVector3D &b)
{
    return QVector3D(a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
                     a.x() * b.y() - a.y() * b.x());
}
