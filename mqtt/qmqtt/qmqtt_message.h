#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMetaType>
#include <QtCore/QSharedData>
#include <QtCore/QString>

namespace QMQTT
{

/// One MQTT publication, to be sent or as received.
///
/// A value, implicitly shared: a copy costs a reference count and may go to any thread. After
/// qRegisterMetaType it crosses threads in queued connections.
class Message
{
public:
    /// No topic, no payload, QoS 0.
    Message() : m_data(new Data) {}
    /// \a id is the packet identifier of a received message; to send, the client has its own.
    explicit Message(quint16 id, const QString &topic, const QByteArray &payload, quint8 qos = 0,
                     bool retain = false, bool dup = false)
        : m_data(new Data(id, topic, payload, qos, retain, dup))
    {
    }
    void swap(Message &other) noexcept { m_data.swap(other.m_data); }

    bool operator==(const Message &other) const
    {
        return id() == other.id() && qos() == other.qos() && retain() == other.retain() &&
               dup() == other.dup() && topic() == other.topic() && payload() == other.payload();
    }
    bool operator!=(const Message &other) const { return !(*this == other); }

    quint16 id() const { return m_data->id; }
    quint8 qos() const { return m_data->qos; }
    bool retain() const { return m_data->retain; }
    bool dup() const { return m_data->dup; }
    QString topic() const { return m_data->topic; }
    QByteArray payload() const { return m_data->payload; }

    void setId(quint16 id) { m_data->id = id; }
    void setQos(quint8 qos) { m_data->qos = qos; }
    void setRetain(bool retain) { m_data->retain = retain; }
    void setDup(bool dup) { m_data->dup = dup; }
    void setTopic(const QString &topic) { m_data->topic = topic; }
    void setPayload(const QByteArray &payload) { m_data->payload = payload; }

private:
    struct Data : QSharedData {
        Data() = default;
        Data(quint16 id_, const QString &topic_, const QByteArray &payload_, quint8 qos_,
             bool retain_, bool dup_)
            : id(id_), qos(qos_), retain(retain_), dup(dup_), topic(topic_), payload(payload_)
        {
        }

        quint16 id = 0;
        quint8 qos = 0;
        bool retain = false;
        bool dup = false;
        QString topic;
        QByteArray payload;
    };
    QSharedDataPointer<Data> m_data;
};

} // namespace QMQTT

Q_DECLARE_METATYPE(QMQTT::Message)
Q_DECLARE_TYPEINFO(QMQTT::Message, Q_MOVABLE_TYPE);
