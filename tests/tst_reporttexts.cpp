#include <QtTest>

#include <QRandomGenerator>

#include <cmath>
#include <cstring>

#include "tests/hostilevalues.h"
#include "engine/reporttexts.h"
#include "engine/vicinityreports.h"

namespace
{

constexpr int stepsPerSize = 500;

/// What the reports are made of, and what may happen to it between two of them.
struct Site {
    FoundationData self;
    QList<tBasis> list;
    int size; // the list returns to it after it was cut or grown
    QRandomGenerator random;
};

QString anyText(Site &site)
{
    return site.random.bounded(3) == 0 ? hostileText(site.random)
                                       : QStringLiteral("DEV%1").arg(site.random.bounded(40));
}

float anyNumber(Site &site)
{
    return site.random.bounded(4) == 0 ? hostileNumber(site.random)
                                       : plainNumber(site.random, -50.0f, 400.0f);
}

tBasis anyNeighbour(Site &site)
{
    tBasis entry;
    for (QString tBasis::*text : {&tBasis::duid, &tBasis::name, &tBasis::type, &tBasis::heightzero})
        entry.*text = anyText(site);
    for (float tBasis::*number :
         {&tBasis::moffset, &tBasis::hoffset, &tBasis::absolute_X, &tBasis::absolute_Y,
          &tBasis::armlen, &tBasis::reararm, &tBasis::height, &tBasis::travel, &tBasis::rotation,
          &tBasis::safedistance, &tBasis::armwidth, &tBasis::craneheight})
        entry.*number = anyNumber(site);
    entry.silentTicks = site.random.bounded(20);
    return entry;
}

/// Any position of the list, which is not empty.
int anyPosition(Site &site)
{
    return site.random.bounded(site.list.size());
}

tBasis &oneOf(Site &site)
{
    return site.list[anyPosition(site)];
}

void moveOne(Site &site)
{
    tBasis &entry = oneOf(site);
    entry.rotation = anyNumber(site);
    entry.travel = anyNumber(site);
    entry.height = anyNumber(site);
    entry.silentTicks = 0;
}

/// 12.341 to 12.342: other bits, the same text.
void moveOneByAHair(Site &site)
{
    tBasis &entry = oneOf(site);
    entry.travel = std::nextafter(entry.travel, 1e9f);
    entry.rotation = std::nextafter(entry.rotation, -1e9f);
    entry.absolute_X = std::nextafter(entry.absolute_X, 0.0f);
}

void moveOwn(Site &site)
{
    site.self.rotation = anyNumber(site);
    site.self.travel = anyNumber(site);
    site.self.height = anyNumber(site);
}

void changeOwnGeometry(Site &site)
{
    static constexpr float FoundationData::*numbers[] = {
        &FoundationData::armlen,    &FoundationData::craneheight, &FoundationData::armwidth,
        &FoundationData::reararm,   &FoundationData::safelen,     &FoundationData::location_X,
        &FoundationData::foundation};
    site.self.*numbers[site.random.bounded(7)] = anyNumber(site);
}

void changeOwnTexts(Site &site)
{
    static constexpr QString FoundationData::*texts[] = {
        &FoundationData::duid, &FoundationData::name, &FoundationData::type,
        &FoundationData::heightzero};
    site.self.*texts[site.random.bounded(4)] = anyText(site);
}

void changeANumber(Site &site)
{
    static constexpr float tBasis::*numbers[] = {
        &tBasis::moffset,   &tBasis::hoffset,  &tBasis::absolute_X,   &tBasis::absolute_Y,
        &tBasis::armlen,    &tBasis::reararm,  &tBasis::height,       &tBasis::travel,
        &tBasis::rotation,  &tBasis::armwidth, &tBasis::safedistance, &tBasis::craneheight,
        &tBasis::location_X};
    oneOf(site).*numbers[site.random.bounded(13)] = anyNumber(site);
}

void changeAText(Site &site)
{
    static constexpr QString tBasis::*texts[] = {&tBasis::duid, &tBasis::name, &tBasis::type,
                                                 &tBasis::heightzero};
    oneOf(site).*texts[site.random.bounded(4)] = anyText(site);
}

/// The same number with the other sign, which for 0 and for what is no number is another bit only.
void turnASign(Site &site)
{
    tBasis &entry = oneOf(site);
    entry.absolute_X = -entry.absolute_X;
    entry.armlen = -entry.armlen;
}

void copyATextElsewhere(Site &site)
{
    QString &name = oneOf(site).name;
    name = QString(name.constData(), name.size()); // equal, at another address
}

void tick(Site &site)
{
    for (tBasis &entry : site.list)
        ++entry.silentTicks;
}

void silenceAtTheLimit(Site &site)
{
    oneOf(site).silentTicks = site.random.bounded(9, 11);
}

void everybodyMoves(Site &site)
{
    for (tBasis &entry : site.list)
        entry.rotation += 0.25f;
}

void appendOne(Site &site)
{
    site.list.append(anyNeighbour(site));
}

void twins(Site &site)
{
    site.list[anyPosition(site)] = site.list[anyPosition(site)];
}

void swapTwo(Site &site)
{
    site.list.swapItemsAt(anyPosition(site), anyPosition(site));
}

void removeOne(Site &site)
{
    site.list.removeAt(anyPosition(site));
}

void insertFirst(Site &site)
{
    site.list.prepend(anyNeighbour(site));
}

void clearList(Site &site)
{
    site.list.clear();
}

void replaceList(Site &site)
{
    site.list.clear();
    while (site.list.size() < site.size)
        appendOne(site);
}

void changeNothing(Site &) {}

struct Step {
    const char *name;
    void (*take)(Site &);
    bool needsEntry;
    int weight;
};

constexpr Step steps[] = {
    {"a neighbour moves", moveOne, true, 12},
    {"a neighbour moves by a hair", moveOneByAHair, true, 4},
    {"the own crane moves", moveOwn, false, 6},
    {"the own geometry changes", changeOwnGeometry, false, 4},
    {"an own text changes", changeOwnTexts, false, 4},
    {"a neighbour's number changes", changeANumber, true, 10},
    {"a neighbour's text changes", changeAText, true, 8},
    {"a sign turns", turnASign, true, 3},
    {"a text is copied", copyATextElsewhere, true, 1},
    {"a second passes", tick, false, 3},
    {"silence about the limit", silenceAtTheLimit, true, 4},
    {"everybody moves", everybodyMoves, false, 2},
    {"an entry is appended", appendOne, false, 2},
    {"two entries become equal", twins, true, 2},
    {"two entries swap places", swapTwo, true, 2},
    {"an entry goes", removeOne, true, 2},
    {"an entry comes first", insertFirst, false, 1},
    {"the list is cleared", clearList, false, 1},
    {"the list is replaced", replaceList, false, 2},
    {"nothing changes", changeNothing, false, 3},
};

const Step &anyStep(Site &site)
{
    if (site.list.size() != site.size && site.random.bounded(4) == 0)
        return steps[std::size(steps) - 2]; // the list is replaced: back to its size
    for (;;) {
        const Step &step = steps[site.random.bounded(static_cast<int>(std::size(steps)))];
        if (site.random.bounded(12) < step.weight && (!step.needsEntry || !site.list.isEmpty()))
            return step;
    }
}

/// Where two texts part, for the failure line.
QByteArray difference(const QString &fast, const QString &plain)
{
    int at = 0;
    while (at < fast.size() && at < plain.size() && fast.at(at) == plain.at(at))
        ++at;
    const int from = qMax(0, at - 60);
    return "at " + QByteArray::number(at) + ": \"" + fast.mid(from, 100).toUtf8() +
           "\" instead of \"" + plain.mid(from, 100).toUtf8() + '"';
}

/// The first text that is not Qt's, and where; empty if all three are.
QByteArray firstDifference(const ReportTexts &texts, const Site &site)
{
    const QString attitude = VicinityReports::VicinityAttitude(site.self, site.list);
    const QString vicinity = VicinityReports::VicinitytoV(site.self, site.list);
    const QString status = VicinityReports::VicinityStatus(site.list);
    if (texts.attitude() != attitude)
        return "attitude " + difference(texts.attitude(), attitude);
    if (texts.vicinity() != vicinity)
        return "vicinity " + difference(texts.vicinity(), vicinity);
    if (texts.status() != status)
        return "status " + difference(texts.status(), status);
    return {};
}

} // namespace

class TestReportTexts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void equalQtsAfterEveryStep_data();
    void equalQtsAfterEveryStep();
    void everyHostileValueInEveryPlace();
    void textsHandedOutStay();
};

void TestReportTexts::equalQtsAfterEveryStep_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {0, 1, 2, 10, 200})
        QTest::addRow("%d neighbours", size) << size;
}

void TestReportTexts::equalQtsAfterEveryStep()
{
    QFETCH(int, size);
    Site site{{}, {}, size, QRandomGenerator(static_cast<quint32>(size) + 1)};
    replaceList(site);
    ReportTexts texts;
    QByteArrayList taken;
    for (int i = 0; i < stepsPerSize; ++i) {
        texts.update(site.self, site.list);
        const QByteArray wrong = firstDifference(texts, site);
        QVERIFY2(wrong.isEmpty(), "after " + taken.mid(taken.size() - 3).join(", ") + ": " + wrong);
        const Step &step = anyStep(site);
        taken.append(step.name);
        step.take(site);
    }
}

/// One text or number at a time, the list otherwise at rest, so that a piece that is kept although
/// one of its inputs changed shows.
void TestReportTexts::everyHostileValueInEveryPlace()
{
    Site site{{}, {}, 3, QRandomGenerator(7)};
    replaceList(site);
    ReportTexts texts;
    for (int i = 0; i < 3000; ++i) {
        switch (i % 4) {
        case 0:
            changeANumber(site);
            break;
        case 1:
            changeAText(site);
            break;
        case 2:
            changeOwnGeometry(site);
            break;
        default:
            changeOwnTexts(site);
        }
        texts.update(site.self, site.list);
        const QByteArray wrong = firstDifference(texts, site);
        QVERIFY2(wrong.isEmpty(), wrong);
    }
}

/// A queued signal still carries the last text while the next one is made.
void TestReportTexts::textsHandedOutStay()
{
    Site site{{}, {}, 2, QRandomGenerator(3)};
    replaceList(site);
    ReportTexts texts;
    texts.update(site.self, site.list);
    const QString handedOut = texts.attitude();
    const QString before(handedOut.constData(), handedOut.size());
    site.list[0].rotation = 11.0f;
    site.list[0].travel = 12.0f;
    texts.update(site.self, site.list);
    QVERIFY(texts.attitude() != handedOut);
    QCOMPARE(handedOut, before);
}

QTEST_APPLESS_MAIN(TestReportTexts)
#include "tst_reporttexts.moc"
