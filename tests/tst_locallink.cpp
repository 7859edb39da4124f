#include <QtTest>

#include <QProcess>

#include "local/localdata.h"
#include "tests/testbroker.h"
#include "tests/workingdirectory.h"

namespace
{

constexpr quint16 boardPort = 1883; // isolated.sh gives it to this test alone

bool publish(const QStringList &options, const QString &topic, const QString &payload)
{
    return QProcess::execute(
               QStringLiteral("mosquitto_pub"),
               QStringList{QStringLiteral("-h"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
                           QString::number(boardPort), QStringLiteral("-q"), QStringLiteral("1"),
                           QStringLiteral("-t"), topic, QStringLiteral("-m"), payload} +
                   options) == 0;
}

/// Kept by the broker, so it comes when the link subscribes.
bool publishRetained(const char *topic, const QString &payload)
{
    return publish({QStringLiteral("-r")}, QLatin1String(topic), payload);
}

QString deviceId(const char *id)
{
    return QStringLiteral(R"({"duid":{"value":"%1"}})").arg(QLatin1String(id));
}

/// Counts the calls that other threads have queued for an object.
class QueuedCalls : public QObject
{
public:
    int count = 0;

    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::MetaCall;
        return false;
    }
};

} // namespace

/// The link to the board with its thread and a real broker.
class TestLocalLink : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { m_link->stop(); }
    void mainThreadTakesWhatMeansSomething();
    void whatWaitsForTheMainThreadIsBounded_data();
    void whatWaitsForTheMainThreadIsBounded();

private:
    WorkingDirectory m_folder;
    TestBroker m_broker{boardPort, "max_queued_messages 0"};
    LocalData *const m_link = new LocalData; // lives, like its client, until the process ends
};

void TestLocalLink::initTestCase()
{
    QVERIFY(m_broker.start());
}

/// The others do not even get to it.
void TestLocalLink::mainThreadTakesWhatMeansSomething()
{
    const QString state = QStringLiteral(R"({"tower":[{"rotation":%1}]})");
    QVERIFY(publishRetained("Local/Alarm", state.arg(1)));
    QVERIFY(publishRetained("Local/collide", state.arg(2)));
    QVERIFY(publishRetained("Local/Vicinity/Attitude/TEXT", state.arg(3)));
    QVERIFY(publishRetained("Local/Vicinity/Data", state.arg(4)));
    QVERIFY(publishRetained("Local/DUID", deviceId("DEV8")));

    QueuedCalls calls;
    m_link->installEventFilter(&calls);
    QVector<QThread *> threads;
    connect(
        m_link, &LocalData::Localdatasignals, &calls,
        [&threads] { threads.append(QThread::currentThread()); }, Qt::DirectConnection);
    m_link->start();
    QTRY_COMPARE(founData.duid, QStringLiteral("DEV8"));
    // All that the broker had kept has come before this one.
    QVERIFY(publish({}, QStringLiteral("Local/DUID"), deviceId("DEV9")));
    QTRY_COMPARE(founData.duid, QStringLiteral("DEV9"));

    QCOMPARE(founData.rotation, 4.0f);
    QCOMPARE(threads, QVector<QThread *>{QCoreApplication::instance()->thread()});
    QCOMPARE(calls.count, 3);
}

void TestLocalLink::whatWaitsForTheMainThreadIsBounded_data()
{
    QTest::addColumn<QString>("topic");
    QTest::addColumn<int>("atMost");
    QTest::newRow("crane states") << QStringLiteral("Local/Data") << 128;
    QTest::newRow("what is saved") << QStringLiteral("Local/Workset") << 1;
}

/// While this thread is busy a program on the board is in a loop.
void TestLocalLink::whatWaitsForTheMainThreadIsBounded()
{
    QFETCH(QString, topic);
    QFETCH(int, atMost);
    constexpr int count = 200;
    QTest::qWait(100); // what was saved before has stopped the reading for a moment
    QueuedCalls calls;
    m_link->installEventFilter(&calls);
    QCOMPARE(QProcess::execute(
                 QStringLiteral("sh"),
                 {QStringLiteral("-c"), QStringLiteral("yes '{}' | head -n %1 | mosquitto_pub "
                                                       "-h 127.0.0.1 -q 1 -t %2 -l")
                                            .arg(count)
                                            .arg(topic)}),
             0);
    QThread::msleep(300);
    QCoreApplication::sendPostedEvents(m_link, QEvent::MetaCall); // what waits now
    QVERIFY2(calls.count > 0 && calls.count <= atMost, QByteArray::number(calls.count).constData());
    QTRY_COMPARE_WITH_TIMEOUT(calls.count, count, 20000);
}

QTEST_GUILESS_MAIN(TestLocalLink)
#include "tst_locallink.moc"
