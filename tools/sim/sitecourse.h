#pragma once

#include "tools/sim/cranemotion.h"
#include "tools/sim/silence.h"

#include <vector>

/// Where all cranes of a played site are, and whether the first neighbour's unit speaks. Seconds
/// count from the begin of motion. It depends on the site alone, never on the clock.
class SiteCourse
{
public:
    SiteCourse() = default;
    virtual ~SiteCourse() = default;
    SiteCourse(const SiteCourse &) = delete;
    SiteCourse &operator=(const SiteCourse &) = delete;

    /// The pose of the crane \a index; for one crane \a seconds must not fall from call to call.
    virtual CranePose poseAt(int index, double seconds) = 0;
    virtual bool isSilentAt(double seconds) const = 0;
};

/// Every crane at its work, all at the same time.
class BusyCourse : public SiteCourse
{
public:
    /// \a silence is how many seconds the first neighbour says nothing each time; 0: never silent.
    BusyCourse(const Site &site, double silence);

    CranePose poseAt(int index, double seconds) override;
    bool isSilentAt(double seconds) const override { return m_silence.isSilentAt(seconds); }

private:
    std::vector<CraneMotion> m_motions; // in the site's order
    Silence m_silence;
};
