#include "cloud/mymqtt.h"

#include <QDateTime>
#include <QDebug>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

#include "model/documents.h"
#include "state/echo.h"
#include "cloud/mqttclient.h"
#include "state/cranefiles.h"
#include "state/recordfile.h"

QString LOCAL_QRCODE_TX;
QString mytop;
QList<FoundationData> foundata;

namespace
{

constexpr int mostNeighbours = 9999;

StateFile cloudFile()
{
    return StateFile(CloudFile::name, CloudFile::label);
}

/// The last level but one, which is the crane's device id; null where the topic has fewer levels.
QString craneIdOf(const QString &topic)
{
    const int end = topic.lastIndexOf(QLatin1Char('/'));
    if (end < 0)
        return QString();
    const int begin = end == 0 ? 0 : topic.lastIndexOf(QLatin1Char('/'), end - 1) + 1;
    return topic.mid(begin, end - begin);
}

} // namespace

MqttThread::MqttThread(QObject *parent) : QThread(parent) {}

MqttThread::~MqttThread()
{
    if (client)
        client->disconnect();
}

void MqttThread::run()
{
    exec();
}

void MqttThread::stop()
{
    if (client)
        client->disconnect();
    requestInterruption();
    quit();
    wait();
}

void MqttThread::TopSlots(QString top, QString name)
{
    static qint32 st = 0; // one-shot
    if (st != 0)
        return;
    st = 1;
    LOCAL_QRCODE_TX = top + QLatin1Char('#');
    mytop = name;
    mqttMode();
    qDebug() << "mymqtt开始订阅外部数据" << LOCAL_QRCODE_TX;
    qDebug() << "mymqtt开始订阅外部数据" << LOCAL_QRCODE_TX;
}

void MqttThread::mqttMode()
{
    BrokerClient::registerTypes();
    host = QStringLiteral(CRANE_CLOUD_ADDRESS);
    port = 22222;
    topic = LOCAL_QRCODE_TX;
    client = new MqttClient(host, static_cast<quint16>(port), topic);
    ConfigureStaticRead();
    connect(client, SIGNAL(received(QMQTT::Message)), this, SLOT(onReceived(QMQTT::Message)));
    client->join(this, clientId);
}

void MqttThread::onReceived(QMQTT::Message message)
{
    const QByteArray payload = message.payload();
    const QString messageTopic = message.topic();
    if (client && messageTopic.contains(mytop) && client->takeSent(payload))
        return; // our own upload, which parses
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(payload, &error);
    if (!document.isObject()) {
        qDebug() << "JSON parse error:" << error.errorString();
        return;
    }
    if (messageTopic.contains(mytop))
        return;
    const bool isLiveData = messageTopic.contains(QLatin1String("Data"));
    if (!isLiveData && !messageTopic.contains(QLatin1String("Workset")))
        return;
    const QString craneId = craneIdOf(messageTopic);
    if (craneId.isNull())
        return;
    if (isLiveData) {
        takeLiveData(craneId, document.object());
        return;
    }
    takeWorkset(craneId, document.object());
    ConfigureStaticWrit();
    qDebug() << "主题" << static_cast<int>(message.qos()) << messageTopic;
    echo(QString::fromUtf8(payload.constData()).toUtf8()); // to the first NUL
}

void MqttThread::takeLiveData(const QString &craneId, const QJsonObject &document)
{
    for (FoundationData &record : foundata) {
        if (!craneId.contains(record.duid))
            continue;
        backdata(document, &record.rotation, &record.travel, &record.height);
        Q_EMIT CollideSignal(record);
    }
}

/// Updates the first record that matches, or appends one while there is room.
void MqttThread::takeWorkset(const QString &craneId, const QJsonObject &document)
{
    const auto known =
        std::find_if(foundata.begin(), foundata.end(), [&craneId](const FoundationData &record) {
            return craneId.contains(record.duid);
        });
    if (known != foundata.end()) {
        Worksetdata(document, &*known);
    } else if (foundata.size() < mostNeighbours) {
        FoundationData record;
        Worksetdata(document, &record);
        record.duid = craneId;
        foundata.append(record);
    }
}

void MqttThread::onRegDevice(QString type, QString regMessage)
{
    Q_EMIT MainTheadToMqttTHreadSignal(type, regMessage);
}

void MqttThread::AlarmSlots(QString alarm, int level, QString top, bool triggered)
{
    const QString document =
        alarmDocument(alarm, level, triggered, QDateTime::currentMSecsSinceEpoch());
    const QString alarmTopic = top + QStringLiteral("/Alarm");
    qDebug() << alarmTopic;
    onRegDevice(alarmTopic, document);
}

void MqttThread::VicinityAttributeSlots(QString top, QString string)
{
    onRegDevice(top + QStringLiteral("/Vicinity/Attribute"), string);
}

void MqttThread::VicinityAttitudeSlots(QString top, QString string)
{
    onRegDevice(top + QStringLiteral("/Vicinity/Attitude"), string);
}

void MqttThread::VicinityStatusSlots(QString top, QString string)
{
    onRegDevice(top + QStringLiteral("/Vicinity/Status"), string);
}

void MqttThread::ConfigureStaticRead()
{
    appendRecords(cloudFile(), CloudFile::numbers, CloudFile::texts, &foundata);
}

void MqttThread::ConfigureStaticWrit()
{
    writeRecords(cloudFile(), CloudFile::numbers, CloudFile::texts, foundata);
}
