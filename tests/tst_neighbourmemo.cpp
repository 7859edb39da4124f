#include <QtTest>

#include <QRandomGenerator>

#include <malloc.h>

#include "tests/hostilevalues.h"
#include "cloud/neighbourmemo.h"

namespace
{

constexpr int mostNeighbours = 9999;

/// The walk that the memo saves.
QVector<int> plainPositions(const QString &craneId, const QList<FoundationData> &list)
{
    QVector<int> positions;
    for (int i = 0; i < list.size(); ++i) {
        if (craneId.contains(list.at(i).duid))
            positions.append(i);
    }
    return positions;
}

FoundationData recordOf(const QString &id)
{
    FoundationData record;
    record.duid = id;
    return record;
}

QString deviceId(int number)
{
    return QStringLiteral("DEV%1").arg(number);
}

/// "DEV1" lies in "DEV10" and in "DEV1234", so many ids match several records.
QList<FoundationData> recordsOf(int count, int first = 0)
{
    QList<FoundationData> list;
    for (int i = 0; i < count; ++i)
        list.append(recordOf(deviceId(first + i)));
    return list;
}

QString anyId(const QList<FoundationData> &list, QRandomGenerator &random)
{
    switch (random.bounded(7)) {
    case 0:
        return deviceId(random.bounded(2 * mostNeighbours)); // of a record or not
    case 1:
        return QStringLiteral("X%1Y").arg(random.generate()); // invented
    case 2:
        return hostileText(random);
    case 3:
        return QString(QChar(static_cast<ushort>('0' + random.bounded(10))));
    case 4: // longer than a record's
        return list.isEmpty()
                   ? QString()
                   : QStringLiteral("site-") + list.at(random.bounded(list.size())).duid +
                         QStringLiteral("-b");
    default: // a record's own, the usual case
        return list.isEmpty() ? QString() : list.at(random.bounded(list.size())).duid;
    }
}

/// Adds a record, now and then replaces or clears the whole list.
void changeList(QList<FoundationData> *list, int size, QRandomGenerator &random)
{
    switch (random.bounded(8)) {
    case 0:
        *list = recordsOf(list->size() + random.bounded(1, 5), random.bounded(1000));
        break;
    case 1:
        *list = recordsOf(size);
        break;
    case 2:
        if (random.bounded(4) == 0)
            list->clear();
        break;
    case 3:
        list->append(recordOf(QString())); // matches everybody
        break;
    default:
        list->append(recordOf(anyId(*list, random)));
    }
}

size_t bytesInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

} // namespace

class TestNeighbourMemo : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void samePositionsAsTheWalk_data();
    void samePositionsAsTheWalk();
    void changedRecordsKeepTheirPlace();
    void inventedIdsTakeNoMemory_data();
    void inventedIdsTakeNoMemory();
};

void TestNeighbourMemo::samePositionsAsTheWalk_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("steps");
    QTest::newRow("an empty list") << 0 << 5000;
    QTest::newRow("one record") << 1 << 5000;
    QTest::newRow("ten records") << 10 << 20000;
    QTest::newRow("some hundred records") << 300 << 10000;
    QTest::newRow("a full list") << mostNeighbours << 1500;
}

void TestNeighbourMemo::samePositionsAsTheWalk()
{
    QFETCH(int, size);
    QFETCH(int, steps);
    QRandomGenerator random(static_cast<quint32>(size) + 1);
    QList<FoundationData> list = recordsOf(size);
    NeighbourMemo memo;
    QString lastId;
    for (int i = 0; i < steps; ++i) {
        if (random.bounded(40) == 0)
            changeList(&list, size, random);
        // Half of the reports come from who reported last: an answer that should be forgotten.
        const QString id = random.bounded(2) ? lastId : anyId(list, random);
        lastId = id;
        QVERIFY2(memo.positionsOf(id, list) == plainPositions(id, list),
                 qPrintable(QStringLiteral("\"%1\" among %2").arg(id).arg(list.size())));
    }
}

/// Motion and geometry change all the time; only the length and the ids count.
void TestNeighbourMemo::changedRecordsKeepTheirPlace()
{
    QList<FoundationData> list = recordsOf(12);
    NeighbourMemo memo;
    const QVector<int> expected{1, 11};
    QCOMPARE(memo.positionsOf(QStringLiteral("DEV11"), list), expected);
    for (FoundationData &record : list) {
        record.rotation = 5.0f;
        record.name = QStringLiteral("DEV11");
    }
    QCOMPARE(memo.positionsOf(QStringLiteral("DEV11"), list), expected);
    list = QList<FoundationData>(list); // the same records, a list of its own
    list.detach();
    QCOMPARE(memo.positionsOf(QStringLiteral("DEV11"), list), expected);
}

void TestNeighbourMemo::inventedIdsTakeNoMemory_data()
{
    QTest::addColumn<QList<FoundationData>>("list");
    QTest::addColumn<int>("ids");
    QTest::addColumn<int>("padding"); // characters
    QTest::newRow("that match nothing") << recordsOf(10) << 200000 << 0;
    QTest::newRow("as long as a topic may be") << recordsOf(10) << 2000 << 30000;
    QList<FoundationData> anybody;
    for (int i = 0; i < mostNeighbours; ++i)
        anybody.append(recordOf(QString()));
    QTest::newRow("that match all of a full list") << anybody << 2000 << 0;
}

/// A stranger can invent ids without end; what is remembered of them stays small beside the rest of
/// the process. (A sanitizer's own allocator is not seen by the count.)
void TestNeighbourMemo::inventedIdsTakeNoMemory()
{
    constexpr qint64 mostBytes = 8 << 20;
    QFETCH(QList<FoundationData>, list);
    QFETCH(int, ids);
    QFETCH(int, padding);
    NeighbourMemo memo;
    const QString pad(padding, QLatin1Char('x'));
    const auto before = static_cast<qint64>(bytesInUse());
    for (int i = 0; i < ids; ++i) {
        memo.positionsOf(QString::number(i) + pad, list);
        if (i % 64 == 0) {
            const qint64 more = static_cast<qint64>(bytesInUse()) - before;
            QVERIFY2(more < mostBytes,
                     qPrintable(QStringLiteral("%1 KiB after %2 ids").arg(more / 1024).arg(i + 1)));
        }
    }
    QCOMPARE(memo.positionsOf(QStringLiteral("DEV7"), list),
             plainPositions(QStringLiteral("DEV7"), list));
}

QTEST_APPLESS_MAIN(TestNeighbourMemo)
#include "tst_neighbourmemo.moc"
