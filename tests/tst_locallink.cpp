#include <QtTest>

#include <QProcess>

#include "localdata.h"
#include "testbroker.h"
#include "workingdirectory.h"

namespace
{

constexpr quint16 boardPort = 1883; // isolated.sh gives it to this test alone

/// Kept by the broker, so it comes when the link subscribes.
bool publishRetained(const QString &topic, const QString &payload)
{
    return QProcess::execute(QStringLiteral("mosquitto_pub"),
                             {QStringLiteral("-h"), QStringLiteral("127.0.0.1"),
                              QStringLiteral("-p"), QString::number(boardPort),
                              QStringLiteral("-q"), QStringLiteral("1"), QStringLiteral("-r"),
                              QStringLiteral("-t"), topic, QStringLiteral("-m"), payload}) == 0;
}

} // namespace

/// The link to the board with its thread and a real broker.
class TestLocalLink : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void messagesAreTakenInTheMainThread();
};

/// Two are taken, by their topics; the others are nothing to the link.
void TestLocalLink::messagesAreTakenInTheMainThread()
{
    const WorkingDirectory folder;
    TestBroker broker(boardPort);
    QVERIFY(broker.start());
    const QString state = QStringLiteral(R"({"tower":[{"rotation":%1}]})");
    QVERIFY(publishRetained(QStringLiteral("Local/Alarm"), state.arg(1)));
    QVERIFY(publishRetained(QStringLiteral("Local/collide"), state.arg(2)));
    QVERIFY(publishRetained(QStringLiteral("Local/Vicinity/Data"), state.arg(3)));
    QVERIFY(publishRetained(QStringLiteral("Local/DUID"),
                            QStringLiteral(R"({"duid":{"value":"DEV9"}})")));

    LocalData link;
    QVector<float> slewing;
    QVector<QThread *> threads;
    connect(
        &link, &LocalData::Localdatasignals, &link,
        [&](FoundationData crane) {
            slewing.append(crane.rotation);
            threads.append(QThread::currentThread());
        },
        Qt::DirectConnection);
    link.start();
    const auto stop = qScopeGuard([&link] { link.stop(); });
    QTRY_COMPARE(founData.duid, QStringLiteral("DEV9"));
    QTRY_COMPARE(slewing, QVector<float>{3});
    QCOMPARE(threads, QVector<QThread *>{QCoreApplication::instance()->thread()});
}

QTEST_GUILESS_MAIN(TestLocalLink)
#include "tst_locallink.moc"
