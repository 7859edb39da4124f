#pragma once

#include <QByteArray>
#include <QFile>
#include <QTest>

/// What another process has written to a file so far; grows with every look at it.
class TextFile
{
public:
    explicit TextFile(const QString &path) : m_file(path) {}

    const QByteArray &text()
    {
        if (m_file.isOpen() || m_file.open(QIODevice::ReadOnly))
            m_text += m_file.readAll();
        return m_text;
    }

    /// Waits until \a wanted stands in the text at \a from or later.
    bool waitFor(const QByteArray &wanted, int from, int ms)
    {
        return QTest::qWaitFor([&] { return text().indexOf(wanted, from) >= 0; }, ms);
    }

private:
    QFile m_file;
    QByteArray m_text;
};
