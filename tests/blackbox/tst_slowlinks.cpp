#include "tests/blackbox/bench.h"
#include "tests/blackbox/slowlink.h"

#include <QTest>

namespace
{

const QString neighbour = QStringLiteral("DEV7");
const QString attitudeTopic = QStringLiteral("Local/Vicinity/Attitude/TEXT");
const QString alarmTopic = QStringLiteral("Local/Alarm");

/// Makes each report and each alarm 4 kB long.
const QByteArray longName = QByteArray(4000, 'N');

/// Reports of the neighbour: far away, never the same twice.
QByteArrayList farReports(int count)
{
    static int rope = 0;
    QByteArrayList reports;
    for (int i = 0; i < count; ++i)
        reports << stateDocument(20, 8, ++rope);
    return reports;
}

/// Coming to 9 m and going again: each pair raises one alarm and clears it.
QByteArrayList approaches(int count)
{
    QByteArrayList reports;
    for (int i = 0; i < count; ++i)
        reports << stateDocument(236.875, 8, 10) << stateDocument(20, 8, 10);
    return reports;
}

/// All that has come on a topic.
QByteArrayList payloads(Watch &watch, const QString &topic)
{
    QByteArrayList found;
    for (const BusMessage &message : watch.all()) {
        if (message.topic == topic)
            found << message.payload;
    }
    return found;
}

} // namespace

/// A crane whose brokers take what it publishes more slowly than it comes.
class TestSlowLinks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { QVERIFY(m_bench.finish()); }

    void slowUplinkHoldsUpNothing();
    void stalledBoardGetsEveryAlarm();
    void tooManyWaitingAlarmsAreALostConnection();

private:
    /// Sends the reports and waits until the crane has evaluated them.
    bool evaluated(const QByteArrayList &reports)
    {
        const int from = m_bench.crane.log().size();
        return publishLines(m_bench.site().port(), siteTopic(neighbour, QStringLiteral("Data")),
                            reports) &&
               QTest::qWaitFor([&] { return logged("回转到回转", from) == reports.size(); }, 30000);
    }
    int logged(const QByteArray &text, int from = 0)
    {
        const QByteArray &log = m_bench.crane.log();
        return QByteArray::fromRawData(log.constData() + from, log.size() - from).count(text);
    }

    Bench m_bench{22223};
    SlowLink m_uplink{sitePort, 22223};
};

void TestSlowLinks::initTestCase()
{
    QVERIFY(m_bench.start());
    QVERIFY(m_bench.commission({{neighbour, longName, 30}}));
}

/// 13 MB of reports over a link that takes 100 kB a second.
void TestSlowLinks::slowUplinkHoldsUpNothing()
{
    constexpr int chunks = 30;
    constexpr int chunk = 100; // what the board's broker surely takes at once
    const QString upload = siteTopic(QStringLiteral("DEV9"), QStringLiteral("Vicinity/Attitude"));
    const int before = payloads(m_bench.boardWatch(), attitudeTopic).size();
    QVERIFY(evaluated(farReports(chunk)));
    QTRY_COMPARE(payloads(m_bench.boardWatch(), attitudeTopic).size(), before + chunk);
    const qint64 memory = m_bench.crane.residentKib();
    m_uplink.setBytesPerSecond(100'000);
    for (int i = 0; i < chunks; ++i)
        QVERIFY(evaluated(farReports(chunk)));
    QTRY_COMPARE(payloads(m_bench.boardWatch(), attitudeTopic).size(),
                 before + chunk + chunks * chunk);
#ifndef CRANE_SANITIZED
    QVERIFY(m_bench.crane.residentKib() - memory < 8192);
#else
    Q_UNUSED(memory)
#endif
    QCOMPARE(logged("reports left out"), 1); // in a minute
    const QByteArray newest = payloads(m_bench.boardWatch(), attitudeTopic).last();
    QVERIFY(payloads(m_bench.siteWatch(), upload).last() != newest);
    m_uplink.setBytesPerSecond(1'000'000'000);
    // Mostly in a tenth of a second; TCP itself may wait before it tries a full peer again.
    QTRY_COMPARE_WITH_TIMEOUT(payloads(m_bench.siteWatch(), upload).last(), newest, 15000);
}

/// More than the broker's connection takes, then alarms.
void TestSlowLinks::stalledBoardGetsEveryAlarm()
{
    constexpr int pairs = 100;
    m_bench.boardWatch().rest();
    m_bench.board().freeze();
    QVERIFY(evaluated(farReports(3000)));
    QVERIFY(evaluated(approaches(pairs)));
    const int before = payloads(m_bench.boardWatch(), alarmTopic).size();
    m_bench.board().thaw();
    QTRY_COMPARE(payloads(m_bench.boardWatch(), alarmTopic).size(), before + 2 * pairs);
    const QByteArrayList alarms = payloads(m_bench.boardWatch(), alarmTopic).mid(before);
    for (int i = 0; i < alarms.size(); ++i)
        QVERIFY(alarms.at(i).contains(i % 2 == 0 ? "\"triggered\": true" : "\"triggered\": false"));
    QCOMPARE(logged("mqtt disconnected"), 0);
    const QByteArrayList last = farReports(1);
    const QByteArray rope = last.first().mid(last.first().lastIndexOf(':') + 1).split('}').first();
    const QByteArray newest = "\"hoisting\": " + rope + ",\n            \"label\": \"NNN";
    QVERIFY(evaluated(last));
    QTRY_VERIFY(payloads(m_bench.boardWatch(), attitudeTopic).last().contains(newest));
}

void TestSlowLinks::tooManyWaitingAlarmsAreALostConnection()
{
    m_bench.board().freeze();
    QVERIFY(evaluated(farReports(3000)));
    QVERIFY(evaluated(approaches(200)));
    QTRY_COMPARE(logged("mqtt disconnected"), 1); // long before the broker counts as mute
    m_bench.board().thaw();
    QTRY_COMPARE(logged("subscribed is sucessed topic: \"Local/#\""), 2);
    const int before = payloads(m_bench.boardWatch(), alarmTopic).size();
    QVERIFY(evaluated(approaches(1)));
    QTRY_COMPARE(payloads(m_bench.boardWatch(), alarmTopic).size(), before + 2);
}

QTEST_GUILESS_MAIN(TestSlowLinks)
#include "tst_slowlinks.moc"
