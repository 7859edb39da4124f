#pragma once

#include <random>

/// Numbers of a played site. One generator per crane and one for the layout, so that a crane's
/// moves do not depend on how often the others are asked. The same seed gives the same numbers
/// with every standard library, which the library's own distributions do not promise.
using SiteRandom = std::mt19937;

/// A number from \a low (included) to \a high (excluded), evenly spread.
inline double uniform(SiteRandom &random, double low, double high)
{
    return low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
}
