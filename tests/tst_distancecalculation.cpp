#include <QtTest>

#include <QVector3D>

#include <limits>

#include "geometry/distancecalculation.h"

class TestDistanceCalculation : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void pointToSegment_data();
    void pointToSegment();
    void segmentToSegment_data();
    void segmentToSegment();
    void notANumberEndsTheSearch();
};

void TestDistanceCalculation::pointToSegment_data()
{
    QTest::addColumn<QVector3D>("point");
    QTest::addColumn<QVector3D>("end");
    QTest::addColumn<float>("metres");

    const QVector3D ten(10, 0, 0);
    QTest::newRow("beside the segment: perpendicular") << QVector3D(5, 3, 0) << ten << 3.0f;
    QTest::newRow("before its begin: to the begin") << QVector3D(-4, 3, 0) << ten << 5.0f;
    QTest::newRow("past its end: to the end") << QVector3D(13, 4, 0) << ten << 5.0f;
    QTest::newRow("level with its begin") << QVector3D(0, 3, 4) << ten << 5.0f;
    QTest::newRow("level with its end") << QVector3D(10, 3, 4) << ten << 5.0f;
    QTest::newRow("on it") << QVector3D(7, 0, 0) << ten << 0.0f;
    QTest::newRow("rope hauled right in: a point") << QVector3D(3, 4, 0) << QVector3D() << 5.0f;
}

void TestDistanceCalculation::pointToSegment()
{
    QFETCH(QVector3D, point);
    QFETCH(QVector3D, end);
    QTEST(QDrawingPaperView::calculateDistance(point, QVector3D(), end), "metres");
}

void TestDistanceCalculation::segmentToSegment_data()
{
    QTest::addColumn<QVector3D>("begin");
    QTest::addColumn<QVector3D>("end");
    QTest::addColumn<float>("clearance");
    QTest::addColumn<QVector3D>("nearest");

    // Against (0,0,0)-(10,0,0).
    QTest::newRow("parallel: the far end at once")
        << QVector3D(0, 3, 0) << QVector3D(10, 3, 0) << 3.0f << QVector3D(10, 3, 0);
    // After 10 halvings the ends are 10/1024 m apart: what is left is the upper end.
    QTest::newRow("leading away: found to a hundredth")
        << QVector3D(5, 1, 0) << QVector3D(15, 11, 0) << 1.0f + 10.0f / 1024
        << QVector3D(5.0f + 10.0f / 1024, 1.0f + 10.0f / 1024, 0);
    QTest::newRow("in one line") << QVector3D(20, 0, 0) << QVector3D(30, 0, 0)
                                 << 10.0f + 10.0f / 1024 << QVector3D(20.0f + 10.0f / 1024, 0, 0);
    QTest::newRow("crossing, ends equally far: the end's distance, overstated")
        << QVector3D(5, -5, 1) << QVector3D(5, 5, 1) << std::sqrt(26.0f) << QVector3D(5, 5, 1);
    QTest::newRow("crossing off centre: overstated after one halving")
        << QVector3D(5, -5, 1) << QVector3D(5, 15, 1) << std::sqrt(26.0f) << QVector3D(5, 5, 1);
    QTest::newRow("both are points")
        << QVector3D(3, 4, 0) << QVector3D(3, 4, 0) << 4.0f << QVector3D(3, 4, 0);
}

void TestDistanceCalculation::segmentToSegment()
{
    QFETCH(QVector3D, begin);
    QFETCH(QVector3D, end);
    QVector3D found;
    QTEST(QDrawingPaperView::LineTLone(QVector3D(), QVector3D(10, 0, 0), begin, end, found),
          "clearance");
    QTEST(found, "nearest");
}

void TestDistanceCalculation::notANumberEndsTheSearch()
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    QVector3D found;
    QVERIFY(std::isnan(QDrawingPaperView::LineTLone(
        QVector3D(), QVector3D(10, 0, 0), QVector3D(nan, 0, 0), QVector3D(1, nan, 0), found)));
    const float infinite = std::numeric_limits<float>::infinity();
    const float clearance = QDrawingPaperView::LineTLone(
        QVector3D(), QVector3D(infinite, 0, 0), QVector3D(0, 3, 0), QVector3D(5, 3, 0), found);
    QVERIFY(std::isnan(clearance) || clearance >= 0.0f);
}

QTEST_APPLESS_MAIN(TestDistanceCalculation)
#include "tst_distancecalculation.moc"
