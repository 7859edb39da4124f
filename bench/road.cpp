// Measures the controller between real brokers, beside a relay that computes nothing.
//
//   road --folder FOLDER [--short] [--only ROW,...] [--sweep FILE] [--controller FILE]
//
// Prints one line of JSON for each row of the bench's table that is about the whole road of a
// report. With --sweep it measures the cost against the number of neighbours instead, into a CSV
// file. The folder is for scratch. It makes network namespaces, so it is root, if only in a user
// namespace; bench.sh starts it so.

#include "bench/roadclock.h"
#include "bench/roadmeasure.h"
#include "bench/roadresult.h"
#include "bench/roadstage.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace
{

constexpr int block = 200; // reports; each of up to 200 neighbours has one, so none falls silent
constexpr double micro = 1e6;

struct Options {
    StagePlan plan;
    bool isShort = false;
    std::set<int> only; // rows; empty: all
    std::string sweep;

    bool wants(int row) const { return only.empty() || only.count(row); }
    int count(int full, int little) const { return isShort ? little : full; }
};

/// The stages, each opened when it is first needed and kept: they are measured in turns.
class Stages
{
public:
    explicit Stages(const StagePlan &plan) : m_plan(plan) {}

    Stage &controller(int neighbours) { return at(neighbours, false, nullptr); }
    Stage &relay(int neighbours) { return at(neighbours, true, &controller(neighbours)); }

private:
    Stage &at(int neighbours, bool isRelay, const Stage *model)
    {
        std::unique_ptr<Stage> &stage = m_stages[{neighbours, isRelay}];
        if (!stage) {
            StagePlan plan = m_plan;
            plan.neighbours = neighbours;
            plan.isRelay = isRelay;
            stage = Stage::open(plan, model);
        }
        return *stage;
    }

    const StagePlan m_plan;
    std::map<std::pair<int, bool>, std::unique_ptr<Stage>> m_stages;
};

std::string timed(const char *label, double seconds)
{
    return label + (seconds < 1e-3 ? shown(seconds * micro) + " us" : shown(seconds * 1e3) + " ms");
}

struct LatencyRatios {
    std::vector<double> p50;
    std::vector<double> p99;
    std::vector<double> controller; // all, seconds
    std::vector<double> relay;

    std::string detail(double quantile) const
    {
        return timed("controller ", quantileOf(controller, quantile)) +
               timed(", relay ", quantileOf(relay, quantile)) + ", " + std::to_string(p50.size()) +
               " times " + std::to_string(controller.size() / p50.size()) + " reports each";
    }
};

/// Blocks of both in turns; the quantiles of a repetition are over all its blocks.
LatencyRatios compareLatencies(Stage &controller, Stage &relay, int repetitions, int blocks)
{
    LatencyRatios ratios;
    controller.rouse();
    relay.rouse();
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        std::vector<double> ours;
        std::vector<double> theirs;
        for (int i = 0; i < blocks; ++i) {
            const std::vector<double> answered = alarmLatencies(controller, block);
            const std::vector<double> relayed = alarmLatencies(relay, block);
            ours.insert(ours.end(), answered.begin(), answered.end());
            theirs.insert(theirs.end(), relayed.begin(), relayed.end());
        }
        ratios.p50.push_back(quantileOf(ours, 0.5) / quantileOf(theirs, 0.5));
        ratios.p99.push_back(quantileOf(ours, 0.99) / quantileOf(theirs, 0.99));
        ratios.controller.insert(ratios.controller.end(), ours.begin(), ours.end());
        ratios.relay.insert(ratios.relay.end(), theirs.begin(), theirs.end());
    }
    return ratios;
}

void measureLatency(const Options &options, Stages &stages)
{
    if (options.wants(1)) {
        const LatencyRatios ratios = compareLatencies(stages.controller(10), stages.relay(10),
                                                      options.count(9, 5), options.count(10, 5));
        print({"1 p50", "report to alarm, 10 neighbours, to the relay", 1.8, medianOf(ratios.p50),
               "x", ratios.detail(0.5), 1.4});
        print({"1 p99", "report to alarm, 10 neighbours, to the relay", 2.5, medianOf(ratios.p99),
               "x", ratios.detail(0.99), 1.8});
    }
    if (options.wants(2)) {
        const LatencyRatios ratios = compareLatencies(stages.controller(200), stages.relay(200),
                                                      options.count(9, 3), options.count(10, 2));
        print({"2", "report to alarm, 200 neighbours, p50 to the relay", 2, medianOf(ratios.p50),
               "x", ratios.detail(0.5), 1.5});
    }
}

/// Processor time of a report, a repetition each, in seconds.
struct ProcessorTimes {
    std::vector<double> few;   // 10 neighbours
    std::vector<double> many;  // 200
    std::vector<double> relay; // 10
    std::vector<double> manyToFew;
    std::vector<double> fewToRelay;
};

ProcessorTimes compareProcessorTimes(Stages &stages, int repetitions, int blocks)
{
    ProcessorTimes times;
    stages.relay(10).rouse();
    stages.controller(200).rouse();
    stages.controller(10).rouse();
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        double few = 0;
        double many = 0;
        double relay = 0;
        for (int i = 0; i < blocks; ++i) {
            few += processorTimeOfReport(stages.controller(10), block) / blocks;
            relay += processorTimeOfReport(stages.relay(10), block) / blocks;
            many += processorTimeOfReport(stages.controller(200), block) / blocks;
        }
        times.few.push_back(few);
        times.many.push_back(many);
        times.relay.push_back(relay);
        times.manyToFew.push_back(many / few);
        times.fewToRelay.push_back(few / relay);
    }
    return times;
}

void measureProcessorTime(const Options &options, Stages &stages)
{
    if (!options.wants(3) && !options.wants(4))
        return;
    const int blocks = options.count(10, 2);
    const ProcessorTimes times = compareProcessorTimes(stages, options.count(9, 5), blocks);
    const std::string repetitions = ", " + std::to_string(times.few.size()) + " times " +
                                    std::to_string(blocks * block) + " reports each";
    const std::string ofFew = timed("10 neighbours ", medianOf(times.few));
    print({"3", "processor time, 200 neighbours to 10", 2, medianOf(times.manyToFew), "x",
           ofFew + timed(", 200 neighbours ", medianOf(times.many)) + repetitions});
    print({"4", "processor time, 10 neighbours, to the relay", 3, medianOf(times.fewToRelay), "x",
           ofFew + timed(", relay ", medianOf(times.relay)) + repetitions, 2});
}

void measureSteadyRun(const Options &options)
{
    if (!options.wants(8))
        return;
    constexpr double rate = 400;
    constexpr double warmUp = 5; // seconds
    const double seconds = options.count(60, 10);
    Stages stages(options.plan);
    Stage &controller = stages.controller(200);
    driveSteadily(controller, rate,
                  warmUp); // the first alarms have loaded the player of the sounds
    const long before = controller.subject().residentKib();
    const SteadyRun run = driveSteadily(controller, rate, seconds);
    const double grownMb =
        static_cast<double>(controller.subject().residentKib() - before) / 1024.0;
    const std::string detail = std::to_string(run.reports) + " reports in " + shown(seconds) + " s";
    print({"8 unanswered", "200 neighbours, 400 reports/s", 0, static_cast<double>(run.unanswered),
           "reports", detail});
    print({"8 p99", "200 neighbours, 400 reports/s, report to attitude", 20,
           quantileOf(run.latencies, 0.99) * 1e3, "ms",
           detail + timed(", p50 ", medianOf(run.latencies))});
    print({"8 memory", "200 neighbours, 400 reports/s, growth", 3, grownMb, "MB",
           detail + ", from " + shown(static_cast<double>(before) / 1024.0) + " MB"});
}

void measureMemory(const Options &options)
{
    if (!options.wants(9))
        return;
    const int early = options.count(20000, 5000);
    const int late = options.count(1730000, 50000);
    constexpr int stretch = 5000; // reports, then the log is emptied
    Stages stages(options.plan);
    Stage &controller = stages.controller(10);
    const auto residentAfter = [&controller](int from, int to) {
        for (int reports = from; reports < to; reports += stretch) {
            driveHard(controller, stretch);
            controller.subject().forgetOutput();
        }
        return static_cast<double>(controller.subject().residentKib());
    };
    const double before = residentAfter(0, early);
    const double after = residentAfter(early, late);
    print({"9", "resident memory, late to early", 1.02, after / before, "x",
           shown(before / 1024) + " MB after " + std::to_string(early) + " reports, " +
               shown(after / 1024) + " MB after " + std::to_string(late),
           0, 0});
}

void measureBurst(const Options &options, Stages &stages)
{
    if (!options.wants(12))
        return;
    const int repetitions = options.count(3, 1);
    const int reports = options.count(50000, 10000);
    std::vector<double> ours;
    std::vector<double> theirs;
    for (int i = 0; i < repetitions; ++i) {
        ours.push_back(burstLag(stages.controller(10), reports));
        theirs.push_back(burstLag(stages.relay(10), reports));
        stages.controller(10).subject().forgetOutput();
    }
    const double relay = medianOf(theirs);
    print({"12", "alarm after a burst", std::max(2.0 * reports / 50000, 2 * relay), medianOf(ours),
           "s", std::to_string(reports) + " reports, relay " + shown(relay) + " s"});
}

void sweep(const Options &options)
{
    std::ofstream file(options.sweep);
    file << "neighbours,controller_cpu_us,relay_cpu_us,controller_p50_us,relay_p50_us\n";
    for (const int neighbours : {1, 3, 10, 30, 100, 200}) {
        std::fprintf(stderr, "road: cost with %d neighbours\n", neighbours);
        Stages stages(options.plan);
        Stage &controller = stages.controller(neighbours);
        Stage &relay = stages.relay(neighbours);
        std::vector<double> controllerTime;
        std::vector<double> relayTime;
        for (int i = 0; i < options.count(9, 3); ++i) {
            controllerTime.push_back(processorTimeOfReport(controller, block));
            relayTime.push_back(processorTimeOfReport(relay, block));
        }
        const LatencyRatios ratios =
            compareLatencies(controller, relay, options.count(3, 1), options.count(5, 1));
        file << neighbours << ',' << shown(medianOf(controllerTime) * micro) << ','
             << shown(medianOf(relayTime) * micro) << ','
             << shown(medianOf(ratios.controller) * micro) << ','
             << shown(medianOf(ratios.relay) * micro) << '\n';
    }
    if (!file.flush())
        throw Failure("cannot write " + options.sweep);
}

void measureRows(const Options &options)
{
    const auto begin = Clock::now();
    const auto say = [begin](const char *what) {
        std::fprintf(stderr, "road: %3.0f s: %s\n", Seconds(Clock::now() - begin).count(), what);
    };
    {
        Stages stages(options.plan);
        say("from report to alarm");
        measureLatency(options, stages);
        say("processor time");
        measureProcessorTime(options, stages);
        say("a burst");
        measureBurst(options, stages);
    }
    say("400 reports a second");
    measureSteadyRun(options);
    say("memory over a day's reports");
    measureMemory(options);
    say("done");
}

Options parse(int argc, char **argv)
{
    Options options;
    options.plan.controller = ANTICOLLISIOND;
    options.plan.relay = RELAY;
    for (int i = 1; i < argc; ++i) {
        const std::string name = argv[i];
        if (name == "--short") {
            options.isShort = true;
            continue;
        }
        if (++i == argc)
            throw Failure(name + " is unknown or needs a value");
        if (name == "--folder")
            options.plan.folder = std::filesystem::absolute(argv[i]);
        else if (name == "--controller")
            options.plan.controller = std::filesystem::absolute(argv[i]);
        else if (name == "--sweep")
            options.sweep = argv[i];
        else if (name == "--only") {
            std::istringstream rows(argv[i]);
            for (std::string row; std::getline(rows, row, ',');)
                options.only.insert(std::atoi(row.c_str()));
        } else
            throw Failure("unknown option " + name);
    }
    if (options.plan.folder.empty())
        throw Failure("--folder is missing");
    return options;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        const Options options = parse(argc, argv);
        if (options.sweep.empty())
            measureRows(options);
        else
            sweep(options);
        return 0;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "road: %s\n", failure.what());
        return 1;
    }
}
