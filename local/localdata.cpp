#include "local/localdata.h"

#include <QDateTime>
#include <QDebug>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include "model/documents.h"
#include "state/echo.h"
#include "local/localclient.h"
#include "state/cranefiles.h"

FoundationData founData;

namespace
{

StateFile localFile()
{
    return StateFile(LocalFile::name, LocalFile::label);
}

void logMessage(const QMQTT::Message &message)
{
    qDebug() << "主题" << static_cast<int>(message.qos()) << message.topic();
    echo(message.payload());
}

constexpr int mostWaiting = 1 << 20;

/// A reading for the radio: the key and the value in hundredths of its unit, "height3025".
QString radioText(QLatin1String key, float value)
{
    return key + QString::number(static_cast<double>(value * 100.0f), 'f', 0);
}

} // namespace

LocalData::LocalData(QObject *parent) : QThread(parent) {}

LocalData::~LocalData()
{
    if (client)
        client->disconnect();
}

void LocalData::run()
{
    ConfigureStaticRead();
    qDebug() << "MqttTop" << founData.MqttTop << founData.duid;
    mqttMode();
    exec();
}

void LocalData::stop()
{
    if (client)
        client->disconnect();
    requestInterruption();
    quit();
    wait();
}

void LocalData::mqttMode()
{
    BrokerClient::registerTypes();
    host = QStringLiteral("127.0.0.1");
    port = 1883;
    topic = QStringLiteral("Local/#");
    client = new LocalClient(host, static_cast<quint16>(port), topic);
    // Our own publications come back: what onReceived() ignores must not wake the main thread.
    connect(client, &QMQTT::Client::received, client, [this](const QMQTT::Message &message) {
        if (kindOf(message.topic()))
            handToMainThread(message);
    });
    connect(this, &LocalData::linkAsked, client, [this] { Q_EMIT linkAnswered(); });
    Q_EMIT linkAnswered(); // nobody was there for one who has asked already
    client->join(this, clientId);
}

struct LocalData::Kind {
    QLatin1String fragment;                                               // of the topic
    void (LocalData::*take)(const QMQTT::Message &, const QJsonObject &); // null: ignored
};

const LocalData::Kind *LocalData::kindOf(const QString &messageTopic)
{
    // The order decides: "Local/Workset/Data" is a crane state.
    static constexpr Kind kinds[] = {
        {QLatin1String("Data"), &LocalData::takeCraneState},
        {QLatin1String("Workset"), &LocalData::takeWorkset},
        {QLatin1String("IdentityInfo"), &LocalData::takeRegistration},
        {QLatin1String("Alarmlots"), &LocalData::takeAlarmList},
        {QLatin1String("collide"), nullptr},
        {QLatin1String("Local/DUID"), &LocalData::takeDeviceId},
    };
    for (const Kind &kind : kinds) {
        if (messageTopic.contains(kind.fragment))
            return kind.take ? &kind : nullptr;
    }
    return nullptr;
}

// By the slot's name, since around a function object the thread sanitizer sees no lock.
void LocalData::handToMainThread(const QMQTT::Message &message)
{
    if ((m_waitingBytes += weightOf(message)) >= mostWaiting) {
        m_isPaused = true;
        client->pauseReading();
    }
    QMetaObject::invokeMethod(this, "takeWaiting", Q_ARG(QMQTT::Message, message));
}

/// A short crane state takes time as well, and any other kind may wait for the disk.
int LocalData::weightOf(const QMQTT::Message &message)
{
    constexpr int least = 8192;
    const bool isMotion = kindOf(message.topic())->take == &LocalData::takeCraneState;
    return isMotion ? qMax(least, message.payload().size()) : mostWaiting;
}

void LocalData::takeWaiting(QMQTT::Message message)
{
    onReceived(message);
    const int weight = weightOf(message);
    if (m_waitingBytes.fetch_sub(weight) > weight || !m_isPaused.exchange(false))
        return;
    // By a timer: calls that came in the same turn would keep the neighbours' reports out of it.
    QTimer::singleShot(1, this, [this] { QMetaObject::invokeMethod(client, "resumeReading"); });
}

void LocalData::onReceived(QMQTT::Message message)
{
    const Kind *const kind = kindOf(message.topic());
    if (!kind)
        return;
    const QJsonDocument document = QJsonDocument::fromJson(message.payload());
    if (document.isObject())
        (this->*kind->take)(message, document.object());
}

void LocalData::takeCraneState(const QMQTT::Message &, const QJsonObject &document)
{
    backdata(document, &founData.rotation, &founData.travel, &founData.height);
    Q_EMIT Localdatasignals(founData);
    Q_EMIT Radiosignals(radioText(QLatin1String("rotation"), founData.rotation));
    Q_EMIT Radiosignals(radioText(QLatin1String("travel"), founData.travel));
    Q_EMIT Radiosignals(radioText(QLatin1String("height"), founData.height));
}

void LocalData::takeWorkset(const QMQTT::Message &message, const QJsonObject &document)
{
    logMessage(message);
    if (Worksetdata(document, &founData))
        Q_EMIT Radiosignals(QStringLiteral("name") + founData.name);
    ConfigureStaticWrit();
}

void LocalData::takeRegistration(const QMQTT::Message &message, const QJsonObject &document)
{
    logMessage(message);
    parseJsonObject(document, founData);
    ConfigureStaticWrit();
    if (!founData.duid.isEmpty() && !founData.MqttTop.isEmpty())
        Q_EMIT TopSignals(founData.MqttTop, founData.duid);
}

void LocalData::takeAlarmList(const QMQTT::Message &message, const QJsonObject &)
{
    logMessage(message);
}

/// An empty id is ignored like one that is no text: it would mute the cloud link's next start.
void LocalData::takeDeviceId(const QMQTT::Message &, const QJsonObject &document)
{
    const QString value =
        document.value(QLatin1String("duid")).toObject().value(QLatin1String("value")).toString();
    if (value.isEmpty())
        return;
    founData.duid = value;
    ConfigureStaticWrit();
}

void LocalData::onRegDevice(QString type, QString regMessage)
{
    Q_EMIT MainTheadToMqttTHreadSignal(type, regMessage);
}

void LocalData::AlarmSlots(QString alarm, int level, QString, bool triggered)
{
    onRegDevice(QStringLiteral("Local/Alarm"),
                alarmDocument(alarm, level, triggered, QDateTime::currentMSecsSinceEpoch()));
}

void LocalData::VicinityAttributeSlots(QString tring)
{
    onRegDevice(QStringLiteral("Local/Vicinity/Attribute/TEXT"), tring);
}

void LocalData::VicinityAttitudeSlots(QString tring)
{
    onRegDevice(QStringLiteral("Local/Vicinity/Attitude/TEXT"), tring);
}

void LocalData::VicinityStatusSlots(QString tring)
{
    onRegDevice(QStringLiteral("Local/Vicinity/Status/TEXT"), tring);
}

void LocalData::ConfigureStaticRead()
{
    if (const std::optional<QJsonObject> json = localFile().readObject())
        readMembers(*json, LocalFile::numbers, LocalFile::texts, &founData);
}

void LocalData::ConfigureStaticWrit()
{
    localFile().write(QJsonDocument(writeMembers(founData, LocalFile::numbers, LocalFile::texts)));
}
