#pragma once

#include "tools/sim/site.h"
#include "tools/sim/siterandom.h"

/// What a drive can do; the units are those of its axis (degrees or metres) and seconds.
struct DriveLimits {
    double maxSpeed = 0;
    double maxAcceleration = 0;
};

/// The drives of the played cranes.
constexpr DriveLimits slewingDrive{4.8, 1.0}; // degrees: 0.8 turns a minute
constexpr DriveLimits trolleyDrive{1.0, 0.4}; // metres
constexpr DriveLimits hoistDrive{1.0, 0.5};   // metres

/// One move of one drive, from rest to rest.
///
/// The speed rises and falls along half a cosine wave, so that the acceleration has no step and
/// reaches the limit in the middle of a ramp only. A short move never reaches full speed. Before
/// its begin the drive rests at the first position, after its end at the last.
class DriveMove
{
public:
    DriveMove() = default;
    /// A move from \a from to \a to that begins at \a begin seconds.
    DriveMove(double from, double to, double begin, DriveLimits limits);

    double begin() const { return m_begin; }
    double end() const; // seconds
    double positionAt(double seconds) const;

private:
    double m_from = 0;
    double m_to = 0;
    double m_begin = 0;      // seconds
    double m_rampTime = 0;   // seconds from rest to m_speed, and back again
    double m_cruiseTime = 0; // seconds at m_speed
    double m_speed = 0;      // the highest of the move, negative towards smaller positions
};

/// Where a crane's parts are.
struct CranePose {
    double bearing = 0; // of the jib, degrees, not wrapped
    double travel = 0;  // trolley, metres from the slewing axis
    double rope = 0;    // paid out below the jib, metres
};

/// One crane at work: load move after load move to places drawn at random in its work sector.
///
/// A load move hoists the hook towards the jib, slews and trolleys to the new place and lowers
/// the hook there. The driver looks at no other crane. The course depends on the crane alone: how
/// often it is looked at changes nothing.
class CraneMotion
{
public:
    explicit CraneMotion(const SiteCrane &crane);

    /// The pose at \a seconds after the begin of motion; must not fall from call to call.
    CranePose poseAt(double seconds);

private:
    void planLoadMove();
    double nextBearing(double from);

    SiteCrane m_crane;
    SiteRandom m_random;
    DriveMove m_slewing;
    DriveMove m_trolley;
    DriveMove m_hoisting;
    DriveMove m_lowering;
    double m_nextMove = 0; // seconds at which the present load move has been set down
};

/// What \a crane reports in \a pose.
CraneReading readingOf(const SiteCrane &crane, const CranePose &pose);
