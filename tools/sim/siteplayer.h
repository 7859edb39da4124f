#pragma once

#include "tools/sim/site.h"

#include <QElapsedTimer>

class RadioNeighbour;
class SiteClients;
class SiteCourse;
class Waiting;

/// How a site is played. Seconds are the site's own, except where stated.
struct PlayOptions {
    double rate = 2;    // crane-state messages of each crane in a second
    double speed = 1;   // how many times faster than the clock
    double seconds = 0; // of motion; 0: until stopped
};

/// Moves the cranes of a commissioned site and sends what they report.
///
/// The cranes' messages are spread evenly over each period. What is sent depends on the site, its
/// course and the options only, never on the clock: a player that cannot keep up falls behind the
/// clock. The first neighbour falls silent from time to time. The board repeats device id and
/// registration, so that a controller that was restarted finds its way back.
class SitePlayer
{
public:
    /// All references must outlive this, and so must \a radio, which may be null: else the crane
    /// radioCrane() reports there and no more in the cloud.
    SitePlayer(const Site &site, SiteCourse &course, const PlayOptions &options,
               SiteClients &clients, Waiting &waiting, RadioNeighbour *radio = nullptr);

    /// Plays until the time is over or the waiting is stopped.
    void run();

private:
    bool waitUntil(double seconds);
    void introduce(double seconds);
    void report(int index, double seconds);
    void followSilence(double seconds);

    const Site &m_site;
    SiteCourse &m_course;
    const PlayOptions m_options;
    SiteClients &m_clients;
    Waiting &m_waiting;
    RadioNeighbour *const m_radio;
    bool m_isSilent = false;       // the first neighbour
    double m_nextIntroduction = 0; // seconds
    QElapsedTimer m_clock;
    double m_behindMs = 0; // the site's time stands back by so much of the clock
    int m_unpaused = 0;    // messages since the event loop ran last
};
