// Plays a site of tower cranes on two MQTT brokers: for the own crane the board's other programs,
// for each neighbour the unit that reports it.

#include "tools/sim/calmcourse.h"
#include "tools/sim/commissioning.h"
#include "tools/sim/radioneighbour.h"
#include "tools/sim/radiotalk.h"
#include "tools/sim/siteclients.h"
#include "tools/sim/siteplayer.h"
#include "tools/sim/waiting.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTextStream>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <sys/signalfd.h>
#include <unistd.h>

namespace
{
constexpr int badOptions = 2;

struct Options {
    PlayOptions play;
    int cranes = 0;
    quint32 seed = 0;
    quint16 localPort = 0;
    quint16 cloudPort = 0;
    double waitSeconds = 0;
    double silenceOnTheClock = 0; // seconds by the clock
    bool isCalm = false;
    QString radioLink; // empty: nobody speaks by radio
};

/// One option with a number: name, meaning, the word for its value, default and range.
struct NumberOption {
    const char *name;
    const char *meaning;
    const char *word;
    const char *preset;
    double lowest;
    double highest;
    bool whole;
};

constexpr NumberOption cranesOption{
    "cranes", "Cranes of the site, the own one included: 2 to 200.", "n", "6", 2, 200, true};
constexpr NumberOption rateOption{
    "rate", "Crane-state messages of each crane in a second: 0.1 to 50.", "r", "2", 0.1, 50, false};
constexpr NumberOption speedOption{
    "speed", "Times faster than the clock: 0.1 to 100.", "times", "1", 0.1, 100, false};
constexpr NumberOption secondsOption{
    "seconds",
    "End after so many seconds of motion, as the site counts them; 0: go on until "
    "SIGINT or SIGTERM.",
    "t",
    "0",
    0,
    1e9,
    false};
constexpr NumberOption silenceOption{
    "silence", "How long 2# says nothing each time, in seconds by the clock; 0: never silent.",
    "t",       "14",
    0,         1e6,
    false};
constexpr NumberOption seedOption{
    "seed", "The same seed gives the same site, motion and messages.", "n", "3", 0, 4294967295.0,
    true};
constexpr NumberOption waitOption{
    "wait",
    "Give up after so many seconds without brokers or without an answer from the crane's "
    "controller.",
    "t",
    "60",
    1,
    1e6,
    false};
constexpr NumberOption localPortOption{
    "local-port", "Port of the board's broker on 127.0.0.1.", "port", "1883", 1, 65535, true};
constexpr NumberOption cloudPortOption{
    "cloud-port", "Port of the site's broker on 127.0.0.1.", "port", "22222", 1, 65535, true};

[[noreturn]] void refuse(const QString &reason)
{
    QTextStream(stderr) << "sitesim: " << reason << " (--help lists the options)" << Qt::endl;
    std::exit(badOptions);
}

double number(const QCommandLineParser &parser, const NumberOption &option)
{
    const QString text = parser.value(QLatin1String(option.name));
    bool isNumber = false;
    const double value =
        option.whole ? static_cast<double>(text.toLongLong(&isNumber)) : text.toDouble(&isNumber);
    if (!isNumber || !(value >= option.lowest && value <= option.highest))
        refuse(QStringLiteral("--%1 cannot be \"%2\"").arg(QLatin1String(option.name), text));
    return value;
}

Options parseOptions(const QCoreApplication &application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Plays a site of tower cranes to the anti-collision controller: the programs of the own\n"
        "crane's board on the local broker, the units of all neighbours on the cloud broker.\n"
        "Commissions the site (a tenth of a second for each neighbour), then moves the cranes."));
    const QCommandLineOption radio(
        QStringLiteral("radio"),
        QStringLiteral(
            "Make a serial device of this name, a pseudo-terminal, and let the neighbour "
            "3号 (2号 of two cranes) report by radio once it is commissioned: "
            "attributes at the begin and every 20 s, motion twice a second while it "
            "moves and every 10.5 s at rest. After 25 s the modem is pulled out for 5 s. Give the "
            "name that the "
            "controller opens, /dev/ttyUSB0, where nothing real can have it."),
        QStringLiteral("device"));
    parser.addOption(radio);
    const QCommandLineOption calm(
        QStringLiteral("calm"),
        QStringLiteral(
            "One case at a time: one neighbour after another comes near the own crane, raises "
            "the zone alarm, or a rope's or the jibs' with it, and leaves; all others rest, and "
            "2# is silent between two of them only."));
    parser.addOption(calm);
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Shows this and ends."));
    parser.addOption(help);
    for (const NumberOption &option :
         {cranesOption, rateOption, speedOption, secondsOption, silenceOption, seedOption,
          waitOption, localPortOption, cloudPortOption}) {
        const QString meaning =
            QStringLiteral("%1 Default: %2.")
                .arg(QLatin1String(option.meaning), QLatin1String(option.preset));
        parser.addOption({QLatin1String(option.name), meaning, QLatin1String(option.word),
                          QLatin1String(option.preset)});
    }
    if (!parser.parse(application.arguments()))
        refuse(parser.errorText());
    if (parser.isSet(help))
        parser.showHelp();
    if (!parser.positionalArguments().isEmpty())
        refuse(QStringLiteral("\"%1\" is no option").arg(parser.positionalArguments().first()));

    Options options;
    options.isCalm = parser.isSet(calm);
    options.radioLink = parser.value(radio);
    options.cranes = static_cast<int>(number(parser, cranesOption));
    options.seed = static_cast<quint32>(number(parser, seedOption));
    options.localPort = static_cast<quint16>(number(parser, localPortOption));
    options.cloudPort = static_cast<quint16>(number(parser, cloudPortOption));
    options.waitSeconds = number(parser, waitOption);
    options.play.rate = number(parser, rateOption);
    options.play.speed = number(parser, speedOption);
    options.play.seconds = number(parser, secondsOption);
    options.silenceOnTheClock = number(parser, silenceOption);
    return options;
}

/// A descriptor that becomes readable with SIGINT or SIGTERM, which no longer end the process.
int terminationDescriptor()
{
    sigset_t terminations;
    sigemptyset(&terminations);
    sigaddset(&terminations, SIGINT);
    sigaddset(&terminations, SIGTERM);
    sigprocmask(SIG_BLOCK, &terminations, nullptr);
    return signalfd(-1, &terminations, SFD_CLOEXEC);
}

bool reachBrokers(SiteClients &clients, Waiting &waiting, qint64 patienceMs)
{
    clients.connectToBrokers();
    const auto areConnected = [&clients] { return clients.areConnected(); };
    for (qint64 waitedMs = 0; waitedMs < patienceMs && !waiting.isStopped(); waitedMs += 3000) {
        if (waiting.until(areConnected, 3000))
            return true;
        if (!waiting.isStopped())
            QTextStream(stderr) << "no broker at " << clients.missingBrokers() << Qt::endl;
    }
    return false;
}

/// Gives a neighbour the label by which it is known on the radio too, and a modem.
std::unique_ptr<RadioNeighbour> joinByRadio(Site *site, const QString &link)
{
    const int index = radioCrane(*site);
    const auto craneNumber = static_cast<quint16>(index + 1);
    SiteCrane &crane = (*site)[index];
    crane.fieldNumber = radioFieldNumber(craneNumber);
    return std::make_unique<RadioNeighbour>(crane, craneNumber, link);
}

/// How the cranes of \a site move; a calm course wants a calm site.
std::unique_ptr<SiteCourse> courseOf(const Site &site, const Options &options)
{
    // The controller counts its seconds of silence by the clock, however fast the site runs.
    const double silence = options.silenceOnTheClock * std::max(1.0, options.play.speed);
    if (options.isCalm)
        return std::make_unique<CalmCourse>(site, silence);
    return std::make_unique<BusyCourse>(site, silence);
}

/// The whole play. False when it could not begin.
bool play(const Options &options, SiteClients &clients, Waiting &waiting)
{
    Site site = buildSite(options.cranes, options.seed);
    if (options.isCalm)
        site = calmSite(site);
    std::unique_ptr<RadioNeighbour> radio;
    if (!options.radioLink.isEmpty()) {
        radio = joinByRadio(&site, options.radioLink);
        if (!radio->problem().isEmpty()) {
            QTextStream(stderr) << radio->problem() << Qt::endl;
            return false;
        }
    }
    const auto patienceMs = static_cast<qint64>(options.waitSeconds * 1000);
    if (!reachBrokers(clients, waiting, patienceMs))
        return false;
    const std::unique_ptr<SiteCourse> course = courseOf(site, options);
    if (!Commissioning(site, *course, clients, waiting, patienceMs).run())
        return false;
    clients.stopWatching();
    SitePlayer(site, *course, options.play, clients, waiting, radio.get()).run();
    return true;
}

/// Lets what was published last leave the process.
void takeLeave(SiteClients &clients)
{
    Waiting leaving; // the play's own waiting may have been stopped
    QObject::connect(&clients, &SiteClients::changed, &leaving, &Waiting::look);
    clients.disconnectFromBrokers();
    leaving.until([&clients] { return clients.areClosed(); }, 1000);
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("sitesim"));
    const Options options = parseOptions(application);

    Waiting waiting;
    QSocketNotifier termination(terminationDescriptor(), QSocketNotifier::Read);
    QObject::connect(&termination, &QSocketNotifier::activated, &waiting, [&] {
        termination.setEnabled(false);
        waiting.stop();
    });
    SiteClients clients(options.localPort, options.cloudPort);
    QObject::connect(&clients, &SiteClients::changed, &waiting, &Waiting::look);

    const bool hasPlayed = play(options, clients, waiting);
    takeLeave(clients);
    QTextStream(stdout) << "done: " << clients.publishedMessages() << " messages" << Qt::endl;
    return hasPlayed || waiting.isStopped() ? EXIT_SUCCESS : EXIT_FAILURE;
}
