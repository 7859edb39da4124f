#include "tools/view/alarmtext.h"

#include <QRegularExpression>

namespace
{

QString glossOfPart(const QString &part)
{
    if (part == QStringLiteral("大臂"))
        return QStringLiteral("jib");
    if (part == QStringLiteral("塔身"))
        return QStringLiteral("tower");
    if (part == QStringLiteral("吊绳"))
        return QStringLiteral("rope");
    return QStringLiteral("counter-jib"); // 后臂
}

// Both patterns take the longest name that leaves the fixed words standing. A distance may be
// anything that a number prints as, "nan" too.
const QRegularExpression &zonePattern()
{
    static const QRegularExpression pattern(
        QStringLiteral("\\A回转距离进人(.*)塔机\n回转区还有([^\n]*)米\\z"),
        QRegularExpression::DotMatchesEverythingOption);
    return pattern;
}

const QRegularExpression &pairPattern()
{
    static const QRegularExpression pattern(
        QStringLiteral("\\A\n(大臂|塔身|吊绳|后臂)到(.*)塔吊(大臂|塔身|吊绳|后臂)\n([^\n]*)米\\z"),
        QRegularExpression::DotMatchesEverythingOption);
    return pattern;
}

} // namespace

AlarmText parseAlarmText(const QString &detail)
{
    const QRegularExpressionMatch zone = zonePattern().match(detail);
    if (zone.hasMatch())
        return {AlarmText::Kind::Zone, zone.captured(1), QStringLiteral("zone"), zone.captured(2)};
    const QRegularExpressionMatch pair = pairPattern().match(detail);
    if (pair.hasMatch())
        return {AlarmText::Kind::Pair, pair.captured(2),
                glossOfPart(pair.captured(1)) + QLatin1Char('/') + glossOfPart(pair.captured(3)),
                pair.captured(4)};
    return {};
}
