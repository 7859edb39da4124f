#pragma once

#include "brokerclient.h"

/// The connection to the site's broker. Lives in the main thread, like the whole cloud link.
class MqttClient : public BrokerClient
{
    Q_OBJECT
public:
    explicit MqttClient(const QString &host, quint16 port, const QString &topicFilter,
                        QObject *parent = nullptr);
    ~MqttClient() override;

public Q_SLOTS:
    /// Publishes \a pubMsg on the topic \a type, QoS 0, never retained. While offline it is lost.
    void mqttThreadPub(QString type, QString pubMsg);
};
