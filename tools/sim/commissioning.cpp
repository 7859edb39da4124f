#include "tools/sim/commissioning.h"

#include "tools/sim/siteclients.h"
#include "tools/sim/sitecourse.h"
#include "tools/sim/sitedocuments.h"
#include "tools/sim/waiting.h"

#include <QStringList>
#include <QTextStream>

#include <algorithm>

Commissioning::Commissioning(const Site &site, SiteCourse &course, SiteClients &clients,
                             Waiting &waiting, qint64 patienceMs)
    : m_site(site), m_course(course), m_clients(clients), m_waiting(waiting),
      m_patienceMs(patienceMs)
{
    for (int i = 1; i < site.size(); ++i)
        m_missing.append(i);
}

bool Commissioning::run()
{
    m_sinceSuccess.start();
    if (!calibrateAll())
        return false;
    QTextStream(stdout) << "working sets with the real jib lengths\n";
    m_attempt = 1;
    while (!takeUpWork()) {
        if (!mayGoOn(QStringLiteral("the real jib lengths have not arrived")))
            return false;
    }
    return true;
}

bool Commissioning::calibrateAll()
{
    while (true) {
        m_reportsBefore = m_clients.freshReports();
        introduce();
        publishWorksets(false);
        if (!m_waiting.pause(settlePauseMs()))
            return false;
        calibrateMissing();
        if (m_missing.isEmpty())
            return true;
        if (!mayGoOn(QStringLiteral("not calibrated yet: ") + namesOfMissing()))
            return false;
    }
}

void Commissioning::introduce()
{
    QTextStream(stdout) << "device id " << own().duid << ", registration as " << own().fieldNumber
                        << Qt::endl;
    m_clients.publishLocal(deviceIdTopic, deviceIdDocument(own()));
    m_clients.publishLocal(registrationTopic, registrationDocument(own()));
    m_waiting.pause(settlePauseMs()); // the controller now connects to the site's broker
}

void Commissioning::publishWorksets(bool real)
{
    for (const SiteCrane &crane : m_site) {
        const QByteArray workset =
            worksetDocument(crane, real ? crane.armLength : calibrationArmLength);
        if (&crane == &own())
            m_clients.publishLocal(worksetTopic, workset);
        else
            m_clients.publishCloud(neighbourWorksetTopic(crane), workset);
    }
}

void Commissioning::calibrateMissing()
{
    QVector<int> stillMissing;
    for (const int index : qAsConst(m_missing)) {
        const bool isMute = !stillMissing.isEmpty() && m_clients.freshReports() == m_reportsBefore;
        if (isMute || m_waiting.isStopped() || !calibrate(index))
            stillMissing.append(index);
        else
            m_sinceSuccess.restart();
    }
    m_missing = stillMissing;
}

bool Commissioning::calibrate(int index)
{
    const SiteCrane &neighbour = m_site.at(index);
    const CalibrationPose pose = calibrationPose(own(), neighbour);
    CraneReading hookStillMoving = pose.neighbour;
    hookStillMoving.height += 1;

    QTextStream(stdout) << "commissioning neighbour " << index << " of " << m_site.size() - 1
                        << ": " << neighbour.fieldNumber << Qt::endl;
    m_clients.publishLocal(craneStateTopic, craneStateDocument(pose.own));
    m_waiting.pause(linkPauseMs());
    m_clients.publishCloud(neighbourStateTopic(neighbour), craneStateDocument(hookStillMoving));
    m_clients.publishCloud(neighbourStateTopic(neighbour), craneStateDocument(pose.neighbour));
    const auto isShown = [&] {
        return showsCalibration(m_clients.attributeReport(), m_clients.attitudeReport(), neighbour,
                                pose);
    };
    return m_waiting.until(isShown, answerMs());
}

bool Commissioning::takeUpWork()
{
    m_reportsBefore = m_clients.freshReports();
    publishWorksets(true);
    for (int i = 0; i < m_site.size(); ++i) {
        const SiteCrane &crane = m_site.at(i);
        const QByteArray state = craneStateDocument(readingOf(crane, m_course.poseAt(i, 0)));
        if (i == 0) {
            m_clients.publishLocal(craneStateTopic, state);
            m_waiting.pause(linkPauseMs());
        } else {
            m_clients.publishCloud(neighbourStateTopic(crane), state);
        }
    }
    const auto areShown = [this] { return showsArmLengths(m_clients.attributeReport(), m_site); };
    return m_waiting.until(areShown, answerMs());
}

bool Commissioning::mayGoOn(const QString &trouble)
{
    if (m_waiting.isStopped())
        return false;
    const bool isMute = m_clients.freshReports() == m_reportsBefore;
    const bool mayTryAgain = m_sinceSuccess.elapsed() < m_patienceMs;
    QTextStream(stderr) << (isMute ? QStringLiteral("no answer from the crane's controller")
                                   : trouble)
                        << (mayTryAgain ? ", trying again" : ", giving up") << Qt::endl;
    m_attempt = std::min(m_attempt + 1, 5);
    return mayTryAgain;
}

QString Commissioning::namesOfMissing() const
{
    QStringList names;
    for (const int index : m_missing)
        names << m_site.at(index).fieldNumber;
    return names.join(QStringLiteral(", "));
}
