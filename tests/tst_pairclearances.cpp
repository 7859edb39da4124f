#include <QtTest>

#include "tests/cranepairs.h"

namespace
{

QByteArray described(const FoundationData &crane)
{
    QByteArray text;
    for (const float value :
         {crane.location_X, crane.craneheight, crane.foundation, crane.armlen, crane.reararm,
          crane.height, crane.travel, crane.rotation, crane.towerhead, crane.offset})
        text += ' ' + QByteArray::number(static_cast<double>(value), 'g', 9);
    return text;
}

/// What differs and for which pair; empty if the clearances are the same.
QByteArray difference(const CranePair &pair)
{
    const PairClearances plain = plainClearances(pair);
    const PairClearances fast = clearancesOf(pair.own, pair.neighbour);
    const int at = firstDifference(fast, plain);
    if (at < 0)
        return {};
    const auto value = [at](const PairClearances &of) {
        const float number = at == 16 ? of.zone : of.pairs[static_cast<size_t>(at)];
        return QByteArray::number(static_cast<double>(number), 'g', 9);
    };
    return "clearance " + QByteArray::number(at) + " is " + value(fast) + ", not " + value(plain) +
           "; own" + described(pair.own) + ", neighbour" + described(pair.neighbour);
}

} // namespace

class TestPairClearances : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sameBitsAsThePlainForm_data();
    void sameBitsAsThePlainForm();
    void hostileNumbersInEveryPlace();
    void degeneratePairsAreOfAllKinds();
};

void TestPairClearances::sameBitsAsThePlainForm_data()
{
    QTest::addColumn<int>("pairs");
    QTest::addColumn<bool>("isLikely");
    QTest::newRow("cranes of a site") << 50000 << true;
    QTest::newRow("degenerate cranes") << 50000 << false;
}

void TestPairClearances::sameBitsAsThePlainForm()
{
    QFETCH(int, pairs);
    QFETCH(bool, isLikely);
    QRandomGenerator random(1);
    for (int i = 0; i < pairs; ++i) {
        const QByteArray wrong = difference(isLikely ? likelyPair(random) : degeneratePair(random));
        QVERIFY2(wrong.isEmpty(), wrong);
    }
}

/// Each member of either crane alone, so that no other one hides it.
void TestPairClearances::hostileNumbersInEveryPlace()
{
    QRandomGenerator random(2);
    for (int i = 0; i < 10000; ++i) {
        CranePair pair = likelyPair(random);
        FoundationData &crane = random.bounded(2) ? pair.own : pair.neighbour;
        crane.*anyGeometry(random) = hostileNumber(random);
        const QByteArray wrong = difference(pair);
        QVERIFY2(wrong.isEmpty(), wrong);
    }
}

/// Holds the other tests to what they claim: without clearances of each kind they would prove less.
void TestPairClearances::degeneratePairsAreOfAllKinds()
{
    QRandomGenerator random(1);
    int zeros = 0, infinite = 0, notNumbers = 0, usual = 0;
    for (int i = 0; i < 5000; ++i) {
        for (const float clearance : plainClearances(degeneratePair(random)).pairs) {
            if (std::isnan(clearance))
                ++notNumbers;
            else if (std::isinf(clearance))
                ++infinite;
            else
                ++(clearance == 0.0f ? zeros : usual);
        }
    }
    const QByteArray counts = QByteArray::number(zeros) + " zero, " + QByteArray::number(infinite) +
                              " infinite, " + QByteArray::number(notNumbers) + " no number, " +
                              QByteArray::number(usual) + " usual";
    QVERIFY2(qMin(qMin(zeros, infinite), qMin(notNumbers, usual)) > 1000, counts);
}

QTEST_APPLESS_MAIN(TestPairClearances)
#include "tst_pairclearances.moc"
