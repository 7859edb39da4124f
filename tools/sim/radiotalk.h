#pragma once

#include "tools/sim/site.h"

#include <QByteArray>

/// What a played neighbour says on the radio. Functions on values, written apart from the
/// controller's own: each checks the other.
///
/// A frame has 12 bytes: crane number (2), 0, type, three signed values in hundredths (2 each), all
/// of them high byte first, then the Modbus CRC-16 of these ten, low byte first.

/// The Modbus CRC-16 (polynomial 0xA001, initial value 0xFFFF), bit by bit.
quint16 radioCheck(const QByteArray &bytes);

/// A frame of any type.
QByteArray radioFrame(quint16 craneNumber, int type, double first, double second, double third);

/// Where the crane's parts are: rope, trolley, slewing. A slewing reading of 180 degrees and more
/// is sent as the same direction from -180 on: hundredths of it would not fit.
QByteArray radioMotionFrame(quint16 craneNumber, const CraneReading &reading);

/// The crane's dimensions: jib, counter-jib, height of the jib.
QByteArray radioAttributeFrame(quint16 craneNumber, const SiteCrane &crane);

/// The label by which a controller knows a crane that it hears on the radio: "3号" (No. 3).
QString radioFieldNumber(quint16 craneNumber);

/// When a unit says where its crane is: a changed motion at the next tick, an unchanged one again
/// after 11 s and then every 10.5 s. A tick is 500 ms.
class RadioRhythm
{
public:
    /// One tick; whether \a motion is to go on air now. Nothing does while it is empty.
    bool isDue(const QByteArray &motion);

private:
    QByteArray m_motion; // as of the last tick
    int m_ticksLeft = 0; // until it is said again
};
