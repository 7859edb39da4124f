#include "app/loghandler.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "app/logstamp.h"

static QMutex mutex; // held while the day file is open

namespace
{

constexpr int keptDays = 7;

bool isInstalled = false; // set before another thread logs

const char *levelWord(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return " [Debug] ";
    case QtWarningMsg:
        return " [Warning] ";
    case QtCriticalMsg:
        return " [Critical] ";
    case QtFatalMsg:
        return " [Fatal] ";
    case QtInfoMsg:
        return " [Info] ";
    }
    return " [Trace] ";
}

/// How many bytes were taken; the others are lost.
ssize_t writeOnce(int file, const QByteArray &line)
{
    return ::write(file, line.constData(), static_cast<size_t>(line.size()));
}

/// One write; what a disk that fills up has taken of the line is cut off again.
void appendWhole(int file, const QByteArray &line)
{
    // Not fstat(): a file whose times have been asked for gets new ones with the next write, which
    // costs more than the writing.
    struct statx before = {};
    if (::statx(file, "", AT_EMPTY_PATH, STATX_TYPE | STATX_SIZE, &before) != 0 ||
        !S_ISREG(before.stx_mode))
        return;
    const ssize_t written = writeOnce(file, line);
    if (written >= 0 && written < line.size() &&
        ::ftruncate(file, static_cast<off_t>(before.stx_size)) != 0)
        return; // the cut line stays
}

void appendToDayFile(const char *path, const QByteArray &line)
{
    const QMutexLocker lock(&mutex);
    // Non-blocking for the opening: of a pipe it would wait for a reader.
    const int file =
        ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    if (file < 0)
        return;
    appendWhole(file, line);
    ::close(file);
}

/// The same bytes as by the framework's own handler, without its stream and the stream's lock.
void passOn(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QString text = qFormatLogMessage(type, context, message);
    if (text.isNull()) // nothing of it is in QT_MESSAGE_PATTERN
        return;
    const QByteArray bytes = text.toLocal8Bit();
    writeOnce(STDERR_FILENO, QByteArray(bytes.constData()) + '\n'); // to the first NUL
}

/// When the file came to be; the last status change where the file system does not keep that.
QDateTime creationTime(const QFileInfo &file)
{
    const QDateTime birth = file.birthTime();
    return birth.isValid() ? birth : file.metadataChangeTime();
}

} // namespace

void customMessageHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    thread_local LogStamp stamp;
    stamp.setTo(QDateTime::currentMSecsSinceEpoch());
    QByteArray line;
    line.reserve(100 + 3 * message.size());
    line += stamp.text();
    line += levelWord(type);
    line += ' ';
    line += QString::fromUtf8(context.file).toLocal8Bit();
    line += '<';
    line += QByteArray::number(context.line);
    line += ">: ";
    line += message.toLocal8Bit();
    line += "\r\n";
    appendToDayFile(stamp.path(), line);
    if (isInstalled)
        passOn(type, context, message);
}

void installLogHandler()
{
    isInstalled = true;
    qInstallMessageHandler(customMessageHandler);
}

void pruneLogs(const QDateTime &now)
{
    const QDateTime cutOff = now.addDays(-keptDays);
    const QFileInfoList files = QDir(QStringLiteral("log"))
                                    .entryInfoList({QStringLiteral("*.txt")},
                                                   QDir::Files | QDir::CaseSensitive, QDir::NoSort);
    for (const QFileInfo &file : files) {
        const QDateTime created = creationTime(file);
        if (!created.isValid() || created >= cutOff)
            continue;
        if (QFile::remove(file.absoluteFilePath()))
            qDebug() << "Removed file: " << file.fileName();
        else
            qDebug() << "Failed to remove file: " << file.fileName();
    }
}
