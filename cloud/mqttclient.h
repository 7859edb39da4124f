#pragma once

#include "mqtt/brokerclient.h"
#include "cloud/sentuploads.h"

/// The connection to the site's broker. Lives in the main thread, like the whole cloud link.
class MqttClient : public BrokerClient
{
    Q_OBJECT
public:
    explicit MqttClient(const QString &host, quint16 port, const QString &topicFilter,
                        QObject *parent = nullptr);
    ~MqttClient() override;

    /// Whether this is one of the payloads sent lately, coming back; then it is forgotten.
    bool takeSent(const QByteArray &payload) { return m_sent.take(payload); }

public Q_SLOTS:
    /// Publishes \a pubMsg on the topic \a type, QoS 0, never retained. While offline it is lost,
    /// on a slow link the newest remains.
    void mqttThreadPub(QString type, QString pubMsg);

protected:
    void handOver(const QMQTT::Message &message) override;

private:
    SentUploads m_sent;
};
