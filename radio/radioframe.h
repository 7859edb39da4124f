#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// The frames of the radio link, in bytes. Pure functions, without the port.
///
///     offset  bytes
///      0       2     crane number, unsigned
///      2       1     0x00
///      3       1     0x01 motion, 0x02 attributes
///      4       2     motion: hoist rope     attributes: jib length
///      6       2     motion: trolley        attributes: counter-jib length
///      8       2     motion: slewing        attributes: height of the jib above ground
///     10       2     Modbus CRC-16 of bytes 0 to 9, low byte first
///
/// High byte first, but for the check value. The values at 4 to 9 are signed hundredths of a metre
/// or degree. The crane sends motion frames only and understands both.

/// Modbus RTU CRC-16 (MODBUS over Serial Line: polynomial 0xA001, initial value 0xFFFF). Its high
/// byte is the one that is sent first.
quint16 modbusCheck(const char *bytes, int size);

/// What the own crane last said of itself, as it goes on air.
struct RadioRecord {
    quint16 craneNumber = 0;
    quint16 absoluteX = 0; ///< this and the next three are kept, but no frame carries them
    quint16 absoluteY = 0;
    quint16 armlen = 0;
    quint16 reararm = 0;
    quint16 height = 0; ///< hundredths, like the next two
    quint16 travel = 0;
    quint16 rotation = 0;
};

/// Takes one reading as key and number, "rotation300"; what does not convert changes nothing.
///
/// The first key that occurs anywhere in the text counts, in the order rotation, travel, height,
/// armlen, reararm, absolute_X, absolute_Y, name; the number is what follows as many characters
/// as the key has. A name gives the first run of digits in it. A slewing angle beyond the signed
/// 16-bit range is sent as the same direction within -180 to 180 degrees; every other number keeps
/// its low 16 bits.
void applyReading(const QString &text, RadioRecord *record);

QByteArray buildMotionFrame(const RadioRecord &record);

/// One received frame whose check value is right.
struct RadioFrame {
    enum Type { Motion = 1, Attributes = 2 };
    quint16 craneNumber = 0;
    int type = 0;        ///< other types than the two exist on air; they mean nothing here
    float first = 0.0f;  ///< rope or jib, metres
    float second = 0.0f; ///< trolley or counter-jib, metres
    float third = 0.0f;  ///< slewing in degrees, or height of the jib in metres
};

/// The shortest chunk that is looked at.
constexpr int shortestChunk = 11;

/// Check value over all bytes but the last two. \a chunk has at least shortestChunk bytes.
quint16 checkOf(const QByteArray &chunk);

/// The frame in \a chunk, all of the bytes of which are one frame; nothing if it is too short or
/// its last two bytes are not its check value.
std::optional<RadioFrame> parseFrame(const QByteArray &chunk);
