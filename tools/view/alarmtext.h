#ifndef ALARMTEXT_H
#define ALARMTEXT_H

#include <QString>

/// An alarm text of the collision engine taken apart, as far as its shape is known.
///
/// Two shapes exist: the slewing zone names the neighbour and the distance of the jibs in plan,
/// a segment pair names one part of each crane and their distance in space. The distance is that
/// of the moment at which the alarm was raised.
struct AlarmText {
    enum class Kind { Unknown, Zone, Pair };

    Kind kind = Kind::Unknown;
    QString neighbour; // its field number, as sent: any text
    QString gloss;     // in English: "zone" or own part and neighbour's part, "jib/rope"
    QString metres;    // as sent, two decimals
};

/// Takes \a detail apart. A text of neither shape gives Kind::Unknown with all texts empty.
/// A neighbour's name may hold any of the fixed words: the outermost ones count.
AlarmText parseAlarmText(const QString &detail);

#endif // ALARMTEXT_H
