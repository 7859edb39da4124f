#include "tests/blackbox/bench.h"

#include <QDateTime>
#include <QRegularExpression>

namespace
{

const QString ownDuid = QStringLiteral("DEV9");
const QString neighbourDuid = QStringLiteral("DEV7");

QByteArray mark(int number)
{
    return "{\"mark\":" + QByteArray::number(number) + '}';
}

/// An alarm document with a time of the last minute has "NOW" in its place.
QByteArray withoutTime(const QByteArray &payload)
{
    const QRegularExpression time(QStringLiteral("\"timestamp\": (\\d{13}),"));
    const QRegularExpressionMatch match = time.match(QString::fromUtf8(payload));
    const qint64 age = QDateTime::currentMSecsSinceEpoch() - match.captured(1).toLongLong();
    return age >= 0 && age < 60000
               ? QByteArray(payload).replace(match.captured(1).toLatin1(), "NOW")
               : payload;
}

} // namespace

Bench::Bench(quint16 siteBroker)
    : m_board(boardPort, "max_queued_messages 0"), m_site(siteBroker, "max_queued_messages 0")
{
}

bool Bench::start()
{
    return m_board.start() && m_site.start() && watch() && crane.startAndSubscribe();
}

bool Bench::watch()
{
    return watchBoard() && watchSite();
}

bool Bench::watchBoard()
{
    const QStringList filters{QStringLiteral("Local/Alarm"), QStringLiteral("Local/Vicinity/#")};
    m_boardWatch = std::make_unique<Watch>(boardPort, filters);
    return m_boardWatch->isSubscribed();
}

bool Bench::watchSite()
{
    const QStringList filters{siteTopic(ownDuid, QStringLiteral("#"))};
    m_siteWatch = std::make_unique<Watch>(m_site.port(), filters);
    return m_siteWatch->isSubscribed();
}

bool Bench::toBoard(const QString &topic, const QByteArray &payload)
{
    return publish(boardPort, topic, payload) && settleBoard();
}

bool Bench::toSite(const QString &topic, const QByteArray &payload)
{
    return publish(m_site.port(), topic, payload) && settleSite();
}

bool Bench::settleBoard()
{
    // An alarm list is echoed and has no other effect.
    const int from = crane.out().size();
    ++m_marks;
    return publish(boardPort, QStringLiteral("Local/Alarmlots"), mark(m_marks)) &&
           crane.waitForOut(mark(m_marks) + '\n', from, 30000);
}

bool Bench::settleSite()
{
    // What is no JSON gives a log line and has no other effect, on any topic.
    const int before = siteErrors();
    return publish(m_site.port(), siteTopic(QStringLiteral("MARK"), QStringLiteral("Mark")),
                   "mark") &&
           QTest::qWaitFor([&] { return siteErrors() > before; }, 30000);
}

/// How many messages of the site the present run has refused; looks at new lines only.
int Bench::siteErrors()
{
    const QByteArray &log = crane.log();
    const int end = log.lastIndexOf('\n') + 1;
    m_siteErrors += log.mid(m_logCounted, end - m_logCounted).count("JSON parse error:");
    m_logCounted = end;
    return m_siteErrors;
}

bool Bench::registerCrane()
{
    const int from = crane.log().size();
    return toBoard(QStringLiteral("Local/IdentityInfo"), registrationDocument()) &&
           crane.waitForLog("subscribed is sucessed topic: \"F/3/0/C1/D2/P3/+/+/+/#\" qos: 1\n",
                            from);
}

bool Bench::ownWorkset(double armlen)
{
    return toBoard(QStringLiteral("Local/Workset"), worksetDocument("N9", armlen, 12, 40));
}

bool Bench::ownState(double rotation, double travel, double height)
{
    return toBoard(QStringLiteral("Local/Data"), stateDocument(rotation, travel, height));
}

bool Bench::neighbourWorkset(const QString &duid, const QByteArray &name, double armlen)
{
    return toSite(siteTopic(duid, QStringLiteral("Workset")), worksetDocument(name, armlen, 8, 44));
}

bool Bench::neighbourState(const QString &duid, double rotation, double travel, double height)
{
    return toSite(siteTopic(duid, QStringLiteral("Data")), stateDocument(rotation, travel, height));
}

bool Bench::giveWorksets(const QList<Neighbour> &neighbours, double ownArmlen, double armlen)
{
    bool isDone = ownWorkset(ownArmlen);
    for (const Neighbour &neighbour : neighbours)
        isDone = isDone && neighbourWorkset(neighbour.duid, neighbour.name, armlen);
    return isDone;
}

bool Bench::commission(const QList<Neighbour> &neighbours)
{
    bool isDone = toBoard(QStringLiteral("Local/DUID"), R"({"duid":{"value":"DEV9"}})") &&
                  registerCrane() && giveWorksets(neighbours, 999, 999);
    for (const Neighbour &neighbour : neighbours)
        isDone = isDone && ownState(neighbour.ownRotation, 20.5) &&
                 neighbourState(neighbour.duid, 200, 24.5) &&
                 neighbourState(neighbour.duid, 200, 24.5);
    isDone = isDone && giveWorksets(neighbours, 30, 20) && ownState(30, 27);
    for (const Neighbour &neighbour : neighbours)
        isDone = isDone && neighbourState(neighbour.duid, 20);
    return isDone && !publishedOnBoard().isEmpty() && !publishedOnSite().isEmpty();
}

QByteArrayList Bench::publishedOnBoard()
{
    // Publications cross to a thread of their own: the second round trip is behind them for sure.
    if (!settleBoard() || !settleBoard())
        return {"the crane does not answer on the board"};
    return upToMark(*m_boardWatch, boardPort, QStringLiteral("Local/Vicinity/Mark"));
}

QByteArrayList Bench::publishedOnSite()
{
    if (!settleSite())
        return {"the crane does not answer on the site"};
    return upToMark(*m_siteWatch, m_site.port(), siteTopic(ownDuid, QStringLiteral("Mark")));
}

QByteArrayList Bench::upToMark(Watch &watch, quint16 port, const QString &topic)
{
    ++m_marks;
    if (!publish(port, topic, mark(m_marks)))
        return {"the broker does not answer"};
    QByteArrayList texts;
    for (;;) {
        const QList<BusMessage> next = watch.next(1);
        if (next.isEmpty())
            return {"the watch does not get the mark"};
        if (next.first().payload == mark(m_marks))
            return texts;
        texts << shown(next.first());
    }
}

bool Bench::nextReportWorks()
{
    // Reading 11 or 10: N7's jib points away from the own crane, out of reach.
    const double rotation = 10 + ++m_reports % 2;
    const QByteArray report = attitudeReport(QByteArray::number(rotation + 10));
    return ownState(30, 27) && neighbourState(neighbourDuid, rotation) &&
           isSame(publishedOnBoard(),
                  {shown(QStringLiteral("Local/Vicinity/Attitude/TEXT"), report)}) &&
           isSame(publishedOnSite(),
                  {shown(siteTopic(ownDuid, QStringLiteral("Vicinity/Attitude")), report)});
}

bool Bench::recovers()
{
    if (!ownState(30, 27) || !neighbourState(neighbourDuid, 5))
        return false;
    publishedOnBoard();
    publishedOnSite();
    return nextReportWorks();
}

QByteArray Bench::takeEcho()
{
    const QByteArray text = crane.out().mid(m_echoTaken);
    m_echoTaken += text.size();
    QByteArray echo;
    for (const QByteArray &line : text.split('\n'))
        if (!line.startsWith("{\"mark\":"))
            echo += line + '\n';
    echo.chop(1); // split() sees an empty line behind the last line feed
    return echo;
}

bool Bench::finish()
{
    const bool hasEnded = crane.terminate();
    if (!hasEnded)
        qWarning("The crane did not run any more, or did not end within a second:\n%s",
                 crane.log().right(2000).constData());
    const QByteArray report = crane.sanitizerReport();
    if (!report.isEmpty())
        qWarning("%s", report.constData());
    m_echoTaken = m_logCounted = m_siteErrors = 0; // a next run begins anew
    return hasEnded && report.isEmpty();
}

QString siteTopic(const QString &duid, const QString &kind)
{
    return QStringLiteral("F/3/0/C1/D2/P3/V5/O4/0/%1/%2").arg(duid, kind);
}

QByteArray registrationDocument()
{
    return R"({"reginfo":{"type":{"id":3},"generic":{"fieldnumber":"N9"},)"
           R"("company":{"id":"C1","department":{"id":"D2","project":{"id":"P3"}}},)"
           R"("owner":{"id":"O4"},"vendor":{"id":"V5"}}})";
}

QByteArray stateDocument(double rotation, double travel, double height)
{
    return "{\"tower\":[{\"rotation\":" + QByteArray::number(rotation) +
           ",\"gantry\":[{\"travel\":" + QByteArray::number(travel) +
           ",\"hoist\":[{\"height\":" + QByteArray::number(height) + "}]}]}]}";
}

QByteArray worksetDocument(const QByteArray &name, double armlen, double reararm, double height)
{
    return "{\"workset\":[{\"object\":\"general\",\"armlen\":" + QByteArray::number(armlen) +
           ",\"craneheight\":" + QByteArray::number(height) +
           ",\"reararm\":" + QByteArray::number(reararm) + ",\"safelen\":5,\"fieldnumber\":\"" +
           name + "\",\"type\":\"T1\",\"armwidth\":2,\"heightzero\":\"0\"}]}";
}

QByteArray attitudeReport(const QByteArray &slewing, const QByteArray &self)
{
    return R"({
    "neighbours": [
        {
            "duid": "DEV7",
            "hoisting": 10,
            "label": "N7",
            "luffing": 8,
            "slewing": )" +
           slewing + R"(
        }
    ],
    "self": {
        "hoisting": 10,
        "label": "N9",
        "luffing": 27,
        "slewing": )" +
           self + R"(
    },
    "timestamp": 1690796770999,
    "upload": "Attitude",
    "version": "0.1.0"
}
)";
}

QByteArray shown(const BusMessage &message)
{
    return message.topic.toUtf8() + " QoS " + QByteArray::number(message.qos) +
           (message.isRetained ? " retained\n" : "\n") + withoutTime(message.payload);
}

QByteArray shown(const QString &topic, const QByteArray &payload, bool isRetained)
{
    return shown(BusMessage{topic, payload, 0, isRetained});
}

QByteArray shownAlarm(const QByteArray &detail, int level, bool isTriggered)
{
    const QByteArray document = R"({
    "alarm": [
        {
            "detail": ")" + detail +
                                R"(",
            "kind": "threshold",
            "level": )" + QByteArray::number(level) +
                                R"(,
            "triggered": )" + (isTriggered ? "true" : "false") +
                                R"(
        }
    ],
    "timestamp": NOW,
    "upload": "alarm",
    "version": "0.1.0"
}
)";
    return shown(QStringLiteral("Local/Alarm"), document);
}

bool isSame(const QByteArrayList &actual, const QByteArrayList &expected)
{
    if (actual == expected)
        return true;
    qWarning("expected %d messages:\n%s\ncame %d:\n%s", expected.size(),
             expected.join('\n').left(6000).constData(), actual.size(),
             actual.join('\n').left(6000).constData());
    return false;
}
