#include "tools/sim/site.h"

#include "tools/sim/siterandom.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace
{
constexpr double degreesPerRadian = 57.29577951308232;
constexpr double latticeSpacing = 48;     // metres between towers before they are moved
constexpr double latticeJitter = 2.5;     // metres, east and north each
constexpr double clearOfNearestTower = 4; // metres from a jib's end to the nearest axis
constexpr std::array<double, 3> jibHeights{44, 50, 40}; // own crane, then the ring in turn

/// A node of the lattice: \a q steps to the east, \a r steps to the north-east.
struct Node {
    int q = 0;
    int r = 0;
};

Node sum(Node one, Node other)
{
    return {one.q + other.q, one.r + other.r};
}

/// The nodes in rings around the own crane, \a count of them.
QVector<Node> nodesInRings(int count)
{
    constexpr std::array<Node, 6> sides{{{-1, 1}, {-1, 0}, {0, -1}, {1, -1}, {1, 0}, {0, 1}}};
    QVector<Node> nodes{Node{}};
    for (int ring = 1; nodes.size() < count; ++ring) {
        Node node{ring, 0};
        for (const Node side : sides) {
            for (int step = 0; step < ring; ++step) {
                nodes.append(node);
                node = sum(node, side);
            }
        }
    }
    nodes.resize(count);
    return nodes;
}

/// The height of the jib on a node. Towers one step apart always differ in q - r modulo 3.
double jibHeight(Node node)
{
    const int colour = ((node.q - node.r) % 3 + 3) % 3;
    return jibHeights.at(static_cast<std::size_t>(colour));
}

SiteCrane craneOnNode(int number, Node node, SiteRandom &random)
{
    SiteCrane crane;
    crane.duid = QStringLiteral("CRANE-%1").arg(number, 3, 10, QLatin1Char('0'));
    crane.fieldNumber = QStringLiteral("%1#").arg(number);
    const double jitter = number == 1 ? 0 : latticeJitter; // the own crane is the origin
    crane.x =
        inHundredths(latticeSpacing * (node.q + 0.5 * node.r) + uniform(random, -jitter, jitter));
    crane.y =
        inHundredths(latticeSpacing * std::sqrt(0.75) * node.r + uniform(random, -jitter, jitter));
    crane.craneHeight = jibHeight(node);
    crane.armLength = std::round(uniform(random, 40, 48));
    crane.rearArm = std::round(uniform(random, 11, 15));
    crane.armWidth = 1.6;
    crane.safeLength = 5;
    crane.zeroBearing = inHundredths(uniform(random, 0, 360));
    crane.moveSeed = static_cast<quint32>(random());
    return crane;
}

double distanceToNearest(const SiteCrane &crane, const Site &site)
{
    double nearest = HUGE_VAL;
    for (const SiteCrane &other : site) {
        if (other.duid != crane.duid)
            nearest = std::min(nearest, axisDistance(crane, other));
    }
    return nearest;
}

/// Work in the sector around the direction of \a faced, beginning on one side of it: neighbours
/// face the own crane, and the own crane its first neighbour.
void assignWork(SiteCrane &crane, const SiteCrane &faced, double halfAngle, SiteRandom &random)
{
    crane.workBearing = bearingTo(crane, faced);
    crane.workHalfAngle = halfAngle;
    const double side = uniform(random, -1, 1) < 0 ? -1 : 1;
    crane.startBearing = crane.workBearing + side * uniform(random, 20, 60);
}
} // namespace

Site buildSite(int cranes, quint32 seed)
{
    SiteRandom random(seed);
    Site site;
    for (const Node node : nodesInRings(cranes))
        site.append(craneOnNode(site.size() + 1, node, random));
    for (SiteCrane &crane : site) {
        const double longest = std::floor(distanceToNearest(crane, site) - clearOfNearestTower);
        crane.armLength = std::min(crane.armLength, longest);
    }
    for (int i = 1; i < site.size(); ++i)
        assignWork(site[i], site.first(), 55, random);
    const double ownHalfAngle = cranes < 5 ? 90 : 180; // few neighbours stand on one side only
    if (cranes > 1)
        assignWork(site.first(), site.at(1), ownHalfAngle, random);
    return site;
}

int radioCrane(const Site &site)
{
    return std::min(2, site.size() - 1);
}

double bearingTo(const SiteCrane &from, const SiteCrane &to)
{
    const double bearing = std::atan2(to.x - from.x, to.y - from.y) * degreesPerRadian;
    return bearing < 0 ? bearing + 360 : bearing;
}

double axisDistance(const SiteCrane &one, const SiteCrane &other)
{
    return std::hypot(other.x - one.x, other.y - one.y);
}

double inHundredths(double value)
{
    return std::round(value * 100) / 100;
}

double slewingReading(const SiteCrane &crane, double bearing)
{
    const double turned = std::fmod(bearing - crane.zeroBearing, 360);
    const double reading = inHundredths(turned < 0 ? turned + 360 : turned);
    return reading >= 360 ? 0 : reading;
}

CalibrationPose calibrationPose(const SiteCrane &own, const SiteCrane &neighbour)
{
    constexpr double ropeOverThePoint = 10; // metres; plays no part in the calibration
    const double distance = inHundredths(axisDistance(own, neighbour));
    const double share = own.armLength / (own.armLength + neighbour.armLength);

    CalibrationPose pose;
    pose.own = {slewingReading(own, bearingTo(own, neighbour)), inHundredths(distance * share),
                ropeOverThePoint};
    pose.neighbour = {slewingReading(neighbour, bearingTo(neighbour, own)),
                      inHundredths(distance - pose.own.travel), ropeOverThePoint};
    return pose;
}
