#include "tools/sim/siteplayer.h"

#include "tools/sim/radioneighbour.h"
#include "tools/sim/siteclients.h"
#include "tools/sim/sitecourse.h"
#include "tools/sim/sitedocuments.h"
#include "tools/sim/waiting.h"

#include <QTextStream>

#include <algorithm>
#include <cmath>

namespace
{
constexpr double introductionPeriod = 10; // seconds
constexpr int silentCrane = 1;            // the first neighbour
constexpr double largestDelayMs = 1000;   // beyond it the site falls behind, rather than floods
constexpr int messagesAtOnce = 50;        // then the event loop has a turn
} // namespace

SitePlayer::SitePlayer(const Site &site, SiteCourse &course, const PlayOptions &options,
                       SiteClients &clients, Waiting &waiting, RadioNeighbour *radio)
    : m_site(site), m_course(course), m_options(options), m_clients(clients), m_waiting(waiting),
      m_radio(radio)
{
}

void SitePlayer::run()
{
    QTextStream(stdout) << "motion" << Qt::endl;
    if (m_radio)
        m_radio->begin();
    m_clock.start();
    for (qint64 n = 0;; ++n) {
        const double seconds = static_cast<double>(n) / (m_options.rate * m_site.size());
        if ((m_options.seconds > 0 && seconds >= m_options.seconds) || !waitUntil(seconds))
            return;
        introduce(seconds);
        followSilence(seconds);
        report(static_cast<int>(n % m_site.size()), seconds);
    }
}

bool SitePlayer::waitUntil(double seconds)
{
    const double dueMs = seconds / m_options.speed * 1000 + m_behindMs;
    const double waitMs = dueMs - static_cast<double>(m_clock.elapsed());
    if (waitMs < -largestDelayMs)
        m_behindMs -= waitMs;
    if (waitMs < 1 && ++m_unpaused < messagesAtOnce)
        return !m_waiting.isStopped();
    m_unpaused = 0;
    return m_waiting.pause(static_cast<qint64>(std::max(0.0, waitMs)));
}

void SitePlayer::introduce(double seconds)
{
    if (seconds < m_nextIntroduction)
        return;
    m_nextIntroduction += introductionPeriod;
    m_clients.publishLocal(deviceIdTopic, deviceIdDocument(m_site.first()));
    m_clients.publishLocal(registrationTopic, registrationDocument(m_site.first()));
}

void SitePlayer::report(int index, double seconds)
{
    const SiteCrane &crane = m_site.at(index);
    const CraneReading reading = readingOf(crane, m_course.poseAt(index, seconds));
    if (index == 0)
        m_clients.publishLocal(craneStateTopic, craneStateDocument(reading));
    else if (index == silentCrane && m_isSilent)
        return;
    else if (m_radio && index == radioCrane(m_site))
        m_radio->report(reading);
    else
        m_clients.publishCloud(neighbourStateTopic(crane), craneStateDocument(reading));
}

void SitePlayer::followSilence(double seconds)
{
    const bool isSilent = m_course.isSilentAt(seconds);
    if (isSilent == m_isSilent)
        return;
    m_isSilent = isSilent;
    QTextStream(stdout) << m_site.at(silentCrane).fieldNumber
                        << (isSilent ? " falls silent" : " is back") << Qt::endl;
}
