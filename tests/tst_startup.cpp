#include <QtTest>

#include "engine/jcjj.h"
#include "local/localdata.h"
#include "cloud/mymqtt.h"
#include "app/startup.h"
#include "radio/uarttradio.h"
#include "voice/voicealarm.h"

Q_DECLARE_METATYPE(const QMetaObject *)

namespace
{

/// The process never deletes its workers; a test that looks for leaks does.
class TestWorkers
{
public:
    ~TestWorkers()
    {
        for (QObject *worker : std::initializer_list<QObject *>{all.cloud, all.local, all.engine,
                                                                all.radio, all.voice})
            delete worker;
    }
    const Workers all = createWorkers();
};

} // namespace

class TestStartup : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyConnectionOfTheWiringExists();
    void declaredSignalsAndSlotsExist_data();
    void declaredSignalsAndSlotsExist();
    void neighbourReportReachesTheBoard();
};

void TestStartup::everyConnectionOfTheWiringExists()
{
    const TestWorkers workers;
    qRegisterMetaType<FoundationData>("FoundationData");
    for (const Connection &row : wiring(workers.all))
        QVERIFY2(QObject::connect(row.sender, row.signal, row.receiver, row.slot, row.type),
                 row.signal);
}

void TestStartup::declaredSignalsAndSlotsExist_data()
{
    QTest::addColumn<const QMetaObject *>("type");
    QTest::addColumn<QByteArray>("signature");
    const auto row = [](const QMetaObject &type, const char *signature) {
        QTest::addRow("%s::%s", type.className(), signature) << &type << QByteArray(signature);
    };
    // Not in the wiring, but part of what integrators may connect.
    row(JCJJ::staticMetaObject, "Alarmsignals(QString,QString)");
    row(JCJJ::staticMetaObject, "MqttMessageSignals(QString)");
    row(MqttThread::staticMetaObject, "AlarmSlots(QString,int,QString,bool)");
    row(MqttThread::staticMetaObject, "mqttMode()");
    row(LocalData::staticMetaObject, "mqttMode()");
    row(LocalData::staticMetaObject, "onRegDevice(QString,QString)");
    row(Radio::staticMetaObject, "VicinityAttributeSignals(QString)");
    row(Radio::staticMetaObject, "VicinityAttitudeSignals(QString)");
    row(Radio::staticMetaObject, "VicinityStatusSignals(QString)");
}

void TestStartup::declaredSignalsAndSlotsExist()
{
    QFETCH(const QMetaObject *, type);
    QFETCH(QByteArray, signature);
    QVERIFY(type->indexOfMethod(signature) >= 0);
}

/// Through the wiring, without threads: a report that comes in on the cloud link leaves on both.
void TestStartup::neighbourReportReachesTheBoard()
{
    const TestWorkers testWorkers;
    const Workers &workers = testWorkers.all;
    QVERIFY(connectWorkers(workers));
    QSignalSpy board(workers.local, SIGNAL(MainTheadToMqttTHreadSignal(QString, QString)));
    QSignalSpy cloud(workers.cloud, SIGNAL(MainTheadToMqttTHreadSignal(QString, QString)));
    founData.duid = QStringLiteral("DEV9");
    founData.MqttDataTop = QStringLiteral("F/");
    mytop = QStringLiteral("DEV9");
    workers.local->onReceived(QMQTT::Message(1, QStringLiteral("Local/Data"), "{}"));
    FoundationData neighbour;
    neighbour.duid = QStringLiteral("DEV7");
    neighbour.name = QStringLiteral("7#");
    foundata = {neighbour};
    tBasis entry;
    entry.name = QStringLiteral("7#");
    entry.location_X = 8.0f; // within the zone, no pair of parts
    basis = {entry};
    workers.cloud->onReceived(QMQTT::Message(1, QStringLiteral("F/DEV7/Data"), "{}"));

    const auto topics = [](const QSignalSpy &spy) {
        QStringList list;
        for (const QVariantList &arguments : spy)
            list += arguments[0].toString();
        return list;
    };
    QCOMPARE(topics(board), (QStringList{QStringLiteral("Local/Vicinity/Attitude/TEXT"),
                                         QStringLiteral("Local/Vicinity/Attribute/TEXT"),
                                         QStringLiteral("Local/Vicinity/Status/TEXT"),
                                         QStringLiteral("Local/Alarm")}));
    QCOMPARE(topics(cloud), (QStringList{QStringLiteral("F/DEV9/Vicinity/Attitude"),
                                         QStringLiteral("F/DEV9/Vicinity/Attribute"),
                                         QStringLiteral("F/DEV9/Vicinity/Status")}));
}

QTEST_GUILESS_MAIN(TestStartup)
#include "tst_startup.moc"
