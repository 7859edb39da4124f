#include <QtTest>

#include <QRandomGenerator>

#include "app/logstamp.h"

class TestLogStamp : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sameAsTellingTheTime_data();
    void sameAsTellingTheTime();
};

/// Moments at which the day, the hour or the year changes, in Central Europe.
void TestLogStamp::sameAsTellingTheTime_data()
{
    QTest::addColumn<qint64>("begin"); // ms since the epoch
    QTest::newRow("the epoch") << qint64(0);
    QTest::newRow("midnight") << qint64(1795388400000);
    QTest::newRow("a new year") << qint64(1798758000000);
    QTest::newRow("summer begins") << qint64(1774746000000);
    QTest::newRow("summer ends") << qint64(1792893600000);
}

/// The clock goes on by a little or by some seconds, stands, is set back or to another day.
void TestLogStamp::sameAsTellingTheTime()
{
    QFETCH(qint64, begin);
    constexpr qint64 steps[] = {0, 0, 1, 1, 7, 999, 1000, 1001, 5000, -1, -1000, -5000, 86400000};
    QRandomGenerator random(1);
    LogStamp stamp;
    qint64 ms = begin;
    for (int i = 0; i < 3000; ++i) {
        stamp.setTo(ms);
        const QDateTime time = QDateTime::fromMSecsSinceEpoch(ms);
        QCOMPARE(QString::fromLatin1(stamp.text()),
                 time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")));
        QCOMPARE(QString::fromLatin1(stamp.path()),
                 time.toString(QStringLiteral("'log/'yyyy-MM-dd'.txt'")));
        ms += steps[random.bounded(13)];
        if (ms < 0 || random.bounded(8) == 0)
            ms = qMax<qint64>(0, begin + random.bounded(-3000, 3000));
    }
}

int main(int argc, char **argv)
{
    qputenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3"); // whatever the machine has
    TestLogStamp test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_logstamp.moc"
