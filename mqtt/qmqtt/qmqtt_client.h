#pragma once

#include "qmqtt_message.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>
#include <QtNetwork/QHostAddress>

#include <memory>

namespace QMQTT
{

enum MQTTVersion { V3_1_0 = 3, V3_1_1 = 4 };

enum ConnectionState { STATE_INIT = 0, STATE_CONNECTING, STATE_CONNECTED, STATE_DISCONNECTED };

/// Why a connection failed or ended. Up to 23 the numbers are those of QAbstractSocket plus one,
/// from 65536 on the broker's refusals.
enum ClientError {
    UnknownError = 0,
    SocketConnectionRefusedError = 1,
    SocketRemoteHostClosedError = 2,
    SocketHostNotFoundError = 3,
    SocketAccessError = 4,
    SocketResourceError = 5,
    SocketTimeoutError = 6,
    SocketNetworkError = 8,
    MqttUnacceptableProtocolVersionError = 1 << 16,
    MqttIdentifierRejectedError,
    MqttServerUnavailableError,
    MqttBadUserNameOrPasswordError,
    MqttNotAuthorizedError,
    MqttNoPingResponse
};

class Handle;

/// What a connection is made with.
struct Settings {
    QHostAddress host;
    quint16 port = 1883;
    QString clientId;
    bool cleanSession = true;
    MQTTVersion version = V3_1_1;
    quint16 keepAlive = 10; // seconds
};

/// A client of one MQTT broker.
///
/// Lives in the thread that creates it, which runs a Qt event loop; everything happens there and
/// nothing blocks. All signals come from the event loop, except published() of a QoS 0 message.
/// A slot may call anything of the client; to delete it there, use deleteLater().
///
/// With automatic reconnection a lost or refused connection is tried again for ever: first after
/// the reconnection interval, then after twice as long each time up to 5 s, each time a random
/// part of a quarter earlier; a subscription that the broker grants begins that anew. A peer that
/// is dead or mute is given up within twice the keep-alive and 2 s, one that does not answer a
/// connection after one keep-alive, 10 s at most.
///
/// Nothing is queued while there is no connection, and nothing is sent again on the next one.
class Client : public QObject
{
    Q_OBJECT
public:
    explicit Client(const QHostAddress &host = QHostAddress::LocalHost, quint16 port = 1883,
                    QObject *parent = nullptr);
    ~Client() override; // closes the connection, without any signal

    QHostAddress host() const { return m_settings.host; }
    quint16 port() const { return m_settings.port; }
    QString clientId() const { return m_settings.clientId; }
    bool cleanSession() const { return m_settings.cleanSession; }
    bool autoReconnect() const { return m_autoReconnect; }
    int autoReconnectInterval() const { return m_reconnectIntervalMs; } // milliseconds
    MQTTVersion version() const { return m_settings.version; }
    quint16 keepAlive() const { return m_settings.keepAlive; } // seconds
    ConnectionState connectionState() const { return m_state; }
    bool isConnectedToHost() const;

    /// A message with a larger payload is not taken: neither copied nor received(), but one
    /// warning, at most once a minute.
    static constexpr int largestReceived = 1 << 20;

    /// Topics and payloads of QoS 0 that were published and that the socket has not yet taken, in
    /// bytes; 0 without a connection. Whoever publishes bounds it.
    qint64 unwrittenBytes() const;
    /// Whether messages are read; they are, from each new connection on. Meanwhile the broker holds
    /// back, and is not given up.
    void setReading(bool on);
    /// Ends the connection as if it were lost (SocketTimeoutError), soon.
    void giveUp();

public Q_SLOTS:
    // These hold from the next connection on.
    void setHost(const QHostAddress &host) { m_settings.host = host; }
    void setPort(quint16 port) { m_settings.port = port; }
    /// Empty (the default): the broker assigns one, and the session is a clean one.
    void setClientId(const QString &clientId) { m_settings.clientId = clientId; }
    void setCleanSession(bool clean) { m_settings.cleanSession = clean; }
    void setVersion(QMQTT::MQTTVersion version) { m_settings.version = version; }
    /// 10 s by default; less than 5 counts as 5.
    void setKeepAlive(quint16 seconds);

    void setAutoReconnect(bool on) { m_autoReconnect = on; } // off by default
    /// The first wait before another attempt, 1000 ms by default.
    void setAutoReconnectInterval(int milliseconds);

    /// Starts to connect; does nothing while a connection stands or is under way.
    void connectToHost();
    /// Sends what is still to be sent (for at most 5 s), takes leave of the broker and stays away.
    void disconnectFromHost();

    /// Dropped without a connection; an unusable filter or QoS is a warning.
    void subscribe(const QString &topic, quint8 qos = 0);
    void unsubscribe(const QString &topic);
    /// Sends \a message and returns its packet identifier: 0 for QoS 0, and where nothing is sent.
    /// Dropped without a connection. A topic that is empty, too long, malformed, or that contains
    /// a wildcard or a control character, a QoS above 2 or an oversized payload is a warning.
    quint16 publish(const QMQTT::Message &message);

Q_SIGNALS:
    void connected();
    /// A connection that stood has ended; after error() unless disconnectFromHost() ended it.
    void disconnected();
    /// No connection came about, or it was lost (SocketRemoteHostClosedError, MqttNoPingResponse).
    void error(const QMQTT::ClientError error);
    /// The broker's answer; \a qos 128 is a refusal.
    void subscribed(const QString &topic, const quint8 qos = 0);
    void unsubscribed(const QString &topic);
    /// QoS 0: within publish(), connected or not. QoS 1 and 2: the broker has acknowledged it.
    void published(const QMQTT::Message &message, quint16 msgid = 0);
    /// Some of what had to wait may have been written: unwrittenBytes() may have fallen. At once
    /// for what the connection had to wait with, and every second.
    void written();
    void received(const QMQTT::Message &message);
    void pingresp();

private:
    void attempt();
    void drop();
    void readTurn();
    void writeTurn();
    void tick();
    void giveUpWaiting();
    QSocketNotifier *watch(QSocketNotifier::Type type, void (Client::*turn)());
    void unwatch();
    void settle();
    void settleAndDeliverLater();
    bool deliver();
    void actOnNextEvent();
    void acceptConnection();
    void warnOfSize(const QString &topic, int bytes);
    void endConnection(ClientError reason);
    int nextDelayMs();

    Settings m_settings;
    bool m_autoReconnect = false;
    int m_reconnectIntervalMs = 1000;

    ConnectionState m_state = STATE_INIT;
    bool m_isWanted = false;               // the application wants a connection
    std::unique_ptr<Handle> m_handle;      // while connecting, connected or taking leave
    quint32 m_connection = 0;              // changes when m_handle goes
    int m_lastDelayMs = 0;                 // before the last attempt that failed, 0: none has
    QSocketNotifier *m_readable = nullptr; // from the established connection on
    QSocketNotifier *m_writable = nullptr; // with m_handle, on while there is something to write
    QTimer m_ticker;                       // runs the keep-alive while connected
    QTimer m_deadline;                     // for the broker's answer, or for taking leave
    QTimer m_retry;                        // until the next attempt
    bool m_isReading = true;               // as set for this connection
    QElapsedTimer m_sinceSizeWarning;      // invalid before the first
};

} // namespace QMQTT

Q_DECLARE_METATYPE(QMQTT::ClientError)
