#pragma once

#include <QJsonObject>
#include <QLatin1String>
#include <QString>

/// The JSON members of a record, as tables that drive both directions: what is saved is loaded.
///
/// The conversion is the same everywhere: a number through the JSON double, narrowed to float, a
/// text through the JSON string; a member that is absent or of another type gives 0 or the empty
/// text. The float is widened to double for output, so 0.1 is written as 0.10000000149011612.

template <typename Record>
struct NumberMember {
    QLatin1String key;
    float Record::*field;
};

template <typename Record>
struct TextMember {
    QLatin1String key;
    QString Record::*field;
};

/// A JSON number as float; 0 for anything that is not a number.
inline float numberOf(const QJsonValue &value)
{
    return static_cast<float>(value.toDouble());
}

/// Stores every member of the tables into \a record, also those that \a json lacks.
template <typename Record, typename Numbers, typename Texts>
void readMembers(const QJsonObject &json, const Numbers &numbers, const Texts &texts,
                 Record *record)
{
    for (const NumberMember<Record> &member : numbers)
        record->*member.field = numberOf(json.value(member.key));
    for (const TextMember<Record> &member : texts)
        record->*member.field = json.value(member.key).toString();
}

/// Every member of the tables, as an object. A number that is not finite becomes null.
template <typename Record, typename Numbers, typename Texts>
QJsonObject writeMembers(const Record &record, const Numbers &numbers, const Texts &texts)
{
    QJsonObject json;
    for (const NumberMember<Record> &member : numbers)
        json.insert(member.key, static_cast<double>(record.*member.field));
    for (const TextMember<Record> &member : texts)
        json.insert(member.key, record.*member.field);
    return json;
}
