#pragma once

#include <QList>
#include <QString>
#include <QThread>

#include <qmqtt.h>

#include "model/foundationdata.h"

class MqttClient;
class QJsonObject;

// The cloud link's state, one each for the process. Main thread only.
extern QString LOCAL_QRCODE_TX;        ///< subscription filter; empty until the registration
extern QString mytop;                  ///< own device id; a topic that contains it is our own
extern QList<FoundationData> foundata; ///< the neighbours, in the order in which they were learnt

/// The link to the site's cloud broker: learns the neighbours' geometry and motion, hands each
/// report to the collision engine, uploads the vicinity reports, keeps mymqtt.txt.
///
/// Everything happens in the main thread, the client included; the thread itself stays empty. The
/// client is made by the first TopSlots() call and lives until the process ends, without a parent.
/// Until then reports to be uploaded are lost.
class MqttThread : public QThread
{
    Q_OBJECT
public:
    explicit MqttThread(QObject *parent = nullptr);
    ~MqttThread() override;

    /// Cuts the client off, asks the thread to end and waits for it, without limit.
    void stop();

    /// Appends the neighbours of mymqtt.txt to foundata.
    void ConfigureStaticRead();
    /// Writes foundata to mymqtt.txt.
    void ConfigureStaticWrit();

public Q_SLOTS:
    /// Takes the project's filter and the own device id, and connects. Later calls are ignored:
    /// another registration reaches the cloud link at the next start of the process.
    void TopSlots(QString top, QString name);
    void mqttMode();
    /// A message from the site. The last topic level but one is the crane's device id.
    void onReceived(QMQTT::Message message);
    /// Publishes \a regMessage on the topic \a type.
    void onRegDevice(QString type, QString regMessage);
    /// Publishes an alarm document under \a top. Nothing is connected to it: alarms stay local.
    void AlarmSlots(QString alarm, int level, QString top, bool triggered);
    void VicinityAttributeSlots(QString top, QString string);
    void VicinityAttitudeSlots(QString top, QString string);
    void VicinityStatusSlots(QString top, QString string);

Q_SIGNALS:
    /// A publication, topic and payload, on its way to the client.
    void MainTheadToMqttTHreadSignal(QString type, QString msg);
    /// A neighbour after a report of its motion. Delivered directly: the type is not queued.
    void CollideSignal(FoundationData foundata);

protected:
    void run() override;

private:
    void takeLiveData(const QString &craneId, const QJsonObject &document);
    void takeWorkset(const QString &craneId, const QJsonObject &document);

    QString host;
    qint32 port = 0;
    QString topic;
    QString clientId; // stays empty: the broker assigns one
    MqttClient *client = nullptr;
};
