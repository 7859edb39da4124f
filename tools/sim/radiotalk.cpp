#include "tools/sim/radiotalk.h"

#include <cmath>

namespace
{
constexpr int motionType = 1;
constexpr int attributeType = 2;

void appendHighFirst(QByteArray &frame, int value)
{
    frame += static_cast<char>((value >> 8) & 0xff);
    frame += static_cast<char>(value & 0xff);
}

int hundredths(double value)
{
    return static_cast<int>(std::lround(value * 100));
}
} // namespace

quint16 radioCheck(const QByteArray &bytes)
{
    unsigned check = 0xffff;
    for (const char byte : bytes) {
        check ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            check = (check & 1) != 0 ? (check >> 1) ^ 0xa001 : check >> 1;
    }
    return static_cast<quint16>(check);
}

QByteArray radioFrame(quint16 craneNumber, int type, double first, double second, double third)
{
    QByteArray frame;
    appendHighFirst(frame, craneNumber);
    appendHighFirst(frame, type);
    for (const double value : {first, second, third})
        appendHighFirst(frame, hundredths(value));
    const quint16 check = radioCheck(frame);
    frame += static_cast<char>(check & 0xff);
    frame += static_cast<char>(check >> 8);
    return frame;
}

QByteArray radioMotionFrame(quint16 craneNumber, const CraneReading &reading)
{
    const double slewing = reading.rotation < 180 ? reading.rotation : reading.rotation - 360;
    return radioFrame(craneNumber, motionType, reading.height, reading.travel, slewing);
}

QByteArray radioAttributeFrame(quint16 craneNumber, const SiteCrane &crane)
{
    return radioFrame(craneNumber, attributeType, crane.armLength, crane.rearArm,
                      crane.craneHeight);
}

QString radioFieldNumber(quint16 craneNumber)
{
    return QString::number(craneNumber) + QStringLiteral("号"); // No.
}

bool RadioRhythm::isDue(const QByteArray &motion)
{
    constexpr int ticksToFirstRepeat = 22;
    constexpr int ticksToNextRepeat = 21;
    if (motion.isEmpty())
        return false;
    if (motion != m_motion) {
        m_motion = motion;
        m_ticksLeft = ticksToFirstRepeat;
        return true;
    }
    if (--m_ticksLeft > 0)
        return false;
    m_ticksLeft = ticksToNextRepeat;
    return true;
}
