#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QList>

#include "model/jsonmembers.h"
#include "state/statefile.h"

/// State files that hold a list of records, by the tables of their members.

/// Appends the records of \a file to \a list, all other members at their defaults.
template <typename Record, typename Numbers, typename Texts>
void appendRecords(const StateFile &file, const Numbers &numbers, const Texts &texts,
                   QList<Record> *list)
{
    for (const QJsonObject &json : file.readRecords()) {
        Record record;
        readMembers(json, numbers, texts, &record);
        list->append(record);
    }
}

/// Replaces \a file by the whole of \a list.
template <typename Record, typename Numbers, typename Texts>
void writeRecords(const StateFile &file, const Numbers &numbers, const Texts &texts,
                  const QList<Record> &list)
{
    QJsonArray records;
    for (const Record &record : list)
        records.append(writeMembers(record, numbers, texts));
    file.write(QJsonDocument(records));
}
