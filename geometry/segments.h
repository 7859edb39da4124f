#pragma once

#include <QString>
#include <QVector3D>

#include <array>

/// A straight part of a crane, in the pair frame of jibgeometry.h.
struct Segment {
    QVector3D begin;
    QVector3D end;
};

/// The same with its label: "大臂" jib, "塔身" tower, "吊绳" hoist rope or "后臂" counter-jib.
struct Line_3D {
    QString name;
    QVector3D begin;
    QVector3D end;
};

/// A crane in the pair frame.
struct CraneSegments {
    std::array<Segment, 4> parts; ///< jib, tower, hoist rope, counter-jib
    Segment plan;                 ///< the jib at height 0
};

/// The label of a part by its place in CraneSegments::parts.
QString partName(size_t part);
