// Shows what a display on the board would show: the own crane, its neighbours and their alarms, as
// the controller reports them on the board's broker. A table redrawn in place where standard
// output is a terminal, plain lines elsewhere. It only listens.

#include "tools/view/siteview.h"
#include "tools/view/terminaltext.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSize>
#include <QSocketNotifier>
#include <QTimer>
#include <QUrl>

#include <qmqtt.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace
{

constexpr int redrawIntervalMs = 250;
constexpr int statusIntervalMs = 5000;

struct Broker {
    QHostAddress address; // null: none
    quint16 port = 0;
    QString name; // as it was given
};

/// The broker that \a text names, "127.0.0.1:1883" or without the port.
Broker brokerAt(const QString &text)
{
    constexpr int usualPort = 1883;
    const QUrl url(QStringLiteral("mqtt://") + text, QUrl::StrictMode);
    const int port = url.port(usualPort);
    if (url.authority() != text || !url.userInfo().isEmpty() || port < 1)
        return {};
    return {QHostAddress(url.host()), static_cast<quint16>(port), text};
}

bool isTerminal()
{
    const char *kind = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && kind != nullptr && QByteArray(kind) != "dumb";
}

// Ends the program when nobody can read its output any more.
void write(const QByteArray &bytes)
{
    const auto length = static_cast<std::size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, length, stdout) != length || std::fflush(stdout) != 0)
        std::_Exit(EXIT_FAILURE);
}

void writeLine(const QString &line)
{
    write(line.toUtf8() + '\n');
}

// None where NO_COLOR is set and not empty (https://no-color.org).
QByteArray colourOf(ViewLine::Tone tone)
{
    static const bool hasColours = qgetenv("NO_COLOR").isEmpty();
    if (!hasColours)
        return {};
    switch (tone) {
    case ViewLine::Tone::Heading:
        return "\x1b[1m";
    case ViewLine::Tone::Alarm:
        return "\x1b[31m";
    case ViewLine::Tone::Faint:
        return "\x1b[2m";
    default:
        return "\x1b[0m";
    }
}

/// The terminal's second screen with the cursor hidden; the destructor gives the first one back.
class Screen
{
public:
    Screen() { write("\x1b[?1049h\x1b[?25l"); }
    ~Screen() { write("\x1b[0m\x1b[?25h\x1b[?1049l"); }
    Q_DISABLE_COPY(Screen)

    /// Columns and lines right now. One column is left free: a full last column would wrap.
    static QSize size()
    {
        winsize window{};
        if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col < 2)
            return {79, 24};
        return {window.ws_col - 1, window.ws_row};
    }

    static void draw(const QVector<ViewLine> &lines)
    {
        QByteArray frame("\x1b[H");
        for (int i = 0; i < lines.size(); ++i) {
            frame += i == 0 ? "" : "\r\n";
            frame += "\x1b[0m\x1b[2K" + colourOf(lines.at(i).tone) + lines.at(i).text.toUtf8();
        }
        write(frame + "\x1b[0m\x1b[J");
    }
};

/// The lines about the radio in the simulator's log, as it grows.
class RadioLog
{
public:
    /// \a path is empty when there is none.
    explicit RadioLog(const QString &path) : m_path(path) {}

    /// Those that have been added since the last look; of more than 64 kB the rest comes with the
    /// next one. A log that is shorter than it was is a new one.
    QStringList newLines();

private:
    const QString m_path;
    qint64 m_end = 0; // of what has been read
};

QStringList RadioLog::newLines()
{
    constexpr qint64 longestLook = 65536;
    QFile log(m_path);
    if (m_path.isEmpty() || !log.open(QIODevice::ReadOnly))
        return {};
    if (log.size() < m_end)
        m_end = 0;
    if (!log.seek(m_end))
        return {};
    QByteArray bytes = log.read(longestLook);
    const int whole = bytes.lastIndexOf('\n') + 1;
    if (whole > 0 || bytes.size() < longestLook)
        bytes.truncate(whole); // the last line is still being written
    m_end += bytes.size();
    QStringList lines;
    for (const QByteArray &line : bytes.split('\n'))
        if (line.startsWith("radio: "))
            lines.append(QString::fromUtf8(line));
    return lines;
}

/// Listens on the board's broker and shows what it hears. Everything in the main thread.
class SiteWatch : public QObject
{
    Q_OBJECT
public:
    /// \a radioLog is a file to be followed, or empty.
    SiteWatch(const Broker &broker, const QStringList &notes, const QString &radioLog);
    /// Gives the terminal back and prints the summary.
    ~SiteWatch() override;

private:
    void subscribe();
    void takeMessage(const QMQTT::Message &message);
    void takeAttitude();
    void writeLines(const QStringList &lines) const;
    void setLink(const QString &state);
    void followRadio();
    void redraw();

    QStringList notes() const
    {
        return m_radio.isEmpty() ? m_notes : m_notes + QStringList(m_radio);
    }

    const QStringList m_notes;
    RadioLog m_radioLog;
    QString m_radio; // its last line
    SiteView m_view;
    QMQTT::Client m_client;
    QTimer m_timer;
    QString m_link; // how the connection stands, for people
    // The latest report of the cranes' motion. At many a second only one a redraw is looked at.
    QByteArray m_attitude;
    QDateTime m_attitudeAt;
    std::unique_ptr<Screen> m_screen; // none: plain lines
};

const QString attitudeTopic = QStringLiteral("Local/Vicinity/Attitude/TEXT");

SiteWatch::SiteWatch(const Broker &broker, const QStringList &notes, const QString &radioLog)
    : m_notes(notes), m_radioLog(radioLog), m_client(broker.address, broker.port),
      m_screen(isTerminal() ? std::make_unique<Screen>() : nullptr)
{
    connect(&m_client, &QMQTT::Client::connected, this, [this, broker] {
        setLink(QStringLiteral("connected to the broker on ") + broker.name);
        subscribe();
    });
    connect(&m_client, &QMQTT::Client::received, this, &SiteWatch::takeMessage);
    connect(&m_client, &QMQTT::Client::error, this, [this, broker] {
        setLink(QStringLiteral("no connection to the broker on ") + broker.name);
    });
    connect(&m_timer, &QTimer::timeout, this, &SiteWatch::redraw);
    m_client.setVersion(QMQTT::V3_1_1);
    m_client.setCleanSession(true);
    m_client.setAutoReconnect(true);
    m_client.connectToHost();
    m_timer.start(m_screen ? redrawIntervalMs : statusIntervalMs);
    if (m_screen)
        redraw();
}

SiteWatch::~SiteWatch()
{
    takeAttitude();
    if (m_screen) {
        const QSize size = Screen::size();
        m_screen.reset();
        for (const ViewLine &line :
             m_view.table(QDateTime::currentDateTime(), size.width(), size.height() - 3, notes()))
            writeLine(line.text.trimmed());
    }
    writeLine(m_view.summary());
}

void SiteWatch::subscribe()
{
    m_client.subscribe(QStringLiteral("Local/Alarm"));
    m_client.subscribe(QStringLiteral("Local/Vicinity/#"));
}

void SiteWatch::takeMessage(const QMQTT::Message &message)
{
    if (message.topic() == attitudeTopic) {
        m_attitude = message.payload();
        m_attitudeAt = QDateTime::currentDateTime();
        return;
    }
    takeAttitude(); // in the order of arrival: it may be the first to name a neighbour
    writeLines(m_view.take(message.topic(), message.payload(), QDateTime::currentDateTime(),
                           message.retain()));
}

void SiteWatch::writeLines(const QStringList &lines) const
{
    if (m_screen)
        return;
    for (const QString &line : lines)
        writeLine(line);
}

void SiteWatch::takeAttitude()
{
    if (!m_attitude.isEmpty())
        writeLines(m_view.take(attitudeTopic, m_attitude, m_attitudeAt));
    m_attitude.clear();
}

void SiteWatch::setLink(const QString &state)
{
    if (m_link == state)
        return;
    m_link = state;
    if (!m_screen)
        writeLine(QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss ")) + state);
}

void SiteWatch::followRadio()
{
    const QString clock = QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss "));
    for (const QString &line : m_radioLog.newLines()) {
        m_radio = line;
        writeLines({clock + line});
    }
}

void SiteWatch::redraw()
{
    takeAttitude();
    followRadio();
    const QDateTime now = QDateTime::currentDateTime();
    writeLines(m_view.pass(now));
    const QString clock = now.toString(QStringLiteral("HH:mm:ss "));
    if (!m_screen) {
        writeLine(clock + m_view.status(now));
        return;
    }
    const QSize size = Screen::size();
    Screen::draw(
        m_view.table(now, size.width(), size.height(), QStringList(clock + m_link) + notes()));
}

// A descriptor that becomes readable when the program is asked to end.
int endingSignals()
{
    sigset_t ending;
    sigemptyset(&ending);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, SIG_DFL); // a shell starts background commands with SIGINT ignored
        sigaddset(&ending, number);
    }
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    return signalfd(-1, &ending, SFD_CLOEXEC);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QSocketNotifier ending(endingSignals(), QSocketNotifier::Read);
    QObject::connect(&ending, &QSocketNotifier::activated, &application, &QCoreApplication::quit);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows the own crane, its neighbours and the alarms, as the controller "
                       "reports them on the board's broker."));
    parser.addHelpOption();
    parser.addOption({QStringLiteral("address"),
                      QStringLiteral("Where that broker is: a numeric address, and perhaps its "
                                     "port. Default: 127.0.0.1:1883."),
                      QStringLiteral("address[:port]"), QStringLiteral("127.0.0.1:1883")});
    parser.addOption({QStringLiteral("seconds"), QStringLiteral("End after <n> seconds."),
                      QStringLiteral("n"), QStringLiteral("0")});
    parser.addOption({QStringLiteral("note"), QStringLiteral("A line to show over the table."),
                      QStringLiteral("text")});
    parser.addOption({QStringLiteral("radio"),
                      QStringLiteral("Show what the simulator last wrote into <log> about the "
                                     "radio."),
                      QStringLiteral("log")});
    parser.process(application);

    bool isNumber = false;
    const int seconds = parser.value(QStringLiteral("seconds")).toInt(&isNumber);
    if (!isNumber || seconds < 0 || seconds > 1000000) {
        std::fputs("sitewatch: --seconds takes a number\n", stderr);
        return EXIT_FAILURE;
    }
    if (seconds > 0)
        QTimer::singleShot(seconds * 1000, &application, &QCoreApplication::quit);

    const Broker broker = brokerAt(parser.value(QStringLiteral("address")));
    if (broker.address.isNull()) {
        std::fputs("sitewatch: --address takes a numeric address, and perhaps a port\n", stderr);
        return EXIT_FAILURE;
    }

    const SiteWatch watch(broker, parser.values(QStringLiteral("note")),
                          parser.value(QStringLiteral("radio")));
    return QCoreApplication::exec();
}

#include "sitewatch.moc"
