#pragma once

#include <QString>
#include <QVector>

/// The played site on paper: which cranes stand where, and what their drives read in a pose.
///
/// Plan: origin at the own crane's slewing axis, x to the east, y to the north, metres. Bearings
/// are degrees clockwise from north, so that (sin b, cos b) is the direction of bearing b:
///
///            y, 0 degrees
///            |   / jib at bearing b
///            |b /
///            | /
///            o------- x, 90 degrees
///
/// A slewing reading is the bearing less the bearing at which the encoder was set to zero; it
/// rises clockwise and lies in [0, 360). Everything here is a function of its arguments.

/// One crane: its label and data sheet, where it stands and how it works.
struct SiteCrane {
    QString duid;               // device id, "CRANE-007"; ids are of one length
    QString fieldNumber;        // the label on the mast, "7#"
    double x = 0;               // metres east of the own crane
    double y = 0;               // metres north of the own crane
    double craneHeight = 0;     // jib above the ground, metres
    double armLength = 0;       // jib, metres from the slewing axis
    double rearArm = 0;         // counter-jib, metres
    double armWidth = 0;        // jib, metres
    double safeLength = 0;      // safety distance, metres
    double zeroBearing = 0;     // jib bearing at which the slewing reading is 0
    double workBearing = 0;     // middle of the sector in which it sets loads down
    double workHalfAngle = 180; // half the width of that sector, degrees, 45 to 180
    double startBearing = 0;    // jib bearing when motion begins, inside the sector
    quint32 moveSeed = 0;       // of its load moves
};

/// All cranes of a site, the own one first.
using Site = QVector<SiteCrane>;

/// What a crane reports of itself, in steps of 0.01.
struct CraneReading {
    double rotation = 0; // slewing, degrees, [0, 360)
    double travel = 0;   // trolley, metres from the slewing axis
    double height = 0;   // rope paid out below the jib, metres
};

/// Both cranes' readings with their jibs on the line between the two axes, pointing at each
/// other, and the trolleys over one point of it.
struct CalibrationPose {
    CraneReading own;
    CraneReading neighbour;
};

/// Lays out \a cranes cranes (at least 1), the own one in the middle.
///
/// They stand on a lattice of equilateral triangles, moved a little, so that every crane of the
/// first ring overlaps with the own one and with those beside it. A jib ends before the nearest
/// tower. Neighbouring jibs are 4, 6 or 10 m apart in height. The same seed gives the same site;
/// device id and field number of the n-th crane are the same on every site.
Site buildSite(int cranes, quint32 seed);

/// Index of the neighbour that reports by radio where there is one: one that the own crane meets
/// soon, and not the one that falls silent if there is another.
int radioCrane(const Site &site);

/// Bearing in degrees, [0, 360), from the axis of \a from to that of \a to. Not the same place.
double bearingTo(const SiteCrane &from, const SiteCrane &to);

/// Metres between the two slewing axes.
double axisDistance(const SiteCrane &one, const SiteCrane &other);

/// The slewing reading of \a crane with its jib at \a bearing (any number of turns), in steps of
/// 0.01 degrees, [0, 360).
double slewingReading(const SiteCrane &crane, double bearing);

/// \a value in the steps of a drive's encoder, 0.01.
double inHundredths(double value);

/// The readings from which the pair is calibrated. The two travels add up to the distance of the
/// axes to the centimetre. Where the jibs do not reach each other the travels are still those of
/// one point of the line, as an integrator enters them from the site plan.
CalibrationPose calibrationPose(const SiteCrane &own, const SiteCrane &neighbour);
