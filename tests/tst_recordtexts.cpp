#include <QtTest>

#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>

#include "model/foundationdata.h"
#include "tests/hostilevalues.h"
#include "state/recordtexts.h"

namespace
{

// The members of mymqtt.txt.
constexpr NumberMember<FoundationData> numberMembers[] = {
    {QLatin1String("armlen"), &FoundationData::armlen},
    {QLatin1String("reararm"), &FoundationData::reararm},
    {QLatin1String("craneheight"), &FoundationData::craneheight},
    {QLatin1String("foundation"), &FoundationData::foundation},
    {QLatin1String("offset"), &FoundationData::offset},
    {QLatin1String("armwidth"), &FoundationData::armwidth},
};

constexpr TextMember<FoundationData> textMembers[] = {
    {QLatin1String("top"), &FoundationData::duid},
    {QLatin1String("name"), &FoundationData::name},
    {QLatin1String("type"), &FoundationData::type},
    {QLatin1String("heightzero"), &FoundationData::heightzero},
};

using Records = QList<FoundationData>;

QByteArray plainText(const Records &list)
{
    QJsonArray records;
    for (const FoundationData &record : list)
        records.append(writeMembers(record, numberMembers, textMembers));
    return QJsonDocument(records).toJson(QJsonDocument::Compact);
}

float anyNumber(QRandomGenerator &random)
{
    return random.bounded(3) ? plainNumber(random, -9.0f, 99.0f) : hostileNumber(random);
}

QString anyText(QRandomGenerator &random)
{
    return random.bounded(3) ? QStringLiteral("DEV%1").arg(random.bounded(99))
                             : hostileText(random);
}

FoundationData anyRecord(QRandomGenerator &random)
{
    FoundationData record;
    for (const auto &member : numberMembers)
        record.*member.field = anyNumber(random);
    for (const auto &member : textMembers)
        record.*member.field = anyText(random);
    return record;
}

Records anyRecords(int count, QRandomGenerator &random)
{
    Records list;
    while (list.size() < count)
        list.append(anyRecord(random));
    return list;
}

/// Changes one member of one record.
void changeOne(Records *list, QRandomGenerator &random)
{
    if (list->isEmpty())
        return;
    FoundationData &record = (*list)[random.bounded(list->size())];
    const int member = random.bounded(10);
    if (member < 6)
        record.*numberMembers[member].field = anyNumber(random);
    else
        record.*textMembers[member - 6].field = anyText(random);
}

void step(Records *list, int size, QRandomGenerator &random)
{
    switch (random.bounded(16)) {
    case 0:
    case 1:
        list->append(anyRecord(random));
        break;
    case 2:
        *list = anyRecords(size, random);
        break;
    case 3:
        if (!list->isEmpty())
            list->removeAt(random.bounded(list->size()));
        break;
    case 4:
        if (!list->isEmpty())
            list->swapItemsAt(0, random.bounded(list->size()));
        break;
    case 5: // motion, which the file does not hold
        for (FoundationData &record : *list)
            record.rotation += 1.0f;
        break;
    case 6: // equal texts at another address
        for (FoundationData &record : *list)
            record.name = QString(record.name.constData(), record.name.size());
        break;
    case 7:
        if (random.bounded(4) == 0)
            list->clear();
        break;
    case 8: // the sign alone, also of 0
        for (FoundationData &record : *list)
            record.armwidth = -record.armwidth;
        break;
    default:
        changeOne(list, random);
    }
}

/// From a little before the place where the texts part.
QByteArray difference(const QByteArray &fast, const QByteArray &plain)
{
    int at = 0;
    while (at < fast.size() && at < plain.size() && fast.at(at) == plain.at(at))
        ++at;
    const int from = qMax(0, at - 60);
    return "at " + QByteArray::number(at) + ": \"" + fast.mid(from, 100) + "\" instead of \"" +
           plain.mid(from, 100) + '"';
}

} // namespace

class TestRecordTexts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void equalQtsAfterEveryStep_data();
    void equalQtsAfterEveryStep();
    void aFullList();
};

void TestRecordTexts::equalQtsAfterEveryStep_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("steps");
    QTest::newRow("an empty list") << 0 << 500;
    QTest::newRow("one record") << 1 << 3000;
    QTest::newRow("ten records") << 10 << 3000;
    QTest::newRow("two hundred records") << 200 << 500;
}

void TestRecordTexts::equalQtsAfterEveryStep()
{
    QFETCH(int, size);
    QFETCH(int, steps);
    QRandomGenerator random(static_cast<quint32>(size) + 1);
    Records list = anyRecords(size, random);
    RecordTexts<FoundationData> texts;
    for (int i = 0; i < steps; ++i) {
        const QByteArray fast = texts.text(numberMembers, textMembers, list);
        const QByteArray plain = plainText(list);
        QVERIFY2(fast == plain, difference(fast, plain));
        step(&list, size, random);
    }
}

void TestRecordTexts::aFullList()
{
    QRandomGenerator random(4);
    Records list = anyRecords(9990, random);
    RecordTexts<FoundationData> texts;
    while (list.size() < 9999) {
        list.append(anyRecord(random));
        changeOne(&list, random);
        const QByteArray fast = texts.text(numberMembers, textMembers, list);
        const QByteArray plain = plainText(list);
        QVERIFY2(fast == plain, difference(fast, plain));
    }
}

QTEST_APPLESS_MAIN(TestRecordTexts)
#include "tst_recordtexts.moc"
