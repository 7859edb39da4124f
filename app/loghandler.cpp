#include "loghandler.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QTextStream>

static QMutex mutex; // the day file

namespace
{

constexpr int keptDays = 7;

QtMessageHandler frameworkHandler = nullptr;

QString levelWord(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral(" [Debug] ");
    case QtWarningMsg:
        return QStringLiteral(" [Warning] ");
    case QtCriticalMsg:
        return QStringLiteral(" [Critical] ");
    case QtFatalMsg:
        return QStringLiteral(" [Fatal] ");
    case QtInfoMsg:
        return QStringLiteral(" [Info] ");
    }
    return QStringLiteral(" [Trace] ");
}

void appendToDayFile(const QDateTime &stamp, const QString &line)
{
    const QMutexLocker lock(&mutex);
    QFile file(QStringLiteral("log/") + stamp.toString(QStringLiteral("yyyy-MM-dd")) +
               QStringLiteral(".txt"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return;
    QTextStream stream(&file);
    stream << line << "\r\n";
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
    const QDateTime stamp = QDateTime::currentDateTime();
    const QString line = stamp.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")) +
                         levelWord(type) +
                         QStringLiteral(" %1").arg(QString::fromUtf8(context.file)) +
                         QStringLiteral("<%1>: ").arg(context.line) + message;
    appendToDayFile(stamp, line);
    if (frameworkHandler)
        frameworkHandler(type, context, message);
}

void installLogHandler()
{
    frameworkHandler = qInstallMessageHandler(customMessageHandler);
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
