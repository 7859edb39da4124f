#pragma once

#include <QString>
#include <QVector3D>

/// One labelled segment of a crane, in the pair frame of jibgeometry.h.
struct Line_3D {
    QString name; ///< "大臂" jib, "塔身" tower, "吊绳" hoist rope or "后臂" counter-jib
    QVector3D begin;
    QVector3D end;
};
