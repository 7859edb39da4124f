#pragma once

#include <array>

#include "model/foundationdata.h"

/// The 17 clearances of a pair of cranes, in metres: the same bits as LineTLone() between the
/// segments of rotationT3D() and Lineto3D(), at a fraction of the work.
struct PairClearances {
    float zone;                  ///< the jibs in plan
    std::array<float, 16> pairs; ///< own part i and neighbour's part j at i * 4 + j
};

/// \a neighbour has location_X and offset set for the pair.
PairClearances clearancesOf(const FoundationData &own, const FoundationData &neighbour);
