#include <QtTest>

#include <limits>

#include "voice/soundqueue.h"
#include "voice/voicealarm.h"
#include "voice/warningsounds.h"

class TestVoice : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void warningFollowsKindAndSide_data();
    void warningFollowsKindAndSide();
    void recordingsOfTheTreeAreTheChosenOnes();
    void queueIsShortAndKeepsTheNewest();
    void unplayableSoundsDoNotHoldTheCaller();
    void aPlayerThatNeverAnswersIsGivenUpOnce();
};

void TestVoice::warningFollowsKindAndSide_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QVector3D>("own");
    QTest::addColumn<QVector3D>("neighbour");
    QTest::addColumn<QString>("file");
    const auto row = [](const char *name, const char *kind, const QVector3D &own,
                        const QVector3D &neighbour, const char *file) {
        QTest::newRow(name) << QString::fromLatin1(kind) << own << neighbour
                            << QString::fromUtf8(file) + QStringLiteral(".mp3");
    };
    const char left[] = "警告回转左侧障碍物";
    const char right[] = "警告回转右侧障碍物";
    const char below[] = "警告下方障碍物";
    const char general[] = "警告警告";
    const float nan = std::numeric_limits<float>::quiet_NaN();
    row("smaller y: left", "rotationTorotation", {9, 1, 9}, {0, 2, 0}, left);
    row("greater y: right", "rotationTorotation", {0, 3, 0}, {9, 2, 9}, right);
    row("equal y: right", "rotationTorotation", {0, 2, 9}, {0, 2, 0}, right);
    row("y is not a number: right", "rotationTorotation", {0, nan, 0}, {0, 2, 0}, right);
    row("higher: below, whatever the side", "HeightTRotationAlarm", {0, 1, 5}, {0, 2, 4}, below);
    row("equally high: left", "HeightTRotationAlarm", {0, 1, 4}, {0, 2, 4}, left);
    row("lower: right", "HeightTRotationAlarm", {0, 3, 3}, {0, 2, 4}, right);
    row("z is not a number: the side", "HeightTRotationAlarm", {0, 1, nan}, {0, 2, 4}, left);
    row("other letter case", "RotationToRotation", {0, 1, 0}, {0, 2, 0}, general);
    row("no kind", "", {0, 1, 0}, {0, 2, 0}, general);
}

void TestVoice::warningFollowsKindAndSide()
{
    QFETCH(QString, kind);
    QFETCH(QVector3D, own);
    QFETCH(QVector3D, neighbour);
    QTEST(warningFileFor(kind, own, neighbour), "file");
}

void TestVoice::recordingsOfTheTreeAreTheChosenOnes()
{
    const QDir folder(QStringLiteral(CRANE_RECORDINGS));
    for (const char *kind : {"rotationTorotation", "HeightTRotationAlarm", ""}) {
        for (const float y : {-1.0f, 1.0f}) {
            for (const float z : {-1.0f, 1.0f}) {
                const QString file =
                    warningFileFor(QString::fromLatin1(kind), QVector3D(0, y, z), QVector3D());
                const qint64 size = QFileInfo(folder.filePath(file)).size();
                QVERIFY2(size > 8000 && size < 40000, qPrintable(file)); // 1 to 5 s
            }
        }
    }
}

void TestVoice::queueIsShortAndKeepsTheNewest()
{
    SoundQueue queue;
    QVERIFY(!queue.takeNext());
    for (const char *path : {"a", "b", "b", "a", "c", "d"})
        queue.add(QString::fromLatin1(path));
    QStringList taken;
    while (const std::optional<QString> next = queue.takeNext())
        taken += *next;
    QCOMPARE(taken, (QStringList{QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d")}));
}

/// Whatever the machine has: without the file nothing plays, and the wait ends by itself.
void TestVoice::unplayableSoundsDoNotHoldTheCaller()
{
    VoiceAlarm voice;
    voice.start();
    QElapsedTimer clock;
    clock.start();
    voice.playAudioAndWait(QStringLiteral("/nowhere/a.mp3"));
    QVERIFY2(clock.elapsed() < 14000, "the first try ends with the failure, not with the time-out");
    clock.start();
    for (int i = 0; i < 1000; ++i)
        voice.playAudioAndWait(QStringLiteral("/nowhere/a.mp3"));
    QVERIFY2(clock.elapsed() < 1000, "for a while after a failure none is tried");
}

/// A thread that does not run stands in for a sound system that hangs.
void TestVoice::aPlayerThatNeverAnswersIsGivenUpOnce()
{
    VoiceAlarm voice;
    QElapsedTimer clock;
    clock.start();
    voice.playAudioAndWait(QStringLiteral("/nowhere/a.mp3"));
    QVERIFY(clock.elapsed() >= 14900 && clock.elapsed() < 20000);
    QTest::qWait(5500); // past the pause after a failure: it still has not answered
    clock.start();
    voice.playAudioAndWait(QStringLiteral("/nowhere/a.mp3"));
    QVERIFY(clock.elapsed() < 1000);
}

QTEST_GUILESS_MAIN(TestVoice)
#include "tst_voice.moc"
