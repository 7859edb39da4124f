#include <QtTest>

#include <QJsonDocument>
#include <QJsonObject>

#include "local/localdata.h"
#include "tests/outputcapture.h"
#include "tests/workingdirectory.h"

namespace
{

const QString fileName = QStringLiteral("localdata.txt");

QMQTT::Message message(const char *topic, const QByteArray &payload)
{
    return QMQTT::Message(1, QString::fromUtf8(topic), payload, 1);
}

const QByteArray registration = R"({"reginfo":{"type":{"id":3},"generic":{"fieldnumber":"N9"},
    "company":{"id":"C1","department":{"id":"D2","project":{"id":"P3"}}},
    "owner":{"id":"O4"},"vendor":{"id":"V5"}}})";

} // namespace

class TestLocalData : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<FoundationData>("FoundationData"); }
    void init();
    void cleanup();
    void craneStateIsHandedOn();
    void topicFragmentsAreTriedInOrder_data();
    void topicFragmentsAreTriedInOrder();
    void worksetIsLoggedSavedAndNamed();
    void registrationIsAnnouncedOnceTheDeviceIsKnown();
    void deviceId_data();
    void deviceId();
    void whatIsNoObjectIsDropped();
    void alarmIsPublishedOnItsTopicWithTheTime();
    void reportsArePublishedUnchanged();
    void fileHoldsTheFixedData();
    void incompleteFileSetsTheRestToNothing();
    void damagedFileSetsEverythingToNothing();
    void missingFileKeepsTheDefaults();

private:
    QScopedPointer<WorkingDirectory> m_folder;
    QScopedPointer<LocalData> m_link;
};

void TestLocalData::init()
{
    m_folder.reset(new WorkingDirectory);
    m_link.reset(new LocalData);
    founData = FoundationData();
}

void TestLocalData::cleanup()
{
    m_link.reset();
    m_folder.reset();
}

void TestLocalData::craneStateIsHandedOn()
{
    founData.travel = 1.005f;
    QSignalSpy records(m_link.data(), SIGNAL(Localdatasignals(FoundationData)));
    QSignalSpy readings(m_link.data(), SIGNAL(Radiosignals(QString)));
    m_link->onReceived(message("Local/Data", R"({"tower":[{"rotation":12.5,"gantry":[{"hoist":
        [{"height":30.25}]}]}]})"));
    QCOMPARE(records.size(), 1);
    QCOMPARE(records[0][0].value<FoundationData>().rotation, 12.5f);
    QCOMPARE(readings.size(), 3);
    QCOMPARE(readings[0][0].toString(), QStringLiteral("rotation1250"));
    QCOMPARE(readings[1][0].toString(), QStringLiteral("travel101")); // 100.5 in float, not below
    QCOMPARE(readings[2][0].toString(), QStringLiteral("height3025"));
    m_link->onReceived(message("Local/Data", "{}"));
    QCOMPARE(records.size(), 2);
    QCOMPARE(readings.size(), 6);
    QVERIFY(!QFile::exists(fileName));
}

void TestLocalData::topicFragmentsAreTriedInOrder_data()
{
    QTest::addColumn<QByteArray>("topic");
    QTest::addColumn<QByteArray>("effect");
    QTest::newRow("crane state") << QByteArray("Local/Data") << QByteArray("state");
    QTest::newRow("crane state first") << QByteArray("Local/Workset/Data") << QByteArray("state");
    QTest::newRow("fragment anywhere") << QByteArray("Local/a/bWorksets/c") << QByteArray("saved");
    QTest::newRow("workset before identity")
        << QByteArray("Local/IdentityInfo/Workset") << QByteArray("saved");
    QTest::newRow("alarm list is logged only")
        << QByteArray("Local/Alarmlots") << QByteArray("logged");
    QTest::newRow("collide before device id")
        << QByteArray("Local/collide/Local/DUID") << QByteArray();
    QTest::newRow("device id") << QByteArray("Local/DUID") << QByteArray("device");
    QTest::newRow("device id, below") << QByteArray("Local/DUID/x") << QByteArray("device");
    QTest::newRow("device id is one fragment") << QByteArray("Local/x/DUID") << QByteArray();
    QTest::newRow("case counts") << QByteArray("Local/data") << QByteArray();
    QTest::newRow("own alarm coming back") << QByteArray("Local/Alarm") << QByteArray();
    QTest::newRow("own report coming back")
        << QByteArray("Local/Vicinity/Status/TEXT") << QByteArray();
}

void TestLocalData::topicFragmentsAreTriedInOrder()
{
    QFETCH(QByteArray, topic);
    QFETCH(QByteArray, effect);
    QSignalSpy records(m_link.data(), SIGNAL(Localdatasignals(FoundationData)));
    OutputCapture output;
    if (effect == "saved" || effect == "logged")
        QTest::ignoreMessage(QtDebugMsg, "主题 1 \"" + topic + "\"");
    m_link->onReceived(message(topic, R"({"duid":{"value":"DEV9"}})"));
    QCOMPARE(records.size(), effect == "state" ? 1 : 0);
    QCOMPARE(QFile::exists(fileName), effect == "saved" || effect == "device");
    QCOMPARE(founData.duid, effect == "device" ? QStringLiteral("DEV9") : QString());
    QCOMPARE(output.text().startsWith("{\"duid\""), effect == "saved" || effect == "logged");
}

void TestLocalData::worksetIsLoggedSavedAndNamed()
{
    QSignalSpy readings(m_link.data(), SIGNAL(Radiosignals(QString)));
    OutputCapture output;
    const QByteArray general =
        R"({"workset":[{"object":"general","armlen":50,"fieldnumber":"7号"}]})";
    QTest::ignoreMessage(QtDebugMsg, "主题 1 \"Local/Workset\"");
    m_link->onReceived(message("Local/Workset", general));
    QCOMPARE(readings.size(), 1);
    QCOMPARE(readings[0][0].toString(), QStringLiteral("name7号"));
    QCOMPARE(founData.armlen, 50.0f);
    QVERIFY(output.text().startsWith(general + "\nlocaldata.txt配置文件写入{\"MqttDataTop\":"));

    QVERIFY(QFile::remove(fileName));
    QTest::ignoreMessage(QtDebugMsg, "主题 1 \"Local/Workset\"");
    m_link->onReceived(message("Local/Workset", R"({"workset":[]})"));
    QCOMPARE(readings.size(), 1);
    QCOMPARE(founData.armlen, 50.0f);
    QVERIFY(QFile::exists(fileName)); // saved all the same
}

void TestLocalData::registrationIsAnnouncedOnceTheDeviceIsKnown()
{
    QSignalSpy tops(m_link.data(), SIGNAL(TopSignals(QString, QString)));
    OutputCapture output;
    m_link->onReceived(message("Local/IdentityInfo", registration));
    QCOMPARE(tops.size(), 0);
    QCOMPARE(founData.MqttTop, QStringLiteral("F/3/0/C1/D2/P3/+/+/+/"));
    QVERIFY(WorkingDirectory::read(fileName).contains("F/3/0/C1/D2/P3/V5/O4/0/"));
    m_link->onReceived(message("Local/DUID", R"({"duid":{"value":"DEV9"}})"));
    QCOMPARE(tops.size(), 0);
    m_link->onReceived(message("Local/IdentityInfo", registration));
    QCOMPARE(tops.size(), 1);
    QCOMPARE(tops[0][0].toString(), QStringLiteral("F/3/0/C1/D2/P3/+/+/+/"));
    QCOMPARE(tops[0][1].toString(), QStringLiteral("DEV9"));
}

void TestLocalData::deviceId_data()
{
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("text") << QByteArray(R"({"duid":{"value":"DEV9"}})") << true;
    QTest::newRow("number") << QByteArray(R"({"duid":{"value":123}})") << false;
    QTest::newRow("empty text") << QByteArray(R"({"duid":{"value":""}})") << false;
    QTest::newRow("no value") << QByteArray(R"({"duid":{}})") << false;
    QTest::newRow("no object") << QByteArray(R"({"duid":"DEV9"})") << false;
}

void TestLocalData::deviceId()
{
    QFETCH(QByteArray, payload);
    QFETCH(bool, isTaken);
    founData.duid = QStringLiteral("old");
    OutputCapture output;
    m_link->onReceived(message("Local/DUID", payload));
    QCOMPARE(founData.duid, isTaken ? QStringLiteral("DEV9") : QStringLiteral("old"));
    QCOMPARE(QFile::exists(fileName), isTaken);
    QVERIFY(!output.text().startsWith(payload)); // not logged
}

void TestLocalData::whatIsNoObjectIsDropped()
{
    QSignalSpy records(m_link.data(), SIGNAL(Localdatasignals(FoundationData)));
    OutputCapture output;
    for (const QByteArray &payload :
         {QByteArray(), QByteArray("abc"), QByteArray("[1,2]"), QByteArray("7"),
          QByteArray(100000, '['), QByteArray("{\"tower\":[]}\0x", 14)}) {
        m_link->onReceived(message("Local/Data", payload));
        m_link->onReceived(message("Local/Workset", payload));
    }
    QCOMPARE(records.size(), 0);
    QCOMPARE(output.text(), QByteArray());
    QVERIFY(!QFile::exists(fileName));
}

void TestLocalData::alarmIsPublishedOnItsTopicWithTheTime()
{
    QSignalSpy sent(m_link.data(), SIGNAL(MainTheadToMqttTHreadSignal(QString, QString)));
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    m_link->AlarmSlots(QStringLiteral("text"), 1, QStringLiteral("F/1"), false);
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    QCOMPARE(sent.size(), 1);
    QCOMPARE(sent[0][0].toString(), QStringLiteral("Local/Alarm"));
    const QJsonObject document = QJsonDocument::fromJson(sent[0][1].toString().toUtf8()).object();
    const double stamp = document.value(QStringLiteral("timestamp")).toDouble();
    QVERIFY(stamp >= static_cast<double>(before) && stamp <= static_cast<double>(after));
    QVERIFY(!document.value(QStringLiteral("alarm"))[0][QStringLiteral("triggered")].toBool(true));
}

void TestLocalData::reportsArePublishedUnchanged()
{
    QSignalSpy sent(m_link.data(), SIGNAL(MainTheadToMqttTHreadSignal(QString, QString)));
    m_link->VicinityAttributeSlots(QStringLiteral("a"));
    m_link->VicinityAttitudeSlots(QStringLiteral("b\n"));
    m_link->VicinityStatusSlots(QString());
    const QList<QVariantList> expected{
        {QStringLiteral("Local/Vicinity/Attribute/TEXT"), QStringLiteral("a")},
        {QStringLiteral("Local/Vicinity/Attitude/TEXT"), QStringLiteral("b\n")},
        {QStringLiteral("Local/Vicinity/Status/TEXT"), QString()}};
    QCOMPARE(QList<QVariantList>(sent), expected);
}

void TestLocalData::fileHoldsTheFixedData()
{
    founData.armlen = 0.1f;
    founData.name = QStringLiteral("9号");
    founData.duid = QStringLiteral("DEV9");
    founData.rotation = 7.0f; // live: not stored
    OutputCapture output;
    m_link->ConfigureStaticWrit();
    const QByteArray stored = WorkingDirectory::read(fileName);
    QCOMPARE(
        stored,
        QByteArray(R"({"MqttDataTop":"","MqttTop":"","armlen":0.10000000149011612,)"
                   R"("armwidth":0,"craneheight":0,"foundation":0,"heightzero":"",)"
                   R"("name":"9号","offset":0,"reararm":0,"safelen":5,"top":"DEV9","type":""})"));
    founData = FoundationData();
    m_link->ConfigureStaticRead();
    QCOMPARE(founData.armlen, 0.1f);
    QCOMPARE(founData.duid, QStringLiteral("DEV9"));
    m_link->ConfigureStaticWrit();
    QCOMPARE(WorkingDirectory::read(fileName), stored);
}

void TestLocalData::incompleteFileSetsTheRestToNothing()
{
    WorkingDirectory::write(fileName, R"({"armlen":50,"safelen":6,"top":"DEV9","name":7})");
    founData.name = QStringLiteral("old");
    founData.reararm = 9.0f;
    OutputCapture output;
    m_link->ConfigureStaticRead();
    QCOMPARE(founData.armlen, 50.0f);
    QCOMPARE(founData.safelen, 6.0f);
    QCOMPARE(founData.duid, QStringLiteral("DEV9"));
    QCOMPARE(founData.reararm, 0.0f);
    QVERIFY(founData.name.isEmpty());
}

void TestLocalData::damagedFileSetsEverythingToNothing()
{
    WorkingDirectory::write(fileName, "[]");
    founData.armlen = 9.0f;
    OutputCapture output;
    m_link->ConfigureStaticRead();
    QCOMPARE(founData.armlen, 0.0f);
    QCOMPARE(founData.safelen, 0.0f); // not 5 m
}

void TestLocalData::missingFileKeepsTheDefaults()
{
    QTest::ignoreMessage(QtCriticalMsg, "Failed to open existing file.");
    m_link->ConfigureStaticRead();
    QCOMPARE(founData.safelen, 5.0f);
}

QTEST_GUILESS_MAIN(TestLocalData)
#include "tst_localdata.moc"
