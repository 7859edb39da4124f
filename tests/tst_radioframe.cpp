#include <QtTest>

#include <cmath>

#include "radio/radioframe.h"

namespace
{

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

/// The bytes with their check value behind them.
QByteArray checked(QByteArray bytes)
{
    const quint16 check = modbusCheck(bytes.constData(), bytes.size());
    return bytes.append(static_cast<char>(check >> 8)).append(static_cast<char>(check & 0xff));
}

/// The same check value without tables, straight from the polynomial.
quint16 bitwiseCheck(const QByteArray &bytes)
{
    quint16 crc = 0xffff;
    for (const char byte : bytes) {
        crc = static_cast<quint16>(crc ^ static_cast<quint8>(byte));
        for (int bit = 0; bit < 8; ++bit)
            crc = static_cast<quint16>(crc & 1 ? (crc >> 1) ^ 0xa001 : crc >> 1);
    }
    return crc;
}

} // namespace

class TestRadioFrame : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void checkValueIsThePublishedOne();
    void checkTablesFollowThePolynomial();
    void readings_data();
    void readings();
    void anglesBeyondTheFieldKeepTheirDirection_data();
    void anglesBeyondTheFieldKeepTheirDirection();
    void frameLayout();
    void received_data();
    void received();
    void everySingleBitErrorIsNoticed();
    void noiseOfAnyLengthIsDropped();
};

void TestRadioFrame::checkValueIsThePublishedOne()
{
    QCOMPARE(modbusCheck("123456789", 9), quint16(0x374b)); // 0x4B37, low byte first
    QCOMPARE(modbusCheck("", 0), quint16(0xffff));
}

void TestRadioFrame::checkTablesFollowThePolynomial()
{
    for (int byte = 0; byte < 256; ++byte) {
        const QByteArray bytes(1, static_cast<char>(byte));
        const quint16 crc = bitwiseCheck(bytes);
        QCOMPARE(modbusCheck(bytes.constData(), 1),
                 static_cast<quint16>((crc & 0xff) << 8 | crc >> 8));
    }
}

void TestRadioFrame::readings_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("frame"); // without the check value
    const auto row = [](const char *name, const char *text, const char *frame) {
        QTest::newRow(name) << QString::fromUtf8(text) << hex(frame);
    };
    // The record before: crane 5, rope 0x0101, trolley 0x0202, slewing 0x0303.
    row("slewing", "rotation300", "00050001010102 02012c");
    row("trolley", "travel1000", "000500010101 03e8 0303");
    row("rope", "height-200", "00050001 ff38 0202 0303");
    row("crane number", "name3号", "0003 0001 0101 0202 0303");
    row("first run of digits in the label", "nameA12-7", "000c 0001 0101 0202 0303");
    row("label without digits", "nameABC", "0005 0001 0101 0202 0303");
    row("crane number beyond 16 bits keeps the low ones", "name65537", "0001 0001 0101 0202 0303");
    row("highest crane number", "name65535", "ffff 0001 0101 0202 0303");
    row("rope beyond 16 bits keeps the low ones", "height65536", "0005 0001 0000 0202 0303");
    row("slewing is looked for first", "rotation7height", "0005 0001 0101 0202 0303");
    row("slewing first, wherever it stands", "heightrotation9", "0005 0001 0101 0202 0303");
    row("not whole", "rotation12.5", "0005 0001 0101 0202 0303");
    row("no number", "travel", "0005 0001 0101 0202 0303");
    row("not finite", "travelinf", "0005 0001 0101 0202 0303");
    row("key that no frame carries", "armlen5000", "0005 0001 0101 0202 0303");
    row("no key", "speed5", "0005 0001 0101 0202 0303");
    row("key is case-sensitive", "Rotation300", "0005 0001 0101 0202 0303");
}

void TestRadioFrame::readings()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, frame);
    RadioRecord record;
    record.craneNumber = 5;
    record.height = 0x0101;
    record.travel = 0x0202;
    record.rotation = 0x0303;
    applyReading(text, &record);
    QCOMPARE(buildMotionFrame(record).toHex(), checked(frame).toHex());
}

void TestRadioFrame::anglesBeyondTheFieldKeepTheirDirection_data()
{
    QTest::addColumn<int>("hundredths");
    QTest::addColumn<int>("carried");
    QTest::newRow("within the field: as it is") << 32767 << 32767;
    QTest::newRow("lower end: as it is") << -32768 << -32768;
    QTest::newRow("just beyond") << 32768 << 32768 - 36000;
    QTest::newRow("almost a turn") << 35999 << -1;
    QTest::newRow("a turn") << 36000 << 0;
    QTest::newRow("a turn and a half") << 54000 << -18000;
    QTest::newRow("just short of it") << 53999 << 17999;
    QTest::newRow("below") << -32769 << 36000 - 32769;
    QTest::newRow("many turns back") << -360000 - 100 << -100;
}

void TestRadioFrame::anglesBeyondTheFieldKeepTheirDirection()
{
    QFETCH(int, hundredths);
    RadioRecord record;
    applyReading(QStringLiteral("rotation%1").arg(hundredths), &record);
    QTEST(static_cast<int>(static_cast<qint16>(record.rotation)), "carried");
}

void TestRadioFrame::frameLayout()
{
    RadioRecord record;
    record.craneNumber = 0x0102;
    record.height = 0x0304;
    record.travel = 0x0506;
    record.rotation = 0x0708;
    const QByteArray frame = buildMotionFrame(record);
    QCOMPARE(frame.size(), 12);
    QCOMPARE(frame.left(10).toHex(), QByteArray("01020001030405060708"));
    const quint16 crc = bitwiseCheck(frame.left(10));
    QCOMPARE(static_cast<quint8>(frame.at(10)), static_cast<quint8>(crc & 0xff));
    QCOMPARE(static_cast<quint8>(frame.at(11)), static_cast<quint8>(crc >> 8));
}

void TestRadioFrame::received_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::addColumn<bool>("isFrame");
    QTest::addColumn<QVector<float>>("values");
    const QByteArray motion = hex("0007000104d2ff388000");
    const QVector<float> values{12.34f, -2.0f, -327.68f};
    QTest::newRow("motion") << checked(motion) << true << values;
    QTest::newRow("longer than a frame") << checked(motion + "more") << true << values;
    QTest::newRow("eleven bytes: the last value reaches into the check")
        << checked(motion.left(9)) << true << QVector<float>{12.34f, -2.0f, NAN};
    QTest::newRow("ten bytes") << checked(motion.left(8)) << false << values;
    QTest::newRow("empty") << QByteArray() << false << values;
    QTest::newRow("two frames in one") << checked(motion) + checked(motion) << false << values;
    QTest::newRow("cut short") << checked(motion).left(11) << false << values;
}

void TestRadioFrame::received()
{
    QFETCH(QByteArray, chunk);
    QFETCH(bool, isFrame);
    QFETCH(QVector<float>, values);
    const std::optional<RadioFrame> frame = parseFrame(chunk);
    QCOMPARE(frame.has_value(), isFrame);
    if (!frame)
        return;
    QCOMPARE(frame->craneNumber, quint16(7));
    QCOMPARE(frame->type, 1);
    QCOMPARE(frame->first, values[0]);
    QCOMPARE(frame->second, values[1]);
    if (!std::isnan(values[2]))
        QCOMPARE(frame->third, values[2]);
}

void TestRadioFrame::everySingleBitErrorIsNoticed()
{
    const QByteArray good = checked(hex("0007000104d2ff388000"));
    for (int bit = 0; bit < good.size() * 8; ++bit) {
        QByteArray bad = good;
        bad[bit / 8] = static_cast<char>(bad.at(bit / 8) ^ (1 << bit % 8));
        QVERIFY2(!parseFrame(bad), qPrintable(QString::number(bit)));
    }
}

void TestRadioFrame::noiseOfAnyLengthIsDropped()
{
    quint32 seed = 1;
    for (const int size : {11, 12, 13, 255, 4095, 1 << 20}) {
        QByteArray noise(size, '\0');
        for (char &byte : noise) {
            seed = seed * 1664525u + 1013904223u;
            byte = static_cast<char>(seed >> 24);
        }
        QVERIFY(!parseFrame(noise));
    }
}

QTEST_APPLESS_MAIN(TestRadioFrame)
#include "tst_radioframe.moc"
