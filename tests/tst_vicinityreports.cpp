#include <QtTest>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

#include "engine/jcjj.h"

namespace
{

constexpr float infinite = std::numeric_limits<float>::infinity();

// Written with ' for " and @ for an escaped ", for the eye; whole() makes them what they are.
const char vicinityText[] = "{\n"
                            "    'neighbours': [\n"
                            "        {\n"
                            "            'armlenth': 0,\n"
                            "            'armwidth': 0,\n"
                            "            'craneheight': 40,\n"
                            "            'duid': 'DEV7',\n"
                            "            'heightzero': '',\n"
                            "            'label': 'N@7号',\n"
                            "            'reararm': 0,\n"
                            "            'safedistance': 0,\n"
                            "            'type': 'T',\n"
                            "            'x': 12.34,\n"
                            "            'y': -7\n"
                            "        }\n"
                            "    ],\n"
                            "    'self': {\n"
                            "        'armlenth': 50,\n"
                            "        'armwidth': 0.10000000149011612,\n"
                            "        'craneheight': 0,\n"
                            "        'duid': 'DEV9',\n"
                            "        'heightzero': '',\n"
                            "        'label': '9#',\n"
                            "        'reararm': 0,\n"
                            "        'safedistance': 5,\n"
                            "        'type': '',\n"
                            "        'x': 0,\n"
                            "        'y': 0\n"
                            "    },\n"
                            "    'timestamp': 1690796770999,\n"
                            "    'upload': 'Vicinity',\n"
                            "    'version': '0.1.0'\n"
                            "}\n";

const char attitudeText[] = "{\n"
                            "    'neighbours': [\n"
                            "        {\n"
                            "            'duid': 'DEV7',\n"
                            "            'hoisting': 0,\n"
                            "            'label': 'N@7号',\n"
                            "            'luffing': 20,\n"
                            "            'slewing': -180\n"
                            "        }\n"
                            "    ],\n"
                            "    'self': {\n"
                            "        'hoisting': 0,\n"
                            "        'label': '9#',\n"
                            "        'luffing': 0,\n"
                            "        'slewing': 45.67\n"
                            "    },\n"
                            "    'timestamp': 1690796770999,\n"
                            "    'upload': 'Attitude',\n"
                            "    'version': '0.1.0'\n"
                            "}\n";

const char statusText[] = "{\n"
                          "    'neighbours': [\n"
                          "        {\n"
                          "            'duid': 'DEV7',\n"
                          "            'status': 'online'\n"
                          "        },\n"
                          "        {\n"
                          "            'duid': '',\n"
                          "            'status': 'online'\n"
                          "        }\n"
                          "    ],\n"
                          "    'timestamp': 1690796770999,\n"
                          "    'upload': 'VicinityStatus',\n"
                          "    'version': '0.1.0'\n"
                          "}\n";

QString whole(const char *text)
{
    return QString::fromUtf8(QByteArray(text).replace('\'', '"').replace('@', "\\\""));
}

QJsonObject parsed(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

QJsonObject firstNeighbour(const QString &text)
{
    return parsed(text).value(QStringLiteral("neighbours")).toArray().at(0).toObject();
}

} // namespace

class TestVicinityReports : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void twoDecimalsAreCut_data();
    void twoDecimalsAreCut();
    void wholeTexts();
    void slewingOfANeighbour_data();
    void slewingOfANeighbour();
    void ownPlaceIsAlwaysZero();
    void silenceMakesOffline();
    void numbersThatAreNotFiniteAreNull();
};

void TestVicinityReports::twoDecimalsAreCut_data()
{
    QTest::addColumn<float>("metres");
    QTest::addColumn<double>("reported");
    QTest::newRow("toward zero from above") << 12.349f << 12.34;
    QTest::newRow("toward zero from below") << -0.567f << -0.56;
    QTest::newRow("a whole number stays") << -7.001f << -7.0;
    QTest::newRow("above the 32-bit range: saturates") << 3e7f << 21474836.47;
    QTest::newRow("below the 32-bit range: saturates") << -3e7f << -21474836.48;
    QTest::newRow("at its lower end") << -21474836.48f << -21474836.48;
    QTest::newRow("infinite") << infinite << 21474836.47;
    QTest::newRow("not a number: 0") << std::numeric_limits<float>::quiet_NaN() << 0.0;
}

void TestVicinityReports::twoDecimalsAreCut()
{
    QFETCH(float, metres);
    FoundationData self;
    self.travel = metres;
    QTEST(parsed(JCJJ::VicinityAttitude(self, {}))
              .value(QStringLiteral("self"))
              .toObject()
              .value(QStringLiteral("luffing"))
              .toDouble(),
          "reported");
}

void TestVicinityReports::wholeTexts()
{
    FoundationData self;
    self.duid = QStringLiteral("DEV9");
    self.name = QStringLiteral("9#");
    self.armlen = 50.0f;
    self.armwidth = 0.1f;
    self.rotation = 45.678f;
    tBasis neighbour;
    neighbour.duid = QStringLiteral("DEV7");
    neighbour.name = QStringLiteral("N\"7号");
    neighbour.type = QStringLiteral("T");
    neighbour.absolute_X = 12.349f;
    neighbour.absolute_Y = -7.001f;
    neighbour.craneheight = 40.0f;
    neighbour.travel = 20.0f;

    QCOMPARE(JCJJ::VicinitytoV(self, {neighbour}), whole(vicinityText));
    QCOMPARE(JCJJ::VicinityAttribute(self, {neighbour}), JCJJ::VicinitytoV(self, {neighbour}));
    QCOMPARE(JCJJ::VicinityAttitude(self, {neighbour}), whole(attitudeText));
    QCOMPARE(JCJJ::VicinityStatus({neighbour, {}}), whole(statusText));
}

void TestVicinityReports::slewingOfANeighbour_data()
{
    QTest::addColumn<float>("moffset");
    QTest::addColumn<float>("hoffset");
    QTest::addColumn<float>("rotation");
    QTest::addColumn<double>("slewing");
    // Own reading at which the own jib points the same way: moffset - phi, not wrapped.
    QTest::newRow("pointing at the own tower") << 30.0f << 200.0f << 200.0f << -150.0;
    QTest::newRow("a quarter turn on") << 30.0f << 200.0f << 290.0f << -60.0;
    QTest::newRow("pointing away from the own tower") << 300.0f << 200.0f << 20.0f << 300.0;
    QTest::newRow("cut toward zero") << 0.125f << 180.0f << 180.0f << -179.87;
}

void TestVicinityReports::slewingOfANeighbour()
{
    tBasis neighbour;
    QFETCH(float, moffset);
    QFETCH(float, hoffset);
    QFETCH(float, rotation);
    neighbour.moffset = moffset;
    neighbour.hoffset = hoffset;
    neighbour.rotation = rotation;
    QTEST(firstNeighbour(JCJJ::VicinityAttitude({}, {neighbour}))
              .value(QStringLiteral("slewing"))
              .toDouble(),
          "slewing");
}

void TestVicinityReports::ownPlaceIsAlwaysZero()
{
    FoundationData self;
    self.location_X = self.location_Y = 8.0f;
    const QJsonObject own =
        parsed(JCJJ::VicinitytoV(self, {})).value(QStringLiteral("self")).toObject();
    QCOMPARE(own.value(QStringLiteral("x")).toDouble(-1), 0.0);
    QCOMPARE(own.value(QStringLiteral("y")).toDouble(-1), 0.0);
}

void TestVicinityReports::silenceMakesOffline()
{
    for (const auto &[ticks, word] : {std::pair{9, "online"}, std::pair{10, "offline"}}) {
        tBasis neighbour;
        neighbour.silentTicks = ticks;
        QCOMPARE(firstNeighbour(JCJJ::VicinityStatus({neighbour}))
                     .value(QStringLiteral("status"))
                     .toString(),
                 QString::fromLatin1(word));
    }
}

void TestVicinityReports::numbersThatAreNotFiniteAreNull()
{
    tBasis neighbour;
    neighbour.armlen = infinite;
    QVERIFY(firstNeighbour(JCJJ::VicinitytoV({}, {neighbour}))
                .value(QStringLiteral("armlenth"))
                .isNull());
}

QTEST_APPLESS_MAIN(TestVicinityReports)
#include "tst_vicinityreports.moc"
