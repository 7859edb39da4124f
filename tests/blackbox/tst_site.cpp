#include "tests/blackbox/bench.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <algorithm>

namespace
{

const QString alarmTopic = QStringLiteral("Local/Alarm");

QJsonObject document(const BusMessage &message)
{
    return QJsonDocument::fromJson(message.payload).object();
}

QList<BusMessage> onTopic(const QList<BusMessage> &messages, const QString &topic)
{
    QList<BusMessage> found;
    std::copy_if(messages.begin(), messages.end(), std::back_inserter(found),
                 [&](const BusMessage &message) { return message.topic == topic; });
    return found;
}

QByteArrayList payloads(const QList<BusMessage> &messages)
{
    QByteArrayList all;
    for (const BusMessage &message : messages)
        all << message.payload;
    return all;
}

/// What an alarm is about: its text without the distance.
QString subject(const QString &detail)
{
    return QString(detail).remove(QRegularExpression(QStringLiteral("-?[0-9.]+米$")));
}

} // namespace

/// A simulated site of four cranes that slew, hoist and drive, with one that falls silent and comes
/// back: what the crane publishes then is consistent in itself and on both brokers.
class TestSite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void topicsFlagsAndFormOfTheMessages();
    void bothBrokersGetTheSameReportsInOrder();
    void everyAlarmIsRaisedThenClearedWithItsText();
    void silentNeighbourIsOfflineThenOnline();

private:
    Bench m_bench;
    QList<BusMessage> m_board; // all that the crane published on the board, in order
    QList<BusMessage> m_site;
};

void TestSite::initTestCase()
{
    QVERIFY(m_bench.board().start() && m_bench.site().start());
    Watch board(boardPort, {QStringLiteral("Local/Alarm"), QStringLiteral("Local/Vicinity/#"),
                            QStringLiteral("Local/IdentityInfo"), QStringLiteral("Local/DUID")});
    Watch site(sitePort, {QStringLiteral("+/+/+/+/+/+/+/+/+/+/Vicinity/#"),
                          QStringLiteral("+/+/+/+/+/+/+/+/+/+/Alarm/#")});
    QVERIFY(m_bench.crane.startAndSubscribe());
    Child simulator;
    simulator.setProcessChannelMode(QProcess::ForwardedChannels);
    // 5 s by the clock, 11 s of silence, 4 s more.
    simulator.start(QStringLiteral(SITESIM),
                    QStringLiteral("--cranes 4 --speed 4 --seconds 80 --silence 11 --seed 1")
                        .split(QLatin1Char(' ')));
    QVERIFY(simulator.waitForFinished(60000));
    QCOMPARE(simulator.exitCode(), 0);
    QTest::qWait(500);
    QVERIFY(m_bench.finish());

    for (const BusMessage &message : board.all())
        if (message.topic == alarmTopic ||
            message.topic.startsWith(QLatin1String("Local/Vicinity")))
            m_board << message;
    // The upload topics follow from the registration and the device id that the board has sent.
    const QJsonObject registration =
        document(onTopic(board.all(), QStringLiteral("Local/IdentityInfo")).value(0));
    const QJsonObject info = registration.value(QLatin1String("reginfo")).toObject();
    const auto id = [&info](const char *path) {
        QJsonObject object = info;
        for (const QByteArray &key : QByteArray(path).split('/'))
            object = object.value(QLatin1String(key)).toObject();
        return object.value(QLatin1String("id")).toVariant().toString();
    };
    const QString prefix =
        QStringLiteral("F/%1/0/%2/%3/%4/%5/%6/0/%7/")
            .arg(id("type"), id("company"), id("company/department"),
                 id("company/department/project"), id("vendor"), id("owner"),
                 document(onTopic(board.all(), QStringLiteral("Local/DUID")).value(0))
                     .value(QLatin1String("duid"))
                     .toObject()
                     .value(QLatin1String("value"))
                     .toString());
    for (BusMessage message : site.all()) {
        QVERIFY2(message.topic.startsWith(prefix), qPrintable(message.topic + prefix));
        message.topic.remove(0, prefix.size());
        m_site << message;
    }
}

void TestSite::topicsFlagsAndFormOfTheMessages()
{
    const QHash<QString, bool> boardTopics{{alarmTopic, false},
                                           {QStringLiteral("Local/Vicinity/Attribute/TEXT"), true},
                                           {QStringLiteral("Local/Vicinity/Attitude/TEXT"), false},
                                           {QStringLiteral("Local/Vicinity/Status/TEXT"), true}};
    for (const BusMessage &message : m_board) {
        QVERIFY2(boardTopics.contains(message.topic), qPrintable(message.topic));
        QCOMPARE(message.isRetained, boardTopics.value(message.topic));
        QCOMPARE(message.qos, 0);
        QCOMPARE(QJsonDocument(document(message)).toJson(), message.payload);
    }
    const QStringList siteTopics{QStringLiteral("Vicinity/Attribute"),
                                 QStringLiteral("Vicinity/Attitude"),
                                 QStringLiteral("Vicinity/Status")};
    for (const BusMessage &message : m_site) {
        QVERIFY2(siteTopics.contains(message.topic), qPrintable(message.topic));
        QVERIFY(!message.isRetained);
        QCOMPARE(message.qos, 0);
    }
}

void TestSite::bothBrokersGetTheSameReportsInOrder()
{
    QList<BusMessage> reports;
    for (BusMessage message : m_board) {
        message.topic.remove(QStringLiteral("Local/")).remove(QStringLiteral("/TEXT"));
        if (message.topic != QLatin1String("Alarm"))
            reports << message;
    }
    QVERIFY(reports.size() > 100);
    QCOMPARE(reports.size(), m_site.size());
    for (int i = 0; i < reports.size(); ++i) {
        QCOMPARE(m_site.at(i).topic, reports.at(i).topic);
        QCOMPARE(m_site.at(i).payload, reports.at(i).payload);
    }
    // A report is sent only when it differs from the one before.
    for (const char *topic : {"Vicinity/Attribute", "Vicinity/Attitude", "Vicinity/Status"}) {
        const QByteArrayList texts = payloads(onTopic(m_site, QLatin1String(topic)));
        QVERIFY(!texts.isEmpty());
        QVERIFY(std::adjacent_find(texts.begin(), texts.end()) == texts.end());
    }
}

void TestSite::everyAlarmIsRaisedThenClearedWithItsText()
{
    QHash<QString, QString> active; // the text of each raised alarm, by its subject
    int cleared = 0;
    qint64 last = 0;
    for (const BusMessage &message : onTopic(m_board, alarmTopic)) {
        const QJsonObject whole = document(message);
        const QJsonObject alarm = whole.value(QLatin1String("alarm")).toArray().at(0).toObject();
        const QString detail = alarm.value(QLatin1String("detail")).toString();
        const bool isZone = detail.startsWith(QStringLiteral("回转距离进人"));
        QCOMPARE(alarm.value(QLatin1String("level")).toInt(), isZone ? 15 : 25);
        if (alarm.value(QLatin1String("triggered")).toBool()) {
            // Not raised while it is active.
            QVERIFY2(!active.contains(subject(detail)), qPrintable(detail));
            active.insert(subject(detail), detail);
        } else {
            QCOMPARE(active.take(subject(detail)), detail);
            ++cleared;
        }
        const auto time = static_cast<qint64>(whole.value(QLatin1String("timestamp")).toDouble());
        QVERIFY(time >= last);
        last = time;
    }
    QVERIFY(cleared > 0);
}

void TestSite::silentNeighbourIsOfflineThenOnline()
{
    QStringList states; // how many of the neighbours are online in each status report
    for (const BusMessage &message : onTopic(m_site, QStringLiteral("Vicinity/Status"))) {
        QString state;
        for (const QJsonValue &neighbour :
             document(message).value(QLatin1String("neighbours")).toArray())
            state +=
                neighbour.toObject().value(QLatin1String("status")).toString() + QLatin1Char(' ');
        states << state;
    }
    const QString all = QStringLiteral("online online online ");
    QVERIFY2(states.endsWith(all), qPrintable(states.join(QLatin1Char('\n'))));
    const int offline =
        static_cast<int>(std::count_if(states.begin(), states.end(), [](const QString &state) {
            return state.count(QStringLiteral("offline")) == 1;
        }));
    QCOMPARE(offline, 1);
}

QTEST_GUILESS_MAIN(TestSite)
#include "tst_site.moc"
