#include "tests/testbroker.h"

#include <qmqtt.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QRegularExpression>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <atomic>
#include <ctime>
#include <functional>

using QMQTT::Client;
using QMQTT::Message;

namespace
{

const QByteArray accepted = QByteArray::fromHex("20020000");
const QString topic = QStringLiteral("Local/Test");

/// A broker that says what the test tells it to: one answer to the first bytes of each client.
class FakeBroker : public QTcpServer
{
public:
    explicit FakeBroker(const QByteArray &reply) : answer(reply)
    {
        listen(QHostAddress::LocalHost, freePort());
        connect(this, &QTcpServer::newConnection, this, [this] {
            socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, client = socket] {
                if (heard.isEmpty())
                    client->write(answer);
                heard += client->readAll();
            });
            heard.clear();
            ++connections;
        });
    }

    QByteArray answer;
    QByteArray heard; // from the last client
    QTcpSocket *socket = nullptr;
    int connections = 0;
};

/// A client with spies on what it says. Reconnects quickly, has the shortest keep-alive.
struct Watched {
    explicit Watched(quint16 port) : client(QHostAddress::LocalHost, port)
    {
        client.setKeepAlive(5);
        client.setAutoReconnect(true);
        client.setAutoReconnectInterval(100);
    }

    Client client;
    QSignalSpy connected{&client, &Client::connected};
    QSignalSpy disconnected{&client, &Client::disconnected};
    QSignalSpy errors{&client, &Client::error};
    QSignalSpy subscribed{&client, &Client::subscribed};
    QSignalSpy unsubscribed{&client, &Client::unsubscribed};
    QSignalSpy published{&client, &Client::published};
    QSignalSpy received{&client, &Client::received};

    bool connectAndSubscribe()
    {
        client.connectToHost();
        if (!connected.wait())
            return false;
        client.subscribe(topic, 2);
        return subscribed.wait();
    }
    int error(int index) const { return errors.at(index).at(0).value<QMQTT::ClientError>(); }
    Message message(int index) const { return received.at(index).at(0).value<Message>(); }
};

using Action = std::function<void(Client *)>;
using Attach = std::function<void(Client *, const std::function<void()> &)>;

} // namespace

Q_DECLARE_METATYPE(Action)
Q_DECLARE_METATYPE(Attach)

class TestClient : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void introducesItselfAsAgreed();
    void itsSignalsAreThoseOfTheWiring_data();
    void itsSignalsAreThoseOfTheWiring();
    void carriesAnyMessageUnchanged_data();
    void carriesAnyMessageUnchanged();
    void largerMessagesAreNotTaken();
    void reportsWhatTheBrokerGrants();
    void burstsArriveWholeAndInOrder_data();
    void burstsArriveWholeAndInOrder();
    void aFloodLeavesRoomForOtherEvents();
    void nothingIsSentBeforeTheBrokerAccepts();
    void nothingIsQueuedWhileOffline();
    void unusableTopicsAreRefused_data();
    void unusableTopicsAreRefused();
    void unusableFiltersAreRefused_data();
    void unusableFiltersAreRefused();
    void failuresToConnectAreNamed_data();
    void failuresToConnectAreNamed();
    void brokenAnswersEndOnlyTheirConnection_data();
    void brokenAnswersEndOnlyTheirConnection();
    void triesAgainLaterEachTime_data();
    void triesAgainLaterEachTime();
    void comesBackAfterTheBroker();
    void onlyMutePeersAreGivenUp();
    void takesLeaveForGoodAfterSendingEverything();
    void slotsMayDoAnything_data();
    void slotsMayDoAnything();
    void acknowledgementsAreNotMistaken();
    void worksInAThreadOfItsOwn();
    void takesNoTimeWhileIdle();

private:
    TestBroker m_broker{0, "max_queued_messages 0"}; // the broker drops nothing of a burst
};

void TestClient::initTestCase()
{
    qRegisterMetaType<Message>("QMQTT::Message");
    qRegisterMetaType<QMQTT::ClientError>("QMQTT::ClientError");
    QVERIFY(m_broker.start());
}

// MQTT 3.1.1, clean session, keep-alive 10, no will, user or password, empty identifier.
void TestClient::introducesItselfAsAgreed()
{
    FakeBroker broker(accepted);
    Client client(QHostAddress::LocalHost, broker.serverPort());
    client.connectToHost();
    QTRY_VERIFY(client.isConnectedToHost());
    QCOMPARE(broker.heard.toHex(), QByteArray("100c"
                                              "00044d515454"
                                              "04"
                                              "02"
                                              "000a"
                                              "0000"));
}

void TestClient::itsSignalsAreThoseOfTheWiring_data()
{
    QTest::addColumn<QByteArray>("signature");
    for (const char *signature :
         {"error(QMQTT::ClientError)", "disconnected()", "subscribed(QString,quint8)",
          "unsubscribed(QString)", "published(QMQTT::Message,quint16)", "connected()",
          "received(QMQTT::Message)"})
        QTest::newRow(signature) << QByteArray(signature);
}

void TestClient::itsSignalsAreThoseOfTheWiring()
{
    QFETCH(QByteArray, signature);
    QVERIFY(Client::staticMetaObject.indexOfSignal(signature.constData()) >= 0);
}

void TestClient::carriesAnyMessageUnchanged_data()
{
    QTest::addColumn<Message>("message");
    const QByteArray binary("\0\xff\xfe{\"a\":1}\0", 11);

    QTest::newRow("QoS 0") << Message(7, topic, "text");
    QTest::newRow("QoS 1") << Message(0, topic, "text", 1);
    QTest::newRow("QoS 2") << Message(0, topic, "text", 2);
    QTest::newRow("no payload") << Message(0, topic, QByteArray());
    QTest::newRow("NUL and broken UTF-8 in the payload") << Message(0, topic, binary, 1);
    const QByteArray largest(Client::largestReceived, 'x');
    QTest::newRow("a MiB") << Message(0, topic, largest, 0);
    QTest::newRow("a MiB, QoS 1") << Message(0, topic, largest, 1);
    QTest::newRow("a topic in Chinese") << Message(0, QStringLiteral("塔机/大臂 1"), "text", 1);
    QTest::newRow("empty levels") << Message(0, QStringLiteral("//a//"), "text", 1);
}

void TestClient::carriesAnyMessageUnchanged()
{
    QFETCH(Message, message);
    Watched watched(m_broker.port());
    QVERIFY(watched.connectAndSubscribe());
    watched.client.subscribe(QStringLiteral("#"), 2); // overlapping: the broker sends one copy
    QVERIFY(watched.subscribed.wait());
    watched.client.unsubscribe(topic);
    QVERIFY(watched.unsubscribed.wait());

    const quint16 id = watched.client.publish(message);
    QCOMPARE(id != 0, message.qos() > 0);
    QCOMPARE(watched.published.count(), message.qos() == 0 ? 1 : 0);
    QTRY_COMPARE(watched.received.count(), 1);
    QTRY_COMPARE(watched.published.count(), 1);
    QCOMPARE(watched.published.at(0).at(0).value<Message>(), message);
    QCOMPARE(watched.published.at(0).at(1).value<quint16>(), id);
    Message expected = message;
    expected.setId(watched.message(0).id());
    QVERIFY(watched.message(0) == expected);
}

void TestClient::largerMessagesAreNotTaken()
{
    Watched watched(m_broker.port());
    QVERIFY(watched.connectAndSubscribe());
    QTest::ignoreMessage(QtWarningMsg,
                         "MQTT: a message of 1048577 bytes is not taken, on \"Local/Test\"");
    for (int i = 0; i < 3; ++i) // one line for all of them
        watched.client.publish(
            Message(0, topic, QByteArray(Client::largestReceived + 1, 'x'), quint8(i)));
    watched.client.publish(Message(0, topic, "small", 2));
    QTRY_COMPARE(watched.received.count(), 1);
    QCOMPARE(watched.message(0).payload(), QByteArray("small"));
}

void TestClient::reportsWhatTheBrokerGrants()
{
    FakeBroker broker(accepted);
    Watched watched(broker.serverPort());
    watched.client.connectToHost();
    QVERIFY(watched.connected.wait());
    watched.client.subscribe(topic, 1);
    QTRY_COMPARE(broker.heard.right(1), QByteArray("\1"));
    broker.socket->write(QByteArray::fromHex("9003000180" // to identifier 1: refused
                                             "9003000900" // to nobody's
                                             "b0020009"));
    QVERIFY(watched.subscribed.wait());
    QTest::qWait(50);
    QCOMPARE(watched.subscribed, (QList<QVariantList>{{topic, QVariant::fromValue<quint8>(128)}}));
    QCOMPARE(watched.unsubscribed.count(), 0);
    QVERIFY(watched.client.isConnectedToHost());
}

void TestClient::burstsArriveWholeAndInOrder_data()
{
    QTest::addColumn<int>("qos");
    QTest::newRow("QoS 0") << 0;
    QTest::newRow("QoS 1") << 1;
}

void TestClient::burstsArriveWholeAndInOrder()
{
    QFETCH(int, qos);
    constexpr int count = 50'000;
    Watched watched(m_broker.port());
    QVERIFY(watched.connectAndSubscribe());
    int arrived = 0;
    bool isInOrder = true;
    watched.client.disconnect(SIGNAL(received(QMQTT::Message)));
    connect(&watched.client, &Client::received, this, [&](const Message &message) {
        isInOrder = isInOrder && message.payload() == QByteArray::number(arrived);
        ++arrived;
    });
    for (int i = 0; i < count; ++i)
        watched.client.publish(Message(0, topic, QByteArray::number(i), quint8(qos)));

    QTRY_COMPARE_WITH_TIMEOUT(arrived, count, 50'000);
    QTRY_COMPARE(watched.published.count(), count);
    QVERIFY(isInOrder);
}

// More messages lie ready than one turn of the event loop may take.
void TestClient::aFloodLeavesRoomForOtherEvents()
{
    FakeBroker broker(accepted);
    Client client(QHostAddress::LocalHost, broker.serverPort());
    int arrived = 0;
    int arrivedInARow = 0;
    int longestRow = 0;
    connect(&client, &Client::received, this, [&] {
        ++arrived;
        longestRow = qMax(longestRow, ++arrivedInARow);
    });
    client.connectToHost();
    QTRY_VERIFY(client.isConnectedToHost());
    QTimer everyTurn;
    connect(&everyTurn, &QTimer::timeout, this, [&] { arrivedInARow = 0; });
    everyTurn.start(0);
    broker.socket->write(QByteArray::fromHex("30040001"
                                             "6178")
                             .repeated(100'000));
    broker.socket->flush();
    QTRY_COMPARE_WITH_TIMEOUT(arrived, 100'000, 30'000);
    QVERIFY2(longestRow <= 300, QByteArray::number(longestRow).constData());
}

void TestClient::nothingIsSentBeforeTheBrokerAccepts()
{
    FakeBroker broker{QByteArray()};
    Watched watched(broker.serverPort());
    watched.client.connectToHost();
    QTRY_COMPARE(broker.heard.size(), 14); // the introduction
    watched.client.subscribe(topic, 1);
    QCOMPARE(watched.client.publish(Message(0, topic, "too early", 1)), quint16(0));
    watched.client.publish(Message(0, topic, "too early", 0));
    broker.socket->write(accepted);
    QVERIFY(watched.connected.wait());
    QTest::qWait(100);
    QCOMPARE(broker.heard.size(), 14);
    QCOMPARE(watched.published.count(), 1);
}

void TestClient::nothingIsQueuedWhileOffline()
{
    TestBroker broker;
    Watched sender(broker.port());
    sender.client.connectToHost();
    sender.client.subscribe(topic, 1);
    QCOMPARE(sender.client.publish(Message(3, topic, "offline 0", 0)), quint16(0));
    QCOMPARE(sender.published.count(), 1); // at once, although nothing is sent
    QCOMPARE(sender.client.publish(Message(3, topic, "offline 1", 1)), quint16(0));

    QVERIFY(broker.start());
    QTRY_VERIFY(sender.client.isConnectedToHost());
    Watched receiver(broker.port());
    QVERIFY(receiver.connectAndSubscribe());
    sender.client.publish(Message(0, topic, "online", 1));
    QTRY_COMPARE(receiver.received.count(), 1);
    QCOMPARE(receiver.message(0).payload(), QByteArray("online"));
    QCOMPARE(sender.subscribed.count(), 0);
    QCOMPARE(sender.published.count(), 2);
}

void TestClient::unusableTopicsAreRefused_data()
{
    QTest::addColumn<Message>("message");
    const QString halfPair = QStringLiteral("a") + QChar(0xd800);

    QTest::newRow("empty") << Message(0, QString(), "x");
    QTest::newRow("wildcard for a level") << Message(0, QStringLiteral("a/+/b"), "x");
    QTest::newRow("wildcard for the rest") << Message(0, QStringLiteral("a/#"), "x");
    QTest::newRow("NUL") << Message(0, QStringLiteral("a") + QChar(0) + topic, "x");
    QTest::newRow("half a surrogate pair") << Message(0, halfPair, "x");
    QTest::newRow("control character") << Message(0, QStringLiteral("a\n"), "x");
    QTest::newRow("too long") << Message(0, QString(65536, QLatin1Char('a')), "x");
    QTest::newRow("QoS 3") << Message(0, topic, "x", 3);
    QTest::newRow("payload over the protocol's limit")
        << Message(0, topic, QByteArray(268'435'450, Qt::Uninitialized));
}

void TestClient::unusableTopicsAreRefused()
{
    QFETCH(Message, message);
    Watched watched(m_broker.port());
    for (const bool isOnline : {false, true}) {
        if (isOnline)
            QVERIFY(watched.connectAndSubscribe());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("cannot publish")));
        QCOMPARE(watched.client.publish(message), quint16(0));
        QCOMPARE(watched.published.count(), 0);
    }
    watched.client.publish(Message(0, topic, "good"));
    QTRY_COMPARE(watched.received.count(), 1);
}

void TestClient::unusableFiltersAreRefused_data()
{
    QTest::addColumn<QString>("filter");
    QTest::newRow("empty") << QString();
    QTest::newRow("rest in the middle") << QStringLiteral("a/#/b");
    QTest::newRow("wildcard in a word") << QStringLiteral("a+/b");
    QTest::newRow("NUL") << QStringLiteral("a") + QChar(0);
}

void TestClient::unusableFiltersAreRefused()
{
    QFETCH(QString, filter);
    Watched watched(m_broker.port());
    QVERIFY(watched.connectAndSubscribe());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("cannot subscribe")));
    watched.client.subscribe(filter, 1);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("cannot unsubscribe")));
    watched.client.unsubscribe(filter);
    QVERIFY(watched.client.isConnectedToHost());
}

void TestClient::failuresToConnectAreNamed_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<QByteArray>("answer"); // none: nobody listens
    QTest::addColumn<int>("error");
    const QString local = QStringLiteral("127.0.0.1");

    QTest::newRow("nobody listens") << local << QByteArray() << 1;
    QTest::newRow("no address") << QString() << QByteArray() << 3;
    QTest::newRow("no route") << QStringLiteral("224.0.0.1") << QByteArray() << 8;
    QTest::newRow("protocol version") << local << QByteArray::fromHex("20020001") << 65536;
    QTest::newRow("identifier") << local << QByteArray::fromHex("20020002") << 65537;
    QTest::newRow("unavailable") << local << QByteArray::fromHex("20020003") << 65538;
    QTest::newRow("user or password") << local << QByteArray::fromHex("20020004") << 65539;
    QTest::newRow("not authorized") << local << QByteArray::fromHex("20020005") << 65540;
}

void TestClient::failuresToConnectAreNamed()
{
    QFETCH(QString, host);
    QFETCH(QByteArray, answer);
    QFETCH(int, error);
    FakeBroker broker(answer);
    Watched watched(broker.serverPort());
    if (answer.isEmpty())
        broker.close();
    watched.client.setHost(QHostAddress(host));
    watched.client.connectToHost();
    QCOMPARE(watched.errors.count(), 0);      // not from within the call
    QTRY_VERIFY(watched.errors.count() >= 2); // and again
    QCOMPARE(watched.error(0), error);
    QCOMPARE(watched.error(1), error);
    QCOMPARE(watched.connected.count() + watched.disconnected.count(), 0);
}

void TestClient::brokenAnswersEndOnlyTheirConnection_data()
{
    QTest::addColumn<QByteArray>("answer");
    const auto row = [](const char *name, const QByteArray &hex) {
        QTest::newRow(name) << QByteArray::fromHex(hex);
    };
    row("no MQTT", QByteArray("HTTP/1.1 400 Bad Request\r\n").repeated(10).toHex());
    row("packet type 0", "00000000");
    row("unknown answer", "200200ff");
    row("answer cut short", "200100");
    row("length in five bytes", "30ffffffffff01");
    row("subscription answer first", "9003000101");
    row("subscription answer without code", "20020000"
                                            "90020001");
    row("topic longer than its packet", "20020000"
                                        "3005ffff616263");
    row("QoS 3", "20020000"
                 "3605000161000178");
    row("empty topic", "20020000"
                       "30020000");
    row("a client's packet", "20020000"
                             "8206000100016100");
}

void TestClient::brokenAnswersEndOnlyTheirConnection()
{
    QFETCH(QByteArray, answer);
    FakeBroker broker(answer);
    Watched watched(broker.serverPort());
    watched.client.connectToHost();
    QTRY_COMPARE(watched.errors.count(), 1);
    QCOMPARE(watched.disconnected.count(), watched.connected.count());
    QCOMPARE(watched.received.count(), 0);
    broker.answer = accepted + QByteArray::fromHex("30040001"
                                                   "6178");
    QTRY_COMPARE(watched.received.count(), 1);
    QCOMPARE(watched.message(0), Message(0, QStringLiteral("a"), "x"));
}

void TestClient::triesAgainLaterEachTime_data()
{
    QTest::addColumn<QByteArray>("answer"); // none: nobody listens
    QTest::newRow("nobody listens") << QByteArray();
    QTest::newRow("accepted, then dropped") << accepted + QByteArray(2, '\0'); // no packet of MQTT
}

// 100, 200, 400, 800 ms, each up to a quarter less.
void TestClient::triesAgainLaterEachTime()
{
    QFETCH(QByteArray, answer);
    FakeBroker broker(answer);
    Watched watched(broker.serverPort());
    if (answer.isEmpty())
        broker.close();
    watched.client.connectToHost();
    QVERIFY(watched.errors.wait());
    for (const int nominalMs : {100, 200, 400, 800}) {
        QElapsedTimer waited;
        waited.start();
        QVERIFY(watched.errors.wait());
        const qint64 ms = waited.elapsed();
        QVERIFY2(ms >= nominalMs * 7 / 10 && ms < nominalMs + 90,
                 QByteArray::number(ms).constData());
    }
    QCOMPARE(watched.connected.isEmpty(), answer.isEmpty());
}

void TestClient::comesBackAfterTheBroker()
{
    TestBroker broker;
    QVERIFY(broker.start());
    Watched watched(broker.port());
    connect(&watched.client, &Client::connected, this, [&] { watched.client.subscribe(topic, 1); });
    for (int round = 1; round <= 2; ++round) {
        watched.client.connectToHost(); // does nothing the second time
        QTRY_COMPARE(watched.subscribed.count(), round);
        for (int i = 0; i < 2000; ++i) // the end comes in mid-traffic
            watched.client.publish(Message(0, topic, QByteArray(1000, 'x'), quint8(i % 2)));
        QTRY_VERIFY(watched.received.count() > 500 * round);
        broker.kill();
        QTRY_COMPARE(watched.disconnected.count(), round);
        QVERIFY(!watched.client.isConnectedToHost());
        QCOMPARE(watched.error(0), 2);
        watched.errors.clear();
        QTRY_VERIFY(watched.errors.count() > 0); // still refused
        QVERIFY(broker.start());
        watched.errors.clear();
    }
    QTRY_COMPARE(watched.subscribed.count(), 3);
}

// With the shortest keep-alive of 5 s: the ping after 5 s, its answer missing after 10 s, each a
// second later at most. Where the answer waits behind a long message, the message counts.
void TestClient::onlyMutePeersAreGivenUp()
{
    TestBroker broker;
    QVERIFY(broker.start());
    Watched idle(broker.port());
    Watched publishing(broker.port());
    Watched acknowledged(broker.port());
    Watched flooding(broker.port()); // until no more data is accepted
    for (Watched *watched : {&idle, &publishing, &acknowledged, &flooding})
        QVERIFY(watched->connectAndSubscribe());
    FakeBroker slow(accepted + QByteArray::fromHex("30c3b802"
                                                   "000161")); // 40 000 bytes follow
    Watched listening(slow.serverPort());
    QSignalSpy answered(&listening.client, &Client::pingresp);
    listening.client.connectToHost();
    QVERIFY(listening.connected.wait());
    FakeBroker mute{QByteArray()};
    Watched connecting(mute.serverPort());
    connecting.client.connectToHost();

    broker.freeze();
    int sent = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] {
        publishing.client.publish(Message(0, topic, "text"));
        acknowledged.client.publish(Message(0, topic, "text", 1));
        flooding.client.publish(Message(0, topic, QByteArray(20'000, 'x')));
        sent += static_cast<int>(slow.socket->write(QByteArray(10, 'x')));
    });
    timer.start(20);
    QTRY_COMPARE_WITH_TIMEOUT(connecting.errors.count(), 1, 6000);
    QCOMPARE(connecting.error(0), 6);
    QCOMPARE(connecting.disconnected.count(), 0);
    for (Watched *watched : {&idle, &publishing, &acknowledged}) {
        QTRY_COMPARE_WITH_TIMEOUT(watched->disconnected.count(), 1, 8000);
        QCOMPARE(watched->error(0), 65541);
    }
    QTRY_COMPARE(flooding.disconnected.count(), 1);

    QTest::qWait(2000);
    timer.stop();
    QCOMPARE(listening.errors.count(), 0);
    QVERIFY(slow.heard.contains(QByteArray::fromHex("c000")));
    slow.socket->write(QByteArray(40'000 - sent, 'x') + QByteArray::fromHex("d000"));
    QTRY_COMPARE(listening.received.count(), 1);
    QTRY_COMPARE(answered.count(), 1);
}

void TestClient::takesLeaveForGoodAfterSendingEverything()
{
    Watched receiver(m_broker.port());
    QVERIFY(receiver.connectAndSubscribe());
    Watched sender(m_broker.port());
    sender.client.connectToHost();
    QVERIFY(sender.connected.wait());
    for (int i = 0; i < 30; ++i)
        sender.client.publish(Message(0, topic, QByteArray(1'000'000, 'x')));
    sender.client.disconnectFromHost();
    QVERIFY(!sender.client.isConnectedToHost());
    QCOMPARE(sender.disconnected.count(), 0); // not from within the call
    QTRY_COMPARE(sender.disconnected.count(), 1);
    QTRY_COMPARE(receiver.received.count(), 30);
    QTest::qWait(300);
    QCOMPARE(sender.errors.count(), 0);
    QCOMPARE(sender.connected.count(), 1);
    sender.client.connectToHost();
    QVERIFY(sender.connected.wait());
}

void TestClient::slotsMayDoAnything_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<Attach>("attach");
    QTest::addColumn<bool>("isConnectedInTheEnd");

    const auto disconnect = [](Client *client) { client->disconnectFromHost(); };
    const auto reconnect = [](Client *client) {
        client->disconnectFromHost();
        client->connectToHost();
    };
    const auto publish = [](Client *client) { client->publish(Message(0, topic, "x", 1)); };
    const auto runLoop = [](Client *) { QTest::qWait(50); };
    const auto deleteLater = [](Client *client) { client->deleteLater(); };
    const auto deleteNow = [](Client *client) { delete client; };
    const auto rows = [](const char *signal, const auto &member, const char *name,
                         const Action &action, bool isConnected) {
        QTest::addRow("%s in %s", name, signal)
            << action << Attach([member](Client *client, const std::function<void()> &slot) {
                   QObject::connect(client, member, client, slot);
               })
            << isConnected;
    };
    const auto allActions = [&](const char *signal, const auto &member) {
        rows(signal, member, "disconnect", disconnect, false);
        rows(signal, member, "reconnect", reconnect, true);
        rows(signal, member, "publish", publish, true);
        rows(signal, member, "event loop", runLoop, true);
        rows(signal, member, "deleteLater", deleteLater, false);
        rows(signal, member, "delete", deleteNow, false);
    };
    allActions("connected", &Client::connected);
    allActions("subscribed", &Client::subscribed);
    allActions("received", &Client::received);
    allActions("published", &Client::published);
    allActions("error", &Client::error);
    allActions("disconnected", &Client::disconnected);
}

// Every signal once, in one go where possible, then the connection is cut.
void TestClient::slotsMayDoAnything()
{
    QFETCH(Action, action);
    QFETCH(Attach, attach);
    QFETCH(bool, isConnectedInTheEnd);
    FakeBroker broker(accepted);
    const QPointer<Client> client = new Client(QHostAddress::LocalHost, broker.serverPort(), this);
    client->setAutoReconnect(true);
    client->setAutoReconnectInterval(50);
    bool hasActed = false;
    attach(client, [&] {
        if (!std::exchange(hasActed, true))
            action(client);
    });
    client->connectToHost();
    QTRY_VERIFY(!broker.heard.isEmpty());
    QTest::qWait(30);
    if (client) {
        client->subscribe(topic, 1);
        client->publish(Message(0, topic, "x", 1));
    }
    const QByteArray message = QByteArray::fromHex("30040001"
                                                   "6178");
    broker.socket->write(message +
                         QByteArray::fromHex("9003000101"
                                             "40020002") +
                         message);
    QTest::qWait(60);
    broker.socket->abort();
    QTRY_VERIFY(hasActed);
    QTest::qWait(140);
    QCOMPARE(client && client->isConnectedToHost(), isConnectedInTheEnd);
    delete client;
}

// More publications than there are identifiers, most of them waiting to be written.
void TestClient::acknowledgementsAreNotMistaken()
{
    FakeBroker broker(accepted);
    Watched watched(broker.serverPort());
    watched.client.connectToHost();
    QVERIFY(watched.connected.wait());
    const Message first(0, topic, "acknowledged last", 1);
    const Message second(0, topic, "acknowledged while others wait", 1);
    const Message other(0, topic, QByteArray(200, 'x'));
    QCOMPARE(watched.client.publish(first), quint16(1));
    QCOMPARE(watched.client.publish(second), quint16(2));
    for (int i = 0; i < 70'000; ++i)
        watched.client.publish(other);
    const auto lastPublished = [&] { return watched.published.last().at(0).value<Message>(); };

    broker.socket->write(QByteArray::fromHex("40020002"));
    broker.socket->flush();
    QVERIFY(watched.published.wait());
    QCOMPARE(lastPublished(), second);
    QTRY_VERIFY(broker.heard.size() > 70'000 * 200); // all have been written
    QCOMPARE(watched.published.count(), 70'001);
    broker.socket->write(QByteArray::fromHex("40020001"));
    QVERIFY(watched.published.wait());
    QCOMPARE(lastPublished(), first);
    QCOMPARE(watched.published.last().at(1).value<quint16>(), quint16(1));
}

void TestClient::worksInAThreadOfItsOwn()
{
    QSemaphore isSubscribed;
    QByteArray payload;
    std::atomic<QThread *> workerOfSlot = nullptr;
    const std::unique_ptr<QThread> worker(QThread::create([&, mainContext = this] {
        QEventLoop loop;
        Client client(QHostAddress::LocalHost, m_broker.port());
        connect(&client, &Client::connected, &client, [&] { client.subscribe(topic, 1); });
        connect(&client, &Client::subscribed, &client, [&] { isSubscribed.release(); });
        connect(&client, &Client::received, &client, [&] {
            workerOfSlot = QThread::currentThread();
            loop.quit();
        });
        connect(&client, &Client::received, mainContext,
                [&payload](Message message) { payload = message.payload(); });
        client.connectToHost();
        loop.exec();
    }));
    worker->start();
    QVERIFY(isSubscribed.tryAcquire(1, 5000));
    Watched sender(m_broker.port());
    sender.client.connectToHost();
    QVERIFY(sender.connected.wait());
    sender.client.publish(Message(0, topic, "across threads"));
    QVERIFY(worker->wait(5000));
    QCOMPARE(workerOfSlot.load(), worker.get());
    QTRY_COMPARE(payload, QByteArray("across threads"));
}

void TestClient::takesNoTimeWhileIdle()
{
    FakeBroker mute{QByteArray()};
    Watched idle(m_broker.port());
    Watched waiting(mute.serverPort());
    QVERIFY(idle.connectAndSubscribe());
    waiting.client.connectToHost();
    QTRY_VERIFY(!mute.heard.isEmpty());
    const std::clock_t before = std::clock();
    QTest::qWait(2500);
    QVERIFY(std::clock() - before < CLOCKS_PER_SEC / 5);
    QVERIFY(idle.client.isConnectedToHost());
}

QTEST_GUILESS_MAIN(TestClient)
#include "tst_client.moc"
