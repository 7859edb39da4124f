#pragma once

#include "tools/sim/sitecourse.h"

#include <QVector>

/// \a site made ready for a calm course: the own jib is shortened to end 16 m before the nearest
/// tower and hung between the heights of the neighbours' jibs, 4 m below the higher and 6 m above
/// the lower ones.
Site calmSite(Site site);

/// One case at a time: a neighbour comes near the own crane, stays a little, leaves; then the own
/// crane turns to the next one. Everybody else rests.
///
/// A resting neighbour has its jib turned aside, out of reach wherever the own jib points. The one
/// that comes slews towards the tip of the own jib, which points at its tower, and stops where
/// the case of its turn holds and no other but the zone:
///
///     zone        7.5 m between the jibs in plan
///     rope        4 m, and the rope of the higher crane hangs there
///     jib to jib  2.5 m; with a neighbour whose jib is 6 m lower a rope takes its place
///
/// Each neighbour near enough has each turn; then all of it begins again. The first neighbour is
/// silent while the own crane turns away from it, and everybody waits until it is heard again.
class CalmCourse : public SiteCourse
{
public:
    /// \a site as calmSite() makes it, of at least two cranes; \a silence as for BusyCourse.
    CalmCourse(const Site &site, double silence);

    CranePose poseAt(int index, double seconds) override;
    bool isSilentAt(double seconds) const override;

private:
    /// Jib and trolley on their way, the rope as it is.
    struct Move {
        CranePose poseAt(double seconds) const;
        double end() const;

        DriveMove slewing;
        DriveMove trolley;
        double rope = 0;
    };
    struct Approach {
        int neighbour = 0;
        Move coming;
        Move leaving;
        Move turning; // of the own crane, to where it meets the next one
        double silentUntil = 0;
        double end = 0;
    };

    static Move moveOf(const CranePose &from, const CranePose &to, double begin);
    const Approach &approachAt(double seconds) const;

    QVector<CranePose> m_rest;      // of each crane; the own one has none
    QVector<Approach> m_approaches; // one round of them
};
