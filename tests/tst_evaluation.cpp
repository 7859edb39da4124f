#include <QtTest>

#include <limits>

#include "engine/evaluation.h"

namespace
{

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

/// A jib of \a length at its reference reading: the own one points at the neighbour, the
/// neighbour's at the own tower. No counter-jib, the hook hauled in at the tower.
FoundationData craneWithJib(float length)
{
    FoundationData crane;
    crane.name = QStringLiteral("7#");
    crane.armlen = length;
    return crane;
}

tBasis entryAt(float distance)
{
    tBasis entry;
    entry.name = QStringLiteral("7#");
    entry.location_X = distance;
    return entry;
}

QString textsOf(const QVector<Alarm> &alarms)
{
    QString texts;
    for (const Alarm &alarm : alarms)
        texts += (alarm.triggered ? QLatin1Char('+') : QLatin1Char('-')) + alarm.text;
    return texts;
}

} // namespace

class TestEvaluation : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void calibrationNeedsBothCranes_data();
    void calibrationNeedsBothCranes();
    void calibrationLearnsACraneInTwoReports();
    void namesAreMatchedExactly();
    void reportIsTakenIntoItsEntry();
    void zoneAlarmFollowsTwiceTheSafetyDistance();
    void zoneRaisesWhenTheDistanceIsNotANumber();
    void pairAlarmsFollowTheSafetyDistance();
    void pairsAreIndependent();
    void pairsIgnoreAClearanceThatIsNotANumber();
};

void TestEvaluation::calibrationNeedsBothCranes_data()
{
    QTest::addColumn<float>("own");
    QTest::addColumn<float>("neighbour");
    QTest::addColumn<bool>("isCalibration");
    QTest::newRow("both") << 999.0f << 1000.0f << true;
    QTest::newRow("own crane works") << 998.9f << 999.0f << false;
    QTest::newRow("neighbour works") << 999.0f << 998.9f << false;
    QTest::newRow("not a number") << 999.0f << notANumber << false;
}

void TestEvaluation::calibrationNeedsBothCranes()
{
    QFETCH(float, own);
    QFETCH(float, neighbour);
    QFETCH(bool, isCalibration);
    QList<tBasis> list;
    QCOMPARE(calibrate(craneWithJib(own), craneWithJib(neighbour), &list), isCalibration);
    QCOMPARE(list.size(), isCalibration ? 1 : 0);
}

void TestEvaluation::calibrationLearnsACraneInTwoReports()
{
    FoundationData own = craneWithJib(999.0f);
    own.travel = 20.5f;
    own.rotation = 90.0f;
    own.offset = 3.0f;
    FoundationData report = craneWithJib(999.0f);
    report.duid = QStringLiteral("DEV7");
    report.travel = 24.5f;
    report.rotation = 200.0f;
    report.offset = 4.0f;
    QList<tBasis> list = {entryAt(1.0f)}; // of another device

    QVERIFY(calibrate(own, report, &list));
    QCOMPARE(list.size(), 2);
    QCOMPARE(list[1].duid, QStringLiteral("DEV7"));
    QCOMPARE(list[1].location_X, 45.0f);
    QCOMPARE(list[1].moffset, 3.0f);
    QCOMPARE(list[1].hoffset, 4.0f);
    QVERIFY(list[1].name.isEmpty());

    list[1].location_Y = 7.0f; // of a file that somebody has edited
    QVERIFY(calibrate(own, report, &list));
    QCOMPARE(list.size(), 2);
    QCOMPARE(list[1].name, QStringLiteral("7#"));
    QCOMPARE(list[1].location_X, 45.0f);
    QCOMPARE(list[1].location_Y, 0.0f);
    QCOMPARE(list[1].moffset, 90.0f);
    QCOMPARE(list[1].hoffset, 200.0f);
    // At the own reading of 90: x = 45 sin 90, y = -45 cos 90.
    QCOMPARE(list[1].absolute_X, 45.0f);
    QVERIFY(std::fabs(list[1].absolute_Y) < 1e-4f);
    QCOMPARE(list[0].location_X, 1.0f);
}

void TestEvaluation::namesAreMatchedExactly()
{
    QList<tBasis> list = {entryAt(1.0f), entryAt(2.0f)};
    QCOMPARE(findByName(QStringLiteral("7#"), &list)->location_X, 1.0f);
    QVERIFY(!findByName(QStringLiteral("7"), &list));
    list[0].name = QStringLiteral("a");
    QVERIFY(!findByName(QStringLiteral("A"), &list));
    QVERIFY(!findByName(QString(), &list));
}

void TestEvaluation::reportIsTakenIntoItsEntry()
{
    tBasis entry = entryAt(45.0f);
    entry.moffset = 30.0f;
    entry.hoffset = 200.0f;
    entry.craneheight = 33.0f;
    entry.silentTicks = 12;
    FoundationData own;
    own.offset = 1.0f;
    FoundationData report = craneWithJib(50.0f);
    report.craneheight = 40.0f;
    report.safelen = 6.0f;
    report.type = QStringLiteral("T");
    takeReport(&entry, &own, &report);
    QCOMPARE(own.offset, 30.0f);
    QCOMPARE(report.offset, 200.0f);
    QCOMPARE(report.location_X, 45.0f);
    QCOMPARE(entry.armlen, 50.0f);
    QCOMPARE(entry.type, QStringLiteral("T"));
    QCOMPARE(entry.silentTicks, 0);
    QCOMPARE(entry.craneheight, 33.0f); // the state file's, not the report's
    QCOMPARE(entry.safedistance, 0.0f);
}

void TestEvaluation::zoneAlarmFollowsTwiceTheSafetyDistance()
{
    const QString raised = QStringLiteral("回转距离进人7#塔机\n回转区还有10.00米");
    // A neighbour jib without length is a point, which the search measures exactly: the distance
    // is that of the axes less 20 m.
    const FoundationData own = craneWithJib(20.0f);
    FoundationData report = craneWithJib(0.0f);
    tBasis entry = entryAt(30.25f);
    struct Step {
        float axis;
        float distance;
        QString text;
        bool triggered;
    };
    const Step steps[] = {{30.01f, 10.01f, {}, false},
                          {30.0f, 10.0f, raised, true},
                          {29.0f, 9.0f, {}, false},
                          {30.01f, 10.01f, raised, false},
                          {40.0f, 20.0f, {}, false}};
    for (const Step &step : steps) {
        report.location_X = step.axis;
        const Encounter encounter = encounterOf(own, report);
        QVERIFY(std::fabs(encounter.zone - step.distance) < 0.001f);
        const std::optional<Alarm> alarm = evaluateZone(own, report, encounter, &entry);
        QCOMPARE(alarm.has_value(), !step.text.isEmpty());
        if (alarm) {
            QCOMPARE(alarm->text, step.text);
            QCOMPARE(alarm->triggered, step.triggered);
        }
    }
}

void TestEvaluation::zoneRaisesWhenTheDistanceIsNotANumber()
{
    FoundationData report = craneWithJib(notANumber);
    report.location_X = 1000.0f;
    tBasis entry = entryAt(1000.0f);
    const FoundationData own = craneWithJib(20.0f);
    const Encounter encounter = encounterOf(own, report);
    const std::optional<Alarm> alarm = evaluateZone(own, report, encounter, &entry);
    QVERIFY(alarm && alarm->triggered);
    QCOMPARE(alarm->text, QStringLiteral("回转距离进人7#塔机\n回转区还有nan米"));
    QVERIFY(!evaluateZone(own, report, encounter, &entry));
}

void TestEvaluation::pairAlarmsFollowTheSafetyDistance()
{
    // All of the neighbour in one point on the ground, in line with the own jib: 20 m less.
    const FoundationData own = craneWithJib(20.0f);
    FoundationData report = craneWithJib(0.0f);
    tBasis entry = entryAt(0.0f);
    const auto each = [](char sign) {
        QString texts;
        for (const QString &part : {QStringLiteral("大臂"), QStringLiteral("塔身"),
                                    QStringLiteral("吊绳"), QStringLiteral("后臂")})
            texts += QLatin1Char(sign) + QStringLiteral("\n大臂到7#塔吊%1\n5.00米").arg(part);
        return texts;
    };
    const std::pair<float, QString> steps[] = {{25.01f, {}}, {25.0f, each('+')},  {25.0f, {}},
                                               {24.0f, {}},  {25.01f, each('-')}, {25.01f, {}}};
    for (const auto &[axis, texts] : steps) {
        report.location_X = axis;
        QCOMPARE(textsOf(evaluatePairs(own, report, encounterOf(own, report), &entry)), texts);
    }
}

void TestEvaluation::pairsAreIndependent()
{
    // The own jib, at 30 m, ends 4 m before the neighbour's tower; its hook hangs at the same
    // place.
    FoundationData own = craneWithJib(36.0f);
    own.craneheight = 30.0f;
    own.travel = 36.0f;
    own.height = 20.0f;
    FoundationData report = craneWithJib(20.0f);
    report.craneheight = 50.0f;
    report.location_X = 40.0f;
    report.rotation = 180.0f; // points away
    tBasis entry = entryAt(40.0f);
    QCOMPARE(textsOf(evaluatePairs(own, report, encounterOf(own, report), &entry)),
             QStringLiteral("+\n大臂到7#塔吊塔身\n4.00米+\n吊绳到7#塔吊塔身\n4.00米"));
    QVERIFY(!entry.pairMessages[0 * 4 + 1].isEmpty());
    QVERIFY(!entry.pairMessages[2 * 4 + 1].isEmpty());
    own.armlen = 30.0f; // the hook stays
    QCOMPARE(textsOf(evaluatePairs(own, report, encounterOf(own, report), &entry)),
             QStringLiteral("-\n大臂到7#塔吊塔身\n4.00米"));
}

void TestEvaluation::pairsIgnoreAClearanceThatIsNotANumber()
{
    FoundationData own = craneWithJib(20.0f);
    own.safelen = notANumber;
    FoundationData report = craneWithJib(20.0f);
    report.location_X = 45.0f;
    tBasis entry = entryAt(45.0f);
    entry.pairMessages[3] = QStringLiteral("active");
    QVERIFY(evaluatePairs(own, report, encounterOf(own, report), &entry).isEmpty());
    QCOMPARE(entry.pairMessages[3], QStringLiteral("active"));
}

QTEST_APPLESS_MAIN(TestEvaluation)
#include "tst_evaluation.moc"
