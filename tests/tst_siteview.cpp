#include "tools/view/siteview.h"
#include "tools/view/terminaltext.h"

#include <QtTest>

Q_DECLARE_METATYPE(AlarmText::Kind)

namespace
{

const QDateTime noon(QDate(2026, 5, 4), QTime(12, 0));
const QString attributeTopic = QStringLiteral("Local/Vicinity/Attribute/TEXT");
const QString attitudeTopic = QStringLiteral("Local/Vicinity/Attitude/TEXT");
const QString statusTopic = QStringLiteral("Local/Vicinity/Status/TEXT");
const QString zoneOf2 = QStringLiteral("回转距离进人2塔机\n回转区还有8.50米");
const QString jibToRopeOf2 = QStringLiteral("\n大臂到2塔吊吊绳\n4.20米");

QByteArray alarmDocument(const QString &detail, bool isTriggered, int level = 15)
{
    const QJsonObject entry{{QStringLiteral("detail"), detail},
                            {QStringLiteral("kind"), QStringLiteral("threshold")},
                            {QStringLiteral("level"), level},
                            {QStringLiteral("triggered"), isTriggered}};
    return QJsonDocument(QJsonObject{{QStringLiteral("alarm"), QJsonArray{entry}}}).toJson();
}

QByteArray statusDocument(const QString &duid, const char *status)
{
    const QJsonObject entry{{QStringLiteral("duid"), duid},
                            {QStringLiteral("status"), QLatin1String(status)}};
    return QJsonDocument(QJsonObject{{QStringLiteral("neighbours"), QJsonArray{entry}}}).toJson();
}

QByteArray attitudeDocument(const QString &duid, const QString &label)
{
    return QStringLiteral(R"({"self":{"label":"1","slewing":12.5,"luffing":20,"hoisting":30.25},
        "neighbours":[{"duid":"%1","label":"%2","slewing":-150,"luffing":24.5,"hoisting":7}]})")
        .arg(duid, label)
        .toUtf8();
}

QByteArray attributeDocument(double ownJib, double jibOf2)
{
    return QStringLiteral(R"({"self":{"duid":"D1","label":"1","armlenth":%1},
        "neighbours":[{"duid":"D2","label":"2","armlenth":%2},
                      {"duid":"D3","label":"3","armlenth":45}]})")
        .arg(ownJib)
        .arg(jibOf2)
        .toUtf8();
}

SiteView siteWithNeighbours(int count)
{
    SiteView view;
    for (int i = 2; i < count + 2; ++i) {
        view.take(attitudeTopic, attitudeDocument(QStringLiteral("D%1").arg(i), QString::number(i)),
                  noon);
    }
    return view;
}

QString textOf(const QVector<ViewLine> &lines)
{
    QString text;
    for (const ViewLine &line : lines)
        text += line.text + QLatin1Char('\n');
    return text;
}

// The row of a crane in the table: its first line that begins with the crane's label.
QString rowOf(const SiteView &view, const QString &label)
{
    for (const ViewLine &line : view.table(noon, 100, 40)) {
        if (line.text.startsWith(QLatin1Char(' ') + label + QLatin1Char(' ')))
            return line.text.trimmed();
    }
    return QString();
}

} // namespace

class TestSiteView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void textIsFittedIntoColumns_data();
    void textIsFittedIntoColumns();
    void alarmTextsAreTakenApart_data();
    void alarmTextsAreTakenApart();
    void cranesStandInTheTableAsReported();
    void alarmsStayInTheRowUntilCleared();
    void alarmsOfACalibrationCountIfTheyOutlastIt();
    void eachAlarmAndEachChangeOfPresenceIsOneLine();
    void whatIsOldSaysSo();
    void unusableDocumentsChangeNothing_data();
    void unusableDocumentsChangeNothing();
    void tableFitsTheTerminal_data();
    void tableFitsTheTerminal();
    void alarmedNeighboursAreNotTheOnesLeftOut();
    void hostileNamesStayOnTheirLine();
};

void TestSiteView::textIsFittedIntoColumns_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("expected");

    QTest::newRow("short: filled up") << "DEV1" << 6 << "DEV1  ";
    QTest::newRow("exact: untouched") << "DEV1" << 4 << "DEV1";
    QTest::newRow("too long: cut") << "DEV123" << 4 << "DEV…";
    QTest::newRow("Chinese counts twice") << "大臂" << 5 << "大臂 ";
    QTest::newRow("no half character") << "大臂到" << 4 << "大… ";
    QTest::newRow("beyond the basic plane") << "𠀀" << 3 << "𠀀 ";
    QTest::newRow("combining mark takes no room") << "e\u0301x" << 3 << "e\u0301x ";
    QTest::newRow("line breaks") << "a\r\nb\u2028c" << 6 << "a  b c";
    QTest::newRow("escape sequence") << "\x1b[2Jx" << 5 << "?[2Jx";
    QTest::newRow("C1 control") << "\u009b2J" << 3 << "?2J";
    QTest::newRow("right-to-left override") << "\u202egpj" << 4 << "?gpj";
    QTest::newRow("lone surrogate") << QString(QChar(0xd800)) << 1 << QStringLiteral("\ufffd");
    QTest::newRow("no room") << "abc" << 0 << "";
}

void TestSiteView::textIsFittedIntoColumns()
{
    QFETCH(QString, text);
    QFETCH(int, columns);
    QFETCH(QString, expected);

    QCOMPARE(fitted(text, columns), expected);
    QCOMPARE(columnsOf(fittedRight(text, columns)), columns);
}

void TestSiteView::alarmTextsAreTakenApart_data()
{
    QTest::addColumn<QString>("detail");
    QTest::addColumn<AlarmText::Kind>("kind");
    QTest::addColumn<QString>("neighbour");
    QTest::addColumn<QString>("gloss");
    QTest::addColumn<QString>("metres");

    using Kind = AlarmText::Kind;
    QTest::newRow("zone") << zoneOf2 << Kind::Zone << "2"
                          << "zone"
                          << "8.50";
    QTest::newRow("pair") << jibToRopeOf2 << Kind::Pair << "2"
                          << "jib/rope"
                          << "4.20";
    QTest::newRow("pair of the other parts") << "\n后臂到A塔吊塔身\nnan米" << Kind::Pair << "A"
                                             << "counter-jib/tower"
                                             << "nan";
    QTest::newRow("no name") << "回转距离进人塔机\n回转区还有0.00米" << Kind::Zone << ""
                             << "zone"
                             << "0.00";
    QTest::newRow("a name made of the fixed words")
        << "\n吊绳到2塔吊大臂\n1米塔吊大臂\n3.00米" << Kind::Pair << "2塔吊大臂\n1米"
        << "rope/jib"
        << "3.00";
    QTest::newRow("no such part") << "\n吊钩到2塔吊大臂\n3.00米" << Kind::Unknown << ""
                                  << ""
                                  << "";
    QTest::newRow("something else") << "overload" << Kind::Unknown << ""
                                    << ""
                                    << "";
}

void TestSiteView::alarmTextsAreTakenApart()
{
    QFETCH(QString, detail);
    QFETCH(AlarmText::Kind, kind);

    const AlarmText text = parseAlarmText(detail);
    QCOMPARE(text.kind, kind);
    QTEST(text.neighbour, "neighbour");
    QTEST(text.gloss, "gloss");
    QTEST(text.metres, "metres");
}

void TestSiteView::cranesStandInTheTableAsReported()
{
    SiteView view;
    view.take(attitudeTopic, attitudeDocument(QStringLiteral("D2"), QStringLiteral("2")), noon);
    view.take(statusTopic, statusDocument(QStringLiteral("D2"), "offline"), noon);
    view.take(statusTopic, statusDocument(QStringLiteral("D3"), "online"), noon);
    const QByteArray attribute = R"({"self":{"duid":"D1","label":"1"},
                                     "neighbours":[{"duid":"D3","label":"三号"}]})";
    view.take(attributeTopic, attribute, noon);

    QCOMPARE(rowOf(view, QStringLiteral("1")).simplified(),
             QStringLiteral("1 12.50 20.00 30.25 own 0 s"));
    QCOMPARE(rowOf(view, QStringLiteral("2")).simplified(),
             QStringLiteral("2 -150.00 24.50 7.00 OFFLINE 0 s"));
    QCOMPARE(rowOf(view, QStringLiteral("三号")).simplified(),
             QStringLiteral("三号 - - - online -"));
    QVERIFY(view.summary().contains(QStringLiteral("neighbours seen: 2")));
}

void TestSiteView::alarmsStayInTheRowUntilCleared()
{
    SiteView view = siteWithNeighbours(2);
    const QString topic = QStringLiteral("Local/Alarm");

    view.take(topic, alarmDocument(zoneOf2, true), noon);
    view.take(topic, alarmDocument(jibToRopeOf2, true, 25), noon);
    QVERIFY(rowOf(view, QStringLiteral("2"))
                .endsWith(QStringLiteral(" 15 zone 8.50, 25 jib/rope 4.20")));
    QVERIFY(!rowOf(view, QStringLiteral("3")).contains(QStringLiteral("8.50")));

    view.take(topic, alarmDocument(zoneOf2, true), noon); // raised anew after a restart: still one
    view.take(topic, alarmDocument(zoneOf2, false), noon);
    QVERIFY(rowOf(view, QStringLiteral("2")).endsWith(QStringLiteral(" 25 jib/rope 4.20")));
    QVERIFY(!rowOf(view, QStringLiteral("2")).contains(QStringLiteral("zone")));
    QCOMPARE(view.status(noon),
             QStringLiteral("neighbours: 2, online: 0; alarms active: 1, raised: 3, "
                            "cleared: 1"));
}

void TestSiteView::alarmsOfACalibrationCountIfTheyOutlastIt()
{
    SiteView view;
    const QString topic = QStringLiteral("Local/Alarm");
    const QString zoneOf3 = QStringLiteral("回转距离进人3塔机\n回转区还有8.50米");
    const QString calibration = QStringLiteral("calibration: jibs count as 999 m");
    const auto figures = [&view] { return view.status(noon).section(QLatin1Char(';'), -1); };

    QVERIFY(
        view.take(attributeTopic, attributeDocument(999, 999), noon).first().contains(calibration));
    QVERIFY(textOf(view.table(noon, 100, 30)).contains(calibration));
    for (const QString &detail : {zoneOf2, jibToRopeOf2, zoneOf3})
        QCOMPARE(view.take(topic, alarmDocument(detail, true), noon), QStringList());
    QCOMPARE(view.take(topic, alarmDocument(zoneOf3, false), noon), QStringList());
    // The pair of 3 is over with the own jib's real length, that of 2 is not.
    view.take(attributeTopic, attributeDocument(45, 999), noon);
    QCOMPARE(view.take(topic, alarmDocument(zoneOf3, true), noon).size(), 1);
    QVERIFY(view.status(noon).contains(calibration));

    const QDateTime over = noon.addSecs(100);
    QCOMPARE(view.take(attributeTopic, attributeDocument(45, 45), over),
             QStringList(QStringLiteral("12:01:40 calibration is over")));
    QCOMPARE(view.take(topic, alarmDocument(zoneOf2, false), over), QStringList());
    QCOMPARE(view.pass(over.addMSecs(1999)), QStringList());
    QCOMPARE(figures(), QStringLiteral(" alarms active: 1, raised: 1, cleared: 0"));
    QVERIFY(view.pass(over.addSecs(2))
                .first()
                .startsWith(QStringLiteral("12:01:42 RAISED  15 jib/rope of 2")));
    view.take(topic, alarmDocument(jibToRopeOf2, false), over.addSecs(3));
    QCOMPARE(figures(), QStringLiteral(" alarms active: 1, raised: 2, cleared: 1"));
}

void TestSiteView::eachAlarmAndEachChangeOfPresenceIsOneLine()
{
    SiteView view = siteWithNeighbours(1);
    const QString topic = QStringLiteral("Local/Alarm");

    QCOMPARE(view.take(topic, alarmDocument(jibToRopeOf2, true, 25), noon),
             QStringList(QStringLiteral(
                 "12:00:00 RAISED  25 jib/rope of 2          大臂到2塔吊吊绳 4.20米")));
    QCOMPARE(view.take(topic, alarmDocument(zoneOf2, false), noon),
             QStringList(QStringLiteral(
                 "12:00:00 cleared 15 zone of 2              回转距离进人2塔机 回转区还有8.50米")));

    const QString duid = QStringLiteral("D2");
    QCOMPARE(view.take(statusTopic, statusDocument(duid, "online"), noon),
             QStringList(QStringLiteral("12:00:00 online  2")));
    QCOMPARE(view.take(statusTopic, statusDocument(duid, "online"), noon), QStringList());
    QCOMPARE(view.take(statusTopic, statusDocument(duid, "offline"), noon),
             QStringList(QStringLiteral("12:00:00 OFFLINE 2")));
}

void TestSiteView::whatIsOldSaysSo()
{
    SiteView view;
    const auto tableAt = [&view](int second) {
        return textOf(view.table(noon.addSecs(second), 100, 30)).simplified();
    };
    view.take(statusTopic, statusDocument(QStringLiteral("D2"), "online"), noon, true);
    QVERIFY(tableAt(0).contains(QStringLiteral("no report yet")));
    QVERIFY(tableAt(0).contains(QStringLiteral("D2 - - - online? -")));

    const QByteArray report = attitudeDocument(QStringLiteral("D2"), QStringLiteral("2"));
    view.take(attitudeTopic, report, noon.addSecs(1));
    view.take(attitudeTopic, report, noon.addSecs(4)); // that of another crane's motion
    QVERIFY(tableAt(13).contains(QStringLiteral("last report 9 s ago")));
    QVERIFY(tableAt(13).contains(QStringLiteral("online 12 s")));
    QVERIFY(tableAt(14).contains(QStringLiteral("no report for 10 s")));
    QVERIFY(tableAt(14).contains(QStringLiteral("online? 13 s")));
    QVERIFY(
        view.status(noon.addSecs(130))
            .startsWith(QStringLiteral("no report for 2 min: nothing moves, or the controller is "
                                       "gone; neighbours: 1, online: 1?;")));
}

void TestSiteView::unusableDocumentsChangeNothing_data()
{
    QTest::addColumn<QString>("topic");
    QTest::addColumn<QByteArray>("payload");

    const QString alarm = QStringLiteral("Local/Alarm");
    QTest::newRow("empty") << alarm << QByteArray();
    QTest::newRow("not JSON") << statusTopic << QByteArray("{\"neighbours\":[");
    QTest::newRow("an array") << attitudeTopic << QByteArray("[1]");
    QTest::newRow("no list") << attributeTopic << QByteArray(R"({"neighbours":7})");
    QTest::newRow("entry without device id")
        << statusTopic << QByteArray(R"({"neighbours":[{"status":"online"},3]})");
    QTest::newRow("alarm without text") << alarm << QByteArray(R"({"alarm":[{"triggered":true}]})");
    QTest::newRow("alarm neither begun nor ended")
        << alarm << QByteArray(R"({"alarm":[{"detail":"x"}]})");
    QTest::newRow("another topic") << "Local/Data" << alarmDocument(zoneOf2, true);
}

void TestSiteView::unusableDocumentsChangeNothing()
{
    QFETCH(QString, topic);
    QFETCH(QByteArray, payload);
    SiteView view = siteWithNeighbours(1);
    const QString before = textOf(view.table(noon, 100, 30));

    QCOMPARE(view.take(topic, payload, noon), QStringList());
    QCOMPARE(textOf(view.table(noon, 100, 30)), before);
}

void TestSiteView::tableFitsTheTerminal_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("lines");

    QTest::newRow("usual") << 79 << 24;
    QTest::newRow("narrow") << 20 << 24;
    QTest::newRow("low") << 79 << 7;
    QTest::newRow("one line") << 79 << 1;
    QTest::newRow("nothing") << 0 << 0;
}

void TestSiteView::tableFitsTheTerminal()
{
    QFETCH(int, columns);
    QFETCH(int, lines);
    SiteView view = siteWithNeighbours(199);
    for (int i = 0; i < 30; ++i)
        view.take(QStringLiteral("Local/Alarm"), alarmDocument(zoneOf2, i % 2 == 0), noon);

    const QVector<ViewLine> table = view.table(noon, columns, lines, {QStringLiteral("a note")});

    QCOMPARE(table.size(), lines); // so many neighbours fill any screen
    for (const ViewLine &line : table)
        QCOMPARE(columnsOf(line.text), columns);
}

void TestSiteView::alarmedNeighboursAreNotTheOnesLeftOut()
{
    SiteView view = siteWithNeighbours(100);
    const QString detail = QStringLiteral("回转距离进人101塔机\n回转区还有9.00米");
    view.take(QStringLiteral("Local/Alarm"), alarmDocument(detail, true), noon);

    const QString table = textOf(view.table(noon, 79, 24));

    QVERIFY2(table.contains(QStringLiteral("\n 101 ")), qUtf8Printable(table));
    const int shown = table.count(QStringLiteral("-150.00"));
    QVERIFY(shown > 5);
    QVERIFY2(table.contains(QStringLiteral("and %1 more neighbours").arg(100 - shown)),
             qUtf8Printable(table));
}

void TestSiteView::hostileNamesStayOnTheirLine()
{
    SiteView view;
    const QString name = QStringLiteral("\x1b]0;x\x07\n\u202e\"%1");
    const QString detail = QStringLiteral("\n大臂到") + name + QStringLiteral("塔吊大臂\n1.00米");
    const QJsonObject entry{{QStringLiteral("duid"), name}, {QStringLiteral("label"), name}};
    const QJsonObject attribute{{QStringLiteral("self"), entry},
                                {QStringLiteral("neighbours"), QJsonArray{entry}}};
    view.take(attributeTopic, QJsonDocument(attribute).toJson(), noon);

    QStringList lines = view.take(QStringLiteral("Local/Alarm"), alarmDocument(detail, true), noon);
    lines += view.take(statusTopic, statusDocument(name, "online"), noon);
    for (const ViewLine &line : view.table(noon, 120, 30, {name}))
        lines.append(line.text);

    QVERIFY(lines.join(QChar()).contains(QStringLiteral("jib/jib 1.00"))); // known by that name
    for (const QString &line : qAsConst(lines)) {
        for (const QChar character : line)
            QVERIFY2(character.isPrint(), qUtf8Printable(line));
    }
}

QTEST_GUILESS_MAIN(TestSiteView)

#include "tst_siteview.moc"
