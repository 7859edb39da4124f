#include "tests/blackbox/bench.h"

#include <QDir>
#include <QTest>

#include <functional>

namespace
{

const QString neighbour = QStringLiteral("DEV7");
const QStringList stateFiles{QStringLiteral("localdata.txt"), QStringLiteral("mymqtt.txt"),
                             QStringLiteral("jcjj.txt")};
const QByteArray cannotOpen = "Failed to open existing file.\n";
const QByteArray isNull = "JSON is null. Parsing error: ";
const QByteArray isNoArray = "JSON is not an array\n";
const QByteArray isNoObject = "JSON parse error: 读取配置文件错误";

/// Repeats \a attempt until \a isDone, for a crane that shows nothing of what it does.
bool repeatUntil(const std::function<void()> &attempt, const std::function<bool()> &isDone)
{
    for (int i = 0; i < 50; ++i) {
        attempt();
        if (QTest::qWaitFor(isDone, 300))
            return true;
    }
    return false;
}

} // namespace

/// A crane that starts in bad surroundings is commissioned like any other and raises its alarms.
class TestHostileStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void stateFiles_data();
    void stateFiles();
    void sameCraneTwiceInTheFiles();
    void outputThatNobodyTakes_data();
    void outputThatNobodyTakes();
    void siteThatNoBrokerServes_data();
    void siteThatNoBrokerServes();

private:
    void expectOneZoneAlarm();

    std::unique_ptr<Bench> m_bench;
};

void TestHostileStart::init()
{
    m_bench.reset();
    m_bench = std::make_unique<Bench>();
    QVERIFY(m_bench->board().start());
    QVERIFY(m_bench->site().start());
    QVERIFY(m_bench->watch());
}

/// N7 comes to 9 m of the own jib.
void TestHostileStart::expectOneZoneAlarm()
{
    QVERIFY(m_bench->neighbourState(neighbour, 236.875));
    const QByteArrayList messages = m_bench->publishedOnBoard();
    const QByteArray alarm = shownAlarm("回转距离进人N7塔机\\n回转区还有9.00米", 15, true);
    QVERIFY2(messages.count(alarm) == 1, messages.join('\n').constData());
    QCOMPARE(messages.join('\n').count("Local/Alarm"), 1);
}

void TestHostileStart::stateFiles_data()
{
    QTest::addColumn<QByteArrayList>("contents"); // of the three; fewer: none of them exists
    QTest::addColumn<QByteArrayList>("lines");    // what each brings to the log

    const auto all = [](const QByteArray &text) { return QByteArrayList{text, text, text}; };
    QTest::newRow("missing") << QByteArrayList() << all(cannotOpen);
    QTest::newRow("folders") << all("FOLDER") << all(cannotOpen);
    QTest::newRow("unreadable") << all("UNREADABLE") << all(cannotOpen);
    const QByteArrayList damaged{isNoObject, isNull, isNull};
    QTest::newRow("empty") << all("") << damaged;
    QTest::newRow("not JSON") << all("[{\"top\":") << damaged;
    QTest::newRow("only NUL") << all(QByteArray(100, '\0')) << damaged;
    QTest::newRow("nested deeply") << all(QByteArray(100000, '[')) << damaged;
    QTest::newRow("of another type") << QByteArrayList{"[]", "{}", "{\"top\":1}"}
                                     << QByteArrayList{isNoObject, isNoArray, isNoArray};
    const QByteArrayList silent{"", "", ""};
    QTest::newRow("elements of other types")
        << QByteArrayList{R"({"armlen":"50","top":7,"name":null})",
                          R"([1,null,[],"x",{"top":5,"armlen":"x","name":[]}])",
                          R"([1,null,[],"x",{"top":5,"location_X":"x","name":{}}])"}
        << silent;
    // Decoded first, which makes the name readable, then parsed.
    QTest::newRow("broken UTF-8 in a name")
        << QByteArrayList{"{\"name\":\"N\xff\"}", "[{\"name\":\"N\xff\",\"top\":\"DEV5\"}]",
                          "[{\"name\":\"N\xff\",\"top\":\"DEV5\"}]"}
        << silent;
    QTest::newRow("numbers beyond float")
        << QByteArrayList{R"({"armlen":1e300,"offset":-1e300})",
                          R"([{"top":"DEV5","name":"N5","armlen":1e300}])",
                          R"([{"top":"DEV5","name":"N5","location_X":1e300,"absolute_X":1e300}])"}
        << silent;
}

void TestHostileStart::stateFiles()
{
    QFETCH(QByteArrayList, contents);
    QFETCH(QByteArrayList, lines);
    Crane &crane = m_bench->crane;
    for (int i = 0; i < contents.size(); ++i) {
        const QString &name = ::stateFiles.at(i);
        if (contents.at(i) == "FOLDER") {
            QVERIFY(QDir(crane.folder()).mkdir(name));
            continue;
        }
        crane.writeFile(name, contents.at(i));
        if (contents.at(i) == "UNREADABLE")
            QVERIFY(QFile::setPermissions(crane.folder() + QLatin1Char('/') + name, {}));
    }
    // Root reads and writes everything; the crane is started without that privilege.
    QVERIFY(crane.startAndSubscribe({QStringLiteral("setpriv"), QStringLiteral("--inh-caps=-all"),
                                     QStringLiteral("--bounding-set=-dac_override,"
                                                    "-dac_read_search")}));
    QVERIFY(m_bench->commission());
    const QByteArray log = crane.log().left(crane.log().indexOf("回转到回转"));
    for (const QByteArray &line : lines)
        QVERIFY2(line.isEmpty() || log.count(line) >= lines.count(line), log.constData());
    if (lines.first().isEmpty())
        QVERIFY2(!log.contains(cannotOpen) && !log.contains(isNull) && !log.contains(isNoArray) &&
                     !log.contains(isNoObject),
                 log.constData());
    expectOneZoneAlarm();
    QVERIFY(m_bench->finish());
}

void TestHostileStart::sameCraneTwiceInTheFiles()
{
    const QByteArray record =
        R"({"top":"DEV7","name":"N7","armlen":20,"craneheight":44,"reararm":8})";
    const QByteArray entry =
        R"({"top":"DEV7","name":"N7","location_X":45,"moffset":30,"hoffset":200})";
    m_bench->crane.writeFile(::stateFiles.at(0), R"({"top":"DEV9","safelen":5,"name":"N9"})");
    m_bench->crane.writeFile(::stateFiles.at(1), '[' + record + ',' + record + ']');
    m_bench->crane.writeFile(::stateFiles.at(2), '[' + entry + ',' + entry + ']');
    QVERIFY(m_bench->crane.startAndSubscribe());
    QVERIFY(m_bench->registerCrane());
    QVERIFY(m_bench->ownWorkset(30) && m_bench->ownState(30, 27));
    expectOneZoneAlarm();
    QVERIFY(m_bench->finish());
}

void TestHostileStart::outputThatNobodyTakes_data()
{
    QTest::addColumn<int>("streams");

    QTest::newRow("closed") << int(Crane::Streams::Closed);
    QTest::newRow("a pipe without a reader") << int(Crane::Streams::ReaderGone);
    QTest::newRow("a pipe that is never read") << int(Crane::Streams::Stalled);
    QTest::newRow("another user's pipe that is never read")
        << int(Crane::Streams::StalledOfAnother);
}

void TestHostileStart::outputThatNobodyTakes()
{
    QFETCH(int, streams);
    Crane &crane = m_bench->crane;
    crane.start(static_cast<Crane::Streams>(streams));
    const auto toBoard = [](const char *topic, const QByteArray &payload) {
        publish(boardPort, QLatin1String(topic), payload);
    };
    const auto fileHas = [&crane](int file, const QByteArray &text) {
        return [&crane, file, text] { return crane.file(::stateFiles.at(file)).contains(text); };
    };
    QVERIFY(repeatUntil([&] { toBoard("Local/DUID", R"({"duid":{"value":"DEV9"}})"); },
                        fileHas(0, "DEV9")));
    // Echoed: more than a pipe holds.
    toBoard("Local/Alarmlots", R"({"text":")" + QByteArray(300000, 'x') + R"("})");
    toBoard("Local/IdentityInfo", registrationDocument());
    toBoard("Local/Workset", worksetDocument("N9", 999, 12, 40));
    QVERIFY(repeatUntil(
        [&] {
            publish(sitePort, siteTopic(neighbour, QStringLiteral("Workset")),
                    worksetDocument("N7", 999, 8, 44));
        },
        fileHas(1, "DEV7")));
    toBoard("Local/Data", stateDocument(30, 20.5, 10));
    QVERIFY(repeatUntil(
        [&] {
            publish(sitePort, siteTopic(neighbour, QStringLiteral("Data")),
                    stateDocument(200, 24.5, 10));
        },
        fileHas(2, "N7")));
    // Three reports and the nine alarms of overlapping jibs.
    QCOMPARE(m_bench->boardWatch().next(12).size(), 12);
    QCOMPARE(m_bench->siteWatch().next(3).size(), 3);
    // Nothing that it wrote to a missing stream has gone into a file.
    for (int i = 0; i < 3; ++i)
        QVERIFY2(!crane.file(::stateFiles.at(i)).contains("配置文件"),
                 crane.file(::stateFiles.at(i)).constData());
    QVERIFY(crane.terminate());
}

void TestHostileStart::siteThatNoBrokerServes_data()
{
    QTest::addColumn<QByteArray>("company");

    QTest::newRow("wildcard inside a level") << QByteArray("C#1");
    QTest::newRow("wildcard before the end") << QByteArray("#/1");
    QTest::newRow("NUL") << QByteArray("C\\u0000");
    QTest::newRow("half a character") << QByteArray("\\ud800");
    QTest::newRow("longer than a topic may be") << QByteArray(70000, 'C');
}

void TestHostileStart::siteThatNoBrokerServes()
{
    QFETCH(QByteArray, company);
    QVERIFY(m_bench->crane.startAndSubscribe());
    QVERIFY(m_bench->toBoard(QStringLiteral("Local/DUID"), R"({"duid":{"value":"DEV9"}})"));
    QVERIFY(m_bench->toBoard(QStringLiteral("Local/IdentityInfo"),
                             registrationDocument().replace("C1", company)));
    const double before = m_bench->crane.cpuSeconds();
    QTest::qWait(2000);
    QVERIFY(m_bench->crane.cpuSeconds() - before < 0.3);
    // The board goes on.
    QVERIFY(m_bench->ownWorkset(30) && m_bench->ownState(30, 27));
    QVERIFY(m_bench->crane.file(::stateFiles.at(0)).contains("\"armlen\":30"));
    QVERIFY(m_bench->finish());
}

QTEST_GUILESS_MAIN(TestHostileStart)
#include "tst_hostilestart.moc"
