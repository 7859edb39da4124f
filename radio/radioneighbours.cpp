#include "radio/radioneighbours.h"

#include <algorithm>

namespace
{

constexpr int mostNeighbours = 9999;

/// The entry that an attribute frame of this crane belongs to; none for a further crane of a full
/// list.
FoundationData *entryOf(quint16 craneNumber, QList<FoundationData> *neighbours)
{
    const auto first = [neighbours](auto condition) {
        const auto found = std::find_if(neighbours->begin(), neighbours->end(), condition);
        return found == neighbours->end() ? nullptr : &*found;
    };
    const QString key = radioKeyOf(craneNumber);
    if (FoundationData *known =
            first([&key](const FoundationData &entry) { return entry.radioKey == key; }))
        return known;
    const QString name = radioNameOf(craneNumber);
    if (FoundationData *loaded = first([&name](const FoundationData &entry) {
            return entry.radioKey.isEmpty() && entry.name == name;
        })) {
        loaded->radioKey = key;
        return loaded;
    }
    if (neighbours->size() >= mostNeighbours)
        return nullptr;
    FoundationData entry;
    entry.radioKey = key;
    entry.name = name;
    neighbours->append(entry);
    return &neighbours->last();
}

} // namespace

QString radioKeyOf(quint16 craneNumber)
{
    return QString(QChar(craneNumber));
}

QString radioNameOf(quint16 craneNumber)
{
    return QString::number(craneNumber) + QStringLiteral("号"); // No.
}

QVector<FoundationData> takeMotion(const RadioFrame &frame, QList<FoundationData> *neighbours)
{
    QVector<FoundationData> moved;
    const QString key = radioKeyOf(frame.craneNumber);
    for (FoundationData &entry : *neighbours) {
        if (entry.radioKey != key)
            continue;
        entry.height = frame.first;
        entry.travel = frame.second;
        entry.rotation = frame.third;
        moved.append(entry);
    }
    return moved;
}

bool takeAttributes(const RadioFrame &frame, QList<FoundationData> *neighbours)
{
    FoundationData *entry = entryOf(frame.craneNumber, neighbours);
    if (!entry)
        return false;
    entry->armlen = frame.first;
    entry->reararm = frame.second;
    entry->craneheight = frame.third;
    return true;
}
