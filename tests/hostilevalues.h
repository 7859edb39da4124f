#pragma once

#include <QRandomGenerator>
#include <QString>

#include <iterator>
#include <limits>

/// Values at which a hand-made writer or a hoisted formula goes wrong. Deterministic: the same
/// generator gives the same values.

/// A number that is ugly: a limit of its type, of JSON's integers, of the cut to hundredths.
inline float hostileNumber(QRandomGenerator &random)
{
    using Limits = std::numeric_limits<float>;
    static const float numbers[] = {
        0.0f, -0.0f, Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(),
        -Limits::infinity(), Limits::max(), Limits::lowest(), Limits::min(), Limits::denorm_min(),
        // The cut to hundredths saturates at 2^31; the floats next to it on either side.
        21474836.0f, 21474838.0f, 21474834.0f, -21474836.0f, -21474838.0f, -21474834.0f, 3e7f,
        // Whole numbers: up to 2^63 JSON writes them as integers, beyond as doubles.
        16777216.0f, 9007199254740992.0f, 1e15f, 1e16f, 1e17f, 9223372036854775808.0f, -1e15f,
        9223371487098961920.0f, -9223372036854775808.0f, 1e19f, 1e20f, 1e21f, 1e22f, -1e30f, 1e30f,
        // Short and long fractions, small exponents.
        0.1f, 0.5f, -0.25f, 0.001f, 1e-4f, 1e-5f, 1e-7f, -3.4e-20f, 12.341f, 12.342f, 0.009f,
        -0.009f, 0.01f, 0.995f, 999.0f, 360.0f, -360.0f, 180.0f, 90.0f, 359.99997f, 100.0f, 1e5f};
    return numbers[random.bounded(static_cast<int>(std::size(numbers)))];
}

/// A text that is ugly: escapes, control characters, beyond Latin, broken or empty.
inline QString hostileText(QRandomGenerator &random)
{
    const auto unit = [](ushort code) { return QString(QChar(code)); };
    static const QString texts[] = {
        QString(),
        QStringLiteral(""),
        QStringLiteral("7\"号\"塔机"),
        QStringLiteral("back\\slash/and slash"),
        QStringLiteral("\b\f\n\r\t"),
        QStringLiteral("塔机七号"),
        QStringLiteral("🏗 crane"), // beyond the basic plane
        QStringLiteral("é~\u007f\u0080\u00ff\u07ff\u0800\u2028\uffff"),
        QStringLiteral("null"),
        QStringLiteral("\"},{\"duid\":\"X\"},{\""),
        QStringLiteral("\n    \"neighbours\": [\n"),
        unit(0),
        QStringLiteral("before") + unit(0) + QStringLiteral("after"),
        unit(0xd83c), // one half of a pair
        unit(0xdfd7),
        unit(0xdfd7) + unit(0xd83c), // the halves the wrong way round
        QStringLiteral("x") + unit(0xd83c) + QStringLiteral("y"),
        unit(0xfeff) + QStringLiteral("mark"),
        QString(3000, QChar(u'长')),
    };
    const int choice = random.bounded(static_cast<int>(std::size(texts)) + 2);
    if (choice < static_cast<int>(std::size(texts)))
        return texts[choice];
    QString text; // every control character, sooner or later
    for (int left = random.bounded(1, 12); left > 0; --left)
        text += QChar(static_cast<ushort>(random.bounded(choice % 2 ? 0x30 : 0x10000)));
    return text;
}

/// A reading as a crane sends it, in hundredths.
inline float plainNumber(QRandomGenerator &random, float lowest, float highest)
{
    const float hundredths =
        static_cast<float>(random.bounded(static_cast<double>(highest - lowest))) * 100.0f;
    return lowest + static_cast<float>(static_cast<int>(hundredths)) / 100.0f;
}
