#pragma once

#include "tests/blackbox/bus.h"
#include "tests/blackbox/crane.h"

#include "tests/testbroker.h"

#include <QList>

#include <memory>

constexpr quint16 boardPort = 1883;
constexpr quint16 sitePort = 22222;

/// A neighbour that the bench commissions. The two slewing axes are 45 m apart: the trolleys meet
/// at 20.5 m of the own jib and 24.5 m of the neighbour's.
struct Neighbour {
    QString duid;
    QByteArray name;
    double ownRotation; // own reading with the own jib pointing at it; its own reading is 200
};

/// Two real brokers, one crane between them, and a watch on what it publishes.
///
/// The own crane is DEV9, field number N9, jib 30 m at 40 m height, safety distance 5 m. A
/// neighbour's jib is 20 m at 44 m height. Seen from above, with N7 commissioned:
///
///      own axis (0, 0)          N7's axis (45, 0)
///          o========== 30 m           o===== 20 m
///
/// The own jib points at N7 at reading 30; N7's points at the own crane at reading 200 and away
/// from it at reading 20.
class Bench
{
public:
    /// \a siteBroker is another port where something stands between the crane and the site's
    /// broker.
    explicit Bench(quint16 siteBroker = sitePort);

    Crane crane;

    TestBroker &board() { return m_board; }
    TestBroker &site() { return m_site; }
    /// What the crane publishes on either broker. Valid after watch().
    Watch &boardWatch() { return *m_boardWatch; }
    Watch &siteWatch() { return *m_siteWatch; }

    /// Starts both brokers, the watches and the crane, which then listens on the board.
    bool start();
    /// Watches both brokers anew.
    bool watch();
    bool watchBoard();
    bool watchSite();

    /// Publish one message and wait until the crane has done all that it does about it.
    bool toBoard(const QString &topic, const QByteArray &payload);
    bool toSite(const QString &topic, const QByteArray &payload);
    /// Wait until the crane has handled all that came on that broker before.
    bool settleBoard();
    bool settleSite();

    /// The steps of a commissioning. Each returns when the crane has taken it in.
    bool registerCrane();
    bool ownWorkset(double armlen);
    bool ownState(double rotation, double travel, double height = 10);
    bool neighbourWorkset(const QString &duid, const QByteArray &name, double armlen);
    bool neighbourState(const QString &duid, double rotation, double travel = 8,
                        double height = 10);
    /// All of them, from an empty folder to a crane at work, every neighbour out of reach. What
    /// the crane has published by then is taken off the watches.
    bool commission(const QList<Neighbour> &neighbours = {{QStringLiteral("DEV7"), "N7", 30}});

    /// What the crane has published on that broker since the last question, as shown() gives it.
    QByteArrayList publishedOnBoard();
    QByteArrayList publishedOnSite();

    /// With N7 commissioned: sets the own crane moving again, and a changed report of N7 brings
    /// exactly its attitude report on both brokers. Nothing else may have been published before.
    bool nextReportWorks();
    /// The same without a look at what came before.
    bool recovers();

    /// Standard output since the last call, without the bench's own marks.
    QByteArray takeEcho();

    /// Ends the crane; true when it still ran, ended within a second and no sanitizer complained.
    bool finish();

private:
    bool giveWorksets(const QList<Neighbour> &neighbours, double ownArmlen, double armlen);
    int siteErrors();
    QByteArrayList upToMark(Watch &watch, quint16 port, const QString &topic);

    TestBroker m_board;
    TestBroker m_site;
    std::unique_ptr<Watch> m_boardWatch;
    std::unique_ptr<Watch> m_siteWatch;
    int m_marks = 0;
    int m_echoTaken = 0;
    int m_logCounted = 0; // bytes of the log that m_siteErrors covers
    int m_siteErrors = 0;
    int m_reports = 0;
};

/// Topics of the site: the own uploads, and \a kind ("Data") of the crane \a duid.
QString siteTopic(const QString &duid, const QString &kind);

QByteArray registrationDocument();
QByteArray stateDocument(double rotation, double travel, double height);
QByteArray worksetDocument(const QByteArray &name, double armlen, double reararm, double height);

/// The attitude report with N7 pointing along \a slewing of the own scale, the own crane along
/// \a self.
QByteArray attitudeReport(const QByteArray &slewing, const QByteArray &self = "30");

/// One message in one text, to be compared: topic, QoS, whether retained, payload. In an alarm
/// document a time of the last minute reads NOW. The alarm's text is given as JSON writes it.
QByteArray shown(const BusMessage &message);
QByteArray shown(const QString &topic, const QByteArray &payload, bool isRetained = false);
QByteArray shownAlarm(const QByteArray &detail, int level, bool isTriggered);

/// True when both are the same; else says what they are.
bool isSame(const QByteArrayList &actual, const QByteArrayList &expected);
