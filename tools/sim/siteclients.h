#pragma once

#include <QByteArray>
#include <QObject>
#include <qmqtt.h>

/// The played site's two MQTT clients: one on the board's broker, one on the site's.
///
/// Both brokers are expected on 127.0.0.1. The clients live in the creating thread and reconnect
/// by themselves; what is published while a broker is away is lost, and the loss and return of a
/// broker are said on standard error. The controller's two reports are kept while watched.
class SiteClients : public QObject
{
    Q_OBJECT
public:
    SiteClients(quint16 localPort, quint16 cloudPort, QObject *parent = nullptr);

    /// Starts connecting; returns at once.
    void connectToBrokers();
    bool areConnected() const;
    /// Which brokers are missing, as words for a message; empty when none is.
    QString missingBrokers() const;

    /// Takes leave of both brokers; they are closed when all that was published has left.
    void disconnectFromBrokers();
    bool areClosed() const { return m_connections == 0; }

    void publishLocal(const QString &topic, const QByteArray &payload);
    void publishCloud(const QString &topic, const QByteArray &payload);
    /// How many messages have been handed to connected clients.
    qint64 publishedMessages() const { return m_publishedMessages; }

    /// No reports are wanted any more: a large site's are long.
    void stopWatching();
    /// The last attribute report (a retained one too) and attitude report; empty without one.
    QByteArray attributeReport() const { return m_attributeReport; }
    QByteArray attitudeReport() const { return m_attitudeReport; }
    /// How many reports have come that the broker had not kept from before.
    int freshReports() const { return m_freshReports; }

Q_SIGNALS:
    /// A connection came or went, or a report came.
    void changed();

private:
    void prepare(QMQTT::Client &client, const QString &name, quint16 port);
    void publish(QMQTT::Client &client, const QString &topic, const QByteArray &payload);
    void watchReports();
    void takeReport(const QMQTT::Message &message);

    QMQTT::Client m_local;
    QMQTT::Client m_cloud;
    QByteArray m_attributeReport;
    QByteArray m_attitudeReport;
    qint64 m_publishedMessages = 0;
    int m_connections = 0; // that stand or are being closed
    int m_freshReports = 0;
    bool m_isWatching = true;
    bool m_isClosing = false;
};
