#pragma once

#include "tests/blackbox/child.h"
#include "tests/blackbox/textfile.h"

#include <QList>
#include <QStringList>
#include <QTemporaryDir>

/// One message as a subscriber gets it.
struct BusMessage {
    QString topic;
    QByteArray payload;
    int qos = 0;             // as published
    bool isRetained = false; // the publisher asked the broker to keep it
};

/// Publishes one message through the broker on \a port of the loopback, with QoS 1: on return the
/// broker has it and has passed it on, so that messages arrive in the order of the calls. The
/// payload may hold any bytes. False when the broker did not take it.
bool publish(quint16 port, const QString &topic, const QByteArray &payload);

/// Publishes each line as one message with QoS 0, over one connection and in order.
bool publishLines(quint16 port, const QString &topic, const QByteArrayList &lines);

/// A subscriber of its own process, without a line of code in common with the crane.
///
/// It asks the broker to leave the retain flag as published. It does not outlive its broker: after
/// a restart of the broker watch anew.
class Watch
{
public:
    Watch(quint16 port, const QStringList &filters);
    ~Watch();

    /// True once the broker has confirmed the subscription.
    bool isSubscribed() const { return m_isSubscribed; }

    /// Every message so far.
    QList<BusMessage> all();

    /// The next messages that no earlier call returned: waits for \a count of them, and returns
    /// what there is when they do not come.
    QList<BusMessage> next(int count, int ms = 10000);

    /// The messages that have come and that no earlier call returned.
    QList<BusMessage> rest();

private:
    QTemporaryDir m_folder;
    TextFile m_output;
    Child m_process;
    bool m_isSubscribed = false;
    int m_parsed = 0; // bytes of the output that are in m_messages
    QList<BusMessage> m_messages;
    int m_taken = 0; // messages that next() has returned
};
