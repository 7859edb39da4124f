#include <QtTest>

#include "radio/radioneighbours.h"
#include "radio/sendschedule.h"

namespace
{

RadioFrame frameOf(quint16 craneNumber, float first, float second, float third)
{
    RadioFrame frame;
    frame.craneNumber = craneNumber;
    frame.first = first;
    frame.second = second;
    frame.third = third;
    return frame;
}

} // namespace

class TestRadioNeighbours : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void attributesOfANewCraneAppend();
    void attributesOfAKnownCraneUpdate();
    void attributesAdoptTheLoadedEntryOfThatName();
    void listThatIsFullTakesNoFurtherCrane();
    void motionReachesEveryEntryOfItsCrane();
    void motionNeverAdopts();
    void cranesAboveTheAsciiRangeAreKeptApart();
    void unchangedFrameIsRepeatedSlowly();
    void changesWithinATickAreOneSending();
    void newPortGetsTheFrameAtOnce();
};

void TestRadioNeighbours::attributesOfANewCraneAppend()
{
    QList<FoundationData> list;
    takeAttributes(frameOf(7, 50.0f, 12.0f, 40.0f), &list);
    QCOMPARE(list.size(), 1);
    QCOMPARE(list[0].name, QStringLiteral("7号"));
    QCOMPARE(list[0].radioKey, QString(QChar(7)));
    QCOMPARE(list[0].armlen, 50.0f);
    QCOMPARE(list[0].reararm, 12.0f);
    QCOMPARE(list[0].craneheight, 40.0f);
    QCOMPARE(list[0].safelen, 5.0f);
    QCOMPARE(list[0].foundation, 0.0f);
}

void TestRadioNeighbours::attributesOfAKnownCraneUpdate()
{
    QList<FoundationData> list;
    takeAttributes(frameOf(7, 50.0f, 12.0f, 40.0f), &list);
    takeAttributes(frameOf(7, 55.0f, 12.0f, 40.0f), &list);
    QCOMPARE(list.size(), 1);
    QCOMPARE(list[0].armlen, 55.0f);
}

void TestRadioNeighbours::attributesAdoptTheLoadedEntryOfThatName()
{
    FoundationData loaded;
    loaded.name = QStringLiteral("7号塔"); // the name must be the whole of it
    QList<FoundationData> list = {loaded};
    loaded.name = QStringLiteral("7号");
    loaded.duid = QStringLiteral("DEV7");
    loaded.type = QStringLiteral("T");
    list += {loaded, loaded};
    takeAttributes(frameOf(7, 50.0f, 12.0f, 40.0f), &list);
    QCOMPARE(list.size(), 3);
    QVERIFY(list[0].radioKey.isEmpty());
    QCOMPARE(list[1].radioKey, QString(QChar(7)));
    QCOMPARE(list[1].duid, QStringLiteral("DEV7"));
    QCOMPARE(list[1].type, QStringLiteral("T"));
    QCOMPARE(list[1].armlen, 50.0f);
    QVERIFY(list[2].radioKey.isEmpty());
    takeAttributes(frameOf(7, 55.0f, 12.0f, 40.0f), &list); // known by its key from now on
    QCOMPARE(list.size(), 3);
    QCOMPARE(list[1].armlen, 55.0f);
    QCOMPARE(list[2].armlen, 0.0f);
}

void TestRadioNeighbours::listThatIsFullTakesNoFurtherCrane()
{
    FoundationData loaded;
    loaded.name = QStringLiteral("loaded");
    QList<FoundationData> list;
    for (int i = 0; i < 9998; ++i)
        list += loaded;
    QVERIFY(takeAttributes(frameOf(7, 50.0f, 12.0f, 40.0f), &list));
    QVERIFY(!takeAttributes(frameOf(8, 50.0f, 12.0f, 40.0f), &list));
    QCOMPARE(list.size(), 9999);
    QVERIFY(takeAttributes(frameOf(7, 55.0f, 12.0f, 40.0f), &list)); // one that is in it
    QCOMPARE(list.last().armlen, 55.0f);
}

void TestRadioNeighbours::motionReachesEveryEntryOfItsCrane()
{
    QList<FoundationData> list;
    takeAttributes(frameOf(7, 50.0f, 12.0f, 40.0f), &list);
    takeAttributes(frameOf(8, 50.0f, 12.0f, 40.0f), &list);
    list.append(list[0]);
    list[2].duid = QStringLiteral("second");
    const QVector<FoundationData> moved = takeMotion(frameOf(7, 12.34f, 20.0f, -90.0f), &list);
    QCOMPARE(moved.size(), 2);
    QCOMPARE(moved[0].height, 12.34f);
    QCOMPARE(moved[0].travel, 20.0f);
    QCOMPARE(moved[0].rotation, -90.0f);
    QCOMPARE(moved[0].armlen, 50.0f);
    QCOMPARE(moved[1].duid, QStringLiteral("second"));
    QCOMPARE(list[0].height, 12.34f);
    QCOMPARE(list[1].height, 0.0f);
}

void TestRadioNeighbours::motionNeverAdopts()
{
    FoundationData loaded;
    loaded.name = QStringLiteral("7号");
    QList<FoundationData> list = {loaded};
    QVERIFY(takeMotion(frameOf(7, 1.0f, 2.0f, 3.0f), &list).isEmpty());
    QVERIFY(takeMotion(frameOf(0, 1.0f, 2.0f, 3.0f), &list).isEmpty()); // no key is not key 0
    QCOMPARE(list.size(), 1);
    QCOMPARE(list[0].height, 0.0f);
}

void TestRadioNeighbours::cranesAboveTheAsciiRangeAreKeptApart()
{
    QList<FoundationData> list;
    for (const int number : {0, 127, 128, 255, 256, 0xd800, 65535})
        takeAttributes(frameOf(static_cast<quint16>(number), 1.0f, 1.0f, 1.0f), &list);
    QCOMPARE(list.size(), 7);
    QCOMPARE(list[6].name, QStringLiteral("65535号"));
    QCOMPARE(takeMotion(frameOf(256, 1.0f, 2.0f, 3.0f), &list).size(), 1);
}

void TestRadioNeighbours::unchangedFrameIsRepeatedSlowly()
{
    SendSchedule schedule;
    QList<int> sent;
    for (int tick = 0; tick < 90; ++tick) {
        if (schedule.isDue("frame"))
            sent += tick;
    }
    QCOMPARE(sent, (QList<int>{0, 22, 43, 64, 85}));
}

void TestRadioNeighbours::changesWithinATickAreOneSending()
{
    SendSchedule schedule;
    QVERIFY(schedule.isDue("a"));
    QVERIFY(schedule.isDue("c")); // b came and went between the ticks
    QVERIFY(!schedule.isDue("c"));
    int silent = 1;
    while (!schedule.isDue("c"))
        ++silent;
    QCOMPARE(silent, 21);
    QVERIFY(!schedule.isDue("c"));
}

void TestRadioNeighbours::newPortGetsTheFrameAtOnce()
{
    SendSchedule schedule;
    QVERIFY(schedule.isDue("a"));
    QVERIFY(!schedule.isDue("a"));
    schedule.restart();
    QVERIFY(schedule.isDue("a"));
    schedule.restart();
    QVERIFY(!schedule.isDue(QByteArray())); // nothing to say yet
}

QTEST_APPLESS_MAIN(TestRadioNeighbours)
#include "tst_radioneighbours.moc"
