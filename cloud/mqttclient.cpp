#include "cloud/mqttclient.h"

namespace
{

constexpr quint16 messageId = 22222; // does not travel: QoS 0

} // namespace

MqttClient::MqttClient(const QString &host, quint16 port, const QString &topicFilter,
                       QObject *parent)
    : BrokerClient(host, port, topicFilter, parent)
{
}

MqttClient::~MqttClient() = default;

void MqttClient::mqttThreadPub(QString type, QString pubMsg)
{
    send(QMQTT::Message(messageId, type, pubMsg.toUtf8()));
}

void MqttClient::handOver(const QMQTT::Message &message)
{
    m_sent.add(message.payload());
    BrokerClient::handOver(message);
}
