#include "tests/blackbox/bench.h"

#include <QTest>

#include <algorithm>

namespace
{

const QString boardAttribute = QStringLiteral("Local/Vicinity/Attribute/TEXT");
const QString boardAttitude = QStringLiteral("Local/Vicinity/Attitude/TEXT");
const QString boardStatus = QStringLiteral("Local/Vicinity/Status/TEXT");
const QString siteAttribute = QStringLiteral("F/3/0/C1/D2/P3/V5/O4/0/DEV9/Vicinity/Attribute");
const QString siteAttitude = QStringLiteral("F/3/0/C1/D2/P3/V5/O4/0/DEV9/Vicinity/Attitude");
const QString siteStatus = QStringLiteral("F/3/0/C1/D2/P3/V5/O4/0/DEV9/Vicinity/Status");

/// N7 stands at 45 sin 30 = 22.5 and -45 cos 30 = -38.97.
QByteArray vicinityReport(const QByteArray &neighbourArm, const QByteArray &ownArm)
{
    return R"({
    "neighbours": [
        {
            "armlenth": )" +
           neighbourArm + R"(,
            "armwidth": 2,
            "craneheight": 0,
            "duid": "DEV7",
            "heightzero": "0",
            "label": "N7",
            "reararm": 8,
            "safedistance": 0,
            "type": "T1",
            "x": 22.5,
            "y": -38.97
        }
    ],
    "self": {
        "armlenth": )" +
           ownArm + R"(,
        "armwidth": 2,
        "craneheight": 40,
        "duid": "DEV9",
        "heightzero": "0",
        "label": "N9",
        "reararm": 12,
        "safedistance": 5,
        "type": "T1",
        "x": 0,
        "y": 0
    },
    "timestamp": 1690796770999,
    "upload": "Vicinity",
    "version": "0.1.0"
}
)";
}

const QByteArray statusReport = R"({
    "neighbours": [
        {
            "duid": "DEV7",
            "status": "online"
        }
    ],
    "timestamp": 1690796770999,
    "upload": "VicinityStatus",
    "version": "0.1.0"
}
)";

/// While calibrating both cranes point at each other: N7 along 180 of the pair's frame, which is
/// 30 - 180 of the own scale.
QByteArray calibrationAttitude()
{
    QByteArray report = attitudeReport("-150");
    report.replace("\"luffing\": 8,", "\"luffing\": 24.5,");
    return report.replace("\"luffing\": 27,", "\"luffing\": 20.5,");
}

/// With jibs of 999 m that overlap, 4 m above each other, nearly everything is too close. In the
/// order of the own parts. The search along a tower or a rope that another part crosses stops
/// within a few centimetres of the crossing.
QByteArrayList calibrationAlarms(bool areTriggered)
{
    QByteArrayList alarms{shownAlarm("回转距离进人N7塔机\\n回转区还有0.00米", 15, areTriggered)};
    for (const char *detail : {"\\n大臂到N7塔吊大臂\\n4.00米", "\\n大臂到N7塔吊塔身\\n0.04米",
                               "\\n大臂到N7塔吊吊绳\\n0.02米", "\\n大臂到N7塔吊后臂\\n4.00米",
                               "\\n塔身到N7塔吊大臂\\n4.00米", "\\n吊绳到N7塔吊大臂\\n4.00米",
                               "\\n吊绳到N7塔吊吊绳\\n0.00米", "\\n后臂到N7塔吊大臂\\n4.00米"})
        alarms << shownAlarm(detail, 25, areTriggered);
    return alarms;
}

QByteArray localdata(const QByteArray &armlen)
{
    return R"({"MqttDataTop":"F/3/0/C1/D2/P3/V5/O4/0/","MqttTop":"F/3/0/C1/D2/P3/+/+/+/",)"
           R"("armlen":)" +
           armlen +
           R"(,"armwidth":2,"craneheight":40,"foundation":0,"heightzero":"0","name":"N9",)"
           R"("offset":0,"reararm":12,"safelen":5,"top":"DEV9","type":"T1"})";
}

QByteArray mymqtt(const QByteArray &armlen)
{
    return "[{\"armlen\":" + armlen +
           R"(,"armwidth":2,"craneheight":44,"foundation":0,"heightzero":"0","name":"N7",)"
           R"("offset":0,"reararm":8,"top":"DEV7","type":"T1"}])";
}

/// Each of these whole lines stands in the log from \a from on, in this order.
bool hasLines(const QByteArray &log, int from, const QByteArrayList &lines)
{
    int at = from - 1;
    for (const QByteArray &line : lines) {
        at = log.indexOf('\n' + line + '\n', at);
        if (at < 0) {
            qWarning("%s\nis missing in\n%s", line.constData(), log.mid(from).constData());
            return false;
        }
        ++at;
    }
    return true;
}

} // namespace

/// A crane from an empty folder to its first alarm, by the messages that an integrator types. Each
/// function is a step that builds on those before it, and all that the crane publishes, echoes and
/// saves in that step is compared with what is expected, byte for byte.
class TestCommissioning : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_bench.start()); }
    void cleanup();
    void cleanupTestCase() { QVERIFY(m_bench.finish()); }

    void startsInAnEmptyFolder();
    void deviceIdIsSaved();
    void registrationOpensTheSite();
    void worksetsAreSavedAndEchoed();
    void firstCalibrationReportAddsTheNeighbourWithoutName();
    void secondCalibrationReportPlacesTheNeighbour();
    void lateSubscriberGetsWhatIsRetained();
    void realLengthsClearTheCalibrationAlarms();
    void approachRaisesTheZoneAlarmOnce();
    void motionInsideTheZoneSendsTheAttitudeOnly();
    void closePartsRaiseTheirAlarms();
    void leavingClearsEachAlarmWithItsText();

private:
    /// Everything published since the last question: the reports on both brokers, then alarms.
    void expectPublished(const QByteArrayList &board, const QByteArrayList &site);

    Bench m_bench;
    int m_logFrom = 0; // where the log of the present step begins
};

void TestCommissioning::cleanup()
{
    m_logFrom = m_bench.crane.log().size();
}

void TestCommissioning::expectPublished(const QByteArrayList &board, const QByteArrayList &site)
{
    QVERIFY(isSame(m_bench.publishedOnBoard(), board));
    QVERIFY(isSame(m_bench.publishedOnSite(), site));
}

void TestCommissioning::startsInAnEmptyFolder()
{
    const QByteArray log = m_bench.crane.log();
    QVERIFY(log.startsWith("开始运行时间 \"20"));
    QVERIFY(hasLines(log, 1, {"Timer timeout!"}));
    QVERIFY(hasLines(log, 1,
                     {"MqttTop \"\" \"\"", "subscribed is sucessed topic: \"Local/#\" qos: 1"}));
    QCOMPARE(log.count("Failed to open existing file.\n"), 2); // the own crane's and the engine's
    QCOMPARE(m_bench.takeEcho(), QByteArray());
    QVERIFY(isSame(m_bench.publishedOnBoard(), {}));
}

void TestCommissioning::deviceIdIsSaved()
{
    QVERIFY(m_bench.toBoard(QStringLiteral("Local/DUID"), R"({"duid":{"value":123}})"));
    QVERIFY(m_bench.toBoard(QStringLiteral("Local/DUID"), R"({"duid":{"value":""}})"));
    QCOMPARE(m_bench.takeEcho(), QByteArray());
    QVERIFY(m_bench.toBoard(QStringLiteral("Local/DUID"), R"({"duid":{"value":"DEV9"}})"));
    const QByteArray saved =
        R"({"MqttDataTop":"","MqttTop":"","armlen":0,"armwidth":0,"craneheight":0,)"
        R"("foundation":0,"heightzero":"","name":"","offset":0,"reararm":0,"safelen":5,)"
        R"("top":"DEV9","type":""})";
    QCOMPARE(m_bench.takeEcho(), "localdata.txt配置文件写入" + saved + '\n');
    QCOMPARE(m_bench.crane.file(QStringLiteral("localdata.txt")), saved);
}

void TestCommissioning::registrationOpensTheSite()
{
    QVERIFY(m_bench.registerCrane());
    const QByteArray saved =
        R"({"MqttDataTop":"F/3/0/C1/D2/P3/V5/O4/0/","MqttTop":"F/3/0/C1/D2/P3/+/+/+/",)"
        R"("armlen":0,"armwidth":0,"craneheight":0,"foundation":0,"heightzero":"","name":"N9",)"
        R"("offset":0,"reararm":0,"safelen":5,"top":"DEV9","type":""})";
    QCOMPARE(m_bench.takeEcho(),
             registrationDocument() + "\nlocaldata.txt配置文件写入" + saved + '\n');
    QCOMPARE(m_bench.crane.file(QStringLiteral("localdata.txt")), saved);
    QVERIFY(hasLines(m_bench.crane.log(), m_logFrom,
                     {"主题 1 \"Local/IdentityInfo\"", "Failed to open existing file.",
                      "mymqtt开始订阅外部数据 \"F/3/0/C1/D2/P3/+/+/+/#\"",
                      "mymqtt开始订阅外部数据 \"F/3/0/C1/D2/P3/+/+/+/#\"",
                      "subscribed is sucessed topic: \"F/3/0/C1/D2/P3/+/+/+/#\" qos: 1"}));
}

void TestCommissioning::worksetsAreSavedAndEchoed()
{
    QVERIFY(m_bench.ownWorkset(999));
    QCOMPARE(m_bench.takeEcho(), worksetDocument("N9", 999, 12, 40) +
                                     "\nlocaldata.txt配置文件写入" + localdata("999") + '\n');
    QCOMPARE(m_bench.crane.file(QStringLiteral("localdata.txt")), localdata("999"));

    QVERIFY(m_bench.neighbourWorkset(QStringLiteral("DEV7"), "N7", 999));
    QCOMPARE(m_bench.takeEcho(), "mymqtt配置文件写入" + mymqtt("999") + '\n' +
                                     worksetDocument("N7", 999, 8, 44) + '\n');
    QCOMPARE(m_bench.crane.file(QStringLiteral("mymqtt.txt")), mymqtt("999"));
    QVERIFY(
        hasLines(m_bench.crane.log(), m_logFrom,
                 {"主题 1 \"Local/Workset\"", "主题 1 \"F/3/0/C1/D2/P3/V5/O4/0/DEV7/Workset\""}));
    expectPublished({}, {});
}

void TestCommissioning::firstCalibrationReportAddsTheNeighbourWithoutName()
{
    QVERIFY(m_bench.ownState(30, 20.5));
    QVERIFY(m_bench.neighbourState(QStringLiteral("DEV7"), 200, 24.5));
    const QByteArray saved =
        R"([{"absolute_X":0,"absolute_Y":0,"armwidth":0,"craneheight":0,"heightzero":"",)"
        R"("hoffset":0,"location_X":45,"location_Y":0,"moffset":0,"name":"","top":"DEV7",)"
        R"("type":""}])";
    QCOMPARE(m_bench.takeEcho(), "jcjj.txt配置文件写入" + saved + '\n');
    QCOMPARE(m_bench.crane.file(QStringLiteral("jcjj.txt")), saved);
    expectPublished({}, {});
}

void TestCommissioning::secondCalibrationReportPlacesTheNeighbour()
{
    QVERIFY(m_bench.neighbourState(QStringLiteral("DEV7"), 200, 24.5));
    const QByteArray saved =
        R"([{"absolute_X":22.5,"absolute_Y":-38.97114181518555,"armwidth":0,"craneheight":0,)"
        R"("heightzero":"","hoffset":200,"location_X":45,"location_Y":0,"moffset":30,)"
        R"("name":"N7","top":"DEV7","type":""}])";
    QCOMPARE(m_bench.takeEcho(), "jcjj.txt配置文件写入" + saved + '\n');
    QCOMPARE(m_bench.crane.file(QStringLiteral("jcjj.txt")), saved);
    const QByteArrayList reports{shown(boardAttitude, calibrationAttitude()),
                                 shown(boardAttribute, vicinityReport("999", "999"), true),
                                 shown(boardStatus, statusReport, true)};
    expectPublished(reports + calibrationAlarms(true),
                    {shown(siteAttitude, calibrationAttitude()),
                     shown(siteAttribute, vicinityReport("999", "999")),
                     shown(siteStatus, statusReport)});
    QVERIFY(hasLines(m_bench.crane.log(), m_logFrom,
                     {"持久消息 \"Local/Vicinity/Attribute/TEXT\"",
                      "published is sucessed :  \"Local/Vicinity/Attribute/TEXT\"",
                      "持久消息 \"Local/Vicinity/Status/TEXT\"",
                      "published is sucessed :  \"Local/Vicinity/Status/TEXT\"",
                      "published is sucessed :  \"Local/Alarm\""}));
    QVERIFY(!m_bench.crane.log().contains("持久消息 \"F/"));
}

void TestCommissioning::lateSubscriberGetsWhatIsRetained()
{
    QVERIFY(m_bench.watch());
    QByteArrayList board = m_bench.publishedOnBoard();
    std::sort(board.begin(), board.end()); // the broker sends them in no particular order
    QVERIFY(isSame(board, {shown(boardAttribute, vicinityReport("999", "999"), true),
                           shown(boardStatus, statusReport, true)}));
    QVERIFY(isSame(m_bench.publishedOnSite(), {}));
}

void TestCommissioning::realLengthsClearTheCalibrationAlarms()
{
    QVERIFY(m_bench.ownWorkset(30));
    QVERIFY(m_bench.neighbourWorkset(QStringLiteral("DEV7"), "N7", 20));
    QVERIFY(m_bench.ownState(30, 27));
    QCOMPARE(m_bench.crane.file(QStringLiteral("localdata.txt")), localdata("30"));
    QCOMPARE(m_bench.crane.file(QStringLiteral("mymqtt.txt")), mymqtt("20"));
    expectPublished({}, {});

    // N7 points away: the tip of the own jib is 15 m from its axis.
    QVERIFY(m_bench.neighbourState(QStringLiteral("DEV7"), 20));
    const QByteArrayList reports{shown(boardAttitude, attitudeReport("30")),
                                 shown(boardAttribute, vicinityReport("20", "30"), true)};
    expectPublished(reports + calibrationAlarms(false),
                    {shown(siteAttitude, attitudeReport("30")),
                     shown(siteAttribute, vicinityReport("20", "30"))});
    QVERIFY(hasLines(m_bench.crane.log(), m_logFrom, {"\"N7\" 回转到回转 15.0098"}));
}

void TestCommissioning::approachRaisesTheZoneAlarmOnce()
{
    // N7 at 143.125 of the pair's frame, close to a 3-4-5 triangle: its jib passes the tip of the
    // own one, 15 m from its axis, in 15 x 3/5 = 9 m; 4 m higher that is 9.85 m, no pair's alarm.
    const QByteArray report = attitudeReport("-113.12");
    QVERIFY(m_bench.neighbourState(QStringLiteral("DEV7"), 236.875));
    expectPublished({shown(boardAttitude, report),
                     shownAlarm("回转距离进人N7塔机\\n回转区还有9.00米", 15, true)},
                    {shown(siteAttitude, report)});

    QVERIFY(m_bench.neighbourState(QStringLiteral("DEV7"), 236.875));
    expectPublished({}, {});
    QVERIFY(hasLines(m_bench.crane.log(), m_logFrom,
                     {"\"N7\" 回转到回转 9.00304", "\"N7\" 回转到回转 9.00304"}));
}

void TestCommissioning::motionInsideTheZoneSendsTheAttitudeOnly()
{
    QVERIFY(m_bench.neighbourState(QStringLiteral("DEV7"), 236)); // 8.82 m
    expectPublished({shown(boardAttitude, attitudeReport("-114"))},
                    {shown(siteAttitude, attitudeReport("-114"))});
}

void TestCommissioning::closePartsRaiseTheirAlarms()
{
    // N7 points at the own crane: from 25 to 45 m its jib is 4 m above the own jib, which ends at
    // 30 m, and above the own rope at 27 m.
    QVERIFY(m_bench.neighbourState(QStringLiteral("DEV7"), 200));
    expectPublished({shown(boardAttitude, attitudeReport("-150")),
                     shownAlarm("\\n大臂到N7塔吊大臂\\n4.00米", 25, true),
                     shownAlarm("\\n吊绳到N7塔吊大臂\\n4.00米", 25, true)},
                    {shown(siteAttitude, attitudeReport("-150"))});
}

void TestCommissioning::leavingClearsEachAlarmWithItsText()
{
    QVERIFY(m_bench.neighbourState(QStringLiteral("DEV7"), 20));
    expectPublished({shown(boardAttitude, attitudeReport("30")),
                     shownAlarm("回转距离进人N7塔机\\n回转区还有9.00米", 15, false),
                     shownAlarm("\\n大臂到N7塔吊大臂\\n4.00米", 25, false),
                     shownAlarm("\\n吊绳到N7塔吊大臂\\n4.00米", 25, false)},
                    {shown(siteAttitude, attitudeReport("30"))});
}

QTEST_GUILESS_MAIN(TestCommissioning)
#include "tst_commissioning.moc"
