#include <QtTest>

#include "engine/jcjj.h"
#include "tests/outputcapture.h"
#include "tests/workingdirectory.h"

namespace
{

/// Every signal of the engine in the order of emission, one line each.
class Recorder : public QObject
{
public:
    explicit Recorder(JCJJ *engine)
    {
        const auto add = [this](const QString &line) { lines += line; };
        using OneText = void (JCJJ::*)(QString);
        using TwoTexts = void (JCJJ::*)(QString, QString);
        const auto board = [&](OneText signal, const QString &name) {
            connect(engine, signal, this, [=](const QString &) { add(name); });
        };
        const auto cloud = [&](TwoTexts signal, const QString &name) {
            connect(engine, signal, this,
                    [=](const QString &top, const QString &) { add(name + top); });
        };
        board(&JCJJ::VicinityAttitudeSignals, QStringLiteral("attitude"));
        board(&JCJJ::VicinityAttributeSignals, QStringLiteral("attribute"));
        board(&JCJJ::VicinityStatusSignals, QStringLiteral("status"));
        cloud(&JCJJ::VicinityAttitudeSignals, QStringLiteral("attitude to "));
        cloud(&JCJJ::VicinitytoVSignals, QStringLiteral("attribute to "));
        cloud(&JCJJ::VicinityStatusSignals, QStringLiteral("status to "));
        connect(engine, &JCJJ::CollideMessageSignals, this,
                [=](const QString &text, int level, const QString &top, bool triggered) {
                    add(QStringLiteral("%1 %2 %3 %4")
                            .arg(triggered ? QStringLiteral("raise") : QStringLiteral("clear"))
                            .arg(level)
                            .arg(top, text));
                });
    }

    QStringList taken()
    {
        QStringList all;
        std::swap(all, lines);
        return all;
    }

    QStringList lines;
};

FoundationData report(const QString &name, float rotation)
{
    FoundationData crane;
    crane.duid = QStringLiteral("DEV") + name;
    crane.name = name;
    crane.armlen = 10.0f;
    crane.rotation = rotation;
    return crane;
}

const QStringList attitudeReports{QStringLiteral("attitude"),
                                  QStringLiteral("attitude to data/DEV9")};
const QStringList attributeReports{QStringLiteral("attribute"),
                                   QStringLiteral("attribute to data/DEV9")};
const QStringList statusReports{QStringLiteral("status"), QStringLiteral("status to data/DEV9")};

} // namespace

class TestJcjj : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void reportsGoOutWhenTheyChangeAndInOrder();
    void unknownNameHasNoEffect();
    void statusFollowsTheSilenceOfOthers();
    void alarmsCarryTheirTopics();
    void raisesAreSpokenAndClearsAreNot();
    void calibrationIsSavedAndLoaded();
    void calibrationBeforeTheThreadRunsKeepsTheOldOnes();
    void engineThreadCountsSilence();

private:
    QScopedPointer<WorkingDirectory> m_folder;
    QScopedPointer<JCJJ> m_engine;
    QScopedPointer<Recorder> m_sent;
};

void TestJcjj::init()
{
    m_folder.reset(new WorkingDirectory);
    m_engine.reset(new JCJJ);
    m_sent.reset(new Recorder(m_engine.data()));
    FoundationData own;
    own.duid = QStringLiteral("DEV9");
    own.MqttTop = QStringLiteral("top/");
    own.MqttDataTop = QStringLiteral("data/");
    m_engine->mylocal(own);
    basis.clear();
    for (const QString &name : {QStringLiteral("A"), QStringLiteral("B")}) {
        tBasis entry;
        entry.name = name;
        entry.duid = QString::fromUtf8(QTest::currentTestFunction()) + name; // texts of its own
        entry.location_X = 100.0f;
        basis.append(entry);
    }
    m_engine->CollideSlots(report(QStringLiteral("A"), 0.0f));
}

void TestJcjj::cleanup()
{
    m_engine.reset();
    m_folder.reset();
}

void TestJcjj::reportsGoOutWhenTheyChangeAndInOrder()
{
    QCOMPARE(m_sent->taken(), attitudeReports + attributeReports + statusReports);
    m_engine->CollideSlots(report(QStringLiteral("A"), 0.0f));
    QCOMPARE(m_sent->taken(), QStringList());
    m_engine->CollideSlots(report(QStringLiteral("A"), 12.341f));
    QCOMPARE(m_sent->taken(), attitudeReports);
    m_engine->CollideSlots(report(QStringLiteral("A"), 12.342f)); // the same to two decimals
    QCOMPARE(m_sent->taken(), QStringList());
    FoundationData longer = report(QStringLiteral("A"), 12.342f);
    longer.armlen = 11.0f;
    m_engine->CollideSlots(longer);
    QCOMPARE(m_sent->taken(), attributeReports);
}

void TestJcjj::unknownNameHasNoEffect()
{
    m_sent->taken();
    m_engine->CollideSlots(report(QStringLiteral("C"), 90.0f));
    QCOMPARE(m_sent->taken(), QStringList());
    basis.clear();
    m_engine->CollideSlots(report(QStringLiteral("A"), 90.0f));
    QCOMPARE(m_sent->taken(), QStringList());
}

void TestJcjj::statusFollowsTheSilenceOfOthers()
{
    m_engine->CollideSlots(report(QStringLiteral("B"), 0.0f));
    m_sent->taken();
    basis[0].silentTicks = 10;
    m_engine->CollideSlots(report(QStringLiteral("B"), 0.0f));
    QCOMPARE(m_sent->taken(), statusReports); // A is offline
    m_engine->CollideSlots(report(QStringLiteral("B"), 0.0f));
    QCOMPARE(m_sent->taken(), QStringList());
    m_engine->CollideSlots(report(QStringLiteral("A"), 0.0f));
    QCOMPARE(m_sent->taken(), statusReports); // and online again
}

void TestJcjj::alarmsCarryTheirTopics()
{
    m_engine->CollideSlots(report(QStringLiteral("A"), 180.0f)); // points away, 100 m
    m_sent->taken();
    FoundationData near = report(QStringLiteral("A"), 180.0f);
    basis[0].location_X = 4.0f;
    m_engine->CollideSlots(near);
    const QStringList raised = m_sent->taken();
    QCOMPARE(raised.first(),
             QStringLiteral(
                 "raise 15 top/DEV9 回转距离进人A塔机\n回转区还有4.01米")); // found to a hundredth
    QVERIFY(raised.contains(QStringLiteral("raise 25 data/DEV9 \n塔身到A塔吊塔身\n4.00米")));
    m_engine->CollideSlots(near);
    QCOMPARE(m_sent->taken(), QStringList());
    basis[0].location_X = 100.0f;
    m_engine->CollideSlots(near);
    QStringList cleared = raised;
    cleared.replaceInStrings(QStringLiteral("raise"), QStringLiteral("clear"));
    QCOMPARE(m_sent->taken(), cleared);
}

/// A neighbour of two points, tower foot and counter-jib end, 4 m from the own axis.
void TestJcjj::raisesAreSpokenAndClearsAreNot()
{
    FoundationData near = report(QStringLiteral("A"), 180.0f);
    near.armlen = 0.0f;
    near.reararm = 2.0f;
    near.craneheight = 1.0f;
    basis[0].location_X = 100.0f;
    m_engine->CollideSlots(near);
    QStringList order;
    QSignalSpy spoken(m_engine.data(), &JCJJ::VoiceMessageSignals);
    connect(m_engine.data(), &JCJJ::VoiceMessageSignals, this,
            [&order](const QString &kind) { order += kind; });
    connect(m_engine.data(), &JCJJ::CollideMessageSignals, this,
            [&order](const QString &, int level) { order += QString::number(level); });
    basis[0].location_X = 4.0f;
    m_engine->CollideSlots(near);
    QCOMPARE(order.mid(0, 4),
             (QStringList{QStringLiteral("15"), QStringLiteral("rotationTorotation"),
                          QStringLiteral("25"), QStringLiteral("HeightTRotationAlarm")}));
    QCOMPARE(spoken.size() * 2, order.size()); // one right after each raise
    // The zone: both jibs in plan, of no length. The first pair: own jib and jib at 1 m.
    const QList<QVector3D> plan{{0, 0, 0}, {0, 0, 0}, {4, 0, 0}, {4, 0, 0}};
    const QList<QVector3D> jibs{{0, 0, 0}, {0, 0, 0}, {4, 0, 1}, {4, 0, 1}};
    // The fourth: own jib and counter-jib, which points at the own axis.
    const QList<QVector3D> rear{{0, 0, 0}, {0, 0, 0}, {4, 0, 1}, {2, 0, 1}};
    const auto segments = [&spoken](int index) {
        QList<QVector3D> points;
        for (int i = 1; i <= 4; ++i)
            points += spoken[index][i].value<QVector3D>();
        return points;
    };
    QCOMPARE(segments(0), plan);
    QCOMPARE(segments(1), jibs);
    QVERIFY((segments(4)[3] - rear[3]).length() < 1e-5f);
    QCOMPARE(segments(4)[2], rear[2]);
    QVERIFY(spoken[0][5].toBool());

    const int raised = spoken.size();
    basis[0].location_X = 100.0f;
    m_engine->CollideSlots(near);
    QCOMPARE(spoken.size(), raised);
    QCOMPARE(order.size(), raised * 3); // as many clears
}

void TestJcjj::calibrationIsSavedAndLoaded()
{
    basis.clear();
    FoundationData own = MParameter;
    own.armlen = 999.0f;
    own.travel = 20.5f;
    m_engine->mylocal(own);
    FoundationData calibration = report(QStringLiteral("N\"7"), 180.0f);
    calibration.armlen = 999.0f;
    calibration.travel = 24.5f;
    OutputCapture output;
    m_sent->taken();
    m_engine->CollideSlots(calibration);
    QCOMPARE(m_sent->taken(), QStringList()); // the new entry has no name yet
    m_engine->CollideSlots(calibration);
    QVERIFY(m_sent->taken().contains(QStringLiteral("attribute")));

    const QByteArray stored = WorkingDirectory::read(QStringLiteral("jcjj.txt"));
    QCOMPARE(stored, QByteArray(R"([{"absolute_X":0,"absolute_Y":-45,"armwidth":0,"craneheight":0,)"
                                R"("heightzero":"","hoffset":180,"location_X":45,"location_Y":0,)"
                                R"("moffset":0,"name":"N\"7","top":"DEVN\"7","type":""}])"));
    QVERIFY(output.text().contains("\njcjj.txt配置文件写入" + stored + '\n'));

    basis.clear();
    m_engine->ConfigureStaticRead();
    QVERIFY(output.text().contains("\njcjj.txt配置文件" + stored + '\n'));
    QCOMPARE(basis.size(), 1);
    QCOMPARE(basis[0].location_X, 45.0f);
    QCOMPARE(basis[0].absolute_Y, -45.0f);
    QCOMPARE(basis[0].hoffset, 180.0f);
    QCOMPARE(basis[0].name, QStringLiteral("N\"7"));
    QCOMPARE(basis[0].armlen, 0.0f);
    m_engine->ConfigureStaticWrit();
    QCOMPARE(WorkingDirectory::read(QStringLiteral("jcjj.txt")), stored);
}

/// The thread is held between its start and run(). What holds it is Qt's, as what waits for its
/// end: to the thread sanitizer nothing but the engine's lock orders the two threads.
void TestJcjj::calibrationBeforeTheThreadRunsKeepsTheOldOnes()
{
    basis.clear();
    WorkingDirectory::write(QStringLiteral("jcjj.txt"), R"([{"top":"DEVA"},{"top":"DEVB"}])");
    QSemaphore released;
    connect(
        m_engine.data(), &QThread::started, m_engine.data(), [&released] { released.acquire(); },
        Qt::DirectConnection);
    m_engine->start();
    FoundationData calibration = report(QStringLiteral("C"), 0.0f);
    calibration.armlen = 999.0f;
    m_engine->mylocal(calibration);
    m_engine->CollideSlots(calibration);
    released.release();
    m_engine->quit();
    QVERIFY(m_engine->wait(5000));
    m_engine->CollideSlots(calibration);
    const auto devices = [] {
        QStringList list;
        for (const tBasis &entry : qAsConst(basis))
            list += entry.duid;
        return list;
    };
    const QStringList all{QStringLiteral("DEVA"), QStringLiteral("DEVB"), QStringLiteral("DEVC")};
    QCOMPARE(devices(), all);
    basis.clear();
    m_engine->ConfigureStaticRead();
    QCOMPARE(devices(), all);
}

void TestJcjj::engineThreadCountsSilence()
{
    basis.clear();
    WorkingDirectory::write(QStringLiteral("jcjj.txt"), R"([{"name":"A"},{"name":"B"}])");
    m_engine->start();
    m_sent->taken();
    // The engine's list is only looked at through its reports, which take its lock.
    const auto statusReportsSent = [this] {
        m_engine->CollideSlots(report(QStringLiteral("A"), 0.0f));
        return m_sent->lines.count(QStringLiteral("status"));
    };
    QTRY_COMPARE_WITH_TIMEOUT(statusReportsSent(), 1, 3000);  // both online
    QTRY_COMPARE_WITH_TIMEOUT(statusReportsSent(), 2, 15000); // B offline
    m_engine->quit();
    QVERIFY(m_engine->wait(5000));
    QCOMPARE(basis.size(), 2);
    QVERIFY(basis[1].silentTicks >= 10);
}

QTEST_GUILESS_MAIN(TestJcjj)
#include "tst_jcjj.moc"
