#pragma once

#include <QVector3D>

#include <cmath>

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

/// As QVector3D::length(), without a call into the library.
inline float lengthOf(const QVector3D &v)
{
    const auto x = static_cast<double>(v.x());
    const auto y = static_cast<double>(v.y());
    const auto z = static_cast<double>(v.z());
    return static_cast<float>(std::sqrt(x * x + y * y + z * z));
}
