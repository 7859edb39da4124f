#include "tools/view/siteview.h"

#include "tools/view/terminaltext.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace
{

constexpr int keptEvents = 100;
constexpr int shownEvents = 10;
constexpr int labelColumns = 10;
constexpr int numberColumns = 9;
constexpr int stateColumns = 8;
constexpr int ageColumns = 7;
constexpr qint64 oldAfterMs = 10000;         // since the controller spoke last
constexpr double calibrationArmLength = 999; // metres, and more
constexpr qint64 settlingMs = 2000; // from the end of calibration to the last of its clears

const QString calibrationText =
    QStringLiteral("calibration: jibs count as 999 m, their alarms are not counted");

using Tone = ViewLine::Tone;

QString timeText(const QDateTime &time)
{
    return time.toString(QStringLiteral("HH:mm:ss"));
}

QString numberText(double value)
{
    return std::isnan(value) ? QStringLiteral("-") : QString::number(value, 'f', 2);
}

QString presenceText(CraneRow::Presence presence)
{
    switch (presence) {
    case CraneRow::Presence::Online:
        return QStringLiteral("online");
    case CraneRow::Presence::Offline:
        return QStringLiteral("OFFLINE");
    default:
        return QStringLiteral("?");
    }
}

// How a crane is called in the table: its field number, else its device id.
QString nameOf(const CraneRow &row)
{
    return row.label.isEmpty() ? row.duid : row.label;
}

bool isOfController(const QString &topic)
{
    return topic == QLatin1String("Local/Alarm") ||
           topic.startsWith(QLatin1String("Local/Vicinity/"));
}

// In the largest unit of which there are two, but for hours: "115 s", "2 min", "30 h".
QString durationText(qint64 milliseconds)
{
    const qint64 seconds = std::max<qint64>(0, milliseconds / 1000); // a clock may be set back
    if (seconds < 120)
        return QStringLiteral("%1 s").arg(seconds);
    if (seconds < 7200)
        return QStringLiteral("%1 min").arg(seconds / 60);
    return QStringLiteral("%1 h").arg(seconds / 3600);
}

// Stores a number, or "not a number" without one, and says whether it is another one than before.
bool store(const QJsonObject &entry, QLatin1String key, double *number)
{
    const double value = entry.value(key).toDouble(qQNaN());
    const bool isSame = value == *number || (std::isnan(value) && std::isnan(*number));
    *number = value;
    return !isSame;
}

void takeMotion(const QJsonObject &entry, const QDateTime &now, CraneRow *row)
{
    const bool hasSlewed = store(entry, QLatin1String("slewing"), &row->slewing);
    const bool hasLuffed = store(entry, QLatin1String("luffing"), &row->luffing);
    const bool hasHoisted = store(entry, QLatin1String("hoisting"), &row->hoisting);
    if (hasSlewed || hasLuffed || hasHoisted)
        row->changed = now;
}

void takeIdentity(const QJsonObject &entry, CraneRow *row)
{
    row->duid = entry.value(QLatin1String("duid")).toString(row->duid);
    row->label = entry.value(QLatin1String("label")).toString(row->label);
}

void takeDataSheet(const QJsonObject &entry, CraneRow *row)
{
    takeIdentity(entry, row);
    row->armLength = entry.value(QLatin1String("armlenth")).toDouble(qQNaN());
}

// The entries under "neighbours" that say which crane they are about.
QVector<QJsonObject> neighbourEntries(const QJsonObject &document)
{
    QVector<QJsonObject> entries;
    const QJsonArray neighbours = document.value(QLatin1String("neighbours")).toArray();
    for (const QJsonValue &value : neighbours) {
        if (value.toObject().value(QLatin1String("duid")).isString())
            entries.append(value.toObject());
    }
    return entries;
}

QString headingText()
{
    QString text = fitted(QStringLiteral(" crane"), labelColumns + 1);
    for (const QString &name :
         {QStringLiteral("angle °"), QStringLiteral("trolley m"), QStringLiteral("rope m")})
        text += fittedRight(name, numberColumns) + QLatin1Char(' ');
    return text + QLatin1Char(' ') + fitted(QStringLiteral("state"), stateColumns) +
           QLatin1Char(' ') + fittedRight(QStringLiteral("changed"), ageColumns) +
           QStringLiteral("  alarms active: level, parts, clearance in m when raised");
}

} // namespace

QStringList SiteView::take(const QString &topic, const QByteArray &payload, const QDateTime &now,
                           bool isKept)
{
    const bool wasCalibrating = isCalibrating();
    const QStringList passed = pass(now); // by the state of things so far
    const QJsonObject document = QJsonDocument::fromJson(payload).object();
    if (isOfController(topic) && !document.isEmpty() && !isKept)
        m_heard = now;
    const QStringList taken = takeDocument(topic, document, now);
    QStringList change;
    if (isCalibrating() != wasCalibrating)
        change.append(timeText(now) + QLatin1Char(' ') +
                      (wasCalibrating ? QStringLiteral("calibration is over") : calibrationText));
    return passed + change + taken;
}

QStringList SiteView::takeDocument(const QString &topic, const QJsonObject &document,
                                   const QDateTime &now)
{
    if (topic == QLatin1String("Local/Alarm"))
        return takeAlarms(document, now);
    if (topic == QLatin1String("Local/Vicinity/Status/TEXT"))
        return takeStatus(document, now);
    if (topic == QLatin1String("Local/Vicinity/Attribute/TEXT"))
        takeAttribute(document);
    if (topic == QLatin1String("Local/Vicinity/Attitude/TEXT"))
        takeAttitude(document, now);
    return {};
}

QStringList SiteView::pass(const QDateTime &now)
{
    QStringList lines;
    for (QVector<ActiveAlarm> &alarms : m_active) {
        for (ActiveAlarm &alarm : alarms) {
            if (alarm.heldUntil.isNull())
                continue;
            if (isCalibrating(alarm.text.neighbour)) {
                alarm.heldUntil = now.addMSecs(settlingMs);
            } else if (now >= alarm.heldUntil) {
                alarm.heldUntil = QDateTime();
                lines.append(count(alarm, true, now));
            }
        }
    }
    return lines;
}

QStringList SiteView::takeAlarms(const QJsonObject &document, const QDateTime &now)
{
    QStringList lines;
    const QJsonArray entries = document.value(QLatin1String("alarm")).toArray();
    for (const QJsonValue &value : entries) {
        const QJsonObject entry = value.toObject();
        if (entry.value(QLatin1String("detail")).isString() &&
            entry.value(QLatin1String("triggered")).isBool())
            lines += takeAlarm(entry, now);
    }
    return lines;
}

QStringList SiteView::takeAlarm(const QJsonObject &entry, const QDateTime &now)
{
    const QString detail = entry.value(QLatin1String("detail")).toString();
    const bool isRaised = entry.value(QLatin1String("triggered")).toBool();
    ActiveAlarm alarm{detail, parseAlarmText(detail), entry.value(QLatin1String("level")).toInt(),
                      QDateTime()};
    bool isHeld = isCalibrating(alarm.text.neighbour);

    QVector<ActiveAlarm> &active = m_active[alarm.text.neighbour];
    const auto known = std::find_if(active.begin(), active.end(),
                                    [&](const ActiveAlarm &one) { return one.detail == detail; });
    if (known != active.end()) {
        isHeld = isRaised ? isHeld : !known->heldUntil.isNull(); // its end counts as its begin did
        active.erase(known);
    }
    if (isHeld)
        alarm.heldUntil = now.addMSecs(settlingMs);
    if (isRaised)
        active.append(alarm);
    return isHeld ? QStringList() : QStringList(count(alarm, isRaised, now));
}

QString SiteView::count(const ActiveAlarm &alarm, bool isRaised, const QDateTime &now)
{
    ++(isRaised ? m_raised : m_cleared);
    const QString gloss = alarm.text.kind == AlarmText::Kind::Unknown
                              ? QStringLiteral("unknown")
                              : alarm.text.gloss + QStringLiteral(" of ") + alarm.text.neighbour;
    const QString line = timeText(now) + QLatin1Char(' ') +
                         (isRaised ? QStringLiteral("RAISED  ") : QStringLiteral("cleared ")) +
                         fitted(QString::number(alarm.level), 2) + QLatin1Char(' ') +
                         fitted(gloss, 22) + QLatin1Char(' ') + printable(alarm.detail.trimmed());
    m_events.append({line, isRaised});
    if (m_events.size() > keptEvents)
        m_events.removeFirst();
    return line;
}

void SiteView::takeAttribute(const QJsonObject &document)
{
    takeDataSheet(document.value(QLatin1String("self")).toObject(), &m_own);
    for (const QJsonObject &entry : neighbourEntries(document))
        takeDataSheet(entry, &neighbour(entry.value(QLatin1String("duid")).toString()));
}

void SiteView::takeAttitude(const QJsonObject &document, const QDateTime &now)
{
    const QJsonObject self = document.value(QLatin1String("self")).toObject();
    if (self.isEmpty())
        return;
    takeIdentity(self, &m_own);
    takeMotion(self, now, &m_own);
    for (const QJsonObject &entry : neighbourEntries(document)) {
        CraneRow &row = neighbour(entry.value(QLatin1String("duid")).toString());
        takeIdentity(entry, &row);
        takeMotion(entry, now, &row);
    }
}

QStringList SiteView::takeStatus(const QJsonObject &document, const QDateTime &now)
{
    QStringList lines;
    for (const QJsonObject &entry : neighbourEntries(document)) {
        CraneRow &row = neighbour(entry.value(QLatin1String("duid")).toString());
        const bool isOnline =
            entry.value(QLatin1String("status")).toString() == QLatin1String("online");
        const auto presence = isOnline ? CraneRow::Presence::Online : CraneRow::Presence::Offline;
        if (row.presence == presence)
            continue;
        row.presence = presence;
        lines.append(timeText(now) + QLatin1Char(' ') +
                     fitted(presenceText(presence), stateColumns) + printable(nameOf(row)));
    }
    return lines;
}

CraneRow &SiteView::neighbour(const QString &duid)
{
    const auto known = m_rowOfDuid.constFind(duid);
    if (known != m_rowOfDuid.constEnd())
        return m_neighbours[known.value()];
    m_rowOfDuid.insert(duid, m_neighbours.size());
    m_neighbours.append(CraneRow());
    m_neighbours.last().duid = duid;
    return m_neighbours.last();
}

bool SiteView::isCalibrating() const
{
    return m_own.armLength >= calibrationArmLength ||
           std::any_of(m_neighbours.begin(), m_neighbours.end(),
                       [](const CraneRow &row) { return row.armLength >= calibrationArmLength; });
}

bool SiteView::isCalibrating(const QString &label) const
{
    return m_own.armLength >= calibrationArmLength ||
           std::any_of(m_neighbours.begin(), m_neighbours.end(), [&](const CraneRow &row) {
               return row.label == label && row.armLength >= calibrationArmLength;
           });
}

bool SiteView::isOld(const QDateTime &now) const
{
    return m_heard.isNull() || m_heard.msecsTo(now) >= oldAfterMs;
}

QString SiteView::ageText(const QDateTime &now) const
{
    if (m_heard.isNull())
        return QStringLiteral("no report yet");
    const QString age = durationText(m_heard.msecsTo(now));
    if (isOld(now))
        return QStringLiteral("no report for %1: nothing moves, or the controller is gone")
            .arg(age);
    return QStringLiteral("last report %1 ago").arg(age);
}

QVector<ViewLine> SiteView::table(const QDateTime &now, int columns, int lines,
                                  const QStringList &notes) const
{
    QVector<ViewLine> result{
        {QStringLiteral(" Crane ") + nameOf(m_own) + QStringLiteral(": ") + figures(now),
         Tone::Heading},
        {QLatin1Char(' ') + ageText(now), isOld(now) ? Tone::Alarm : Tone::Faint}};
    if (isCalibrating())
        result.append({QLatin1Char(' ') + calibrationText, Tone::Heading});
    for (const QString &note : notes)
        result.append({QLatin1Char(' ') + note, Tone::Faint});
    result.append({QString()});
    result.append({headingText(), Tone::Heading});
    result.append({rowText(m_own, QStringLiteral("own"), now)});

    const int left = lines - result.size();
    const int events = std::min({shownEvents, m_events.size(), left / 3});
    result += neighbourLines(now, left - events - 2);
    result.append({QString()});
    result.append({QStringLiteral(" last alarms"), Tone::Heading});
    result += eventLines(std::min(shownEvents, lines - result.size()));

    result.resize(std::min(result.size(), std::max(0, lines)));
    for (ViewLine &line : result)
        line.text = fitted(line.text, columns);
    return result;
}

QVector<ViewLine> SiteView::neighbourLines(const QDateTime &now, int lines) const
{
    if (m_neighbours.isEmpty())
        return {{QStringLiteral(" waiting for the first report of a calibrated neighbour"),
                 Tone::Faint}};
    QVector<const CraneRow *> rows;
    for (const CraneRow &row : m_neighbours)
        rows.append(&row);
    int hidden = 0;
    if (rows.size() > lines) {
        const auto hasAlarm = [this](const CraneRow *row) { return !alarmsOf(*row).isEmpty(); };
        std::stable_partition(rows.begin(), rows.end(), hasAlarm);
        hidden = rows.size() - std::max(0, lines - 1); // one line says how many
        rows.resize(rows.size() - hidden);
    }
    QVector<ViewLine> result;
    for (const CraneRow *row : rows)
        result.append(neighbourLine(*row, now));
    if (hidden > 0)
        result.append({QStringLiteral(" and %1 more neighbours").arg(hidden), Tone::Faint});
    return result;
}

ViewLine SiteView::neighbourLine(const CraneRow &row, const QDateTime &now) const
{
    const QString alarms = alarmsOf(row);
    const bool isFaint = isOld(now) || row.presence == CraneRow::Presence::Offline;
    Tone tone = isFaint ? Tone::Faint : Tone::Plain;
    if (!alarms.isEmpty())
        tone = Tone::Alarm;
    QString state = presenceText(row.presence);
    if (isOld(now) && row.presence != CraneRow::Presence::Unknown)
        state += QLatin1Char('?');
    return {rowText(row, state, now) + alarms, tone};
}

QVector<ViewLine> SiteView::eventLines(int lines) const
{
    QVector<ViewLine> result;
    for (int i = m_events.size() - 1; i >= 0 && result.size() < lines; --i) {
        const Event &event = m_events.at(i);
        result.append({QLatin1Char(' ') + event.text, event.isRaised ? Tone::Alarm : Tone::Plain});
    }
    return result;
}

QString SiteView::rowText(const CraneRow &row, const QString &state, const QDateTime &now) const
{
    const QString age =
        row.changed.isNull() ? QStringLiteral("-") : durationText(row.changed.msecsTo(now));
    QString text = QLatin1Char(' ') + fitted(nameOf(row), labelColumns);
    for (const double value : {row.slewing, row.luffing, row.hoisting})
        text += fittedRight(numberText(value), numberColumns) + QLatin1Char(' ');
    return text + QLatin1Char(' ') + fitted(state, stateColumns) + QLatin1Char(' ') +
           fittedRight(age, ageColumns) + QStringLiteral("  ");
}

QString SiteView::alarmsOf(const CraneRow &row) const
{
    QStringList texts;
    const QVector<ActiveAlarm> active = m_active.value(row.label);
    for (const ActiveAlarm &alarm : active) {
        if (alarm.heldUntil.isNull())
            texts.append(
                QStringLiteral("%1 %2 %3")
                    .arg(QString::number(alarm.level), alarm.text.gloss, alarm.text.metres));
    }
    return texts.join(QStringLiteral(", "));
}

QString SiteView::status(const QDateTime &now) const
{
    QStringList parts;
    if (isOld(now))
        parts.append(ageText(now));
    if (isCalibrating())
        parts.append(calibrationText);
    return (parts << figures(now)).join(QStringLiteral("; "));
}

QString SiteView::figures(const QDateTime &now) const
{
    const auto online =
        std::count_if(m_neighbours.begin(), m_neighbours.end(), [](const CraneRow &row) {
            return row.presence == CraneRow::Presence::Online;
        });
    std::ptrdiff_t active = 0;
    for (const QVector<ActiveAlarm> &alarms : m_active) {
        active += std::count_if(alarms.begin(), alarms.end(),
                                [](const ActiveAlarm &alarm) { return alarm.heldUntil.isNull(); });
    }
    return QStringLiteral(
               "neighbours: %1, online: %2%3; alarms active: %4, raised: %5, cleared: %6")
        .arg(m_neighbours.size())
        .arg(online)
        .arg(isOld(now) ? QStringLiteral("?") : QString())
        .arg(active)
        .arg(m_raised)
        .arg(m_cleared);
}

QString SiteView::summary() const
{
    return QStringLiteral("alarms raised: %1, alarms cleared: %2, neighbours seen: %3")
        .arg(m_raised)
        .arg(m_cleared)
        .arg(m_neighbours.size());
}
