#pragma once

#include "qmqtt_client.h"

#include <QtCore/QHash>

#include <deque>
#include <variant>

struct mosquitto;
struct mosquitto_message;

namespace QMQTT
{

struct Accepted {
};
struct Closed {
    ClientError reason;
};
struct Published {
    Message message;
    quint16 id;
};
struct Subscribed {
    QString filter;
    quint8 code;
};
struct Unsubscribed {
    QString filter;
};
struct PingAnswered {
};
/// A message that is larger than what is taken.
struct TooLarge {
    QString topic;
    int bytes;
};

/// What a call into the library has brought about; a Message is one that has arrived.
using Event = std::variant<Message, Accepted, Closed, Published, Subscribed, Unsubscribed,
                           PingAnswered, TooLarge>;

/// One connection to a broker: one handle of libmosquitto, from connecting to its end.
///
/// No call blocks. The library's callbacks only record events, in their order; whoever calls
/// takes them afterwards, so that a slot may do anything, even destroy the handle. Closed is
/// recorded once and last. Where isOpen() is false only events may be taken.
class Handle
{
public:
    /// Starts to connect. The socket is writable when that is decided: finishConnecting().
    explicit Handle(const Settings &settings);
    ~Handle();
    Q_DISABLE_COPY(Handle)

    /// False from the moment that the connection is known to be lost.
    bool isOpen() const { return m_phase != Over; }
    int socket() const;
    bool wantsToWrite() const;

    void finishConnecting();
    /// Reads one packet, or some more of a long one; false when there is no more for now.
    bool readPacket();
    void write();
    /// Sends a ping when one is due, gives up a peer that has not answered the last: every second.
    /// One that is not listened to cannot answer.
    void keepAlive(bool isListening);
    void close(ClientError reason);

    /// \a topic is that of the message in UTF-8. The packet identifier, 0 for QoS 0 or on failure.
    quint16 publish(const Message &message, const QByteArray &topic);
    /// Topics and payloads of QoS 0 that the socket has not yet taken, in bytes.
    qint64 unwrittenBytes() const { return m_unwrittenBytes; }
    void subscribe(const QString &filter, quint8 qos);
    void unsubscribe(const QString &filter);
    /// Nothing but Closed is recorded from here on.
    void disconnect();

    bool hasEvents() const { return !m_events.empty(); }
    Event takeEvent();

    static bool canPublish(const Message &message, const QByteArray &topic);
    static bool canSubscribe(const QString &filter);

private:
    enum Phase { Connecting, Standing, Leaving, Over };
    struct Unwritten {
        int id;
        int bytes;
    };

    void attachCallbacks();
    void settle(int result);
    void onConnectAnswer(int code);
    void onDisconnect(int result);
    void onMessage(const mosquitto_message &message);
    void onPublish(int id);
    void onSubscribe(int id, int code);
    void onUnsubscribe(int id);
    void onLog(const char *text);
    void setListeningForPing(bool on);

    ::mosquitto *m_library = nullptr;
    Phase m_phase = Connecting;
    ClientError m_refusal = UnknownError;
    std::deque<Event> m_events;
    std::deque<Unwritten> m_unwritten;    // QoS 0, handed over but not yet in the socket
    qint64 m_unwrittenBytes = 0;          // of these
    QHash<int, Message> m_unacknowledged; // QoS 1 and 2
    QHash<int, QString> m_filters;        // subscribe and unsubscribe, not yet answered
    bool m_isPingUnderWay = false;
    bool m_isListeningForPing = false;
    bool m_hasHeard = false; // a sign of life since the last keepAlive()
};

} // namespace QMQTT
