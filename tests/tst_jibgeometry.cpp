#include <QtTest>

#include <cstring>

#include "geometry/encounter.h"
#include "engine/jcjj.h"

namespace
{

FoundationData craneOf(float rotation, float offset, float x = 0.0f)
{
    FoundationData crane;
    crane.rotation = rotation;
    crane.offset = offset;
    crane.location_X = x;
    return crane;
}

quint32 bitsOf(float value)
{
    quint32 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

} // namespace

class TestJibGeometry : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void directions_data();
    void directions();
    void jibInPlan_data();
    void jibInPlan();
    void segmentsOfACrane();
    void localBasis();
    void clearancesHoldToTheLastBit();
};

void TestJibGeometry::directions_data()
{
    QTest::addColumn<bool>("isNeighbour");
    QTest::addColumn<float>("reading");
    QTest::addColumn<float>("reference");
    QTest::addColumn<float>("degrees");

    QTest::newRow("reading below the reference") << false << 10.0f << 350.0f << 340.0f;
    QTest::newRow("reading above the reference wraps") << false << 350.0f << 10.0f << 20.0f;
    QTest::newRow("at the reference") << false << 30.0f << 30.0f << 0.0f;
    QTest::newRow("two turns are none") << false << 0.0f << 720.0f << 0.0f;
    QTest::newRow("more than a turn below") << false << 800.0f << 0.0f << 280.0f;
    QTest::newRow("neighbour at its reference") << true << 200.0f << 200.0f << 180.0f;
    QTest::newRow("neighbour at a reference below 180") << true << 90.0f << 90.0f << 180.0f;
    QTest::newRow("neighbour short of its reference") << true << 0.0f << 90.0f << 270.0f;
}

void TestJibGeometry::directions()
{
    QFETCH(bool, isNeighbour);
    QFETCH(float, reading);
    QFETCH(float, reference);
    QTEST(isNeighbour ? JCJJ::HcalculateDegree(reading, reference)
                      : JCJJ::McalculateDegree(reading, reference),
          "degrees");
}

void TestJibGeometry::jibInPlan_data()
{
    QTest::addColumn<bool>("isNeighbour");
    QTest::addColumn<float>("rotation");
    QTest::addColumn<float>("offset");
    QTest::addColumn<float>("length");
    QTest::addColumn<QVector3D>("end");

    QTest::newRow("own, pointing at the neighbour")
        << false << 30.0f << 30.0f << 50.0f << QVector3D(50, 0, 7);
    QTest::newRow("own, a quarter turn on: clockwise")
        << false << 120.0f << 30.0f << 50.0f << QVector3D(0, -50, 7);
    QTest::newRow("neighbour, pointing at the own tower")
        << true << 200.0f << 200.0f << 30.0f << QVector3D(10.5f, 0, 7);
    QTest::newRow("neighbour, a quarter turn on")
        << true << 290.0f << 200.0f << 30.0f << QVector3D(40.5f, 30, 7);
}

void TestJibGeometry::jibInPlan()
{
    QFETCH(bool, isNeighbour);
    QFETCH(float, rotation);
    QFETCH(float, offset);
    QFETCH(float, length);
    QFETCH(QVector3D, end);
    QVector3D foundBegin;
    QVector3D foundEnd;
    JCJJ::rotationT3D(craneOf(rotation, offset, 40.5f), length, 7.0f, &foundBegin, &foundEnd,
                      isNeighbour);
    QCOMPARE(foundBegin, QVector3D(isNeighbour ? 40.5f : 0.0f, 0, 7));
    QVERIFY((foundEnd - end).length() < 1e-5f);
    QCOMPARE(foundEnd.z(), 7.0f);
}

void TestJibGeometry::segmentsOfACrane()
{
    FoundationData crane = craneOf(200.0f, 200.0f, 40.5f);
    crane.craneheight = 35.0f;
    crane.foundation = 1.5f;
    crane.towerhead = 6.0f;
    crane.armlen = 30.0f;
    crane.reararm = 12.0f;
    crane.travel = 20.0f;
    crane.height = 10.0f;
    const QList<Line_3D> parts = JCJJ::Lineto3D(crane, 1);

    struct Expected {
        const char *name;
        QVector3D begin, end;
    };
    const Expected expected[] = {
        {"大臂", {40.5f, 0, 36.5f}, {10.5f, 0, 36.5f}}, // jib, to the own tower
        {"塔身", {40.5f, 0, 0}, {40.5f, 0, 42.5f}},     // tower, with its head
        {"吊绳", {20.5f, 0, 36.5f}, {20.5f, 0, 26.5f}}, // rope, below the trolley
        {"后臂", {40.5f, 0, 36.5f}, {52.5f, 0, 36.5f}}, // counter-jib, away from it
    };
    QCOMPARE(parts.size(), 4);
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(parts[i].name, QString::fromUtf8(expected[i].name));
        QVERIFY2((parts[i].begin - expected[i].begin).length() < 1e-5f, expected[i].name);
        QVERIFY2((parts[i].end - expected[i].end).length() < 1e-5f, expected[i].name);
    }
    QCOMPARE(JCJJ::Lineto3D(crane, 0)[1].end, QVector3D(0, 0, 42.5f)); // own: at the origin
}

void TestJibGeometry::localBasis()
{
    const QPointF point = JCJJ::Local_basis(10.0f, 90.0f);
    QVERIFY(std::fabs(point.x()) < 1e-5);
    QVERIFY(std::fabs(point.y() - 10.0) < 1e-5);
}

/// The table comes from a model of its own, tests/data/clearances.py, and holds on every target.
void TestJibGeometry::clearancesHoldToTheLastBit()
{
    QFile table(QStringLiteral(CRANE_TEST_DATA "/clearances.txt"));
    QVERIFY(table.open(QIODevice::ReadOnly));
    QVERIFY(table.readLine().startsWith('#'));
    int clearances = 0;
    while (!table.atEnd()) {
        std::vector<float> row;
        for (const QByteArray &word : table.readLine().split(' '))
            row.push_back(std::strtof(word.constData(), nullptr));
        QCOMPARE(row.size(), size_t(8 + 8 + 1 + 17));
        auto value = row.cbegin();
        const auto next = [&value] { return *value++; };
        const auto crane = [&next] {
            FoundationData record;
            for (float FoundationData::*field :
                 {&FoundationData::craneheight, &FoundationData::foundation,
                  &FoundationData::armlen, &FoundationData::reararm, &FoundationData::height,
                  &FoundationData::travel, &FoundationData::rotation, &FoundationData::offset})
                record.*field = next();
            return record;
        };
        const FoundationData own = crane();
        FoundationData neighbour = crane();
        neighbour.location_X = next();

        const Encounter encounter = encounterOf(own, neighbour);
        QCOMPARE(bitsOf(encounter.zone), bitsOf(next()));
        for (const float clearance : encounter.pairs)
            QCOMPARE(bitsOf(clearance), bitsOf(next()));
        clearances += 17;
    }
    QCOMPARE(clearances, 120 * 17);
}

QTEST_APPLESS_MAIN(TestJibGeometry)
#include "tst_jibgeometry.moc"
