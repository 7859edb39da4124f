#include <QtTest>

#include <QJsonDocument>
#include <QJsonObject>

#include "cloud/mymqtt.h"
#include "tests/outputcapture.h"
#include "tests/workingdirectory.h"

namespace
{

const QString fileName = QStringLiteral("mymqtt.txt");

QMQTT::Message message(const QByteArray &topic, const QByteArray &payload)
{
    return QMQTT::Message(1, QString::fromUtf8(topic), payload, 1);
}

QByteArray workset(const QByteArray &members)
{
    return R"({"workset":[{"object":"general",)" + members + "}]}";
}

} // namespace

class TestMyMqtt : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<FoundationData>("FoundationData"); }
    void init();
    void cleanup();
    void liveDataReachesTheMatchingRecords_data();
    void liveDataReachesTheMatchingRecords();
    void eachRecordIsEmittedBeforeTheNextIsUpdated();
    void worksetOfANewCraneIsAppendedAndSaved();
    void worksetUpdatesTheFirstMatchOnly();
    void listIsFullAt9999();
    void whatIsNoObjectIsLoggedAndDropped();
    void reportsGoUpUnderTheOwnTopic();
    void alarmGoesUpAndIsLogged();
    void fileHoldsTheNeighbours();
    void elementsThatAreNoObjectsAreSkipped();
    void emptyListIsAnEmptyArray();
    void onlyTheFirstRegistrationCounts();

private:
    QScopedPointer<WorkingDirectory> m_folder;
    QScopedPointer<MqttThread> m_link;
};

void TestMyMqtt::init()
{
    m_folder.reset(new WorkingDirectory);
    m_link.reset(new MqttThread);
    mytop = QStringLiteral("DEV9");
    foundata.clear();
    for (const char *duid : {"DEV7", "DEV"}) {
        FoundationData record;
        record.duid = QString::fromLatin1(duid);
        record.travel = 3.0f;
        foundata.append(record);
    }
}

void TestMyMqtt::cleanup()
{
    m_link.reset();
    m_folder.reset();
}

void TestMyMqtt::liveDataReachesTheMatchingRecords_data()
{
    QTest::addColumn<QByteArray>("topic");
    QTest::addColumn<QStringList>("devices");
    const QString dev7 = QStringLiteral("DEV7");
    const QString dev = QStringLiteral("DEV");
    const QByteArray prefix = "F/3/0/C1/D2/P3/V5/O4/0/";
    QTest::newRow("every record that the id contains, in order")
        << prefix + "DEV7/Data" << QStringList{dev7, dev};
    QTest::newRow("not the other way round") << prefix + "DE/Data" << QStringList{};
    QTest::newRow("matched by one only") << prefix + "DEV8/Data" << QStringList{dev};
    QTest::newRow("own id anywhere in the topic") << prefix + "DEV99/Data" << QStringList{};
    QTest::newRow("word in the last level") << prefix + "DEV8/DataX" << QStringList{dev};
    QTest::newRow("word in another level") << "Data/" + prefix + "DEV8/x" << QStringList{dev};
    QTest::newRow("live data before workset") << prefix + "DEV8/WorksetData" << QStringList{dev};
    QTest::newRow("case counts") << prefix + "DEV8/data" << QStringList{};
    QTest::newRow("other kinds") << prefix + "DEV8/Vicinity/Status" << QStringList{};
    QTest::newRow("one level only") << QByteArray("DEV8Data") << QStringList{};
    QTest::newRow("empty crane id") << prefix + "/Data" << QStringList{};
    QTest::newRow("two levels are enough") << QByteArray("DEV8/Data") << QStringList{dev};
}

void TestMyMqtt::liveDataReachesTheMatchingRecords()
{
    QFETCH(QByteArray, topic);
    QSignalSpy reports(m_link.data(), SIGNAL(CollideSignal(FoundationData)));
    m_link->onReceived(message(topic, R"({"tower":[{"rotation":90}]})"));
    QStringList devices;
    for (const QVariantList &arguments : reports) {
        const auto record = arguments[0].value<FoundationData>();
        QCOMPARE(record.rotation, 90.0f);
        QCOMPARE(record.travel, 3.0f);
        devices += record.duid;
    }
    QTEST(devices, "devices");
    QVERIFY(!QFile::exists(fileName));
}

void TestMyMqtt::eachRecordIsEmittedBeforeTheNextIsUpdated()
{
    QVector<float> secondAtEmission;
    connect(m_link.data(), &MqttThread::CollideSignal, this,
            [&] { secondAtEmission += foundata[1].rotation; });
    m_link->onReceived(message("0/DEV7/Data", R"({"tower":[{"rotation":90}]})"));
    QCOMPARE(secondAtEmission, (QVector<float>{0.0f, 90.0f}));
}

void TestMyMqtt::worksetOfANewCraneIsAppendedAndSaved()
{
    foundata.clear();
    const QByteArray payload = workset(R"("armlen":50,"fieldnumber":"N8","safelen":6)");
    OutputCapture output;
    QTest::ignoreMessage(QtDebugMsg, "主题 1 \"F/DEV8/Workset\"");
    m_link->onReceived(message("F/DEV8/Workset", payload));
    QCOMPARE(foundata.size(), 1);
    QCOMPARE(foundata[0].duid, QStringLiteral("DEV8"));
    QCOMPARE(foundata[0].name, QStringLiteral("N8"));
    QCOMPARE(foundata[0].safelen, 6.0f);
    const QByteArray stored =
        R"([{"armlen":50,"armwidth":0,"craneheight":0,"foundation":0,"heightzero":"",)"
        R"("name":"N8","offset":0,"reararm":0,"top":"DEV8","type":""}])";
    QCOMPARE(WorkingDirectory::read(fileName), stored);
    QCOMPARE(output.text(), "mymqtt配置文件写入" + stored + '\n' + payload + '\n');

    QTest::ignoreMessage(QtDebugMsg, "主题 1 \"F/XEV/Workset\"");
    m_link->onReceived(
        message("F/XEV/Workset", "{}")); // no "general" element: appended all the same
    QCOMPARE(foundata.size(), 2);
    QCOMPARE(foundata[1].duid, QStringLiteral("XEV"));
    QCOMPARE(foundata[1].safelen, 5.0f);
}

void TestMyMqtt::worksetUpdatesTheFirstMatchOnly()
{
    OutputCapture output;
    m_link->onReceived(message("F/DEV77/Workset", workset(R"("armlen":50)")));
    QCOMPARE(foundata.size(), 2);
    QCOMPARE(foundata[0].armlen, 50.0f);
    QCOMPARE(foundata[0].duid, QStringLiteral("DEV7"));
    QCOMPARE(foundata[1].armlen, 0.0f);
    QVERIFY(WorkingDirectory::read(fileName).contains(R"("armlen":50)"));
}

void TestMyMqtt::listIsFullAt9999()
{
    OutputCapture output;
    FoundationData other;
    other.duid = QStringLiteral("other");
    while (foundata.size() < 9998)
        foundata.append(other);
    for (const char *topic : {"F/new1/Workset", "F/new2/Workset"}) {
        QTest::ignoreMessage(QtDebugMsg, QByteArray("主题 1 \"") + topic + '"');
        QVERIFY(!QFile::exists(fileName));
        m_link->onReceived(message(topic, workset(R"("armlen":50)")));
        QCOMPARE(foundata.size(), 9999);
        QVERIFY(QFile::remove(fileName)); // saved, whether it was taken or not
    }
    QCOMPARE(foundata.last().duid, QStringLiteral("new1"));
}

void TestMyMqtt::whatIsNoObjectIsLoggedAndDropped()
{
    OutputCapture output;
    for (const QByteArray &payload : {QByteArray("[1,2]"), QByteArray("abc"), QByteArray(),
                                      QByteArray(100000, '['), QByteArray("{}\0", 3)}) {
        for (const char *topic : {"F/DEV8/Workset", "F/DEV9/Data"}) { // on own topics too
            QTest::ignoreMessage(QtDebugMsg,
                                 QRegularExpression(QStringLiteral("^JSON parse error: \".*\"$")));
            m_link->onReceived(message(topic, payload));
        }
    }
    QCOMPARE(foundata.size(), 2);
    QVERIFY(!QFile::exists(fileName));
    QCOMPARE(output.text(), QByteArray());
}

void TestMyMqtt::reportsGoUpUnderTheOwnTopic()
{
    QSignalSpy sent(m_link.data(), SIGNAL(MainTheadToMqttTHreadSignal(QString, QString)));
    m_link->VicinityAttributeSlots(QStringLiteral("F/DEV9"), QStringLiteral("a"));
    m_link->VicinityAttitudeSlots(QStringLiteral("F/DEV9"), QStringLiteral("b"));
    m_link->VicinityStatusSlots(QString(), QString());
    const QList<QVariantList> expected{
        {QStringLiteral("F/DEV9/Vicinity/Attribute"), QStringLiteral("a")},
        {QStringLiteral("F/DEV9/Vicinity/Attitude"), QStringLiteral("b")},
        {QStringLiteral("/Vicinity/Status"), QString()}};
    QCOMPARE(QList<QVariantList>(sent), expected);
}

void TestMyMqtt::alarmGoesUpAndIsLogged()
{
    QSignalSpy sent(m_link.data(), SIGNAL(MainTheadToMqttTHreadSignal(QString, QString)));
    QTest::ignoreMessage(QtDebugMsg, "\"F/DEV9/Alarm\"");
    m_link->AlarmSlots(QStringLiteral("text"), 25, QStringLiteral("F/DEV9"), true);
    QCOMPARE(sent.size(), 1);
    QCOMPARE(sent[0][0].toString(), QStringLiteral("F/DEV9/Alarm"));
    const QJsonObject document = QJsonDocument::fromJson(sent[0][1].toString().toUtf8()).object();
    QCOMPARE(document.value(QStringLiteral("alarm"))[0][QStringLiteral("level")].toInt(), 25);
}

void TestMyMqtt::fileHoldsTheNeighbours()
{
    foundata[0].name = QStringLiteral("七\"");
    foundata[0].armlen = 0.1f;
    foundata[0].safelen = 6.0f;
    OutputCapture output;
    m_link->ConfigureStaticWrit();
    const QByteArray stored = WorkingDirectory::read(fileName);
    foundata.clear();
    m_link->ConfigureStaticRead();
    QCOMPARE(output.text(), "mymqtt配置文件写入" + stored + "\nmymqtt配置文件" + stored + '\n');
    QCOMPARE(foundata.size(), 2);
    QCOMPARE(foundata[0].name, QStringLiteral("七\""));
    QCOMPARE(foundata[0].armlen, 0.1f);
    QCOMPARE(foundata[0].safelen, 5.0f); // not stored: the default until the next working set
    QCOMPARE(foundata[0].travel, 0.0f);
    QCOMPARE(foundata[1].duid, QStringLiteral("DEV"));
}

void TestMyMqtt::elementsThatAreNoObjectsAreSkipped()
{
    WorkingDirectory::write(fileName, R"([1,{"top":"DEV8"},[]])");
    OutputCapture output;
    m_link->ConfigureStaticRead();
    QCOMPARE(foundata.size(), 3); // appended: the list is not cleared
    QCOMPARE(foundata[2].duid, QStringLiteral("DEV8"));
}

void TestMyMqtt::emptyListIsAnEmptyArray()
{
    foundata.clear();
    OutputCapture output;
    m_link->ConfigureStaticWrit();
    QCOMPARE(WorkingDirectory::read(fileName), QByteArray("[]"));
}

void TestMyMqtt::onlyTheFirstRegistrationCounts()
{
    OutputCapture output;
    WorkingDirectory::write(fileName, R"([{"top":"DEV8"}])");
    const QByteArray line = "mymqtt开始订阅外部数据 \"F/3/0/C1/D2/P3/+/+/+/#\"";
    QTest::ignoreMessage(QtDebugMsg, line);
    QTest::ignoreMessage(QtDebugMsg, line);
    m_link->TopSlots(QStringLiteral("F/3/0/C1/D2/P3/+/+/+/"), QStringLiteral("DEV5"));
    QCOMPARE(LOCAL_QRCODE_TX, QStringLiteral("F/3/0/C1/D2/P3/+/+/+/#"));
    QCOMPARE(mytop, QStringLiteral("DEV5"));
    QCOMPARE(foundata.size(), 3);
    m_link->TopSlots(QStringLiteral("G/"), QStringLiteral("DEV6"));
    QCOMPARE(LOCAL_QRCODE_TX, QStringLiteral("F/3/0/C1/D2/P3/+/+/+/#"));
    QCOMPARE(mytop, QStringLiteral("DEV5"));
    QCOMPARE(foundata.size(), 3);
}

QTEST_GUILESS_MAIN(TestMyMqtt)
#include "tst_mymqtt.moc"
