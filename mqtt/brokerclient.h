#pragma once

#include <QString>
#include <QTimer>
#include <QVector>

#include <qmqtt.h>

/// What the crane's two broker connections have in common: how they are wired, their settings,
/// the subscription after each connection, their log lines, and what happens when a link is slower
/// than what is published.
///
/// Lives in the thread that creates it, with its socket and its slots, until the process ends.
/// Reconnects by itself, forever; a loss shows in the log only.
///
/// A slow link: what is handed over and not yet written is bounded. From a MiB on a report is kept
/// back, the newest of each topic, and goes out as soon as there is room; those that a newer one
/// displaces are left out, which the log says once a minute with their number. Alarms are never
/// left out and so overtake the reports; a MiB of them that waits counts as a lost connection. (An
/// installed qmqtt does not tell what waits: there, nothing is bounded.)
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

    /// Stops reading: the broker holds back. What is published goes on.
    void pauseReading();

public Q_SLOTS:
    void resumeReading();
    void mqttThreadSub();
    void onError(QMQTT::ClientError error);
    void onDisconnected();
    void onSubscribed(QString topic, quint8 qos = 0);
    void onUnsubscribed(QString topic);
    void onPublished(QMQTT::Message message, quint16 msgid = 0);

protected:
    /// Publishes an alarm, or a report as far as the link takes them; QoS 0.
    void send(const QMQTT::Message &message);
    /// Each message that really goes to the connection.
    virtual void handOver(const QMQTT::Message &message);

    QString topic; ///< the subscription

private Q_SLOTS:
    void sendKept();

private:
    void sendAlarm(const QMQTT::Message &message);
    void sendReport(const QMQTT::Message &report);
    void keepBack(const QMQTT::Message &report);
    void leaveOut(const QMQTT::Message &report);
    void tellLeftOut();

    QVector<QMQTT::Message> m_kept; // the newest report of each topic, oldest first
    qint64 m_reportBytes = 0;       // that may wait in the connection
    qint64 m_leftOut = 0;           // since the last line about it
    QTimer m_untilNextLine;
};
