#pragma once

#include <QRandomGenerator>
#include <QVector3D>

#include <cmath>
#include <cstring>

#include "geometry/distancecalculation.h"
#include "tests/hostilevalues.h"
#include "geometry/jibgeometry.h"
#include "geometry/pairclearances.h"

/// Pairs of cranes, likely and impossible ones, and their clearances the plain way.

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

inline float plainClearance(const Line_3D &own, const Line_3D &neighbour)
{
    QVector3D nearest;
    return QDrawingPaperView::LineTLone(own.begin, own.end, neighbour.begin, neighbour.end,
                                        nearest);
}

/// The 17 clearances the plain way, segment by segment.
inline PairClearances plainClearances(const CranePair &pair)
{
    Line_3D ownJib;
    Line_3D jib;
    JibGeometry::rotationT3D(pair.own, pair.own.armlen, 0.0f, &ownJib.begin, &ownJib.end, 0);
    JibGeometry::rotationT3D(pair.neighbour, pair.neighbour.armlen, 0.0f, &jib.begin, &jib.end, 1);
    PairClearances clearances{};
    clearances.zone = plainClearance(ownJib, jib);
    const QList<Line_3D> ownParts = JibGeometry::Lineto3D(pair.own, 0);
    const QList<Line_3D> parts = JibGeometry::Lineto3D(pair.neighbour, 1);
    auto clearance = clearances.pairs.begin();
    for (const Line_3D &ownPart : ownParts) {
        for (const Line_3D &part : parts)
            *clearance++ = plainClearance(ownPart, part);
    }
    return clearances;
}

/// The same bits; any two that are not a number count as the same, since which operand's sign and
/// payload come through is the compiler's choice and shows nowhere.
inline bool isSame(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

/// Index of the first clearance that differs, 16 for the zone; -1 if none does.
inline int firstDifference(const PairClearances &a, const PairClearances &b)
{
    for (size_t i = 0; i < a.pairs.size(); ++i) {
        if (!isSame(a.pairs[i], b.pairs[i]))
            return static_cast<int>(i);
    }
    return isSame(a.zone, b.zone) ? -1 : 16;
}
