#include "tools/sim/calmcourse.h"
#include "tools/sim/cranemotion.h"
#include "tools/sim/radiotalk.h"
#include "tools/sim/silence.h"
#include "tools/sim/site.h"
#include "tools/sim/sitedocuments.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QVector3D>
#include <QtTest>

#include <cmath>

Q_DECLARE_METATYPE(DriveLimits)

namespace
{
constexpr double pi = 3.14159265358979323846;

struct PlanPoint {
    double east = 0;
    double north = 0;
};

double distance(PlanPoint one, PlanPoint other)
{
    return std::hypot(one.east - other.east, one.north - other.north);
}

/// The point of a crane's jib at \a radius metres, from what its encoders read.
PlanPoint pointOfJib(const SiteCrane &crane, double rotation, double radius)
{
    const double angle = (rotation + crane.zeroBearing) * pi / 180;
    return {crane.x + radius * std::sin(angle), crane.y + radius * std::cos(angle)};
}

/// A part of a crane that alarms speak of: a line, on the site plan.
struct Part {
    QString name;
    QVector3D begin;
    QVector3D end;
};

QVector3D onSite(PlanPoint point, double height)
{
    return QVector3D(float(point.east), float(point.north), float(height));
}

Part jibOf(const SiteCrane &crane, const CraneReading &reading, double height)
{
    return {QStringLiteral("jib"), onSite({crane.x, crane.y}, height),
            onSite(pointOfJib(crane, reading.rotation, crane.armLength), height)};
}

QVector<Part> partsOf(const SiteCrane &crane, const CraneReading &reading)
{
    const PlanPoint axis{crane.x, crane.y};
    const PlanPoint trolley = pointOfJib(crane, reading.rotation, reading.travel);
    const double top = crane.craneHeight;
    return {jibOf(crane, reading, top),
            {QStringLiteral("tower"), onSite(axis, 0), onSite(axis, top)},
            {QStringLiteral("rope"), onSite(trolley, top), onSite(trolley, top - reading.height)},
            {QStringLiteral("counter-jib"), onSite(axis, top),
             onSite(pointOfJib(crane, reading.rotation, -crane.rearArm), top)}};
}

/// Metres between two parts, from every metre of the first: up to half a metre too much.
double distance(const Part &one, const Part &other)
{
    const QVector3D way = other.end - other.begin;
    const float steps = std::ceil((one.end - one.begin).length());
    float nearest = HUGE_VALF;
    for (float step = 0; step <= steps; ++step) {
        const QVector3D point = one.begin + (one.end - one.begin) * (step / steps);
        const float share =
            QVector3D::dotProduct(point - other.begin, way) / std::max(way.lengthSquared(), 1e-6f);
        const QVector3D foot = other.begin + way * qBound(0.0f, share, 1.0f);
        nearest = std::min(nearest, (point - foot).length());
    }
    return static_cast<double>(nearest);
}

/// What the controller of \a own is to say of \a other, at a safety distance of 5 m.
QSet<QString> alarmsBetween(const SiteCrane &own, const CraneReading &ownReading,
                            const SiteCrane &other, const CraneReading &otherReading)
{
    QSet<QString> alarms;
    if (distance(jibOf(own, ownReading, 0), jibOf(other, otherReading, 0)) <= 10)
        alarms.insert(QStringLiteral("zone"));
    for (const Part &part : partsOf(own, ownReading)) {
        for (const Part &otherPart : partsOf(other, otherReading)) {
            if (distance(part, otherPart) <= 5)
                alarms.insert(part.name + QLatin1Char('/') + otherPart.name);
        }
    }
    return alarms;
}

/// A crane at the place of a 3-4-5 triangle: 50 m from the origin.
SiteCrane craneAt(double x, double y, double zeroBearing)
{
    SiteCrane crane;
    crane.duid = QStringLiteral("CRANE-002");
    crane.fieldNumber = QStringLiteral("2#");
    crane.x = x;
    crane.y = y;
    crane.zeroBearing = zeroBearing;
    crane.armLength = 45;
    return crane;
}

CraneReading readingAt(SiteCourse &course, const Site &site, int index, double seconds)
{
    return readingOf(site.at(index), course.poseAt(index, seconds));
}

/// All crane-state documents of \a seconds of a site, each crane looked at \a looks times for
/// each document that is kept.
QVector<QByteArray> courseOf(const Site &site, double seconds, int looks)
{
    QVector<QByteArray> documents;
    for (const SiteCrane &crane : site) {
        CraneMotion motion(crane);
        for (int i = 0; i < seconds * 2 * looks; ++i) {
            const CranePose pose = motion.poseAt(i / (2.0 * looks));
            if (i % looks == 0)
                documents.append(craneStateDocument(readingOf(crane, pose)));
        }
    }
    return documents;
}

/// Speed and acceleration of one axis, from positions at equal steps.
struct Rates {
    double fastest = 0;
    double strongest = 0;   // acceleration
    double largestStep = 0; // between two accelerations
    double lowest = HUGE_VAL;
    double highest = -HUGE_VAL;

    explicit Rates(const QVector<double> &positions, double step)
    {
        double speedBefore = 0;
        double accelerationBefore = 0;
        for (int i = 1; i < positions.size(); ++i) {
            const double speed = (positions.at(i) - positions.at(i - 1)) / step;
            const double acceleration = i == 1 ? 0 : (speed - speedBefore) / step;
            fastest = std::max(fastest, std::abs(speed));
            strongest = std::max(strongest, std::abs(acceleration));
            largestStep = std::max(largestStep, std::abs(acceleration - accelerationBefore));
            lowest = std::min(lowest, positions.at(i));
            highest = std::max(highest, positions.at(i));
            speedBefore = speed;
            accelerationBefore = acceleration;
        }
    }
};

const QByteArray attributeReport =
    R"({"self":{"duid":"CRANE-001","label":"1#","armlenth":45,"x":0,"y":0},"neighbours":[
        {"duid":"CRANE-009","label":"9#","armlenth":40,"x":1,"y":2},
        {"duid":"CRANE-002","label":"2#","armlenth":45,"x":29.99,"y":-40}]})";
const QByteArray attitudeReport =
    R"({"self":{"slewing":36.86,"luffing":25,"hoisting":10,"label":"1#"},"neighbours":[
        {"duid":"CRANE-009","label":"9#","slewing":0,"luffing":25,"hoisting":10},
        {"duid":"CRANE-002","label":"2#","slewing":-143.12,"luffing":25,"hoisting":10}]})";
} // namespace

class TestSite : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aSiteCanBeCommissioned_data();
    void aSiteCanBeCommissioned();
    void jibsOverlapAndDifferInHeight();
    void slewingReadings_data();
    void slewingReadings();
    void calibrationOfAWorkedExample();
    void calibrationOfEveryPairMeetsInOnePoint();
    void movesTakeTheirTime_data();
    void movesTakeTheirTime();
    void cranesKeepToTheirLimits_data();
    void cranesKeepToTheirLimits();
    void theSameSeedRepeatsEveryMessage();
    void jibsComeNearEachOtherSoonAndOften();
    void oneCaseAtATimeOnACalmSite_data();
    void oneCaseAtATimeOnACalmSite();
    void documentsSayWhatWasMeant_data();
    void documentsSayWhatWasMeant();
    void neighboursSpeakOnTopicsOfTheProject();
    void calibrationIsSeenInTheReports_data();
    void calibrationIsSeenInTheReports();
    void armLengthsAreSeenInTheReport_data();
    void armLengthsAreSeenInTheReport();
    void silenceComesAndGoes_data();
    void silenceComesAndGoes();
    void radioFramesInBytes();
    void motionIsRepeatedAtRest();
};

void TestSite::aSiteCanBeCommissioned_data()
{
    QTest::addColumn<int>("cranes");
    QTest::addColumn<quint32>("seed");

    QTest::newRow("two cranes") << 2 << 1u;
    QTest::newRow("the usual site") << 6 << 1u;
    QTest::newRow("largest site") << 200 << 1u;
    QTest::newRow("largest site, another seed") << 200 << 4294967295u;
}

void TestSite::aSiteCanBeCommissioned()
{
    QFETCH(int, cranes);
    QFETCH(quint32, seed);
    const Site site = buildSite(cranes, seed);
    QCOMPARE(site.size(), cranes);

    // The controller finds cranes by parts of a topic: ids of one length do not contain another.
    QSet<QString> ids;
    QSet<QString> labels;
    for (const SiteCrane &crane : site) {
        QCOMPARE(crane.duid.size(), site.first().duid.size());
        QVERIFY(!crane.duid.contains(QLatin1String("Data")));
        QVERIFY(!crane.duid.contains(QLatin1String("Workset")));
        QVERIFY(!crane.duid.contains(QLatin1Char('/')));
        ids.insert(crane.duid);
        labels.insert(crane.fieldNumber);
    }
    QCOMPARE(ids.size(), cranes);
    QCOMPARE(labels.size(), cranes);
    QVERIFY(!neighbourStateTopic(site.last()).contains(site.first().duid));
}

void TestSite::jibsOverlapAndDifferInHeight()
{
    for (quint32 seed = 1; seed <= 20; ++seed) {
        const Site site = buildSite(7, seed); // one full ring around the own crane
        const SiteCrane &own = site.first();
        int above = 0;
        for (const SiteCrane &crane : site.mid(1)) {
            const double apart = std::hypot(crane.x, crane.y);
            QVERIFY2(own.armLength + crane.armLength > apart + 20, "jibs overlap");
            QVERIFY2(std::max(own.armLength, crane.armLength) < apart - 3, "jibs miss the towers");
            QVERIFY(std::abs(own.craneHeight - crane.craneHeight) >= 3);
            above += crane.craneHeight > own.craneHeight ? 1 : 0;
        }
        QCOMPARE(above, 3);
    }
}

void TestSite::slewingReadings_data()
{
    QTest::addColumn<double>("zeroBearing");
    QTest::addColumn<double>("bearing");
    QTest::addColumn<double>("reading");

    QTest::newRow("encoder set to zero at north") << 0.0 << 36.87 << 36.87;
    QTest::newRow("encoder set to zero beyond the jib") << 40.0 << 36.87 << 356.87;
    QTest::newRow("jib turned back past north") << 0.0 << -10.0 << 350.0;
    QTest::newRow("jib turned twice round") << 10.0 << 735.0 << 5.0;
    QTest::newRow("half a step below a full turn") << 0.0 << 359.996 << 0.0;
    QTest::newRow("half a step below zero") << 0.0 << -0.004 << 0.0;
}

void TestSite::slewingReadings()
{
    QFETCH(double, zeroBearing);
    QFETCH(double, bearing);
    QFETCH(double, reading);
    QCOMPARE(slewingReading(craneAt(0, 0, zeroBearing), bearing) + 1, reading + 1);
}

void TestSite::calibrationOfAWorkedExample()
{
    // 30 m east and 40 m north: 50 m away, bearing atan(30/40) = 36.87 degrees, back 216.87.
    const SiteCrane own = craneAt(0, 0, 0);
    const SiteCrane neighbour = craneAt(30, 40, 220);
    const CalibrationPose pose = calibrationPose(own, neighbour);
    QCOMPARE(pose.own.rotation, 36.87);
    QCOMPARE(pose.neighbour.rotation, 356.87);
    QCOMPARE(pose.own.travel, 25.0);
    QCOMPARE(pose.neighbour.travel, 25.0);
}

void TestSite::calibrationOfEveryPairMeetsInOnePoint()
{
    const Site site = buildSite(12, 3);
    for (const SiteCrane &one : site) {
        for (const SiteCrane &other : site) {
            if (one.duid == other.duid)
                continue;
            const CalibrationPose pose = calibrationPose(one, other);
            const double apart = distance({one.x, one.y}, {other.x, other.y});
            QVERIFY(std::abs(pose.own.travel + pose.neighbour.travel - apart) < 0.0051);
            const PlanPoint hook = pointOfJib(one, pose.own.rotation, pose.own.travel);
            const PlanPoint otherHook =
                pointOfJib(other, pose.neighbour.rotation, pose.neighbour.travel);
            QVERIFY(distance(hook, otherHook) < 0.05);
        }
    }
}

void TestSite::movesTakeTheirTime_data()
{
    QTest::addColumn<double>("to");
    QTest::addColumn<DriveLimits>("limits");
    QTest::addColumn<double>("seconds"); // of the whole move
    QTest::addColumn<double>("after2");  // where it is 2 s after the begin

    // A ramp lasts pi v / 2a; the whole move way / v and one ramp. After t of a ramp of T the way
    // is v T (t/T - sin(pi t/T) / pi) / 2.
    // v = 4, a = pi: ramp 2 s, of 4 m.
    QTest::newRow("long, with full speed") << 40.0 << DriveLimits{4, pi} << 12.0 << 4.0;
    QTest::newRow("backwards") << -40.0 << DriveLimits{4, pi} << 12.0 << -4.0;
    // Two ramps of 2 s cover 8 m.
    QTest::newRow("just full speed") << 8.0 << DriveLimits{4, pi} << 4.0 << 4.0;
    // A quarter of that way: half the speed, half the time.
    QTest::newRow("short, never at full speed") << 2.0 << DriveLimits{4, pi} << 2.0 << 2.0;
    QTest::newRow("nowhere") << 0.0 << DriveLimits{4, pi} << 0.0 << 0.0;
    // Half of a ramp of 4 s: v T (1/2 - 1/pi) / 2.
    QTest::newRow("in the middle of a ramp")
        << 40.0 << DriveLimits{4, pi / 2} << 14.0 << 8 * (0.5 - 1 / pi);
}

void TestSite::movesTakeTheirTime()
{
    QFETCH(double, to);
    QFETCH(DriveLimits, limits);
    QFETCH(double, seconds);
    QFETCH(double, after2);
    const DriveMove move(100, 100 + to, 7, limits);
    QCOMPARE(move.end(), 7 + seconds);
    QCOMPARE(move.positionAt(6), 100.0);
    QCOMPARE(move.positionAt(9), 100 + after2);
    QCOMPARE(move.positionAt(7 + seconds / 2), 100 + to / 2);
    QCOMPARE(move.positionAt(7 + seconds + 1), 100 + to);
}

void TestSite::cranesKeepToTheirLimits_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed : {1u, 2u, 77u})
        QTest::addRow("seed %u", seed) << seed;
}

void TestSite::cranesKeepToTheirLimits()
{
    QFETCH(quint32, seed);
    constexpr double step = 0.05;
    for (const SiteCrane &crane : buildSite(6, seed)) {
        CraneMotion motion(crane);
        QVector<double> bearings;
        QVector<double> travels;
        QVector<double> ropes;
        for (int i = 0; i < 12000; ++i) { // ten minutes
            const CranePose pose = motion.poseAt(i * step);
            bearings.append(pose.bearing);
            travels.append(pose.travel);
            ropes.append(pose.rope);
        }
        const Rates slewing(bearings, step);
        QVERIFY(slewing.fastest > 4.7 && slewing.fastest < 4.8001); // 0.8 turns a minute
        QVERIFY(slewing.strongest > 0.9 && slewing.strongest < 1.001);
        QVERIFY(slewing.largestStep < 0.03); // the jib does not jerk
        QVERIFY(slewing.highest - slewing.lowest <= 360);

        const Rates trolley(travels, step);
        QVERIFY(trolley.fastest > 0.9 && trolley.fastest < 1.0001);
        QVERIFY(trolley.strongest < 0.4001);
        QVERIFY(trolley.lowest >= 3 && trolley.highest < crane.armLength);

        const Rates hoist(ropes, step);
        QVERIFY(hoist.fastest > 0.9 && hoist.fastest < 1.0001);
        QVERIFY(hoist.strongest < 0.5001);
        QVERIFY(hoist.lowest >= 4 && hoist.highest < crane.craneHeight);
    }
}

void TestSite::theSameSeedRepeatsEveryMessage()
{
    const QVector<QByteArray> course = courseOf(buildSite(6, 5), 120, 1);
    QCOMPARE(course.size(), 6 * 240);
    QCOMPARE(courseOf(buildSite(6, 5), 120, 1), course);
    QCOMPARE(courseOf(buildSite(6, 5), 120, 10), course); // looked at more often
    QVERIFY(courseOf(buildSite(6, 6), 120, 1) != course);
}

void TestSite::jibsComeNearEachOtherSoonAndOften()
{
    constexpr double zone = 10; // metres, twice the safety distance
    for (quint32 seed = 1; seed <= 10; ++seed) {
        const Site site = buildSite(6, seed);
        BusyCourse course(site, 0);
        QVector<bool> isNear(5, false);
        int approaches = 0;
        int departures = 0;
        double first = HUGE_VAL;
        for (double time = 0; time < 60; time += 1) {
            const Part own = jibOf(site.first(), readingAt(course, site, 0, time), 0);
            for (int i = 0; i < 5; ++i) {
                const Part jib = jibOf(site.at(i + 1), readingAt(course, site, i + 1, time), 0);
                const double apart = distance(own, jib);
                approaches += !isNear[i] && apart <= zone ? 1 : 0;
                departures += isNear[i] && apart > zone ? 1 : 0;
                isNear[i] = apart <= zone;
                if (isNear[i])
                    first = std::min(first, time);
            }
        }
        const QByteArray row = QByteArrayLiteral("seed ") + QByteArray::number(seed);
        QVERIFY2(first < 15, row.constData());
        QVERIFY2(approaches >= 4, row.constData());
        QVERIFY2(departures >= 3, row.constData());
    }
}

void TestSite::oneCaseAtATimeOnACalmSite_data()
{
    QTest::addColumn<int>("cranes");
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<QString>("cases"); // beside the zone, in their order

    // The jibs of 2#, 4# and 6# are higher than the own one, the others lower.
    const QString ofFive = QStringLiteral("-,rope/jib,jib/jib,-,jib/rope,"
                                          "jib/rope,rope/jib,-,rope/jib,jib/jib,"
                                          "jib/jib,-,jib/rope,rope/jib,-");
    QTest::newRow("two cranes") << 2 << 3u << "-,jib/rope,jib/jib";
    for (quint32 seed = 1; seed <= 3; ++seed)
        QTest::addRow("the usual site, seed %u", seed) << 6 << seed << ofFive;
    QTest::newRow("more than come near") << 9 << 1u << QString();
}

void TestSite::oneCaseAtATimeOnACalmSite()
{
    QFETCH(int, cranes);
    QFETCH(quint32, seed);
    QFETCH(QString, cases);
    const Site site = calmSite(buildSite(cranes, seed));
    CalmCourse course(site, 14);
    QVector<CraneReading> before(cranes);
    QSet<QString> alarms; // since a neighbour came near
    QStringList seen;
    int silences = 0;
    bool wasSilent = false;
    for (double time = 0; seen.size() < 15; time += 1) {
        QVERIFY2(time < 2000, qPrintable(seen.join(QLatin1Char(','))));
        int moving = 0;
        int alarmed = 0;
        for (int i = 0; i < cranes; ++i) {
            const CraneReading reading = readingAt(course, site, i, time);
            const bool isMoving =
                reading.rotation != before.at(i).rotation || reading.travel != before.at(i).travel;
            moving += isMoving && time > 0 ? 1 : 0;
            before[i] = reading;
            const QSet<QString> now =
                i == 0 ? QSet<QString>()
                       : alarmsBetween(site.first(), before.first(), site.at(i), reading);
            alarmed += now.isEmpty() ? 0 : 1;
            alarms += now;
        }
        QVERIFY(moving <= 1 && alarmed <= 1);
        if (alarmed == 0 && !alarms.isEmpty()) {
            QVERIFY(alarms.remove(QStringLiteral("zone")) && alarms.size() <= 1);
            seen.append(alarms.isEmpty() ? QStringLiteral("-") : *alarms.begin());
            alarms.clear();
        }
        const bool isSilent = course.isSilentAt(time);
        QVERIFY(!isSilent || alarmed == 0);
        silences += isSilent && !wasSilent ? 1 : 0;
        wasSilent = isSilent;
    }
    QVERIFY(seen.join(QLatin1Char(',')).startsWith(cases));
    QVERIFY(silences >= 2);
}

void TestSite::documentsSayWhatWasMeant_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QByteArray>("meant");

    SiteCrane crane = craneAt(30, 40, 0);
    crane.craneHeight = 44;
    crane.rearArm = 13;
    crane.armWidth = 1.5;
    crane.safeLength = 5;

    QTest::newRow("device id") << deviceIdDocument(crane)
                               << QByteArray(R"({"duid":{"value":"CRANE-002"}})");
    QTest::newRow("registration")
        << registrationDocument(crane)
        << QByteArray(
               R"({"reginfo":{"type":{"id":3},"generic":{"fieldnumber":"2#"},"owner":{"id":"O4"},
            "company":{"id":"C1","department":{"id":"D2","project":{"id":"P3"}}},
            "vendor":{"id":"V5"}}})");
    QTest::newRow("working set for the calibration")
        << worksetDocument(crane, calibrationArmLength)
        << QByteArray(
               R"({"workset":[{"object":"general","fieldnumber":"2#","type":"hammerhead",
                   "armlen":999,"reararm":13,"armwidth":1.5,"craneheight":44,"safelen":5,
                   "heightzero":"ground"}]})");
    QTest::newRow("crane state")
        << craneStateDocument({12.5, 20, 30.25})
        << QByteArray(
               R"({"tower":[{"rotation":12.5,"gantry":[{"travel":20,"hoist":[{"height":30.25}]}]}]})");
}

void TestSite::documentsSayWhatWasMeant()
{
    QFETCH(QByteArray, document);
    QFETCH(QByteArray, meant);
    const QJsonDocument expected = QJsonDocument::fromJson(meant);
    QVERIFY(expected.isObject());
    QCOMPARE(QJsonDocument::fromJson(document), expected);
}

void TestSite::neighboursSpeakOnTopicsOfTheProject()
{
    const SiteCrane crane = craneAt(30, 40, 0);
    QCOMPARE(neighbourStateTopic(crane), QStringLiteral("F/3/0/C1/D2/P3/V5/O4/0/CRANE-002/Data"));
    QCOMPARE(neighbourWorksetTopic(crane),
             QStringLiteral("F/3/0/C1/D2/P3/V5/O4/0/CRANE-002/Workset"));
}

void TestSite::calibrationIsSeenInTheReports_data()
{
    QTest::addColumn<QByteArray>("attribute");
    QTest::addColumn<QByteArray>("attitude");
    QTest::addColumn<bool>("isSeen");

    const auto attribute = [](const char *what, const char *with) {
        return QByteArray(attributeReport).replace(what, with);
    };
    const auto attitude = [](const char *what, const char *with) {
        return QByteArray(attitudeReport).replace(what, with);
    };
    QTest::newRow("calibrated") << attributeReport << attitudeReport << true;
    QTest::newRow("no reports") << QByteArray() << QByteArray() << false;
    QTest::newRow("only what the broker kept") << attributeReport << QByteArray() << false;
    QTest::newRow("broken report") << attributeReport.left(90) << attitudeReport << false;
    QTest::newRow("unknown crane")
        << attribute("CRANE-002", "CRANE-003") << attitudeReport << false;
    QTest::newRow("name not yet known") << attribute("2#", "") << attitudeReport << false;
    QTest::newRow("another place") << attribute("29.99", "28.99") << attitudeReport << false;
    QTest::newRow("place mirrored") << attribute("-40", "40") << attitudeReport << false;
    QTest::newRow("neighbour's reference missed")
        << attributeReport << attitude("-143.12", "36.87") << false;
    QTest::newRow("own jib elsewhere") << attributeReport << attitude("36.86", "40") << false;
    QTest::newRow("first of the two reports")
        << attributeReport << attitude(R"("hoisting":10})", R"("hoisting":11})") << false;
}

void TestSite::calibrationIsSeenInTheReports()
{
    QFETCH(QByteArray, attribute);
    QFETCH(QByteArray, attitude);
    QFETCH(bool, isSeen);
    const SiteCrane neighbour = craneAt(30, 40, 0);
    const CalibrationPose pose = calibrationPose(craneAt(0, 0, 0), neighbour);
    QCOMPARE(showsCalibration(attribute, attitude, neighbour, pose), isSeen);
}

void TestSite::armLengthsAreSeenInTheReport_data()
{
    QTest::addColumn<QByteArray>("report");
    QTest::addColumn<bool>("isSeen");

    const auto with = [](const char *was, const char *is) {
        return QByteArray(attributeReport).replace(was, is);
    };
    QTest::newRow("all real") << attributeReport << true;
    QTest::newRow("own still in calibration")
        << with(R"("1#","armlenth":45)", R"("1#","armlenth":999)") << false;
    QTest::newRow("neighbour still in calibration")
        << with(R"("2#","armlenth":45)", R"("2#","armlenth":999)") << false;
    QTest::newRow("neighbour missing") << with("CRANE-002", "CRANE-003") << false;
    QTest::newRow("no report") << QByteArray() << false;
}

void TestSite::armLengthsAreSeenInTheReport()
{
    QFETCH(QByteArray, report);
    QFETCH(bool, isSeen);
    SiteCrane own = craneAt(0, 0, 0);
    own.duid = QStringLiteral("CRANE-001");
    QCOMPARE(showsArmLengths(report, {own, craneAt(30, 40, 0)}), isSeen);
}

void TestSite::silenceComesAndGoes_data()
{
    QTest::addColumn<double>("seconds");
    QTest::addColumn<bool>("isSilent");

    QTest::newRow("begin") << 0.0 << false;
    QTest::newRow("before the first silence") << 19.9 << false;
    QTest::newRow("silent") << 20.0 << true;
    QTest::newRow("still silent") << 33.9 << true;
    QTest::newRow("back") << 34.0 << false;
    QTest::newRow("second round") << 80.5 << true;
}

void TestSite::silenceComesAndGoes()
{
    QFETCH(double, seconds);
    QFETCH(bool, isSilent);
    Silence silence;
    silence.length = 14;
    QCOMPARE(silence.isSilentAt(seconds), isSilent);
    silence.length = 0;
    QVERIFY(!silence.isSilentAt(seconds));
}

void TestSite::radioFramesInBytes()
{
    QCOMPARE(radioCheck("123456789"), quint16(0x4b37)); // published
    CraneReading reading;
    reading.height = 12.34;
    reading.travel = 20;
    reading.rotation = 358; // -2.00
    QByteArray frame = radioMotionFrame(3, reading);
    QCOMPARE(frame.left(10).toHex(' '), QByteArray("00 03 00 01 04 d2 07 d0 ff 38"));
    QCOMPARE(radioCheck(frame), quint16(0)); // a frame with its check value leaves nothing over
    for (const double rotation : {0.0, 179.99, 180.0, 359.99}) {
        reading.rotation = rotation;
        frame = radioMotionFrame(3, reading);
        const int hundredths =
            static_cast<qint16>(static_cast<quint8>(frame.at(8)) << 8 | quint8(frame.at(9)));
        QCOMPARE((hundredths + 36000) % 36000, static_cast<int>(std::lround(rotation * 100)));
    }
    const SiteCrane crane = craneAt(0, 0, 0); // jib 45 m
    QCOMPARE(radioAttributeFrame(0x1234, crane).left(6).toHex(' '),
             QByteArray("12 34 00 02 11 94"));
}

void TestSite::motionIsRepeatedAtRest()
{
    RadioRhythm rhythm;
    QVERIFY(!rhythm.isDue(QByteArray())); // no reading yet
    QVector<int> ticks;
    for (int tick = 0; tick < 80; ++tick) {
        if (rhythm.isDue(tick < 50 ? "here" : "there"))
            ticks.append(tick);
    }
    QCOMPARE(ticks, (QVector<int>{0, 22, 43, 50, 72})); // 11 s, 10.5 s
}

QTEST_APPLESS_MAIN(TestSite)
#include "tst_site.moc"
