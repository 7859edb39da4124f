#include "bench/roadstage.h"

#include "bench/roadsite.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <thread>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr int boardPort = 1883;
constexpr int cloudPort = 22222;
constexpr Seconds patience{20};
// Connections of the neighbours; with more neighbours several share one, as a driver that polls
// hundreds of them would be measured, too.
constexpr int mostUnits = 10;

/// A network of its own for what this process starts and connects from now on.
void enterNewNamespace()
{
    if (::unshare(CLONE_NEWNET) != 0)
        throw Failure(std::string("a network namespace is refused: ") + std::strerror(errno));
    ifreq loopback = {};
    std::strcpy(loopback.ifr_name, "lo");
    loopback.ifr_flags = IFF_UP;
    const int any = ::socket(AF_INET, SOCK_DGRAM, 0);
    const int result = ::ioctl(any, SIOCSIFFLAGS, &loopback);
    ::close(any);
    if (result != 0)
        throw Failure("the loopback interface does not come up");
}

bool isAnswering(int port)
{
    try {
        const Link probe(port, [](std::string_view, std::string_view) {});
        return true;
    } catch (const Failure &) {
        return false;
    }
}

} // namespace

std::unique_ptr<Stage> Stage::open(const StagePlan &plan, const Stage *model)
{
    std::unique_ptr<Stage> stage(new Stage(plan));
    if (plan.isRelay)
        stage->startRelay(plan, *model);
    else
        stage->startController(plan);
    stage->waitUntilAnswering();
    stage->measureAnswers();
    return stage;
}

Stage::Stage(const StagePlan &plan)
{
    static int number = 0;
    m_folder = plan.folder / std::to_string(++number);
    std::filesystem::create_directory(m_folder);
    enterNewNamespace();
    startBroker("board", boardPort);
    startBroker("cloud", cloudPort);
    const auto take = [this](std::string_view topic, std::string_view payload) {
        receive(topic, payload);
    };
    m_board = std::make_unique<Link>(boardPort, take);
    m_links.push_back(m_board.get());
    for (int i = 0; i < std::min(plan.neighbours, mostUnits); ++i) {
        m_units.push_back(std::make_unique<Link>(cloudPort, take));
        m_links.push_back(m_units.back().get());
    }
    for (int i = 0; i < plan.neighbours; ++i)
        m_neighbours.push_back({RoadSite::neighbourTopic(i), false, 0});
}

void Stage::startBroker(const std::string &name, int port)
{
    const std::filesystem::path configuration = m_folder / (name + ".conf");
    std::ofstream(configuration) << "listener " << port << " 127.0.0.1\n"
                                 << "allow_anonymous true\n"
                                    "set_tcp_nodelay true\n"
                                    "max_queued_messages 0\n" // a burst is not cut
                                    "persistence false\n"
                                    "log_type error\n"
                                    "user root\n"; // a user namespace knows no other
    m_brokers.push_back(std::make_unique<Process>(
        std::vector<std::string>{"mosquitto", "-c", configuration}, m_folder, name));
    const auto deadline = Clock::now() + patience;
    while (!isAnswering(port) && Clock::now() < deadline) {
        m_brokers.back()->mustRun();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void Stage::startController(const StagePlan &plan)
{
    RoadSite::writeStateFiles(m_folder, plan.neighbours);
    m_board->deliver(RoadSite::registrationTopic, RoadSite::registrationDocument(), true);
    m_board->deliver(RoadSite::ownStateTopic, RoadSite::ownStateDocument(), true);
    // The spoken warnings are tried, as on a board whose sound server is not up.
    const std::vector<std::string> command = {"env",
                                              "-u",
                                              "XDG_RUNTIME_DIR",
                                              "-u",
                                              "DISPLAY",
                                              "HOME=" + m_folder.string(),
                                              "PULSE_SERVER=unix:" + (m_folder / "none").string(),
                                              plan.controller};
    m_subject = std::make_unique<Process>(command, m_folder, "controller");
}

void Stage::startRelay(const StagePlan &plan, const Stage &model)
{
    const std::vector<std::string> command = {plan.relay,
                                              std::to_string(boardPort),
                                              std::to_string(cloudPort),
                                              RoadSite::cloudFilter,
                                              RoadSite::attitudeUploadTopic,
                                              std::to_string(model.m_attitudeBytes),
                                              std::to_string(model.m_alarmBytes)};
    m_subject = std::make_unique<Process>(command, m_folder, "relay");
}

void Stage::waitUntilAnswering()
{
    listenTo(Answer::Attitude);
    const auto deadline = Clock::now() + patience;
    do {
        m_subject->mustRun();
        if (Clock::now() > deadline)
            throw Failure("no report is answered in " + m_folder.string());
        report(0, false);
    } while (!awaitAnswers(1, Seconds(0.05)));
    rouse();
}

/// Learns the sizes of the controller's publications, and that one step is one alarm.
void Stage::measureAnswers()
{
    listenTo(Answer::Alarm);
    for (int i = 0; i < neighbours(); ++i) {
        report(i, true);
        mustAnswer(2 * i + 1);
        report(i, false);
        mustAnswer(2 * i + 2);
    }
    serveUntil(Clock::now() + std::chrono::milliseconds(20));
    if (m_answers != 2 * neighbours())
        throw Failure("a neighbour's step has raised more than one alarm");
}

void Stage::listenTo(Answer answer)
{
    const std::string &topic =
        answer == Answer::Alarm ? RoadSite::alarmTopic : RoadSite::attitudeTopic;
    if (topic != m_listened) {
        if (!m_listened.empty())
            m_board->unsubscribe(m_listened);
        m_listened = topic;
        m_board->subscribe(topic);
    }
    m_answers = 0;
}

void Stage::receive(std::string_view topic, std::string_view payload)
{
    (topic == RoadSite::alarmTopic ? m_alarmBytes : m_attitudeBytes) = payload.size();
    m_answers += topic == m_listened;
}

void Stage::report(int neighbour, bool isNear, int qos)
{
    Neighbour &reporting = m_neighbours[static_cast<std::size_t>(neighbour)];
    const bool movesAlarm = isNear != reporting.isNear;
    reporting.isNear = isNear;
    unitOf(neighbour).publish(
        reporting.topic,
        RoadSite::neighbourDocument(neighbour, isNear, ++reporting.steps, movesAlarm), qos);
}

void Stage::serveOnce(Clock::time_point until)
{
    serve(m_links, until);
}

void Stage::serveUntil(Clock::time_point until)
{
    do
        serveOnce(until);
    while (Clock::now() < until);
}

bool Stage::awaitAnswers(long count, Seconds longest)
{
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(longest);
    while (m_answers < count && Clock::now() < deadline)
        serveOnce(deadline);
    return m_answers >= count;
}

void Stage::mustAnswer(long count)
{
    if (awaitAnswers(count, patience))
        return;
    m_subject->mustRun();
    throw Failure("a report is not answered in " + m_folder.string());
}

void Stage::rouse()
{
    listenTo(Answer::Attitude);
    for (int i = 0; i < neighbours(); ++i) {
        report(i, false);
        mustAnswer(i + 1);
    }
}

Link &Stage::unitOf(int neighbour) const
{
    return *m_units[static_cast<std::size_t>(neighbour) % m_units.size()];
}

int Stage::acknowledgements() const
{
    int sum = 0;
    for (const std::unique_ptr<Link> &unit : m_units)
        sum += unit->acknowledgements();
    return sum;
}

void Stage::step(int neighbour)
{
    report(neighbour, !m_neighbours[static_cast<std::size_t>(neighbour)].isNear);
}
