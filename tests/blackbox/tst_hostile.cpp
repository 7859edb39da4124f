#include "tests/blackbox/bench.h"

#include <QDir>
#include <QVector>
#include <QTest>

namespace
{

const QString data = QStringLiteral("Data");
const QString workset = QStringLiteral("Workset");
const QString neighbour = QStringLiteral("DEV7");
const QString stranger = QStringLiteral("DEV6");
const QString boardAttitude = QStringLiteral("Local/Vicinity/Attitude/TEXT");
const QString siteAttitude = QStringLiteral("F/3/0/C1/D2/P3/V5/O4/0/DEV9/Vicinity/Attitude");
const QString localdata = QStringLiteral("localdata.txt");
const QString mymqtt = QStringLiteral("mymqtt.txt");
const QString jcjj = QStringLiteral("jcjj.txt");

QByteArray padded(int bytes)
{
    return "{\"pad\":\"" + QByteArray(bytes, 'x') + "\"}";
}

} // namespace

/// Whatever arrives on either bus, the crane goes on: what cannot be used has no effect at all,
/// and the next good report brings what it always brings.
class TestHostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { QVERIFY(m_bench.finish()); }

    void uselessPayload_data();
    void uselessPayload();
    void uselessTopic_data();
    void uselessTopic();
    void hugeDocument();
    void numbersBeyondFloat();
    void emptyAndSharedNames();
    void uploadTopicThatNoBrokerTakes();
    void memoryStaysFlat();
    void idleCraneTakesNoProcessorTime();

private:
    QByteArrayList stateFiles() const;

    Bench m_bench;
};

void TestHostile::initTestCase()
{
    QVERIFY(m_bench.start());
    QVERIFY(m_bench.commission());
}

QByteArrayList TestHostile::stateFiles() const
{
    return {m_bench.crane.file(localdata), m_bench.crane.file(mymqtt), m_bench.crane.file(jcjj)};
}

void TestHostile::uselessPayload_data()
{
    QTest::addColumn<QByteArray>("payload");

    const QByteArray state = stateDocument(200, 8, 10);
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("not JSON") << QByteArray("tower");
    QTest::newRow("a number") << QByteArray("1e300");
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("array") << '[' + state + ']';
    QTest::newRow("cut short") << state.chopped(1);
    QTest::newRow("two documents") << state + state;
    QTest::newRow("NUL behind the document") << state + '\0';
    QTest::newRow("NUL before the document") << '\0' + state;
    QTest::newRow("broken UTF-8 in a name") << QByteArray(R"({"duid":{"value":"DEV)") + '\xff' +
                                                   R"("},"workset":[{"object":"general"}]})";
    QTest::newRow("100 000 open arrays") << QByteArray(100000, '[');
    QTest::newRow("100 000 nested objects")
        << QByteArray("{\"a\":").repeated(100000) + '1' + QByteArray(100000, '}');
    QTest::newRow("1 MB of text") << QByteArray(1000000, 'x');
    QTest::newRow("1 MB of NUL") << QByteArray(1000000, '\0');
}

void TestHostile::uselessPayload()
{
    QFETCH(QByteArray, payload);
    const QByteArrayList files = stateFiles();
    const int errors = m_bench.crane.log().count("JSON parse error:");
    m_bench.takeEcho();
    for (const char *topic :
         {"Local/Data", "Local/Workset", "Local/IdentityInfo", "Local/DUID", "Local/Alarmlots"})
        QVERIFY(publish(boardPort, QLatin1String(topic), payload));
    for (const QString &topic : {siteTopic(neighbour, data), siteTopic(neighbour, workset)})
        QVERIFY(publish(sitePort, topic, payload));
    QVERIFY(m_bench.settleBoard());
    QVERIFY(m_bench.settleSite());

    QTRY_COMPARE(m_bench.crane.log().count("JSON parse error:"), errors + 3); // with the bench's
    QCOMPARE(m_bench.takeEcho(), QByteArray());
    QCOMPARE(stateFiles(), files);
    QVERIFY(m_bench.nextReportWorks());
}

void TestHostile::uselessTopic_data()
{
    QTest::addColumn<quint16>("port");
    QTest::addColumn<QString>("topic");

    const auto row = [](const char *name, quint16 port, const char *topic) {
        QTest::newRow(name) << port << QString(QLatin1String(topic));
    };
    row("board: one level", boardPort, "Local");
    row("board: empty last level", boardPort, "Local/");
    row("board: empty levels", boardPort, "Local///");
    row("board: lower case", boardPort, "Local/workset");
    row("board: collide before the device id", boardPort, "Local/collide/Local/DUID");
    row("site: no crane level", sitePort, "F/3/0/C1/D2/P3/V5/O4/0");
    row("site: all levels empty", sitePort, "F/3/0/C1/D2/P3///");
    row("site: empty crane id", sitePort, "F/3/0/C1/D2/P3/V5/O4/0/DEV7//Data");
    row("site: empty crane id in an empty place", sitePort, "F/3/0/C1/D2/P3////Data");
    row("site: unknown crane", sitePort, "F/3/0/C1/D2/P3/V5/O4/0/DEV6/Data");
    row("site: lower case", sitePort, "F/3/0/C1/D2/P3/V5/O4/0/DEV7/workset");
    row("site: own crane", sitePort, "F/3/0/C1/D2/P3/V5/O4/0/xDEV9x/Workset");
}

void TestHostile::uselessTopic()
{
    QFETCH(quint16, port);
    QFETCH(QString, topic);
    const QByteArrayList files = stateFiles();
    m_bench.takeEcho();
    // Good for anything: it would be taken as any kind of message.
    QByteArray payload = stateDocument(200, 8, 10);
    payload.replace(0, 1, R"({"duid":{"value":"X"},"workset":[{"object":"general"}],)");
    QVERIFY(port == boardPort ? m_bench.toBoard(topic, payload) : m_bench.toSite(topic, payload));
    QCOMPARE(m_bench.takeEcho(), QByteArray());
    QCOMPARE(stateFiles(), files);
    QVERIFY(m_bench.nextReportWorks());
}

void TestHostile::hugeDocument()
{
    const QByteArrayList files = stateFiles();
    const QByteArray document = padded(1000000);
    m_bench.takeEcho();
    QVERIFY(m_bench.toBoard(QStringLiteral("Local/Workset"), document));
    QVERIFY(m_bench.takeEcho() == document + "\nlocaldata.txt配置文件写入" + files.at(0) + '\n');
    QVERIFY(m_bench.toSite(siteTopic(neighbour, workset), document));
    QVERIFY(m_bench.takeEcho() == "mymqtt配置文件写入" + files.at(1) + '\n' + document + '\n');
    QVERIFY(m_bench.toSite(siteTopic(neighbour, data), document));
    QCOMPARE(stateFiles(), files);

    const QByteArray larger = padded(1 << 20); // not taken
    m_bench.takeEcho();
    for (int i = 0; i < 2; ++i) {
        QVERIFY(m_bench.toBoard(QStringLiteral("Local/Workset"), larger));
        QVERIFY(m_bench.toSite(siteTopic(neighbour, workset), larger));
    }
    QCOMPARE(m_bench.takeEcho(), QByteArray());
    QCOMPARE(m_bench.crane.log().count("MQTT: a message of 1048586 bytes is not taken, on "), 2);
    QVERIFY(m_bench.nextReportWorks());
}

void TestHostile::numbersBeyondFloat()
{
    const QByteArray state = stateDocument(12345, 8, 10);
    const QString neighbourData = siteTopic(neighbour, data);
    // A neighbour's reading beyond all numbers: no clearance is a number, the zone is alarmed.
    QVERIFY(m_bench.toSite(neighbourData, QByteArray(state).replace("12345", "1e300")));
    QVERIFY(isSame(m_bench.publishedOnBoard(),
                   {shown(boardAttitude, attitudeReport("0")),
                    shownAlarm("回转距离进人N7塔机\\n回转区还有nan米", 15, true)}));
    QVERIFY(m_bench.neighbourState(neighbour, 20));
    QVERIFY(isSame(m_bench.publishedOnBoard(),
                   {shown(boardAttitude, attitudeReport("30")),
                    shownAlarm("回转距离进人N7塔机\\n回转区还有nan米", 15, false)}));
    m_bench.publishedOnSite();

    // An own reading beyond all numbers is reported as the largest; N7 is far from what is left.
    QVERIFY(m_bench.toBoard(QStringLiteral("Local/Data"),
                            stateDocument(12345, 27, 10).replace("12345", "1e300")));
    QVERIFY(m_bench.neighbourState(neighbour, 20));
    QVERIFY(isSame(m_bench.publishedOnBoard(),
                   {shown(boardAttitude, attitudeReport("30", "21474836.47"))}));
    QVERIFY(isSame(m_bench.publishedOnSite(),
                   {shown(siteAttitude, attitudeReport("30", "21474836.47"))}));

    const QByteArray saved = m_bench.crane.file(localdata);
    QVERIFY(m_bench.toBoard(QStringLiteral("Local/Workset"),
                            worksetDocument("N9", 12345, 12, 40).replace("12345", "1e300")));
    QCOMPARE(m_bench.crane.file(localdata),
             QByteArray(saved).replace("\"armlen\":30", "\"armlen\":null"));
    QVERIFY(m_bench.ownWorkset(30));
    QCOMPARE(m_bench.crane.file(localdata), saved);
    QVERIFY(m_bench.nextReportWorks());
}

void TestHostile::emptyAndSharedNames()
{
    // A crane without a name is known by no neighbour's.
    QVERIFY(m_bench.neighbourWorkset(stranger, "", 20));
    QVERIFY(m_bench.neighbourState(stranger, 200));
    QVERIFY(isSame(m_bench.publishedOnBoard(), {}));
    // Two cranes of one name are one neighbour: the report counts for it.
    QVERIFY(m_bench.neighbourWorkset(stranger, "N7", 20));
    QVERIFY(m_bench.neighbourState(stranger, 15));
    QVERIFY(isSame(m_bench.publishedOnBoard(), {shown(boardAttitude, attitudeReport("25"))}));
    QVERIFY(isSame(m_bench.publishedOnSite(), {shown(siteAttitude, attitudeReport("25"))}));
    QVERIFY(m_bench.nextReportWorks());
}

void TestHostile::uploadTopicThatNoBrokerTakes()
{
    for (const QByteArray id : {"O#", "+", "O\\u0000", "\\ud800"}) {
        QVERIFY(m_bench.toBoard(QStringLiteral("Local/IdentityInfo"),
                                registrationDocument().replace("O4", id)));
        QVERIFY(m_bench.ownState(30, 27));
        QVERIFY(m_bench.neighbourState(neighbour, 15));
        QVERIFY(isSame(m_bench.publishedOnBoard(), {shown(boardAttitude, attitudeReport("25"))}));
        QVERIFY(isSame(m_bench.publishedOnSite(), {}));
        QVERIFY(m_bench.toBoard(QStringLiteral("Local/IdentityInfo"), registrationDocument()));
        QVERIFY(m_bench.nextReportWorks());
    }
}

void TestHostile::memoryStaysFlat()
{
#ifdef CRANE_SANITIZED
    const int batches = 8;
#else
    const int batches = 24;
#endif
    // Approach and leave: each pair of reports brings two attitude reports, raises and clears.
    QByteArrayList reports;
    for (int i = 0; i < 500; ++i)
        reports << stateDocument(200, 8, 10) << stateDocument(20, 8, 10 + i % 7);
    const QByteArrayList states = QVector<QByteArray>(100, stateDocument(30, 27, 10)).toList();
    qint64 before = 0;
    for (int batch = 0; batch < batches; ++batch) {
        if (batch == batches / 4)
            before = m_bench.crane.residentKib();
        QVERIFY(publishLines(sitePort, siteTopic(neighbour, data), reports));
        QVERIFY(publishLines(boardPort, QStringLiteral("Local/Data"), states));
        QVERIFY(m_bench.ownWorkset(30) && m_bench.neighbourWorkset(neighbour, "N7", 20));
    }
    const qint64 grown = m_bench.crane.residentKib() - before;
#ifndef CRANE_SANITIZED
    QVERIFY2(before > 0 && grown < 1024, qPrintable(QStringLiteral("grew by %1 KiB").arg(grown)));
#else
    Q_UNUSED(grown)
#endif
    const QList<BusMessage> alarms = m_bench.boardWatch().all();
    QVERIFY(alarms.size() > batches * 1000 * 3); // they have really been evaluated
    QVERIFY(m_bench.neighbourState(neighbour, 5));
    m_bench.publishedOnBoard();
    m_bench.publishedOnSite();
    QVERIFY(m_bench.nextReportWorks());
}

void TestHostile::idleCraneTakesNoProcessorTime()
{
    const auto takesNoTime = [this](const char *when) {
        const double before = m_bench.crane.cpuSeconds();
        QTest::qWait(2500);
        const double taken = m_bench.crane.cpuSeconds() - before;
        if (taken >= 0.15)
            qWarning("%s: %f s of 2.5 s", when, taken);
        return taken < 0.15;
    };
    QVERIFY(takesNoTime("connected"));
    m_bench.site().kill();
    m_bench.board().kill();
    QTest::qWait(500);
    QVERIFY(takesNoTime("no broker"));
    m_bench.board().start();
    m_bench.site().start();
}

QTEST_GUILESS_MAIN(TestHostile)
#include "tst_hostile.moc"
