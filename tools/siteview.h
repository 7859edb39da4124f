#ifndef SITEVIEW_H
#define SITEVIEW_H

#include "alarmtext.h"

#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QTime>
#include <QVector>

/// One crane as a display on the board knows it. Not a number: not reported yet.
struct CraneRow {
    enum class Presence { Unknown, Online, Offline };

    QString duid;
    QString label;   // the field number
    double slewing;  // degrees; a neighbour's is given on the own crane's scale, unwrapped
    double luffing;  // metres from the slewing axis to the trolley
    double hoisting; // metres of rope paid out
    Presence presence = Presence::Unknown;
};

/// One line of the table, printable, and how it stands out.
struct ViewLine {
    enum class Tone { Plain, Heading, Alarm, Faint };

    QString text;
    Tone tone = Tone::Plain;
};

/// What the board is told about the site, collected from the alarm document and the three vicinity
/// reports, and drawn as lines of text.
///
/// A value without a clock, a terminal or a connection: the time comes in with each message. Takes
/// any payload; what is no document of the topic changes nothing. All texts that come out are
/// printable, whatever names came in.
///
/// An alarm names its neighbour by field number alone, so neighbours of one field number share
/// their alarms here. An alarm that was raised before the first message taken is not known.
class SiteView
{
public:
    /// Takes one message of the board's bus, received at \a now. The result has one line for each
    /// alarm raised or cleared and for each neighbour that went online or offline.
    QStringList take(const QString &topic, const QByteArray &payload, const QTime &now);

    /// The table, at most \a columns wide and \a lines high, with \a notes under its title. Where
    /// the neighbours do not all fit, those with alarms come first and the rest is counted.
    QVector<ViewLine> table(int columns, int lines, const QStringList &notes = {}) const;

    /// The state of things in one line: neighbours, active alarms, alarms so far.
    QString status() const;

    /// What was seen altogether: alarms raised, cleared, neighbours.
    QString summary() const;

private:
    struct ActiveAlarm {
        QString detail; // what the clear will name
        AlarmText text;
    };
    struct Event {
        QString text;
        bool isRaised;
    };

    QStringList takeAlarms(const QJsonObject &document, const QTime &now);
    QString takeAlarm(const QJsonObject &entry, const QTime &now);
    void takeAttribute(const QJsonObject &document);
    void takeAttitude(const QJsonObject &document);
    QStringList takeStatus(const QJsonObject &document, const QTime &now);
    CraneRow &neighbour(const QString &duid);

    QVector<ViewLine> neighbourLines(int lines) const;
    ViewLine neighbourLine(const CraneRow &row) const;
    QVector<ViewLine> eventLines(int lines) const;
    QString rowText(const CraneRow &row, const QString &state) const;
    QString alarmsOf(const CraneRow &row) const;

    CraneRow m_own{QString(), QString(), qQNaN(), qQNaN(), qQNaN()};
    QVector<CraneRow> m_neighbours;                // in the order in which they were first reported
    QHash<QString, int> m_rowOfDuid;               // index into m_neighbours
    QHash<QString, QVector<ActiveAlarm>> m_active; // by the neighbour's field number
    QVector<Event> m_events;                       // newest last, bounded
    int m_raised = 0;
    int m_cleared = 0;
};

#endif // SITEVIEW_H
