#include "tools/sim/cranemotion.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double pi = 3.14159265358979323846;
constexpr double innermostTravel = 3; // metres from the slewing axis to the trolley's buffer
constexpr double shortestRope = 4;    // metres, hook block under the jib
constexpr double smallestTurn = 30;   // degrees of a load move

/// The share of a ramp's way, speed times ramp time, that is behind after \a time of it.
double rampShare(double time, double rampTime)
{
    const double part = time / rampTime;
    return 0.5 * (part - std::sin(pi * part) / pi);
}
} // namespace

DriveMove::DriveMove(double from, double to, double begin, DriveLimits limits)
    : m_from(from), m_to(to), m_begin(begin)
{
    const double way = std::abs(to - from);
    // A ramp takes pi v / 2a seconds, and two of them cover v times that.
    const double speed =
        std::min(limits.maxSpeed, std::sqrt(2 * limits.maxAcceleration * way / pi));
    if (speed <= 0)
        return;
    m_rampTime = pi * speed / (2 * limits.maxAcceleration);
    m_cruiseTime = std::max(0.0, way / speed - m_rampTime);
    m_speed = to < from ? -speed : speed;
}

double DriveMove::end() const
{
    return m_begin + 2 * m_rampTime + m_cruiseTime;
}

double DriveMove::positionAt(double seconds) const
{
    if (seconds <= m_begin)
        return m_from;
    if (seconds >= end())
        return m_to;
    const double time = seconds - m_begin;
    if (time < m_rampTime)
        return m_from + m_speed * m_rampTime * rampShare(time, m_rampTime);
    if (time < m_rampTime + m_cruiseTime)
        return m_from + m_speed * (0.5 * m_rampTime + time - m_rampTime);
    return m_to - m_speed * m_rampTime * rampShare(end() - seconds, m_rampTime);
}

CraneMotion::CraneMotion(const SiteCrane &crane) : m_crane(crane), m_random(crane.moveSeed)
{
    const double travel = uniform(m_random, 0.4, 0.9) * crane.armLength;
    const double rope = uniform(m_random, 8, 20);
    m_slewing = DriveMove(crane.startBearing, crane.startBearing, 0, slewingDrive);
    m_trolley = DriveMove(travel, travel, 0, trolleyDrive);
    m_lowering = DriveMove(rope, rope, 0, hoistDrive);
    m_nextMove = uniform(m_random, 0, 2);
}

CranePose CraneMotion::poseAt(double seconds)
{
    while (seconds >= m_nextMove)
        planLoadMove();
    const DriveMove &hoist = seconds < m_lowering.begin() ? m_hoisting : m_lowering;
    return {m_slewing.positionAt(seconds), m_trolley.positionAt(seconds),
            hoist.positionAt(seconds)};
}

double CraneMotion::nextBearing(double from)
{
    double bearing = from;
    while (std::abs(bearing - from) < smallestTurn)
        bearing =
            m_crane.workBearing + uniform(m_random, -m_crane.workHalfAngle, m_crane.workHalfAngle);
    return bearing;
}

void CraneMotion::planLoadMove()
{
    const double begin = m_nextMove;
    const double bearing = m_slewing.positionAt(begin);
    const double travel = m_trolley.positionAt(begin);
    const double rope = m_lowering.positionAt(begin);
    const double carriedRope = uniform(m_random, shortestRope, 10);
    const double outermostTravel = m_crane.armLength - 1;
    const double longestRope = std::min(30.0, m_crane.craneHeight - 3);

    const double slewFrom = begin + uniform(m_random, 1, 3);
    const double trolleyFrom = begin + uniform(m_random, 1, 5);
    const double newTravel = uniform(m_random, innermostTravel, outermostTravel);
    const double newRope = uniform(m_random, 10, longestRope);

    m_hoisting = DriveMove(rope, carriedRope, begin, hoistDrive);
    m_slewing = DriveMove(bearing, nextBearing(bearing), slewFrom, slewingDrive);
    m_trolley = DriveMove(travel, newTravel, trolleyFrom, trolleyDrive);
    // The driver begins to lower before the jib has quite come to rest.
    const double lowerFrom = std::max(m_hoisting.end(), m_slewing.end() - 5);
    m_lowering = DriveMove(carriedRope, newRope, lowerFrom, hoistDrive);
    m_nextMove = std::max({m_slewing.end(), m_trolley.end(), m_lowering.end()}) +
                 uniform(m_random, 1, 4); // the load is unhooked
}

CraneReading readingOf(const SiteCrane &crane, const CranePose &pose)
{
    return {slewingReading(crane, pose.bearing), inHundredths(pose.travel),
            inHundredths(pose.rope)};
}
