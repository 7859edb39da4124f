#pragma once

#include "tools/sim/site.h"

#include <QElapsedTimer>

class SiteClients;
class SiteCourse;
class Waiting;

/// Makes a site known to the crane's controller, as an integrator does it.
///
/// Device id and registration come first: only then does the controller listen to the site's
/// broker. With all working sets at a jib length of 999 m, each neighbour is calibrated in turn:
/// the own crane's state with its jib towards the neighbour, then two reports of the neighbour.
/// At last come the working sets with the real lengths, and all cranes where their course begins.
///
/// The two brokers race, so there is a pause wherever the order across them matters, and the
/// controller's reports are looked at: what they do not show is repeated with longer pauses. A
/// controller that knows the neighbours already is calibrated anew. Progress goes to standard
/// output, trouble to standard error.
class Commissioning
{
public:
    /// Gives up after \a patienceMs without any progress. All references must outlive this.
    Commissioning(const Site &site, SiteCourse &course, SiteClients &clients, Waiting &waiting,
                  qint64 patienceMs);

    /// Does it all. False when it gave up or was stopped.
    bool run();

private:
    bool calibrateAll();
    void introduce();
    void publishWorksets(bool real);
    void calibrateMissing();
    bool calibrate(int index);
    bool takeUpWork();
    bool mayGoOn(const QString &trouble);
    QString namesOfMissing() const;

    const SiteCrane &own() const { return m_site.first(); }
    // Everything takes longer with each attempt: the controller may be slow.
    qint64 linkPauseMs() const { return 50 * m_attempt; }
    qint64 settlePauseMs() const { return 300 * m_attempt; }
    qint64 answerMs() const { return 1000 * m_attempt + 25 * m_site.size(); }

    const Site &m_site;
    SiteCourse &m_course;
    SiteClients &m_clients;
    Waiting &m_waiting;
    const qint64 m_patienceMs;
    QVector<int> m_missing;       // indices of the neighbours that are not shown as calibrated
    QElapsedTimer m_sinceSuccess; // since the last neighbour that was
    int m_reportsBefore = 0;      // fresh reports when this attempt began
    int m_attempt = 1;            // 1 to 5
};
