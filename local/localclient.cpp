#include "local/localclient.h"

#include <QDebug>

namespace
{

constexpr quint16 messageId = 1883; // does not travel: QoS 0

bool isRetained(const QString &topic)
{
    return topic == QLatin1String("Local/Vicinity/Status/TEXT") ||
           topic == QLatin1String("Local/Vicinity/Attribute/TEXT");
}

} // namespace

LocalClient::LocalClient(const QString &host, quint16 port, const QString &topicFilter,
                         QObject *parent)
    : BrokerClient(host, port, topicFilter, parent)
{
}

LocalClient::~LocalClient() = default;

void LocalClient::mqttThreadPub(QString type, QString pubMsg)
{
    QMQTT::Message message(messageId, type, pubMsg.toUtf8());
    if (isRetained(type)) {
        message.setRetain(true);
        qDebug() << "持久消息" << type;
    }
    send(message);
}
