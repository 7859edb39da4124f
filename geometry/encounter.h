#pragma once

#include <array>

#include "geometry/segments.h"
#include "model/foundationdata.h"

/// A pair of cranes in the moment of a report: where their parts are, and how far from each other.
///
/// Built once for a report; the alarms and their spoken warnings read it. Pure.
struct Encounter {
    CraneSegments own;
    CraneSegments neighbour;
    float zone = 0.0f;           ///< clearance of the jibs in plan, metres
    std::array<float, 16> pairs; ///< own part i and neighbour's part j at i * 4 + j, metres
};

/// \a neighbour has location_X and offset set for the pair.
Encounter encounterOf(const FoundationData &own, const FoundationData &neighbour);
