#pragma once

#include <QString>
#include <QThread>

#include <qmqtt.h>

#include <atomic>

#include "model/foundationdata.h"

class LocalClient;
class QJsonObject;

/// The own crane as the board knows it. Filled by run() from the file before the client exists,
/// from then on by LocalData's slots in the main thread only.
extern FoundationData founData;

/// The link to the broker on the board: receives the own crane's data, publishes alarms and
/// vicinity reports, keeps localdata.txt.
///
/// The object belongs to the main thread, and its slots run there. run() is the link's thread:
/// the client is made in it and lives until the process ends, without a parent. Both ways between
/// the two are queued; a message whose topic means nothing to onReceived() is dropped before. What
/// waits for the main thread is bounded to about a MiB, 128 crane states at most, and one message
/// of any other kind: beyond it nothing is read from the broker until all of it has been taken, so
/// that a program in a loop on the board delays a neighbour by no more than that.
class LocalData : public QThread
{
    Q_OBJECT
public:
    explicit LocalData(QObject *parent = nullptr);
    ~LocalData() override;

    /// Cuts the client off, asks the thread to end and waits for it, without limit.
    void stop();

    /// Fills founData from localdata.txt. A missing file leaves it as it is; a damaged one sets
    /// every member of the file to 0 or empty, the safety distance included.
    void ConfigureStaticRead();
    /// Writes the fixed data of founData to localdata.txt.
    void ConfigureStaticWrit();

public Q_SLOTS:
    void mqttMode();
    /// A message from the board; the first fragment that the topic contains says what it is.
    void onReceived(QMQTT::Message message);
    /// Publishes \a regMessage on the topic \a type.
    void onRegDevice(QString type, QString regMessage);
    /// Publishes an alarm document; \a top, the alarm's cloud topic, is not used on the board.
    void AlarmSlots(QString alarm, int level, QString top, bool triggered);
    void VicinityAttributeSlots(QString tring);
    void VicinityAttitudeSlots(QString tring);
    void VicinityStatusSlots(QString tring);

Q_SIGNALS:
    /// A publication, topic and payload, on its way to the client's thread.
    void MainTheadToMqttTHreadSignal(QString type, QString msg);
    /// The own crane after a crane-state message. Delivered directly: the type is not queued.
    void Localdatasignals(FoundationData data);
    /// One own reading for the radio frame: key and number, "rotation300".
    void Radiosignals(QString string);
    /// The cloud subscription filter and the own device id, after a registration.
    void TopSignals(QString top, QString name);
    /// Asks the link's thread for a sign of life; it answers by linkAnswered(), emitted there. Also
    /// emitted once when the client is made, for a question that came before.
    void linkAsked();
    void linkAnswered();

protected:
    void run() override;

private Q_SLOTS:
    void takeWaiting(QMQTT::Message message);

private:
    struct Kind;
    /// What a message of this topic is; null where onReceived() ignores it. Any thread.
    static const Kind *kindOf(const QString &messageTopic);
    void handToMainThread(const QMQTT::Message &message); // link's thread
    /// In the bound of what waits for the main thread, in bytes. Only for a topic of a kind.
    static int weightOf(const QMQTT::Message &message);
    // One for each kind of message, with its parsed payload.
    void takeCraneState(const QMQTT::Message &message, const QJsonObject &document);
    void takeWorkset(const QMQTT::Message &message, const QJsonObject &document);
    void takeRegistration(const QMQTT::Message &message, const QJsonObject &document);
    void takeAlarmList(const QMQTT::Message &message, const QJsonObject &document);
    void takeDeviceId(const QMQTT::Message &message, const QJsonObject &document);

    // Set by mqttMode() in the link's thread.
    QString host;
    qint32 port = 0;
    QString topic;
    QString clientId; // stays empty: the broker assigns one
    LocalClient *client = nullptr;

    // Both threads.
    std::atomic<int> m_waitingBytes{0};  // on the way to the main thread
    std::atomic<bool> m_isPaused{false}; // until all of these have been taken
};
