#include "qmqtt_client.h"

#include "qmqtt_handle.h"

#include <QtCore/QDebug>
#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtCore/QRandomGenerator>

namespace QMQTT
{

namespace
{

constexpr quint16 shortestKeepAlive = 5; // seconds; the library takes no less
constexpr int longestAnswerMs = 10000;   // a broker's answer to a connection
constexpr int longestLeaveMs = 5000;     // sending what is left when disconnecting
constexpr int longestReconnectMs = 5000; // between two attempts
constexpr int packetsPerTurn = 100;      // then timers and other sockets have their turn
constexpr int turnMs = 3;
constexpr quint8 refusal = 128; // of a subscription

template <class... Visitors>
struct Overloaded : Visitors... {
    using Visitors::operator()...;
};
template <class... Visitors>
Overloaded(Visitors...) -> Overloaded<Visitors...>;

} // namespace

Client::Client(const QHostAddress &host, quint16 port, QObject *parent)
    : QObject(parent), m_ticker(this), m_deadline(this), m_retry(this)
{
    m_settings.host = host;
    m_settings.port = port;
    m_ticker.setInterval(1000);
    m_deadline.setSingleShot(true);
    m_retry.setSingleShot(true);
    connect(&m_ticker, &QTimer::timeout, this, &Client::tick);
    connect(&m_deadline, &QTimer::timeout, this, &Client::giveUpWaiting);
    connect(&m_retry, &QTimer::timeout, this, &Client::attempt);
}

Client::~Client()
{
    drop();
}

bool Client::isConnectedToHost() const
{
    return m_state == STATE_CONNECTED && m_handle->isOpen();
}

qint64 Client::unwrittenBytes() const
{
    return isConnectedToHost() ? m_handle->unwrittenBytes() : 0;
}

void Client::setReading(bool on)
{
    m_isReading = on;
    if (m_readable)
        m_readable->setEnabled(on);
}

void Client::giveUp()
{
    if (isConnectedToHost()) {
        m_handle->close(SocketTimeoutError);
        settleAndDeliverLater();
    }
}

void Client::setKeepAlive(quint16 seconds)
{
    m_settings.keepAlive = qMax(seconds, shortestKeepAlive);
}

void Client::setAutoReconnectInterval(int milliseconds)
{
    m_reconnectIntervalMs = qMax(milliseconds, 1);
}

void Client::connectToHost()
{
    m_isWanted = true;
    if (!m_handle && !m_retry.isActive()) {
        m_lastDelayMs = 0;
        attempt();
    }
}

void Client::disconnectFromHost()
{
    m_isWanted = false;
    m_retry.stop();
    if (m_state == STATE_CONNECTING) {
        drop();
    } else if (m_state == STATE_CONNECTED) {
        m_state = STATE_DISCONNECTED;
        m_ticker.stop();
        m_deadline.start(longestLeaveMs);
        m_handle->disconnect();
        settleAndDeliverLater();
    }
}

void Client::subscribe(const QString &topic, quint8 qos)
{
    if (qos > 2 || !Handle::canSubscribe(topic)) {
        qWarning() << "MQTT: cannot subscribe to" << topic << "with QoS" << qos;
    } else if (isConnectedToHost()) {
        m_handle->subscribe(topic, qos);
        settleAndDeliverLater();
    }
}

void Client::unsubscribe(const QString &topic)
{
    if (!Handle::canSubscribe(topic)) {
        qWarning() << "MQTT: cannot unsubscribe from" << topic;
    } else if (isConnectedToHost()) {
        m_handle->unsubscribe(topic);
        settleAndDeliverLater();
    }
}

quint16 Client::publish(const QMQTT::Message &message)
{
    const QByteArray topic = message.topic().toUtf8();
    if (!Handle::canPublish(message, topic)) {
        qWarning() << "MQTT: cannot publish" << message.payload().size() << "bytes with QoS"
                   << message.qos() << "on" << message.topic();
        return 0;
    }
    quint16 id = 0;
    if (isConnectedToHost()) {
        id = m_handle->publish(message, topic);
        settleAndDeliverLater();
    }
    if (message.qos() == 0)
        Q_EMIT published(message, id);
    return id;
}

// A new handle each time: the library would keep, and send again, what an old one had not sent.
void Client::attempt()
{
    m_state = STATE_CONNECTING;
    m_isReading = true;
    m_handle = std::make_unique<Handle>(m_settings);
    if (m_handle->isOpen()) {
        m_deadline.start(qMin(m_settings.keepAlive * 1000, longestAnswerMs));
        // Connecting has succeeded or failed when the socket is writable.
        m_writable = watch(QSocketNotifier::Write, &Client::writeTurn);
    } else {
        settleAndDeliverLater();
    }
}

void Client::drop()
{
    unwatch();
    m_deadline.stop();
    m_handle.reset();
    ++m_connection;
    m_state = STATE_DISCONNECTED;
}

QSocketNotifier *Client::watch(QSocketNotifier::Type type, void (Client::*turn)())
{
    auto *const notifier = new QSocketNotifier(m_handle->socket(), type, this);
    connect(notifier, &QSocketNotifier::activated, this, turn);
    return notifier;
}

// At once, since the socket is closed or about to be; they may be the ones that called.
void Client::unwatch()
{
    for (QSocketNotifier *notifier : {m_readable, m_writable}) {
        if (!notifier)
            continue;
        notifier->setEnabled(false);
        notifier->deleteLater();
    }
    m_readable = nullptr;
    m_writable = nullptr;
    m_ticker.stop();
}

void Client::readTurn()
{
    QElapsedTimer turn;
    turn.start();
    for (int packets = 0; packets < packetsPerTurn && turn.elapsed() < turnMs; ++packets) {
        const bool hasMore = m_handle->readPacket();
        settle();
        if (!deliver() || !hasMore || !m_isReading)
            return;
    }
}

void Client::writeTurn()
{
    if (!m_readable) {
        m_handle->finishConnecting();
        m_readable = watch(QSocketNotifier::Read, &Client::readTurn);
    }
    if (m_handle->isOpen())
        m_handle->write();
    settle();
    if (deliver())
        Q_EMIT written();
}

void Client::tick()
{
    m_handle->keepAlive(m_isReading);
    settle();
    if (deliver())
        Q_EMIT written(); // a ping, like an acknowledgement, takes along what waits
}

void Client::giveUpWaiting()
{
    m_handle->close(SocketTimeoutError);
    settle();
    deliver();
}

// After every call into the library: a write notifier that stays on without need takes a whole
// processor, one that stays off leaves data lying, and a closed socket must have neither.
void Client::settle()
{
    if (m_handle->isOpen())
        m_writable->setEnabled(m_handle->wantsToWrite());
    else
        unwatch();
}

// For the slots: their caller gets no signal before they return.
void Client::settleAndDeliverLater()
{
    settle();
    if (!m_handle->isOpen())
        QTimer::singleShot(0, this, [this] { deliver(); });
}

// Emits what has happened. False when the connection is gone, or this client: any slot may have
// disconnected, connected again or deleted it.
bool Client::deliver()
{
    const QPointer<Client> self(this);
    const quint32 connection = m_connection;
    while (m_handle && m_handle->hasEvents()) {
        actOnNextEvent();
        if (!self || m_connection != connection)
            return false;
    }
    return m_handle != nullptr;
}

void Client::actOnNextEvent()
{
    const Overloaded act{
        [this](const Message &message) { Q_EMIT received(message); },
        [this](const Accepted &) { acceptConnection(); },
        [this](const Closed &closed) { endConnection(closed.reason); },
        [this](const Published &done) { Q_EMIT published(done.message, done.id); },
        [this](const Subscribed &done) {
            if (done.code < refusal)
                m_lastDelayMs = 0;
            Q_EMIT subscribed(done.filter, done.code);
        },
        [this](const Unsubscribed &done) { Q_EMIT unsubscribed(done.filter); },
        [this](const PingAnswered &) { Q_EMIT pingresp(); },
        [this](const TooLarge &message) { warnOfSize(message.topic, message.bytes); }};
    const Event event = m_handle->takeEvent();
    std::visit(act, event);
}

void Client::acceptConnection()
{
    m_deadline.stop();
    m_ticker.start();
    m_state = STATE_CONNECTED;
    Q_EMIT connected();
}

void Client::warnOfSize(const QString &topic, int bytes)
{
    if (m_sinceSizeWarning.isValid() && !m_sinceSizeWarning.hasExpired(60'000))
        return;
    m_sinceSizeWarning.start();
    qWarning() << "MQTT: a message of" << bytes << "bytes is not taken, on" << topic.left(200);
}

void Client::endConnection(ClientError reason)
{
    const bool wasAskedFor = m_state == STATE_DISCONNECTED;
    const bool hadStood = m_state != STATE_CONNECTING;
    drop();
    m_isWanted = m_isWanted && (m_autoReconnect || wasAskedFor);
    if (m_isWanted)
        m_retry.start(wasAskedFor ? 0 : nextDelayMs());
    const QPointer<Client> self(this);
    if (!wasAskedFor)
        Q_EMIT error(reason);
    if (self && hadStood)
        Q_EMIT disconnected();
}

// The random part keeps the controllers of a site from all coming back in the same moment.
int Client::nextDelayMs()
{
    const int longest = qMax(longestReconnectMs, m_reconnectIntervalMs);
    m_lastDelayMs = m_lastDelayMs == 0
                        ? m_reconnectIntervalMs
                        : static_cast<int>(qMin<qint64>(longest, 2ll * m_lastDelayMs));
    return m_lastDelayMs - QRandomGenerator::global()->bounded(m_lastDelayMs / 4 + 1);
}

} // namespace QMQTT
