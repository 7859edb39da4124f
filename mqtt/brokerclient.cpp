#include "brokerclient.h"

#include <QDebug>
#include <QHostAddress>

BrokerClient::BrokerClient(const QString &host, quint16 port, const QString &topicFilter,
                           QObject *parent)
    : QMQTT::Client(QHostAddress(QHostAddress::LocalHost), port, parent), topic(topicFilter)
{
    setHost(QHostAddress(host));
    setPort(port);
}

BrokerClient::~BrokerClient() = default;

void BrokerClient::registerTypes()
{
    qRegisterMetaType<QMQTT::Message>("QMQTT::Message");
    qRegisterMetaType<QMQTT::ClientError>("QMQTT::ClientError");
}

void BrokerClient::join(QObject *link, const QString &clientId)
{
    connect(this, SIGNAL(error(QMQTT::ClientError)), this, SLOT(onError(QMQTT::ClientError)));
    connect(this, SIGNAL(disconnected()), this, SLOT(onDisconnected()));
    connect(this, SIGNAL(subscribed(QString, quint8)), this, SLOT(onSubscribed(QString, quint8)));
    connect(this, SIGNAL(unsubscribed(QString)), this, SLOT(onUnsubscribed(QString)));
    connect(this, SIGNAL(published(QMQTT::Message, quint16)), this,
            SLOT(onPublished(QMQTT::Message, quint16)));
    connect(this, SIGNAL(connected()), this, SLOT(mqttThreadSub()));
    connect(link, SIGNAL(MainTheadToMqttTHreadSignal(QString, QString)), this,
            SLOT(mqttThreadPub(QString, QString)));
    setClientId(clientId);
    setAutoReconnect(true);
    setVersion(QMQTT::V3_1_1);
    setCleanSession(true);
    connectToHost();
}

void BrokerClient::mqttThreadSub()
{
    if (isConnectedToHost())
        subscribe(topic, 1);
}

void BrokerClient::onError(QMQTT::ClientError error)
{
    qDebug() << "mqtt connect current error number:" << static_cast<int>(error);
}

void BrokerClient::onDisconnected()
{
    qDebug() << "mqtt disconnected ......,ready connected";
}

void BrokerClient::onSubscribed(QString topicFilter, quint8 qos)
{
    qDebug() << "subscribed is sucessed topic:" << topicFilter << "qos:" << static_cast<int>(qos);
}

void BrokerClient::onUnsubscribed(QString topicFilter)
{
    qDebug() << "unsubscribed is sucessed topic:" << topicFilter;
}

void BrokerClient::onPublished(QMQTT::Message message, quint16)
{
    qDebug() << "published is sucessed : " << message.topic();
}
