#pragma once

#include <cmath>

/// When the unit of one played crane says nothing, in seconds after the begin of motion: after
/// \a before seconds for the first time, then again and again. The crane itself works on.
struct Silence {
    double before = 20; // seconds heard before it falls silent
    double length = 0;  // seconds of silence; 0: always heard
    double after = 26;  // seconds heard before all of it begins again

    bool isSilentAt(double seconds) const
    {
        const double inCycle = std::fmod(seconds, before + length + after);
        return inCycle >= before && inCycle < before + length;
    }
};
