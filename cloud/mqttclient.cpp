#include "mqttclient.h"

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
    const QByteArray payload = pubMsg.toUtf8();
    m_sent.add(payload);
    publish(QMQTT::Message(messageId, type, payload));
}
