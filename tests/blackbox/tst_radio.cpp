#include "tests/blackbox/bench.h"
#include "tools/sim/radiomodem.h"
#include "tools/sim/radiotalk.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <fcntl.h>

namespace
{

const QString boardAttitude = QStringLiteral("Local/Vicinity/Attitude/TEXT");
const QString boardAttribute = QStringLiteral("Local/Vicinity/Attribute/TEXT");
const QString device = QStringLiteral("/dev/ttyUSB0");
const QString lockFile = QStringLiteral("/var/lock/LCK..ttyUSB0"); // of our own, here
constexpr qint64 ended = 99999999; // a process number, more than there can be
const QString radioFile = QStringLiteral("Radio.txt");

// In the log, each a line.
const QByteArray missing = "Can't open serial port!\n";
const QByteArray opened = "打开成功\n";

/// The neighbour: crane 7, known on both roads.
const QByteArray name = "7号";
const QByteArray saved = R"([{"armwidth":0,"craneheight":44,"heightzero":"","location_X":0,)"
                         R"("location_Y":0,"name":"7号","top":"","type":""}])";

QByteArray motion(double rotation)
{
    return radioFrame(7, 1, 10, 8, rotation);
}

QByteArray attributes(double armlen)
{
    return radioFrame(7, 2, armlen, 8, 44);
}

/// The neighbour's attitude on the board, \a slewing on the own scale.
QByteArray shownAttitude(const QByteArray &slewing)
{
    return shown(boardAttitude, attitudeReport(slewing).replace("N7", name));
}

QByteArray zoneAlarm(bool isTriggered)
{
    return shownAlarm("回转距离进人7号塔机\\n回转区还有9.00米", 15, isTriggered);
}

} // namespace

/// The crane with a radio modem on the far end of a pseudo-terminal. The functions build on each
/// other.
class TestRadio : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { QVERIFY(m_bench.finish()); }

    void missingModemIsLoggedOnceAndTakenWhenItComes();
    void ownMotionGoesOnAirInBytes();
    void changesOfOneTickAreOneFrame();
    void restingCraneIsRepeatedSlowly();
    void pulledModemIsTakenAgain();
    void stuckModemGetsTheNewestFrameOnly();
    void whatKeepsTheModemIsNamed_data();
    void whatKeepsTheModemIsNamed();
    void radioReportsAlarmWithoutTheCloud();
    void radioReportBlanksNothing();
    void noiseIsDropped_data();
    void noiseIsDropped();
    void everySingleBitErrorIsDropped();
    void restartsAdoptTheSavedNeighbour();

private:
    struct Chunk {
        qint64 ms;
        QByteArray bytes;
    };

    bool waitForFrame(int index, int ms = 3000);
    /// Waits until the crane has taken it, so that the next one is a chunk of its own.
    void send(const QByteArray &bytes);
    int logged(const QByteArray &line) { return m_bench.crane.log().count('\n' + line); }
    /// All that the crane publishes on the board about the frames so far.
    QByteArrayList published();

    Bench m_bench;
    RadioModem m_modem{device};
    QElapsedTimer m_clock;
    QList<Chunk> m_onAir;    // what the crane has sent
    bool m_isTurned = false; // the neighbour, by one degree
};

bool TestRadio::waitForFrame(int index, int ms)
{
    return QTest::qWaitFor([&] { return m_onAir.size() > index; }, ms);
}

void TestRadio::send(const QByteArray &bytes)
{
    const int before = m_bench.crane.log().size();
    m_modem.send(bytes);
    // A chunk too short for a frame leaves no line.
    Q_UNUSED(QTest::qWaitFor([&] { return m_bench.crane.log().size() > before; },
                             bytes.size() < 11 ? 50 : 5000))
}

/// A frame of no known type, 40 bytes long: its line in the log says that all before is done.
QByteArrayList TestRadio::published()
{
    const int before = m_bench.crane.log().count("MARK");
    QByteArray mark(38, '\0');
    mark.replace(3, 5, "\x07MARK");
    const quint16 check = radioCheck(mark);
    mark += static_cast<char>(check & 0xff);
    mark += static_cast<char>(check >> 8);
    send(mark);
    if (!QTest::qWaitFor([&] { return m_bench.crane.log().count("MARK") > before; }, 10000))
        return {"the crane does not listen to the radio"};
    return m_bench.publishedOnBoard();
}

void TestRadio::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("CRANE_OWN_DEVICES") && !QFile::exists(device),
             "run it by tests/isolated.sh, where mount namespaces are allowed");
    connect(&m_modem, &RadioModem::heard, this, [this](const QByteArray &bytes) {
        m_onAir.append({m_clock.elapsed(), bytes});
    });
    m_clock.start();
    QVERIFY(m_bench.start());
}

void TestRadio::missingModemIsLoggedOnceAndTakenWhenItComes()
{
    QTest::qWait(2500);
    QCOMPARE(logged(missing), 1);
    QVERIFY2(m_modem.plugIn(), qPrintable(m_modem.problem()));
    QTRY_COMPARE_WITH_TIMEOUT(logged(opened), 1, 2000);
    QCOMPARE(logged(missing), 1);
    QVERIFY(m_bench.commission({{QStringLiteral("DEV7"), name, 30}}));
}

void TestRadio::ownMotionGoesOnAirInBytes()
{
    // Crane 9, rope 12.34, trolley 27.00, slewing 300.50: as -59.50.
    QVERIFY(m_bench.ownState(300.5, 27, 12.34));
    QTest::qWait(600);
    QVERIFY(!m_onAir.isEmpty());
    QCOMPARE(m_onAir.last().bytes.toHex(' '), QByteArray("00 09 00 01 04 d2 0a 8c 75 62 ") +
                                                  m_onAir.last().bytes.right(2).toHex(' '));
    QCOMPARE(radioCheck(m_onAir.last().bytes), quint16(0));
}

void TestRadio::changesOfOneTickAreOneFrame()
{
    const int before = m_onAir.size();
    QVERIFY(m_bench.ownState(40, 27));
    QVERIFY(waitForFrame(before)); // a tick was just now
    QByteArrayList states;
    for (int i = 1; i <= 50; ++i)
        states << stateDocument(40 + i, 27, 10);
    QVERIFY(publishLines(boardPort, QStringLiteral("Local/Data"), states));
    QTest::qWait(1200);
    const int sent = m_onAir.size() - before - 1;
    QVERIFY2(sent == 1 || sent == 2, "two where a tick fell into the 50 changes");
    QCOMPARE(m_onAir.last().bytes.left(10).toHex(' '), // 10, 27, 90
             QByteArray("00 09 00 01 03 e8 0a 8c 23 28"));
    for (int i = before + 1; i < m_onAir.size(); ++i)
        QVERIFY2(m_onAir.at(i).ms - m_onAir.at(i - 1).ms > 350, "ticks are half a second apart");
}

void TestRadio::restingCraneIsRepeatedSlowly()
{
    QVERIFY(m_bench.ownState(30, 27));
    const int first = m_onAir.size();
    QVERIFY(waitForFrame(first + 2, 25000));
    const auto seconds = [&](int i) {
        return static_cast<double>(m_onAir.at(first + i).ms - m_onAir.at(first).ms) / 1000;
    };
    qInfo("repeats after %.2f s and %.2f s", seconds(1), seconds(2));
    QVERIFY(qAbs(seconds(1) - 11) < 0.4);
    QVERIFY(qAbs(seconds(2) - 21.5) < 0.6);
    QCOMPARE(m_onAir.at(first + 2).bytes, m_onAir.at(first).bytes);
}

void TestRadio::pulledModemIsTakenAgain()
{
    const QByteArray frame = m_onAir.last().bytes;
    const int before = m_onAir.size();
    const double cpu = m_bench.crane.cpuSeconds();
    const int lines = m_bench.crane.log().count('\n');
    m_modem.pull();
    QTest::qWait(3500);
    QCOMPARE(logged(missing), 2);
    QVERIFY2(m_bench.crane.log().count('\n') < lines + 20, "no flood");
    QVERIFY2(m_bench.crane.cpuSeconds() - cpu < 0.5, "a port that has failed is left alone");
    QVERIFY(m_modem.plugIn());
    QTRY_COMPARE_WITH_TIMEOUT(logged(opened), 2, 2000);
    QVERIFY(waitForFrame(before, 1100)); // at the next tick, though nothing has changed
    QCOMPARE(m_onAir.last().bytes, frame);
    QCOMPARE(logged(missing), 2);
    QCOMPARE(m_bench.crane.log().count("Failed to open existing file.\n"), 4); // one for each file
}

/// The driver's memory is full of old frames when the modem works again: "old" stands for them.
void TestRadio::stuckModemGetsTheNewestFrameOnly()
{
    m_modem.pull();
    QTRY_COMPARE_WITH_TIMEOUT(logged(missing), 3, 5000);
    m_modem.setStuck(true);
    QVERIFY(m_modem.plugIn());
    QFile nearEnd(device);
    QVERIFY(nearEnd.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    ::fcntl(nearEnd.handle(), F_SETFL, O_NONBLOCK);
    int filled = 0;
    while (nearEnd.write("old") > 0)
        filled += 3;
    QTRY_COMPARE_WITH_TIMEOUT(logged(opened), 3, 5000);
    for (const double rotation : {50, 60, 30}) {
        QVERIFY(m_bench.ownState(rotation, 27));
        QTest::qWait(700); // a tick
    }

    m_onAir.clear();
    m_modem.setStuck(false);
    QByteArray heard;
    const auto isNewestHeard = [&] {
        heard.clear();
        for (const Chunk &chunk : qAsConst(m_onAir))
            heard += chunk.bytes;
        return heard.left(heard.size() - 2).endsWith(QByteArray("\x0a\x8c\x0b\xb8", 4)); // 27, 30
    };
    QVERIFY(QTest::qWaitFor(isNewestHeard, 1100));
    const int old = heard.lastIndexOf("ld") + 2;
    QCOMPARE(heard.mid(old).size(), 12); // no frame of the time between
    qInfo("%d of %d bytes had left the driver", old, filled);
    QVERIFY2(old < filled / 2, "what the driver still held is thrown away");
}

void TestRadio::whatKeepsTheModemIsNamed_data()
{
    QTest::addColumn<qint64>("pid");
    QTest::addColumn<QByteArray>("line");
    const QByteArray own = QByteArray::number(QCoreApplication::applicationPid());
    QTest::newRow("a process that runs") << QCoreApplication::applicationPid()
                                         << "in use by process " + own + ", says the lock file " +
                                                lockFile.toLatin1() + " of user root\n";
    QTest::newRow("a lock that only another user may remove")
        << ended
        << "the lock file " + lockFile.toLatin1() +
               " of user root, left by process 99999999, which has ended: remove it\n";
}

/// A file that is mounted cannot be removed, like that of another user.
void TestRadio::whatKeepsTheModemIsNamed()
{
    QFETCH(qint64, pid);
    QFETCH(QByteArray, line);
    const int losses = logged(missing);
    const int openings = logged(opened);
    m_modem.pull();
    QTRY_COMPARE_WITH_TIMEOUT(logged(missing), losses + 1, 5000);
    QFile lock(lockFile);
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.write(QByteArray::number(pid) + '\n');
    lock.close();
    const bool isMounted = pid == ended;
    if (isMounted)
        QCOMPARE(QProcess::execute(QStringLiteral("mount"),
                                   {QStringLiteral("--bind"), lockFile, lockFile}),
                 0);
    QVERIFY(m_modem.plugIn());
    QTest::qWait(3500);
    QCOMPARE(logged("/dev/ttyUSB0 cannot be opened: " + line), 1);
    QCOMPARE(logged(missing), losses + 1);
    QCOMPARE(logged(opened), openings);
    if (isMounted)
        QCOMPARE(QProcess::execute(QStringLiteral("umount"), {lockFile}), 0);
    QVERIFY(QFile::remove(lockFile));
    QTRY_COMPARE_WITH_TIMEOUT(logged(opened), openings + 1, 5000);
}

void TestRadio::radioReportsAlarmWithoutTheCloud()
{
    m_bench.site().stop();
    send(motion(236.875)); // nothing is known of its dimensions yet
    QCOMPARE(published(), QByteArrayList());
    m_bench.takeEcho();
    send(attributes(20));
    QCOMPARE(published(), QByteArrayList());
    QCOMPARE(m_bench.takeEcho(), "Radio.txt配置文件写入" + saved + '\n');
    QCOMPARE(m_bench.crane.file(radioFile), saved);

    send(motion(236.875)); // as in a cloud report: 9 m from the tip of the own jib
    QVERIFY(isSame(published(), {shownAttitude("-113.12"), zoneAlarm(true)}));
    send(motion(20));
    QVERIFY(isSame(published(), {shownAttitude("30"), zoneAlarm(false)}));
    send(motion(-123.125)); // 236.875, as a sender has to write it
    QVERIFY(published().contains(zoneAlarm(true)));
    send(motion(20));
    QVERIFY(published().contains(zoneAlarm(false)));
}

void TestRadio::radioReportBlanksNothing()
{
    send(attributes(19));
    send(motion(20));
    const QByteArrayList reports = published();
    QCOMPARE(reports.size(), 1); // until now all was as the cloud had said
    QVERIFY(reports.first().startsWith("Local/Vicinity/Attribute/TEXT QoS 0 retained\n"));
    for (const char *member :
         {R"("armlenth": 19,)", R"("armwidth": 2,)", R"("heightzero": "0",)", R"("reararm": 8,)",
          R"("type": "T1",)", R"("label": "7号",)", R"("duid": "DEV7",)"})
        QVERIFY2(reports.first().left(400).contains(member), member);
    send(attributes(20));
    send(motion(20));
    QCOMPARE(published().size(), 1);
}

void TestRadio::noiseIsDropped_data()
{
    QTest::addColumn<QByteArray>("noise");
    const QByteArray good = motion(236.875);
    QTest::newRow("one byte") << good.left(1);
    QTest::newRow("ten bytes") << good.left(10);
    QTest::newRow("eleven bytes of a frame") << good.left(11);
    QTest::newRow("a frame without its first byte") << good.mid(1);
    QTest::newRow("two frames at once") << good + good;
    QTest::newRow("a frame and one byte") << good + 'x';
    QTest::newRow("type 3") << radioFrame(7, 3, 10, 8, 236.875);
    QTest::newRow("another crane") << radioFrame(8, 1, 10, 8, 236.875);
    QTest::newRow("the name's digit as number") << radioFrame('7', 1, 10, 8, 236.875);
    QTest::newRow("zeros") << QByteArray(12, '\0');
    QByteArray noise;
    quint32 state = 1;
    while (noise.size() < 1000000) {
        state = state * 1664525 + 1013904223;
        noise += static_cast<char>(state >> 24);
    }
    QTest::newRow("1 MB") << noise;
}

void TestRadio::noiseIsDropped()
{
    QFETCH(QByteArray, noise);
    send(noise);
    QTRY_VERIFY(published() == QByteArrayList()); // a long one may take the mark in with it
    const qint64 memory = m_bench.crane.residentKib();
    send(noise);
    QTRY_VERIFY(published() == QByteArrayList());
#ifndef CRANE_SANITIZED
    QVERIFY(m_bench.crane.residentKib() - memory < 4000);
#else
    Q_UNUSED(memory)
#endif
    QCOMPARE(m_bench.crane.file(radioFile), saved);

    m_isTurned = !m_isTurned;
    send(motion(m_isTurned ? 19 : 20));
    QVERIFY(isSame(published(), {shownAttitude(m_isTurned ? "29" : "30")}));
}

void TestRadio::everySingleBitErrorIsDropped()
{
    const QByteArray good = motion(18);
    for (int bit = 0; bit < good.size() * 8; ++bit) {
        QByteArray bad = good;
        bad[bit / 8] = static_cast<char>(bad.at(bit / 8) ^ 1 << bit % 8);
        send(bad);
    }
    QCOMPARE(published(), QByteArrayList());
    send(good);
    QVERIFY(isSame(published(), {shownAttitude("28")}));
}

void TestRadio::restartsAdoptTheSavedNeighbour()
{
    // What an integrator has written by hand stays.
    QByteArray byHand = saved;
    byHand.replace(R"("top":"","type":"")", R"("top":"DEV7","type":"T9")");
    for (int restart = 0; restart < 2; ++restart) {
        QVERIFY(m_bench.finish());
        QVERIFY2(!QFile::exists(lockFile), "in the way of another user's next start");
        if (restart == 0)
            m_bench.crane.writeFile(radioFile, byHand);
        QVERIFY(m_bench.crane.startAndSubscribe());
        QTRY_COMPARE_WITH_TIMEOUT(logged(opened), 1, 3000);
        QVERIFY(m_bench.crane.waitForOut("Radio.txt配置文件" + byHand + '\n'));
        QVERIFY(m_bench.ownState(30, 27));
        send(motion(236.875)); // does not adopt
        QCOMPARE(published(), QByteArrayList());
        send(attributes(20));
        QCOMPARE(published(), QByteArrayList());
        QCOMPARE(m_bench.crane.file(radioFile), byHand);
        send(motion(236.875));
        QVERIFY(published().contains(zoneAlarm(true)));
    }
}

QTEST_GUILESS_MAIN(TestRadio)
#include "tst_radio.moc"
