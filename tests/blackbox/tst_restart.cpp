#include "tests/blackbox/bench.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>

namespace
{

const QString neighbour = QStringLiteral("DEV7");
const QByteArray disconnected = "mqtt disconnected ......,ready connected\n";
const QByteArray zoneRaised = "回转距离进人N7塔机\\n回转区还有9.00米";

QByteArray statusReport(const QByteArray &first)
{
    return R"({
    "neighbours": [
        {
            "duid": "DEV7",
            "status": ")" +
           first + R"("
        },
        {
            "duid": "DEV8",
            "status": "online"
        }
    ],
    "timestamp": 1690796770999,
    "upload": "VicinityStatus",
    "version": "0.1.0"
}
)";
}

} // namespace

/// What survives the end of the crane or of a broker, and what a crane does about its own uploads
/// and about a neighbour that falls silent.
class TestRestart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { QVERIFY(m_bench->finish()); }

    void fileIsWholeAfterAnEndAmidWriting();
    void restartResumesWithTheNextRegistration();
    void boardBrokerRestarts();
    void siteBrokerRestarts();
    void ownUploadsAreIgnored();
    void brokenPayloadOnAnOwnTopicIsLogged();
    void silentNeighbourIsOffline();

private:
    std::unique_ptr<Bench> m_bench;
};

void TestRestart::init()
{
    m_bench.reset();
    m_bench = std::make_unique<Bench>();
    QVERIFY(m_bench->start());
}

void TestRestart::fileIsWholeAfterAnEndAmidWriting()
{
    const QByteArray shortJib = worksetDocument("N9", 1, 12, 40);
    const QByteArray longJib = worksetDocument(QByteArray(20000, 'N'), 2, 12, 40);
    for (int round = 0; round < 4; ++round) {
        QByteArrayList worksets;
        for (int i = 0; i < 300; ++i)
            worksets << (i % 2 ? longJib : shortJib);
        QVERIFY(publishLines(boardPort, QStringLiteral("Local/Workset"), worksets));
        QVERIFY(m_bench->crane.waitForOut("\"armlen\":2,"));
        QTest::qWait(7 * round);
        QVERIFY(m_bench->crane.terminate());
        QVERIFY2(m_bench->crane.out().count("localdata.txt配置文件写入") < 300, "ended too late");
        const QByteArray saved = m_bench->crane.file(QStringLiteral("localdata.txt"));
        const bool isLong = saved.contains(QByteArray(20000, 'N'));
        QCOMPARE(saved, R"({"MqttDataTop":"","MqttTop":"","armlen":)" +
                            QByteArray(isLong ? "2" : "1") +
                            R"(,"armwidth":2,"craneheight":40,"foundation":0,)"
                            R"("heightzero":"0","name":")" +
                            (isLong ? QByteArray(20000, 'N') : QByteArray("N9")) +
                            R"(","offset":0,"reararm":12,"safelen":5,"top":"","type":"T1"})");
        QVERIFY(m_bench->crane.startAndSubscribe());
    }
}

void TestRestart::restartResumesWithTheNextRegistration()
{
    QVERIFY(m_bench->commission());
    Crane &crane = m_bench->crane;
    const QByteArray localdata = crane.file(QStringLiteral("localdata.txt"));
    const QByteArray jcjj = crane.file(QStringLiteral("jcjj.txt"));
    const QByteArray mymqtt = crane.file(QStringLiteral("mymqtt.txt"));
    QVERIFY(m_bench->finish());
    QCOMPARE(crane.file(QStringLiteral("localdata.txt")), localdata);
    QCOMPARE(crane.file(QStringLiteral("jcjj.txt")), jcjj);
    QCOMPARE(crane.file(QStringLiteral("mymqtt.txt")), mymqtt);

    QVERIFY(crane.startAndSubscribe());
    QVERIFY(crane.waitForOut(jcjj + '\n'));
    QByteArrayList echo = m_bench->takeEcho().trimmed().split('\n');
    std::sort(echo.begin(), echo.end()); // two threads read them
    QVERIFY(isSame(echo, {"jcjj.txt配置文件" + jcjj, "localdata.txt配置文件" + localdata}));
    QVERIFY(crane.log().contains("\nMqttTop \"F/3/0/C1/D2/P3/+/+/+/\" \"DEV9\"\n"));

    // Before the registration the site is out of reach, as if the neighbour did not exist.
    QVERIFY(m_bench->ownState(30, 27));
    QVERIFY(
        publish(sitePort, siteTopic(neighbour, QStringLiteral("Data")), stateDocument(200, 8, 10)));
    QVERIFY(isSame(m_bench->publishedOnBoard(), {}));
    QVERIFY(!crane.log().contains("mymqtt"));

    QVERIFY(m_bench->watchBoard());
    QByteArrayList retained = m_bench->publishedOnBoard();
    std::sort(retained.begin(), retained.end());
    QCOMPARE(retained.size(), 2); // the vicinity and the status report of before

    m_bench->takeEcho();
    QVERIFY(m_bench->registerCrane());
    QCOMPARE(m_bench->takeEcho(), registrationDocument() + "\nlocaldata.txt配置文件写入" +
                                      localdata + "\nmymqtt配置文件" + mymqtt + '\n');
    // The neighbour's jib and the own safety distance are those of the files.
    QVERIFY(m_bench->neighbourState(neighbour, 236.875));
    QVERIFY(
        isSame(m_bench->publishedOnBoard(),
               {shown(QStringLiteral("Local/Vicinity/Attitude/TEXT"), attitudeReport("-113.12")),
                retained.at(0), retained.at(1), shownAlarm(zoneRaised, 15, true)}));
}

void TestRestart::boardBrokerRestarts()
{
    QVERIFY(m_bench->commission());
    int from = m_bench->crane.log().size();
    m_bench->board().kill();
    QVERIFY(m_bench->crane.waitForLog(disconnected, from));
    // The site goes on; what goes to the board now is lost and does not come later.
    QVERIFY(m_bench->neighbourState(neighbour, 15));
    QCOMPARE(m_bench->publishedOnSite().size(), 1);

    from = m_bench->crane.log().size();
    QVERIFY(m_bench->board().start());
    QVERIFY(m_bench->crane.waitForLog("subscribed is sucessed topic: \"Local/#\" qos: 1\n", from));
    QVERIFY(m_bench->watchBoard());
    QVERIFY(m_bench->nextReportWorks());

    // The broker has forgotten what it retained; a changed vicinity report is retained again.
    QVERIFY(m_bench->neighbourWorkset(neighbour, "N7", 21));
    QVERIFY(m_bench->neighbourState(neighbour, 236.875));
    const QByteArrayList board = m_bench->publishedOnBoard();
    QCOMPARE(board.size(), 3);
    QVERIFY(board.at(1).startsWith("Local/Vicinity/Attribute/TEXT QoS 0 retained\n"));
    QCOMPARE(board.at(2), shownAlarm(zoneRaised, 15, true));
    QVERIFY(m_bench->watchBoard());
    QVERIFY(isSame(m_bench->publishedOnBoard(), {board.at(1)}));
}

void TestRestart::siteBrokerRestarts()
{
    QVERIFY(m_bench->commission());
    for (int round = 0; round < 2; ++round) {
        int from = m_bench->crane.log().size();
        m_bench->site().kill();
        QVERIFY(m_bench->crane.waitForLog(disconnected, from));
        QVERIFY(m_bench->ownState(30, 27)); // the board goes on
        from = m_bench->crane.log().size();
        QVERIFY(m_bench->site().start());
        QVERIFY(m_bench->crane.waitForLog(
            "subscribed is sucessed topic: \"F/3/0/C1/D2/P3/+/+/+/#\" qos: 1\n", from));
        QVERIFY(m_bench->watchSite());
        QVERIFY(m_bench->nextReportWorks());
    }
}

void TestRestart::ownUploadsAreIgnored()
{
    QVERIFY(m_bench->commission());
    const QByteArray mymqtt = m_bench->crane.file(QStringLiteral("mymqtt.txt"));
    m_bench->takeEcho();
    const QString ownData = siteTopic(QStringLiteral("DEV9"), QStringLiteral("Data"));
    const QString ownWorkset = siteTopic(QStringLiteral("DEV9"), QStringLiteral("Workset"));
    const QString alarm = QStringLiteral("Local/Alarm");
    QVERIFY(m_bench->toSite(ownData, stateDocument(200, 8, 10)));
    QVERIFY(m_bench->toSite(ownWorkset, worksetDocument("N7", 999, 8, 44)));
    QVERIFY(m_bench->toBoard(alarm, worksetDocument("N7", 999, 8, 44)));

    QCOMPARE(m_bench->takeEcho(), QByteArray());
    QCOMPARE(m_bench->crane.file(QStringLiteral("mymqtt.txt")), mymqtt);
    // Nothing but what this test has sent.
    QVERIFY(isSame(m_bench->publishedOnSite(),
                   {shown({ownData, stateDocument(200, 8, 10), 1, false}),
                    shown({ownWorkset, worksetDocument("N7", 999, 8, 44), 1, false})}));
    QVERIFY(isSame(m_bench->publishedOnBoard(),
                   {shown({alarm, worksetDocument("N7", 999, 8, 44), 1, false})}));
    QVERIFY(m_bench->nextReportWorks());
}

/// An upload that comes back is not looked into, but what a stranger puts there is.
void TestRestart::brokenPayloadOnAnOwnTopicIsLogged()
{
    const QByteArray error = "JSON parse error:";
    QVERIFY(m_bench->commission());
    int from = m_bench->crane.log().size();
    QVERIFY(m_bench->neighbourState(neighbour, 19));
    QVERIFY(m_bench->settleSite()); // the upload has come back
    // One for each message of the bench that says that all before it is handled.
    QCOMPARE(m_bench->crane.log().mid(from).count(error), 2);

    for (const char *payload : {"not json", "", "[1]"}) {
        from = m_bench->crane.log().size();
        QVERIFY(
            publish(sitePort, siteTopic(QStringLiteral("DEV9"), QStringLiteral("Data")), payload));
        QVERIFY2(m_bench->crane.waitForLog(error, from), payload);
    }
}

void TestRestart::silentNeighbourIsOffline()
{
    const QString second = QStringLiteral("DEV8");
    QVERIFY(m_bench->commission({{neighbour, "N7", 30}, {second, "N8", 120}}));
    QVERIFY(m_bench->neighbourState(neighbour, 19));
    QElapsedTimer silence;
    silence.start();
    QVERIFY(m_bench->neighbourState(second, 19));
    m_bench->publishedOnBoard();
    m_bench->publishedOnSite();

    // The tenth tick of a second since the last report comes after 9 to 10 s.
    while (silence.elapsed() < 8000) {
        QTest::qWait(1000);
        QVERIFY(m_bench->neighbourState(second, 19));
    }
    QVERIFY2(silence.elapsed() < 9000, "the machine is too slow to tell");
    QVERIFY(isSame(m_bench->publishedOnBoard(), {}));
    QTest::qWait(static_cast<int>(10500 - silence.elapsed()));
    QVERIFY(isSame(m_bench->publishedOnBoard(), {})); // only a report makes it known

    const QString boardStatus = QStringLiteral("Local/Vicinity/Status/TEXT");
    const QString siteStatus = siteTopic(QStringLiteral("DEV9"), QStringLiteral("Vicinity/Status"));
    QVERIFY(m_bench->neighbourState(second, 19));
    QVERIFY(
        isSame(m_bench->publishedOnBoard(), {shown(boardStatus, statusReport("offline"), true)}));
    QVERIFY(m_bench->neighbourState(neighbour, 19));
    QVERIFY(
        isSame(m_bench->publishedOnBoard(), {shown(boardStatus, statusReport("online"), true)}));
    QVERIFY(isSame(m_bench->publishedOnSite(), {shown(siteStatus, statusReport("offline")),
                                                shown(siteStatus, statusReport("online"))}));
}

QTEST_GUILESS_MAIN(TestRestart)
#include "tst_restart.moc"
