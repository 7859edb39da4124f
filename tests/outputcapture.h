#pragma once

#include <QByteArray>
#include <QTemporaryFile>

#include <unistd.h>

/// Catches what this process writes to standard output, or to another descriptor, while the object
/// lives, and passes it on at the end: the test's own failure lines are among it.
class OutputCapture
{
public:
    explicit OutputCapture(int stream = STDOUT_FILENO) : m_stream(stream)
    {
        m_file.open();
        m_saved = ::dup(m_stream);
        ::dup2(m_file.handle(), m_stream);
    }
    ~OutputCapture()
    {
        ::dup2(m_saved, m_stream);
        ::close(m_saved);
        const QByteArray all = text();
        if (::write(m_stream, all.constData(), static_cast<size_t>(all.size())) < 0)
            return; // nobody listens
    }
    OutputCapture(const OutputCapture &) = delete;
    OutputCapture &operator=(const OutputCapture &) = delete;

    QByteArray text()
    {
        m_file.seek(0);
        return m_file.readAll();
    }

private:
    const int m_stream;
    QTemporaryFile m_file;
    int m_saved = -1;
};
