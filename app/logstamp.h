#pragma once

#include <QtGlobal>

/// A moment in local time, as the lines of the log bear it.
///
/// text() and path() are those of the moment that was set last. What is the same for a second is
/// made once a second: telling the local time costs more than the rest of a line. Owns no memory,
/// since a thread's last message may come after the thread's objects have gone.
class LogStamp
{
public:
    /// Not before the epoch. Until the first call both texts are empty.
    void setTo(qint64 msSinceEpoch);
    /// "yyyy-MM-dd hh:mm:ss.zzz"
    const char *text() const { return m_text; }
    /// The day file, "log/yyyy-MM-dd.txt".
    const char *path() const { return m_path; }

private:
    qint64 m_second = -1;
    char m_text[24] = {};
    char m_path[20] = {};
};
