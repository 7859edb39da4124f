#pragma once

#include <QRandomGenerator>
#include <QVector3D>

#include <cmath>
#include <cstring>

#include "geometry/encounter.h"
#include "geometry/jibgeometry.h"
#include "geometry/reproduciblemath.h"
#include "tests/hostilevalues.h"

/// Pairs of cranes, likely and impossible ones, and their clearances the plain way: each point and
/// each distance by itself. The yardstick of what the controller measures.

struct CranePair {
    FoundationData own;
    FoundationData neighbour; ///< location_X and offset set for the pair
};

inline FoundationData likelyCrane(QRandomGenerator &random)
{
    FoundationData crane;
    crane.craneheight = plainNumber(random, 20.0f, 80.0f);
    crane.foundation = plainNumber(random, -2.0f, 6.0f);
    crane.towerhead = random.bounded(2) ? plainNumber(random, 0.0f, 9.0f) : 0.0f;
    crane.armlen = plainNumber(random, 20.0f, 75.0f);
    crane.reararm = plainNumber(random, 5.0f, 20.0f);
    crane.travel = plainNumber(random, 2.0f, 70.0f);
    crane.height = plainNumber(random, 0.0f, 60.0f);
    crane.rotation = plainNumber(random, 0.0f, 360.0f);
    crane.offset = plainNumber(random, 0.0f, 360.0f);
    return crane;
}

/// Two cranes of one site, as they are nearly always.
inline CranePair likelyPair(QRandomGenerator &random)
{
    CranePair pair{likelyCrane(random), likelyCrane(random)};
    pair.neighbour.location_X = plainNumber(random, 5.0f, 150.0f);
    return pair;
}

inline float FoundationData::*anyGeometry(QRandomGenerator &random)
{
    static constexpr float FoundationData::*members[] = {
        &FoundationData::location_X, &FoundationData::craneheight, &FoundationData::foundation,
        &FoundationData::armlen,     &FoundationData::reararm,     &FoundationData::height,
        &FoundationData::travel,     &FoundationData::rotation,    &FoundationData::towerhead,
        &FoundationData::offset};
    return members[random.bounded(10)];
}

/// A likely pair spoilt in one way: parts on one line, at one point, of no length, or of numbers
/// that no crane has.
inline CranePair degeneratePair(QRandomGenerator &random)
{
    CranePair pair = likelyPair(random);
    switch (random.bounded(6)) {
    case 0: // the jibs on the line between the axes, or square to it
        pair.own.rotation = pair.own.offset + 90.0f * static_cast<float>(random.bounded(5) - 2);
        pair.neighbour.rotation =
            pair.neighbour.offset + 90.0f * static_cast<float>(random.bounded(5) - 2);
        break;
    case 1: // one axis, one crane
        pair.neighbour = pair.own;
        pair.neighbour.location_X = 0.0f;
        break;
    case 2: // level with each other, trolleys over one point
        pair.neighbour.craneheight = pair.own.craneheight;
        pair.neighbour.foundation = pair.own.foundation;
        pair.own.rotation = pair.own.offset;
        pair.neighbour.rotation = pair.neighbour.offset;
        pair.neighbour.location_X = pair.own.travel + pair.neighbour.travel;
        break;
    case 3: // a crane that has reported nothing
        (random.bounded(2) ? pair.own : pair.neighbour) = FoundationData();
        break;
    default:
        break;
    }
    for (int left = random.bounded(5); left > 0; --left) {
        FoundationData &crane = random.bounded(2) ? pair.own : pair.neighbour;
        crane.*anyGeometry(random) = random.bounded(3) ? hostileNumber(random) : 0.0f;
    }
    return pair;
}

inline float plainDistance(const QVector3D &point, const QVector3D &a, const QVector3D &b)
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

inline float plainClearance(const Line_3D &own, const Line_3D &neighbour)
{
    QVector3D low = neighbour.begin;
    QVector3D high = neighbour.end;
    float highDistance = 0.0f;
    for (int i = 0; i < 16; ++i) {
        const float lowDistance = plainDistance(low, own.begin, own.end);
        highDistance = plainDistance(high, own.begin, own.end);
        if (static_cast<double>(std::fabs(lowDistance - highDistance)) < 0.01)
            break;
        const QVector3D middle = (low + high) * 0.5f;
        if (!(lowDistance < highDistance))
            low = high;
        high = middle;
    }
    return highDistance;
}

inline QVector3D atHeight(const QPointF &point, float z)
{
    return QVector3D(static_cast<float>(point.x()), static_cast<float>(point.y()), z);
}

inline QPointF axisOf(const FoundationData &crane, bool isNeighbour)
{
    return QPointF(isNeighbour ? static_cast<double>(crane.location_X) : 0.0, 0.0);
}

inline float directionOf(const FoundationData &crane, bool isNeighbour)
{
    return isNeighbour ? JibGeometry::HcalculateDegree(crane.rotation, crane.offset)
                       : JibGeometry::McalculateDegree(crane.rotation, crane.offset);
}

inline Line_3D plainPlan(FoundationData crane, bool isNeighbour)
{
    const QPointF axis = axisOf(crane, isNeighbour);
    const float direction = directionOf(crane, isNeighbour);
    return {QString(), atHeight(axis, 0.0f),
            atHeight(JibGeometry::calculateEndpoint(axis, crane.armlen, direction), 0.0f)};
}

inline QList<Line_3D> plainParts(FoundationData crane, bool isNeighbour)
{
    const QPointF axis = axisOf(crane, isNeighbour);
    const float direction = directionOf(crane, isNeighbour);
    const float jib = crane.craneheight + crane.foundation;
    const QVector3D root = atHeight(axis, jib);
    const QPointF trolley = JibGeometry::calculateEndpoint(axis, crane.travel, direction);
    const auto end = [&](float length, float angle) {
        return atHeight(JibGeometry::calculateEndpoint(axis, length, angle), jib);
    };
    return {
        {QStringLiteral("大臂"), root, end(crane.armlen, direction)},
        {QStringLiteral("塔身"), atHeight(axis, 0.0f), atHeight(axis, jib + crane.towerhead)},
        {QStringLiteral("吊绳"), atHeight(trolley, jib), atHeight(trolley, jib - crane.height)},
        {QStringLiteral("后臂"), root, end(crane.reararm, direction + 180.0f)},
    };
}

/// The 17 clearances the plain way, segment by segment; no segments.
inline Encounter plainEncounter(const CranePair &pair)
{
    Encounter encounter{};
    encounter.zone = plainClearance(plainPlan(pair.own, false), plainPlan(pair.neighbour, true));
    const QList<Line_3D> ownParts = plainParts(pair.own, false);
    const QList<Line_3D> parts = plainParts(pair.neighbour, true);
    auto clearance = encounter.pairs.begin();
    for (const Line_3D &ownPart : ownParts) {
        for (const Line_3D &part : parts)
            *clearance++ = plainClearance(ownPart, part);
    }
    return encounter;
}

/// The same bits; any two that are not a number count as the same, since which operand's sign and
/// payload come through is the compiler's choice and shows nowhere.
inline bool isSame(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

/// Index of the first clearance that differs, 16 for the zone; -1 if none does.
inline int firstDifference(const Encounter &a, const Encounter &b)
{
    for (size_t i = 0; i < a.pairs.size(); ++i) {
        if (!isSame(a.pairs[i], b.pairs[i]))
            return static_cast<int>(i);
    }
    return isSame(a.zone, b.zone) ? -1 : 16;
}
