#pragma once

#include <QString>

#include <qmqtt.h>

/// What the crane's two broker connections have in common: how they are wired, their settings,
/// the subscription after each connection, and their log lines.
///
/// Lives in the thread that creates it, with its socket and its slots, until the process ends.
/// Reconnects by itself, forever; a loss shows in the log only.
class BrokerClient : public QMQTT::Client
{
    Q_OBJECT
public:
    /// \a host is a numeric address; \a topicFilter is subscribed with QoS 1 after each connection.
    BrokerClient(const QString &host, quint16 port, const QString &topicFilter,
                 QObject *parent = nullptr);
    ~BrokerClient() override;

    /// Makes the payload types known, so that they may cross threads.
    static void registerTypes();

    /// Connects this client with itself and with \a link, and starts connecting to the broker.
    ///
    /// \a link has the signal MainTheadToMqttTHreadSignal(QString,QString), this class's heirs have
    /// the slot mqttThreadPub(QString,QString), which is reached in its own thread. What is
    /// received the links connect themselves.
    void join(QObject *link, const QString &clientId);

public Q_SLOTS:
    void mqttThreadSub();
    void onError(QMQTT::ClientError error);
    void onDisconnected();
    void onSubscribed(QString topic, quint8 qos = 0);
    void onUnsubscribed(QString topic);
    void onPublished(QMQTT::Message message, quint16 msgid = 0);

protected:
    QString topic; ///< the subscription
};
