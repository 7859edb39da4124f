#include "state/statefile.h"

#include <QByteArray>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "state/echo.h"

namespace
{

QMutex doubtfulMutex;
QSet<QString> doubtful; // guarded by doubtfulMutex: names of files whose last replacement failed

/// Such a file may read back as new without being so on the disk.
bool isDoubtful(const QString &name)
{
    const QMutexLocker lock(&doubtfulMutex);
    return doubtful.contains(name);
}

void setDoubtful(const QString &name, bool is)
{
    const QMutexLocker lock(&doubtfulMutex);
    if (is)
        doubtful.insert(name);
    else
        doubtful.remove(name);
}

void reportUnusable()
{
    qCritical() << "Failed to open existing file.";
}

/// Where the file itself lies: a link to it stays. A link to nothing is where it leads to.
QByteArray placeOf(const QString &name)
{
    const QFileInfo file(name);
    if (!file.isSymLink())
        return QFile::encodeName(name);
    const QString place = file.canonicalFilePath();
    return QFile::encodeName(place.isEmpty() ? file.symLinkTarget() : place);
}

/// In the same folder, and of a name that nobody else makes.
QByteArray temporaryOf(const QByteArray &place)
{
    return place + ".anticollisiond-new";
}

/// Makes \a bytes the content of \a file, down to the disk.
bool fill(int file, const QByteArray &bytes)
{
    int done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::pwrite(file, bytes.constData() + done,
                                         static_cast<size_t>(bytes.size() - done), done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        done += static_cast<int>(written);
    }
    return ::ftruncate(file, done) == 0 && ::fsync(file) == 0;
}

/// What does not fit, or does not reach the disk, leaves what was there.
bool overwrite(QFile *present, const QByteArray &bytes)
{
    present->seek(0);
    const QByteArray before = present->readAll();
    if (fill(present->handle(), bytes))
        return true;
    fill(present->handle(), before);
    return false;
}

/// The rename, down to the disk. A folder that may not be read cannot be synced, and a file system
/// that answers EINVAL syncs none; there the rename is all there is.
bool syncFolderOf(const QByteArray &place)
{
    const QByteArray path = QFile::encodeName(QFileInfo(QFile::decodeName(place)).path());
    const int folder = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return errno == EACCES;
    const bool isSynced = ::fsync(folder) == 0 || errno == EINVAL;
    ::close(folder);
    return isSynced;
}

/// \a present is open where there is such a file.
bool replace(QFile *present, const QByteArray &place, const QByteArray &bytes)
{
    const QByteArray temporary = temporaryOf(place);
    const int file = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                            present->isOpen() ? 0600 : 0666);
    if (file < 0)
        return errno == EACCES && present->isOpen() && overwrite(present, bytes);
    struct stat old = {};
    if (present->isOpen() && ::fstat(present->handle(), &old) == 0) {
        if (::fchown(file, old.st_uid, old.st_gid) != 0)
            errno = 0; // only root may give a file away
        ::fchmod(file, old.st_mode & 0777);
    }
    const bool isFilled = fill(file, bytes);
    ::close(file);
    if (!isFilled || ::rename(temporary.constData(), place.constData()) != 0) {
        ::unlink(temporary.constData());
        return false;
    }
    return syncFolderOf(place);
}

} // namespace

StateFile::StateFile(QString name, QString label)
    : m_name(std::move(name)), m_label(std::move(label))
{
}

std::optional<QJsonObject> StateFile::readObject() const
{
    const std::optional<QByteArray> text = readText();
    if (!text)
        return std::nullopt;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*text, &error);
    if (!document.isObject())
        qDebug() << "JSON parse error: 读取配置文件错误" << error.errorString();
    return document.object();
}

QVector<QJsonObject> StateFile::readRecords() const
{
    QVector<QJsonObject> records;
    const std::optional<QByteArray> text = readText();
    if (!text)
        return records;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*text, &error);
    if (document.isNull()) {
        qDebug() << "JSON is null. Parsing error: " << error.errorString();
        return records;
    }
    if (!document.isArray()) {
        qDebug() << "JSON is not an array";
        return records;
    }
    const QJsonArray elements = document.array();
    for (const QJsonValue &element : elements) {
        if (element.isObject())
            records.append(element.toObject());
    }
    return records;
}

void StateFile::write(const QJsonDocument &document) const
{
    const QByteArray text = document.toJson(QJsonDocument::Compact);
    if (!replaceBy(text)) {
        reportUnusable();
        return;
    }
    if (isOwner())
        echo(m_label.toUtf8() + "写入" + text);
}

/// The text as UTF-8, free of broken bytes, after its echo.
std::optional<QByteArray> StateFile::readText() const
{
    if (isOwner()) // of a process that was killed
        ::unlink(temporaryOf(placeOf(m_name)).constData());
    QFile file(m_name);
    // Only a plain file: opening a pipe that lies in its place would wait for a writer.
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
        reportUnusable();
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    const QByteArray text = QString::fromUtf8(bytes.constData()).toUtf8(); // to the first NUL
    if (isOwner())
        echo(m_label.toUtf8() + text);
    return text;
}

bool StateFile::replaceBy(const QByteArray &bytes) const
{
    QFile present(m_name);
    if (QFileInfo::exists(m_name)) {
        if (!QFileInfo(present).isFile() ||
            !present.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
            return false;
        if (!isDoubtful(m_name) && present.size() == bytes.size() && present.readAll() == bytes)
            return true;
    }
    const bool isReplaced = replace(&present, placeOf(m_name), bytes);
    setDoubtful(m_name, !isReplaced);
    return isReplaced;
}
