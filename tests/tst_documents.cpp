#include <QtTest>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "model/documents.h"

namespace
{

QJsonObject parsed(const char *text)
{
    return QJsonDocument::fromJson(text).object();
}

} // namespace

class TestDocuments : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void craneState_data();
    void craneState();
    void worksetTakesTheFirstGeneralElement();
    void worksetSetsMissingAndMistypedMembersToNothing();
    void worksetWithoutGeneralElementChangesNothing();
    void registration_data();
    void registration();
    void alarmDocumentHoldsItsFourArguments();
};

void TestDocuments::craneState_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<float>("rotation");
    QTest::addColumn<float>("travel");
    QTest::addColumn<float>("height");

    const auto row = [](const char *name, const char *document, float r, float t, float h) {
        QTest::newRow(name) << QByteArray(document) << r << t << h;
    };
    row("all three",
        R"({"tower":[{"rotation":12.5,"gantry":[{"travel":20,"hoist":[{"height":30.25}]}]}]})",
        12.5f, 20.0f, 30.25f);
    row("slewing only: the others stay", R"({"tower":[{"rotation":45}]})", 45.0f, 2.0f, 3.0f);
    row("rope without trolley and slewing", R"({"tower":[{"gantry":[{"hoist":[{"height":7}]}]}]})",
        1.0f, 2.0f, 7.0f);
    row("no tower: all stay", R"({"gantry":[{"travel":9}]})", 1.0f, 2.0f, 3.0f);
    row("empty tower: all stay", R"({"tower":[]})", 1.0f, 2.0f, 3.0f);
    row("tower is no array: all stay", R"({"tower":{"rotation":9}})", 1.0f, 2.0f, 3.0f);
    row("only the first element counts", R"({"tower":[{},{"rotation":9}]})", 1.0f, 2.0f, 3.0f);
    row("not a number: 0",
        R"({"tower":[{"rotation":"45","gantry":[{"travel":null,"hoist":[{"height":true}]}]}]})",
        0.0f, 0.0f, 0.0f);
    row("keys are case-sensitive", R"({"tower":[{"Rotation":9}]})", 1.0f, 2.0f, 3.0f);
    row("beyond a float", R"({"tower":[{"rotation":1e300}]})",
        std::numeric_limits<float>::infinity(), 2.0f, 3.0f);
}

void TestDocuments::craneState()
{
    QFETCH(QByteArray, document);
    float rotation = 1.0f;
    float travel = 2.0f;
    float height = 3.0f;
    backdata(parsed(document), &rotation, &travel, &height);
    QTEST(rotation, "rotation");
    QTEST(travel, "travel");
    QTEST(height, "height");
}

void TestDocuments::worksetTakesTheFirstGeneralElement()
{
    FoundationData record;
    QVERIFY(Worksetdata(parsed(R"({"workset":[
        {"object":"General","armlen":1},
        {"object":"general","armlen":50.5,"craneheight":40,"reararm":15,"safelen":6,
         "fieldnumber":"N\"7号","type":"T1","armwidth":2,"heightzero":"H"},
        {"object":"general","armlen":3}]})"),
                        &record));
    QCOMPARE(record.armlen, 50.5f);
    QCOMPARE(record.craneheight, 40.0f);
    QCOMPARE(record.reararm, 15.0f);
    QCOMPARE(record.safelen, 6.0f);
    QCOMPARE(record.name, QStringLiteral("N\"7号"));
    QCOMPARE(record.type, QStringLiteral("T1"));
    QCOMPARE(record.armwidth, 2.0f);
    QCOMPARE(record.heightzero, QStringLiteral("H"));
}

void TestDocuments::worksetSetsMissingAndMistypedMembersToNothing()
{
    FoundationData record;
    record.name = QStringLiteral("old");
    record.armlen = record.craneheight = 9.0f;
    record.duid = QStringLiteral("DEV7");
    QVERIFY(Worksetdata(parsed(R"({"workset":[{"object":"general","armlen":"12.5"}]})"), &record));
    QCOMPARE(record.armlen, 0.0f);
    QCOMPARE(record.craneheight, 0.0f);
    QCOMPARE(record.safelen, 0.0f); // not the default of 5 m
    QVERIFY(record.name.isEmpty());
    QCOMPARE(record.duid, QStringLiteral("DEV7"));
}

void TestDocuments::worksetWithoutGeneralElementChangesNothing()
{
    for (const char *text : {R"({})", R"({"workset":{"object":"general"}})", R"({"workset":[]})",
                             R"({"workset":[{"object":"general "},{"object":1},7]})"}) {
        FoundationData record;
        record.armlen = 9.0f;
        QVERIFY2(!Worksetdata(parsed(text), &record), text);
        QCOMPARE(record.armlen, 9.0f);
        QCOMPARE(record.safelen, 5.0f);
    }
}

void TestDocuments::registration_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("dataTop");
    QTest::addColumn<QString>("name");

    const auto row = [](const char *name, const QByteArray &document, const char *filter,
                        const char *dataTop, const char *label) {
        QTest::newRow(name) << document << QString::fromUtf8(filter) << QString::fromUtf8(dataTop)
                            << QString::fromUtf8(label);
    };
    const QByteArray whole = R"({"reginfo":{"type":{"id":3},"generic":{"fieldnumber":"N9"},
        "company":{"id":"C1","department":{"id":"D2","project":{"id":"P3"}}},
        "owner":{"id":"O4"},"vendor":{"id":"V5"}}})";
    row("vendor before owner", whole, "F/3/0/C1/D2/P3/+/+/+/", "F/3/0/C1/D2/P3/V5/O4/0/", "N9");
    row("empty document", "{}", "F/0/0////+/+/+/", "F/0/0//////0/", "");
    row("type is not whole: 0", R"({"reginfo":{"type":{"id":2.5}}})", "F/0/0////+/+/+/",
        "F/0/0//////0/", "");
    row("type is a text: 0", R"({"reginfo":{"type":{"id":"2"}}})", "F/0/0////+/+/+/",
        "F/0/0//////0/", "");
    row("type beyond an int: 0", R"({"reginfo":{"type":{"id":1e18}}})", "F/0/0////+/+/+/",
        "F/0/0//////0/", "");
    row("ids of other types are empty",
        R"({"reginfo":{"company":{"id":1,"department":[]},"vendor":"V"}})", "F/0/0////+/+/+/",
        "F/0/0//////0/", "");
}

void TestDocuments::registration()
{
    QFETCH(QByteArray, document);
    FoundationData record;
    record.name = record.MqttTop = record.MqttDataTop = QStringLiteral("old");
    parseJsonObject(parsed(document), record);
    QTEST(record.MqttTop, "filter");
    QTEST(record.MqttDataTop, "dataTop");
    QTEST(record.name, "name");
}

void TestDocuments::alarmDocumentHoldsItsFourArguments()
{
    QCOMPARE(alarmDocument(QStringLiteral("a\"大\n"), 25, true, 1690796770123),
             QStringLiteral("{\n"
                            "    \"alarm\": [\n"
                            "        {\n"
                            "            \"detail\": \"a\\\"大\\n\",\n"
                            "            \"kind\": \"threshold\",\n"
                            "            \"level\": 25,\n"
                            "            \"triggered\": true\n"
                            "        }\n"
                            "    ],\n"
                            "    \"timestamp\": 1690796770123,\n"
                            "    \"upload\": \"alarm\",\n"
                            "    \"version\": \"0.1.0\"\n"
                            "}\n"));
}

QTEST_APPLESS_MAIN(TestDocuments)
#include "tst_documents.moc"
