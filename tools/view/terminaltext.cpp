#include "tools/view/terminaltext.h"

#include <QVector>

#include <algorithm>
#include <iterator>

namespace
{

constexpr int longestText = 1000; // characters; a name of 10 MB must not slow the table down
const QChar ellipsis(0x2026);

struct Range {
    uint first;
    uint last;
};

// What terminals draw two columns wide, as far as it occurs in names: Hangul, CJK with its
// punctuation and compatibility forms, full-width forms, pictographs, the CJK extension planes.
constexpr Range wideRanges[] = {
    {0x1100, 0x115f}, {0x2e80, 0x303e}, {0x3041, 0xa4cf}, {0xac00, 0xd7a3},   {0xf900, 0xfaff},
    {0xfe30, 0xfe6f}, {0xff00, 0xff60}, {0xffe0, 0xffe6}, {0x1f300, 0x1faff}, {0x20000, 0x3fffd},
};

bool isWide(uint character)
{
    return std::any_of(std::begin(wideRanges), std::end(wideRanges), [character](Range range) {
        return character >= range.first && character <= range.last;
    });
}

int columnsOf(uint character)
{
    const QChar::Category category = QChar::category(character);
    if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing)
        return 0;
    return isWide(character) ? 2 : 1;
}

bool isHarmless(uint character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format: // turns the writing direction, or is invisible
    case QChar::Other_Surrogate:
    case QChar::Other_PrivateUse:
    case QChar::Other_NotAssigned:
        return false;
    default:
        return true;
    }
}

QString toText(uint character)
{
    return QString::fromUcs4(&character, 1);
}

// The longest beginning of a printable text that is not wider than columns.
QString beginning(const QString &text, int columns)
{
    QString result;
    for (const uint character : text.toUcs4()) {
        columns -= columnsOf(character);
        if (columns < 0)
            break;
        result += toText(character);
    }
    return result;
}

QString cut(const QString &text, int columns)
{
    const QString clean = printable(text);
    if (columns < 1)
        return QString();
    return columnsOf(clean) <= columns ? clean : beginning(clean, columns - 1) + ellipsis;
}

} // namespace

int columnsOf(const QString &text)
{
    int columns = 0;
    for (const uint character : text.toUcs4())
        columns += columnsOf(character);
    return columns;
}

QString printable(const QString &text)
{
    QString result;
    for (const uint character : text.left(longestText).toUcs4()) {
        if (QChar::isSpace(character))
            result += QLatin1Char(' ');
        else
            result += isHarmless(character) ? toText(character) : QStringLiteral("?");
    }
    return result;
}

QString fitted(const QString &text, int columns)
{
    const QString result = cut(text, columns);
    return result + QString(std::max(0, columns - columnsOf(result)), QLatin1Char(' '));
}

QString fittedRight(const QString &text, int columns)
{
    const QString result = cut(text, columns);
    return QString(std::max(0, columns - columnsOf(result)), QLatin1Char(' ')) + result;
}
