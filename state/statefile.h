#pragma once

#include <QJsonObject>
#include <QString>
#include <QVector>

#include <optional>

class QByteArray;
class QJsonDocument;

/// A JSON state file in the working directory; the one place where such files are opened.
///
/// The text ends at the first NUL byte; it is decoded as UTF-8 (broken bytes become U+FFFD), echoed
/// on standard output after the label, and then parsed. Any thread, one at a time: the owner holds
/// its own lock. Nothing is kept open between calls.
///
/// Failures leave the caller's data alone and write one line: at critical level "Failed to open
/// existing file." where the file cannot be read or cannot be replaced, at debug level what is
/// wrong with the text.
class StateFile
{
public:
    /// \a label begins the echoes; it is not always the name. Whoever reads the file of another
    /// process gives none: nothing is echoed then, and nothing in the folder is touched.
    explicit StateFile(QString name, QString label = QString());

    /// The file's object. A damaged file, or one that holds no object, reads as an empty object
    /// after "JSON parse error: 读取配置文件错误" and the parser's text; nothing where the file
    /// cannot be opened.
    std::optional<QJsonObject> readObject() const;

    /// The objects of the file's array, in order; other elements are skipped. None where the file
    /// cannot be opened, is damaged ("JSON is null. Parsing error: " and the parser's text) or
    /// holds something else ("JSON is not an array").
    QVector<QJsonObject> readRecords() const;

    /// Replaces the file by \a document, compact, and echoes it, once it is on the disk.
    ///
    /// The replacement is atomic: a temporary file, synced and renamed, then the folder synced. A
    /// process that is killed, a power cut or a full disk leaves the old file or the new one. Its
    /// mode stays as it was, and its owner as far as this process may; where the name is a link the
    /// file it leads to is replaced. A file that already holds these bytes is not written, unless
    /// its last replacement failed.
    ///
    /// Only in a folder that allows no new file is an existing one written in place, and synced; a
    /// full disk leaves the old text there, too, a power cut may spoil it.
    ///
    /// A folder that cannot be synced, since it may not be read or the file system syncs none
    /// (EINVAL), counts as synced. After any other failure to sync it the file holds the new bytes,
    /// yet may have the old ones after a power cut: that counts as not replaced.
    ///
    /// The temporary file lies beside the file and has its name and ".anticollisiond-new". One that
    /// a killed process has left is removed when the file is read; until then writing fails.
    void write(const QJsonDocument &document) const;

private:
    bool isOwner() const { return !m_label.isEmpty(); }
    std::optional<QByteArray> readText() const;
    bool replaceBy(const QByteArray &bytes) const;

    QString m_name;
    QString m_label;
};
