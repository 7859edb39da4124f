#include "tools/sim/calmcourse.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double degreesPerRadian = 57.29577951308232;
constexpr double clearOfNearestTower = 16; // metres from the own jib's end to the nearest axis
constexpr double ownHeight = 46;           // metres; the neighbours' jibs are at 40 and 50
constexpr double restAngle = 70;           // degrees from the direction to the own crane
constexpr double innerTravel = 8;          // metres; there the ropes hang far from everything
constexpr double ropeLength = 12;          // metres, longer than the jibs are apart in height
constexpr double stay = 5;                 // seconds near the own crane
constexpr double pause = 2;                // seconds in which everybody rests

enum class Case { Zone, Rope, JibToJib };
constexpr int cases = 3;

/// Where both cranes of a case stand.
struct Meeting {
    int neighbour = 0;
    CranePose own;
    CranePose other;
};

double metresApart(Case which)
{
    switch (which) {
    case Case::Zone:
        return 7.5;
    case Case::Rope:
        return 4;
    default:
        return 2.5;
    }
}

CranePose restOf(const SiteCrane &neighbour, const SiteCrane &own)
{
    return {bearingTo(neighbour, own) + restAngle, innerTravel, ropeLength};
}

Meeting meetingOf(const Site &site, int neighbour, Case which)
{
    const SiteCrane &own = site.first();
    const SiteCrane &other = site.at(neighbour);
    if (which == Case::JibToJib && own.craneHeight > other.craneHeight)
        which = Case::Rope;
    const double toTip = axisDistance(own, other) - own.armLength; // from the neighbour's axis
    const double angle = std::asin(metresApart(which) / toTip);
    Meeting meeting{neighbour,
                    {bearingTo(own, other), innerTravel, ropeLength},
                    {bearingTo(other, own) + angle * degreesPerRadian, innerTravel, ropeLength}};
    if (which == Case::Rope && own.craneHeight > other.craneHeight)
        meeting.own.travel = own.armLength - 1;
    else if (which == Case::Rope)
        meeting.other.travel = toTip * std::cos(angle); // beside the tip
    return meeting;
}

/// One round: each neighbour that reaches the tip of the own jib, in every case once.
QVector<Meeting> meetingsOf(const Site &site)
{
    QVector<int> near;
    for (int i = 1; i < site.size(); ++i) {
        if (axisDistance(site.first(), site.at(i)) - site.first().armLength <
            site.at(i).armLength - 1)
            near.append(i);
    }
    QVector<Meeting> meetings;
    for (int round = 0; round < cases; ++round) {
        for (int i = 0; i < near.size(); ++i)
            meetings.append(meetingOf(site, near.at(i), static_cast<Case>((i + round) % cases)));
    }
    return meetings;
}
} // namespace

Site calmSite(Site site)
{
    SiteCrane &own = site.first();
    own.craneHeight = ownHeight;
    for (int i = 1; i < site.size(); ++i) {
        const double longest = std::floor(axisDistance(own, site.at(i)) - clearOfNearestTower);
        own.armLength = std::min(own.armLength, longest);
    }
    return site;
}

CalmCourse::CalmCourse(const Site &site, double silence)
{
    for (const SiteCrane &crane : site)
        m_rest.append(&crane == &site.first() ? CranePose() : restOf(crane, site.first()));

    const QVector<Meeting> meetings = meetingsOf(site);
    CranePose own = meetings.first().own;
    double begin = pause;
    for (int i = 0; i < meetings.size(); ++i) {
        const Meeting &meeting = meetings.at(i);
        CranePose next = meetings.at((i + 1) % meetings.size()).own;
        next.bearing = own.bearing + std::remainder(next.bearing - own.bearing, 360);

        Approach approach;
        approach.neighbour = meeting.neighbour;
        const CranePose &rest = m_rest.at(meeting.neighbour);
        approach.coming = moveOf(rest, meeting.other, begin);
        approach.leaving = moveOf(meeting.other, rest, approach.coming.end() + stay);
        approach.turning = moveOf(own, next, approach.leaving.end() + pause);
        approach.silentUntil =
            approach.leaving.end() + pause + (meeting.neighbour == 1 ? silence : 0);
        approach.end = std::max(approach.turning.end(), approach.silentUntil) + pause;
        m_approaches.append(approach);
        begin = approach.end;
        own = next;
    }
}

CranePose CalmCourse::poseAt(int index, double seconds)
{
    const double inRound = std::fmod(seconds, m_approaches.last().end);
    const Approach &approach = approachAt(inRound);
    if (index == 0)
        return approach.turning.poseAt(inRound);
    if (index != approach.neighbour)
        return m_rest.at(index);
    const bool isComing = inRound < approach.leaving.slewing.begin();
    return (isComing ? approach.coming : approach.leaving).poseAt(inRound);
}

bool CalmCourse::isSilentAt(double seconds) const
{
    const double inRound = std::fmod(seconds, m_approaches.last().end);
    const Approach &approach = approachAt(inRound);
    return inRound >= approach.turning.slewing.begin() && inRound < approach.silentUntil;
}

const CalmCourse::Approach &CalmCourse::approachAt(double seconds) const
{
    return *std::upper_bound(
        m_approaches.begin(), m_approaches.end() - 1, seconds,
        [](double time, const Approach &approach) { return time < approach.end; });
}

CalmCourse::Move CalmCourse::moveOf(const CranePose &from, const CranePose &to, double begin)
{
    return {DriveMove(from.bearing, to.bearing, begin, slewingDrive),
            DriveMove(from.travel, to.travel, begin, trolleyDrive), from.rope};
}

CranePose CalmCourse::Move::poseAt(double seconds) const
{
    return {slewing.positionAt(seconds), trolley.positionAt(seconds), rope};
}

double CalmCourse::Move::end() const
{
    return std::max(slewing.end(), trolley.end());
}
