#include "qmqtt_handle.h"

#include <mosquitto.h>

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <utility>

namespace QMQTT
{

namespace
{

ClientError errorFromErrno(int number)
{
    switch (number) {
    case ECONNREFUSED:
        return SocketConnectionRefusedError;
    case ECONNRESET:
    case EPIPE:
        return SocketRemoteHostClosedError;
    case EACCES:
    case EPERM:
        return SocketAccessError;
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
        return SocketResourceError;
    case ETIMEDOUT:
        return SocketTimeoutError;
    default:
        return SocketNetworkError; // no route, no network
    }
}

bool endsWith(const char *text, const char *end)
{
    const size_t length = std::strlen(text);
    const size_t endLength = std::strlen(end);
    return length >= endLength && std::strcmp(text + length - endLength, end) == 0;
}

bool isSendable(const QString &text, const QByteArray &utf8)
{
    return !utf8.isEmpty() && text.isValidUtf16() &&
           mosquitto_validate_utf8(utf8.constData(), utf8.size()) == MOSQ_ERR_SUCCESS;
}

} // namespace

Handle::Handle(const Settings &settings)
{
    static const int initialised = mosquitto_lib_init();
    Q_UNUSED(initialised)

    const QByteArray id = settings.clientId.toUtf8();
    m_library = mosquitto_new(id.isEmpty() ? nullptr : id.constData(),
                              settings.cleanSession || id.isEmpty(), this);
    if (!m_library) {
        close(MqttIdentifierRejectedError); // not even the library takes it
        return;
    }
    mosquitto_int_option(m_library, MOSQ_OPT_PROTOCOL_VERSION,
                         settings.version == V3_1_0 ? MQTT_PROTOCOL_V31 : MQTT_PROTOCOL_V311);
    mosquitto_int_option(m_library, MOSQ_OPT_TCP_NODELAY, 1);
    attachCallbacks();

    const int result =
        mosquitto_connect_async(m_library, settings.host.toString().toLatin1().constData(),
                                settings.port, settings.keepAlive);
    if (result != MOSQ_ERR_SUCCESS) {
        close(result == MOSQ_ERR_ERRNO ? errorFromErrno(errno) : SocketHostNotFoundError);
        return;
    }
    // Under traffic the kernel notices a dead peer before the keep-alive does.
    const unsigned patienceMs = settings.keepAlive * 1000u;
    setsockopt(socket(), IPPROTO_TCP, TCP_USER_TIMEOUT, &patienceMs, sizeof patienceMs);
    // What waits, waits here, where it is counted; the kernel would take megabytes.
    const int mostUnsent = 128 * 1024;
    setsockopt(socket(), IPPROTO_TCP, TCP_NOTSENT_LOWAT, &mostUnsent, sizeof mostUnsent);
}

Handle::~Handle()
{
    mosquitto_destroy(m_library);
}

int Handle::socket() const
{
    return mosquitto_socket(m_library);
}

bool Handle::wantsToWrite() const
{
    return mosquitto_want_write(m_library);
}

void Handle::finishConnecting()
{
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(socket(), SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0)
        close(errorFromErrno(error));
}

bool Handle::readPacket()
{
    m_hasHeard = true;
    errno = 0;
    const int result = mosquitto_loop_read(m_library, 1);
    // Sending an acknowledgement leaves EAGAIN behind as well: then there is an event.
    const bool isDrained = errno == EAGAIN && m_events.empty();
    settle(result);
    return !isDrained;
}

void Handle::write()
{
    settle(mosquitto_loop_write(m_library, 1));
}

void Handle::keepAlive(bool isListening)
{
    // The answer may lie behind a burst or a long message: a peer that sends is not mute.
    const bool isAlive = std::exchange(m_hasHeard, false) || !isListening;
    if (isAlive && m_isPingUnderWay)
        return;
    setListeningForPing(true);
    settle(mosquitto_loop_misc(m_library));
}

void Handle::close(ClientError reason)
{
    if (m_phase == Over)
        return;
    m_phase = Over;
    m_events.emplace_back(Closed{reason});
}

quint16 Handle::publish(const Message &message, const QByteArray &topic)
{
    const QByteArray payload = message.payload();
    const bool isAcknowledged = message.qos() > 0;
    int id = 0;
    int *storage = &id;
    if (!isAcknowledged) {
        // The library stores the identifier before it writes; onPublish() may come from within.
        const Unwritten last = {0, topic.size() + payload.size()};
        storage = &m_unwritten.emplace_back(last).id;
        m_unwrittenBytes += last.bytes;
    }
    const int result = mosquitto_publish(m_library, storage, topic.constData(), payload.size(),
                                         payload.constData(), message.qos(), message.retain());
    settle(result);
    if (result != MOSQ_ERR_SUCCESS || !isAcknowledged)
        return 0;
    m_unacknowledged.insert(id, message);
    return static_cast<quint16>(id);
}

void Handle::subscribe(const QString &filter, quint8 qos)
{
    int id = 0;
    settle(mosquitto_subscribe(m_library, &id, filter.toUtf8().constData(), qos));
    m_filters.insert(id, filter);
}

void Handle::unsubscribe(const QString &filter)
{
    int id = 0;
    settle(mosquitto_unsubscribe(m_library, &id, filter.toUtf8().constData()));
    m_filters.insert(id, filter);
}

void Handle::disconnect()
{
    if (!isOpen())
        return;
    m_events.clear();
    m_phase = Leaving;
    settle(mosquitto_disconnect(m_library));
}

Event Handle::takeEvent()
{
    Event event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

bool Handle::canPublish(const Message &message, const QByteArray &topic)
{
    constexpr qint64 longestPacket = 268435455;
    return message.qos() <= 2 && isSendable(message.topic(), topic) &&
           mosquitto_pub_topic_check2(topic.constData(), static_cast<size_t>(topic.size())) ==
               MOSQ_ERR_SUCCESS &&
           qint64(message.payload().size()) + topic.size() + 4 <= longestPacket;
}

bool Handle::canSubscribe(const QString &filter)
{
    const QByteArray utf8 = filter.toUtf8();
    return isSendable(filter, utf8) &&
           mosquitto_sub_topic_check2(utf8.constData(), static_cast<size_t>(utf8.size())) ==
               MOSQ_ERR_SUCCESS;
}

void Handle::attachCallbacks()
{
    mosquitto_connect_callback_set(m_library, [](::mosquitto *, void *self, int code) {
        static_cast<Handle *>(self)->onConnectAnswer(code);
    });
    mosquitto_disconnect_callback_set(m_library, [](::mosquitto *, void *self, int result) {
        static_cast<Handle *>(self)->onDisconnect(result);
    });
    mosquitto_message_callback_set(m_library,
                                   [](::mosquitto *, void *self, const mosquitto_message *message) {
                                       static_cast<Handle *>(self)->onMessage(*message);
                                   });
    mosquitto_publish_callback_set(m_library, [](::mosquitto *, void *self, int id) {
        static_cast<Handle *>(self)->onPublish(id);
    });
    mosquitto_subscribe_callback_set(
        m_library, [](::mosquitto *, void *self, int id, int count, const int *codes) {
            static_cast<Handle *>(self)->onSubscribe(id, count > 0 ? codes[0] : 128);
        });
    mosquitto_unsubscribe_callback_set(m_library, [](::mosquitto *, void *self, int id) {
        static_cast<Handle *>(self)->onUnsubscribe(id);
    });
}

// After every call: the library closes its socket in any of them, and an error while writing
// leaves it open.
void Handle::settle(int result)
{
    if (result != MOSQ_ERR_SUCCESS || socket() < 0)
        close(SocketRemoteHostClosedError);
    if (m_isListeningForPing && !m_isPingUnderWay)
        setListeningForPing(false);
}

void Handle::onConnectAnswer(int code)
{
    if (code >= 1 && code <= 5)
        m_refusal = static_cast<ClientError>(MqttUnacceptableProtocolVersionError + code - 1);
    if (code == 0 && m_phase == Connecting) {
        m_phase = Standing;
        m_events.emplace_back(Accepted{});
    }
}

void Handle::onDisconnect(int result)
{
    if (result == MOSQ_ERR_CONN_REFUSED)
        close(m_refusal);
    else
        close(result == MOSQ_ERR_KEEPALIVE ? MqttNoPingResponse : SocketRemoteHostClosedError);
}

void Handle::onMessage(const mosquitto_message &message)
{
    if (m_phase != Standing)
        return;
    if (message.payloadlen > Client::largestReceived) {
        m_events.emplace_back(TooLarge{QString::fromUtf8(message.topic), message.payloadlen});
        return;
    }
    m_events.emplace_back(
        std::in_place_type<Message>, static_cast<quint16>(message.mid),
        QString::fromUtf8(message.topic),
        QByteArray(static_cast<const char *>(message.payload), message.payloadlen),
        static_cast<quint8>(message.qos), message.retain);
}

// Called for a QoS 0 publication when it is written, for the others when they are acknowledged.
// All identifiers come from one 16-bit counter. Those of QoS 0 come back in their order.
void Handle::onPublish(int id)
{
    if (!m_unwritten.empty() && m_unwritten.front().id == id) {
        m_unwrittenBytes -= m_unwritten.front().bytes;
        m_unwritten.pop_front();
        // A peer that takes what waits is slow, but not mute: its answer to a ping comes behind it.
        m_hasHeard = m_hasHeard || !m_unwritten.empty();
        return;
    }
    const auto found = m_unacknowledged.find(id);
    if (found == m_unacknowledged.end())
        return;
    if (m_phase == Standing)
        m_events.emplace_back(Published{*found, static_cast<quint16>(id)});
    m_unacknowledged.erase(found);
}

void Handle::onSubscribe(int id, int code)
{
    if (m_phase == Standing && m_filters.contains(id))
        m_events.emplace_back(Subscribed{m_filters.take(id), static_cast<quint8>(code)});
}

void Handle::onUnsubscribe(int id)
{
    if (m_phase == Standing && m_filters.contains(id))
        m_events.emplace_back(Unsubscribed{m_filters.take(id)});
}

// The library reports pings nowhere else.
void Handle::onLog(const char *text)
{
    if (endsWith(text, "sending PINGREQ")) {
        m_isPingUnderWay = true;
    } else if (m_isPingUnderWay && endsWith(text, "received PINGRESP")) {
        m_isPingUnderWay = false;
        m_events.emplace_back(PingAnswered{});
    }
}

// On only while an answer is awaited: with a log callback the library formats a line a packet.
void Handle::setListeningForPing(bool on)
{
    m_isListeningForPing = on;
    if (!on)
        mosquitto_log_callback_set(m_library, nullptr);
    else
        mosquitto_log_callback_set(m_library, [](::mosquitto *, void *self, int, const char *text) {
            static_cast<Handle *>(self)->onLog(text);
        });
}

} // namespace QMQTT
