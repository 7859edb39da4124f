#ifndef SITEVIEW_H
#define SITEVIEW_H

#include "tools/view/alarmtext.h"

#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

/// One crane as a display on the board knows it. Not a number: not reported yet.
struct CraneRow {
    enum class Presence { Unknown, Online, Offline };

    QString duid;
    QString label;            // the field number
    double slewing = qQNaN(); // degrees; a neighbour's is given on the own crane's scale, unwrapped
    double luffing = qQNaN(); // metres from the slewing axis to the trolley
    double hoisting = qQNaN(); // metres of rope paid out
    Presence presence = Presence::Unknown;
    double armLength = qQNaN(); // metres of jib
    QDateTime changed;          // when its motion was last reported other than before
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
/// A value without a clock, a terminal or a connection: the time comes in with each call. Takes
/// any payload; what is no document of the topic changes nothing. All texts that come out are
/// printable, whatever names came in.
///
/// An alarm names its neighbour by field number alone, so neighbours of one field number share
/// their alarms here. An alarm that was raised before the first message taken is not known.
///
/// Reports come when something has changed, so an old one may stand for a site at rest or for a
/// controller that has gone. After 10 s without any the view says so, and puts a question mark
/// where it said who is online. The age of a neighbour's row is that of the last change of its
/// motion. What the broker kept from before has no age.
///
/// A pair of cranes is in calibration while the vicinity report says 999 m and more of the own jib
/// or of the neighbour's. That is named as such, and an alarm raised meanwhile is neither listed
/// nor counted, and neither is its end. One that outlasts the calibration by 2 s, in which the
/// controller clears what the real lengths end, is listed and counted as raised then.
class SiteView
{
public:
    /// Takes one message of the board's bus, received at \a now, or at some time before when the
    /// broker kept it. The result has one line for each
    /// alarm raised or cleared, for each neighbour that went online or offline, and for the begin
    /// and the end of calibration; those that pass() would have had come first.
    QStringList take(const QString &topic, const QByteArray &payload, const QDateTime &now,
                     bool isKept = false);

    /// Lets the time go on to \a now; a line for each alarm that has outlasted the calibration.
    QStringList pass(const QDateTime &now);

    /// The table, at most \a columns wide and \a lines high, with \a notes under its title. Where
    /// the neighbours do not all fit, those with alarms come first and the rest is counted.
    QVector<ViewLine> table(const QDateTime &now, int columns, int lines,
                            const QStringList &notes = {}) const;

    /// The state of things in one line: what is to be known of it, neighbours, active alarms,
    /// alarms so far.
    QString status(const QDateTime &now) const;

    /// What was seen altogether: alarms raised, cleared, neighbours.
    QString summary() const;

private:
    struct ActiveAlarm {
        QString detail; // what the clear will name
        AlarmText text;
        int level;
        QDateTime heldUntil; // not shown before, being one of the calibration; null: shown
    };
    struct Event {
        QString text;
        bool isRaised;
    };

    QStringList takeDocument(const QString &topic, const QJsonObject &document,
                             const QDateTime &now);
    QStringList takeAlarms(const QJsonObject &document, const QDateTime &now);
    QStringList takeAlarm(const QJsonObject &entry, const QDateTime &now);
    QString count(const ActiveAlarm &alarm, bool isRaised, const QDateTime &now);
    void takeAttribute(const QJsonObject &document);
    void takeAttitude(const QJsonObject &document, const QDateTime &now);
    QStringList takeStatus(const QJsonObject &document, const QDateTime &now);
    CraneRow &neighbour(const QString &duid);
    bool isCalibrating() const;
    bool isCalibrating(const QString &label) const;

    bool isOld(const QDateTime &now) const;
    QString ageText(const QDateTime &now) const;
    QVector<ViewLine> neighbourLines(const QDateTime &now, int lines) const;
    ViewLine neighbourLine(const CraneRow &row, const QDateTime &now) const;
    QVector<ViewLine> eventLines(int lines) const;
    QString rowText(const CraneRow &row, const QString &state, const QDateTime &now) const;
    QString alarmsOf(const CraneRow &row) const;
    QString figures(const QDateTime &now) const;

    CraneRow m_own;
    QVector<CraneRow> m_neighbours;                // in the order in which they were first reported
    QHash<QString, int> m_rowOfDuid;               // index into m_neighbours
    QHash<QString, QVector<ActiveAlarm>> m_active; // by the neighbour's field number
    QDateTime m_heard;                             // the controller last spoke; null: not yet
    QVector<Event> m_events;                       // newest last, bounded
    int m_raised = 0;
    int m_cleared = 0;
};

#endif // SITEVIEW_H
