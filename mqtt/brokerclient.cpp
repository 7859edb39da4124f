#include "mqtt/brokerclient.h"

#include <QDebug>
#include <QHostAddress>

#include <algorithm>

namespace
{

constexpr qint64 mostWaiting = 1 << 20; // bytes that the socket has not yet taken
constexpr int mostKept = 8;             // topics; a link has three kinds of reports
constexpr int lineIntervalMs = 60000;

bool isAlarm(const QString &topic)
{
    return topic.endsWith(QLatin1String("/Alarm"));
}

#ifdef CRANE_SYSTEM_QMQTT
qint64 waitingBytes(const QMQTT::Client &)
{
    return 0;
}
void countAsLost(QMQTT::Client *) {}
void switchReading(QMQTT::Client *, bool) {}
#else
qint64 waitingBytes(const QMQTT::Client &client)
{
    return client.unwrittenBytes();
}
void countAsLost(QMQTT::Client *client)
{
    client->giveUp();
}
void switchReading(QMQTT::Client *client, bool on)
{
    client->setReading(on);
}
#endif

} // namespace

BrokerClient::BrokerClient(const QString &host, quint16 port, const QString &topicFilter,
                           QObject *parent)
    : QMQTT::Client(QHostAddress(QHostAddress::LocalHost), port, parent), topic(topicFilter)
{
    setHost(QHostAddress(host));
    setPort(port);
    m_untilNextLine.setSingleShot(true);
    connect(&m_untilNextLine, &QTimer::timeout, this, &BrokerClient::tellLeftOut);
#ifndef CRANE_SYSTEM_QMQTT
    connect(this, &QMQTT::Client::written, this, &BrokerClient::sendKept);
#endif
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

void BrokerClient::pauseReading()
{
    switchReading(this, false);
}

void BrokerClient::resumeReading()
{
    switchReading(this, true);
}

void BrokerClient::send(const QMQTT::Message &message)
{
    if (isAlarm(message.topic()))
        sendAlarm(message);
    else if (waitingBytes(*this) < mostWaiting)
        sendReport(message);
    else
        keepBack(message);
}

void BrokerClient::handOver(const QMQTT::Message &message)
{
    publish(message);
}

/// What waits beyond the reports are alarms.
void BrokerClient::sendAlarm(const QMQTT::Message &message)
{
    m_reportBytes = std::min(m_reportBytes, waitingBytes(*this));
    handOver(message);
    if (waitingBytes(*this) > m_reportBytes + mostWaiting)
        countAsLost(this);
    else
        sendKept(); // it may have taken along what waited
}

void BrokerClient::sendReport(const QMQTT::Message &report)
{
    const auto isOlder = [&report](const QMQTT::Message &kept) {
        return kept.topic() == report.topic();
    };
    const auto older = std::find_if(m_kept.begin(), m_kept.end(), isOlder);
    if (older != m_kept.end()) {
        leaveOut(*older);
        m_kept.erase(older);
    }
    handOver(report);
    m_reportBytes = waitingBytes(*this);
}

void BrokerClient::sendKept()
{
    while (!m_kept.isEmpty() && waitingBytes(*this) < mostWaiting) {
        const QMQTT::Message report = m_kept.takeFirst();
        sendReport(report);
    }
}

void BrokerClient::keepBack(const QMQTT::Message &report)
{
    for (QMQTT::Message &kept : m_kept) {
        if (kept.topic() == report.topic()) {
            leaveOut(kept);
            kept = report;
            return;
        }
    }
    if (m_kept.size() == mostKept)
        leaveOut(m_kept.takeFirst());
    m_kept.append(report);
}

/// Logged like what is published while there is no connection.
void BrokerClient::leaveOut(const QMQTT::Message &report)
{
    Q_EMIT published(report);
    ++m_leftOut;
    if (!m_untilNextLine.isActive())
        tellLeftOut();
}

void BrokerClient::tellLeftOut()
{
    if (m_leftOut == 0)
        return;
    qWarning() << "MQTT: slow link of" << topic << "- reports left out:" << m_leftOut;
    m_leftOut = 0;
    m_untilNextLine.start(lineIntervalMs);
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
    while (!m_kept.isEmpty())
        leaveOut(m_kept.takeFirst());
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
