#pragma once

#include <QByteArray>
#include <QTemporaryFile>

#include <unistd.h>

/// Catches what this process writes to standard output while the object lives, and passes it on
/// at the end: the test's own failure lines are among it.
class OutputCapture
{
public:
    OutputCapture()
    {
        m_file.open();
        m_saved = ::dup(STDOUT_FILENO);
        ::dup2(m_file.handle(), STDOUT_FILENO);
    }
    ~OutputCapture()
    {
        ::dup2(m_saved, STDOUT_FILENO);
        ::close(m_saved);
        const QByteArray all = text();
        if (::write(STDOUT_FILENO, all.constData(), static_cast<size_t>(all.size())) < 0)
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
    QTemporaryFile m_file;
    int m_saved = -1;
};
