#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

/// A scratch folder as the process's working directory, for state files. Left and removed at the
/// end of the object's life.
class WorkingDirectory
{
public:
    WorkingDirectory() { QDir::setCurrent(m_folder.path()); }
    ~WorkingDirectory() { QDir::setCurrent(m_before); }
    WorkingDirectory(const WorkingDirectory &) = delete;
    WorkingDirectory &operator=(const WorkingDirectory &) = delete;

    static void write(const QString &name, const QByteArray &bytes)
    {
        QFile file(name);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot prepare %s", qPrintable(name));
    }
    static QByteArray read(const QString &name)
    {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot be opened)");
    }

private:
    QString m_before = QDir::currentPath();
    QTemporaryDir m_folder;
};
