#pragma once

#include "mqtt/brokerclient.h"

/// The connection to the broker on the board. Lives in the thread of LocalData::run().
class LocalClient : public BrokerClient
{
    Q_OBJECT
public:
    explicit LocalClient(const QString &host, quint16 port, const QString &topicFilter,
                         QObject *parent = nullptr);
    ~LocalClient() override;

public Q_SLOTS:
    /// Publishes \a pubMsg on the topic \a type, QoS 0. The status and the attribute report are
    /// retained, so that a display that joins later has them at once. While offline it is lost.
    void mqttThreadPub(QString type, QString pubMsg);
};
