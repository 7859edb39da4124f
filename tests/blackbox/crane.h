#pragma once

#include "tests/blackbox/child.h"
#include "tests/blackbox/textfile.h"

#include <QTemporaryDir>

#include <memory>

/// One crane's controller as the board runs it: the executable, in a working folder of its own.
///
/// It can be started, ended and started again in the same folder. What it writes to its standard
/// output and error goes to files outside that folder.
class Crane
{
public:
    enum class Streams {
        Captured,
        Closed,          // descriptors 1 and 2 do not exist
        ReaderGone,      // both a pipe whose reader is gone: every write fails
        Stalled,         // both a pipe whose reader does not read
        StalledOfAnother // the same, and the crane may not open that pipe
    };

    Crane();
    ~Crane();

    /// Starts it. \a wrapper is a command to run it through, one that becomes it by exec.
    void start(Streams streams = Streams::Captured, const QStringList &wrapper = {});
    /// Starts it and waits until it listens on the board's broker.
    bool startAndSubscribe(const QStringList &wrapper = {});
    /// Asks it to end (SIGTERM); false when it was not running or takes longer than \a ms.
    bool terminate(int ms = 1000);
    bool isRunning() const;

    QString folder() const { return m_folder.path(); }
    /// A file of its working folder, empty when there is none.
    QByteArray file(const QString &name) const;
    void writeFile(const QString &name, const QByteArray &bytes) const;

    /// Standard output and error of the present run.
    const QByteArray &out() { return m_out->text(); }
    const QByteArray &log() { return m_log->text(); }
    bool waitForOut(const QByteArray &text, int from = 0, int ms = 10000);
    bool waitForLog(const QByteArray &text, int from = 0, int ms = 10000);

    /// What a sanitizer wrote in any run up to now; empty in a healthy one.
    QByteArray sanitizerReport();

    qint64 residentKib() const;
    int threads() const;
    /// Processor time since the start, all threads.
    double cpuSeconds() const;

private:
    QByteArray procFile(const char *name) const;
    qint64 statusNumber(const char *key) const;

    QTemporaryDir m_folder;
    QTemporaryDir m_logFolder;
    int m_run = 0;
    std::unique_ptr<Child> m_reader; // of a pipe
    std::unique_ptr<Child> m_process;
    std::unique_ptr<TextFile> m_out;
    std::unique_ptr<TextFile> m_log;
    QByteArray m_sanitizerReport;
};
