#include "tests/blackbox/bus.h"

#include <QFile>

namespace
{

const QString loopback = QStringLiteral("127.0.0.1");

bool runPublisher(quint16 port, const QString &topic, const QStringList &options,
                  const QByteArray &input)
{
    Child process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QStringLiteral("mosquitto_pub"),
                  QStringList{QStringLiteral("-h"), loopback, QStringLiteral("-p"),
                              QString::number(port), QStringLiteral("-t"), topic} +
                      options);
    process.write(input);
    process.closeWriteChannel();
    return process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

/// "M retain qos hex topic"; any other line is the subscriber's own talk.
bool parseLine(const QByteArray &line, BusMessage *message)
{
    if (!line.startsWith("M "))
        return false;
    const int payloadAt = 6; // behind "M 0 0 "
    const int topicAt = line.indexOf(' ', payloadAt) + 1;
    message->isRetained = line.at(2) == '1';
    message->qos = line.at(4) - '0';
    message->payload = QByteArray::fromHex(line.mid(payloadAt, topicAt - 1 - payloadAt));
    message->topic = QString::fromUtf8(line.mid(topicAt));
    return true;
}

} // namespace

bool publish(quint16 port, const QString &topic, const QByteArray &payload)
{
    const QStringList qosOne{QStringLiteral("-q"), QStringLiteral("1")};
    const QString from = payload.isEmpty() ? QStringLiteral("-n") : QStringLiteral("-s");
    return runPublisher(port, topic, qosOne + QStringList{from}, payload);
}

bool publishLines(quint16 port, const QString &topic, const QByteArrayList &lines)
{
    return runPublisher(port, topic, {QStringLiteral("-l")}, lines.join('\n') + '\n');
}

Watch::Watch(quint16 port, const QStringList &filters)
    : m_output(m_folder.filePath(QStringLiteral("messages")))
{
    // Line by line: by itself it holds its first lines back until a message comes.
    QStringList arguments{QStringLiteral("-oL"),    QStringLiteral("mosquitto_sub"),
                          QStringLiteral("-d"),     QStringLiteral("-V"),
                          QStringLiteral("mqttv5"), QStringLiteral("--retain-as-published"),
                          QStringLiteral("-q"),     QStringLiteral("2"),
                          QStringLiteral("-h"),     loopback,
                          QStringLiteral("-p"),     QString::number(port),
                          QStringLiteral("-F"),     QStringLiteral("M %r %q %x %t")};
    for (const QString &filter : filters)
        arguments << QStringLiteral("-t") << filter;
    m_process.setStandardOutputFile(m_folder.filePath(QStringLiteral("messages")));
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral("stdbuf"), arguments);
    m_isSubscribed = m_output.waitFor("\nSubscribed (mid", 0, 10000);
}

Watch::~Watch()
{
    m_process.terminate();
    m_process.waitForFinished();
}

QList<BusMessage> Watch::all()
{
    const QByteArray &text = m_output.text();
    for (int end = text.indexOf('\n', m_parsed); end >= 0; end = text.indexOf('\n', m_parsed)) {
        BusMessage message;
        if (parseLine(text.mid(m_parsed, end - m_parsed), &message))
            m_messages << message;
        m_parsed = end + 1;
    }
    return m_messages;
}

QList<BusMessage> Watch::next(int count, int ms)
{
    // On a time-out the caller gets what there is.
    Q_UNUSED(QTest::qWaitFor([&] { return all().size() >= m_taken + count; }, ms))
    const QList<BusMessage> messages = m_messages.mid(m_taken, count);
    m_taken += messages.size();
    return messages;
}

QList<BusMessage> Watch::rest()
{
    return next(all().size() - m_taken, 0);
}
