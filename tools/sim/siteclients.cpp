#include "tools/sim/siteclients.h"

#include "tools/sim/sitedocuments.h"

#include <QHostAddress>
#include <QStringList>
#include <QTextStream>

SiteClients::SiteClients(quint16 localPort, quint16 cloudPort, QObject *parent) : QObject(parent)
{
    prepare(m_local, QStringLiteral("local"), localPort);
    prepare(m_cloud, QStringLiteral("cloud"), cloudPort);
    connect(&m_local, &QMQTT::Client::connected, this, &SiteClients::watchReports);
    connect(&m_local, &QMQTT::Client::received, this, &SiteClients::takeReport);
}

void SiteClients::prepare(QMQTT::Client &client, const QString &name, quint16 port)
{
    client.setHost(QHostAddress(QHostAddress::LocalHost));
    client.setPort(port);
    client.setVersion(QMQTT::V3_1_1);
    client.setCleanSession(true);
    client.setAutoReconnect(true);
    connect(&client, &QMQTT::Client::connected, this, [this] {
        ++m_connections;
        Q_EMIT changed();
    });
    connect(&client, &QMQTT::Client::disconnected, this, [this, name] {
        --m_connections;
        if (!m_isClosing)
            QTextStream(stderr) << "the " << name << " broker is gone, reconnecting\n";
        Q_EMIT changed();
    });
}

void SiteClients::connectToBrokers()
{
    m_local.connectToHost();
    m_cloud.connectToHost();
}

bool SiteClients::areConnected() const
{
    return m_local.isConnectedToHost() && m_cloud.isConnectedToHost();
}

QString SiteClients::missingBrokers() const
{
    QStringList missing;
    for (const QMQTT::Client *client : {&m_local, &m_cloud}) {
        if (!client->isConnectedToHost())
            missing << QStringLiteral("127.0.0.1:%1").arg(client->port());
    }
    return missing.join(QStringLiteral(" and "));
}

void SiteClients::disconnectFromBrokers()
{
    m_isClosing = true;
    for (QMQTT::Client *client : {&m_local, &m_cloud}) {
        client->setAutoReconnect(false);
        client->disconnectFromHost();
    }
}

void SiteClients::publishLocal(const QString &topic, const QByteArray &payload)
{
    publish(m_local, topic, payload);
}

void SiteClients::publishCloud(const QString &topic, const QByteArray &payload)
{
    publish(m_cloud, topic, payload);
}

void SiteClients::publish(QMQTT::Client &client, const QString &topic, const QByteArray &payload)
{
    if (!client.isConnectedToHost())
        return;
    client.publish(QMQTT::Message(0, topic, payload));
    ++m_publishedMessages;
}

void SiteClients::watchReports()
{
    if (!m_isWatching)
        return;
    m_local.subscribe(attributeReportTopic, 0);
    m_local.subscribe(attitudeReportTopic, 0);
}

void SiteClients::stopWatching()
{
    m_isWatching = false;
    m_local.unsubscribe(attributeReportTopic);
    m_local.unsubscribe(attitudeReportTopic);
}

void SiteClients::takeReport(const QMQTT::Message &message)
{
    if (!message.retain())
        ++m_freshReports;
    if (message.topic() == attributeReportTopic)
        m_attributeReport = message.payload();
    else if (message.topic() == attitudeReportTopic)
        m_attitudeReport = message.payload();
    Q_EMIT changed();
}
