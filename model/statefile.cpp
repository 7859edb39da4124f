#include "statefile.h"

#include <QByteArray>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <utility>

#include "echo.h"

namespace
{

void reportUnusable()
{
    qCritical() << "Failed to open existing file.";
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
    write(document.toJson(QJsonDocument::Compact));
}

void StateFile::write(const QByteArray &text) const
{
    if (!replaceBy(text)) {
        reportUnusable();
        return;
    }
    echo(m_label.toUtf8() + "写入" + text);
}

/// The text as UTF-8, free of broken bytes, after its echo.
std::optional<QByteArray> StateFile::readText() const
{
    QFile file(m_name);
    // Only a plain file: opening a pipe that lies in its place would wait for a writer.
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
        reportUnusable();
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    const QByteArray text = QString::fromUtf8(bytes.constData()).toUtf8(); // to the first NUL
    echo(m_label.toUtf8() + text);
    return text;
}

bool StateFile::replaceBy(const QByteArray &bytes) const
{
    if (QFileInfo::exists(m_name)) {
        QFile present(m_name);
        if (!QFileInfo(present).isFile() ||
            !present.open(QIODevice::ReadWrite | QIODevice::ExistingOnly))
            return false;
        if (present.size() == bytes.size() && present.readAll() == bytes)
            return true;
    }
    QSaveFile replacement(m_name);
    replacement.setDirectWriteFallback(true);
    // A full disk shows in flush(); commit() alone would put an empty file in the place of a short
    // one and call that a success.
    return replacement.open(QIODevice::WriteOnly) && replacement.write(bytes) == bytes.size() &&
           replacement.flush() && replacement.commit();
}
