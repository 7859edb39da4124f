#include "app/logstamp.h"

#include <QDateTime>

#include <type_traits>

static_assert(std::is_trivially_destructible_v<LogStamp>);

void LogStamp::setTo(qint64 msSinceEpoch)
{
    const qint64 second = msSinceEpoch / 1000;
    if (second != m_second) {
        const QDateTime time = QDateTime::fromMSecsSinceEpoch(msSinceEpoch);
        const QByteArray text = time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")).toLatin1();
        qstrncpy(m_text, text.constData(), sizeof m_text);
        qsnprintf(m_path, sizeof m_path, "log/%.10s.txt", m_text);
        m_second = second;
        return;
    }
    const auto ms = static_cast<int>(msSinceEpoch % 1000);
    char *digit = m_text + 20;
    for (const int unit : {100, 10, 1})
        *digit++ = static_cast<char>('0' + ms / unit % 10);
}
