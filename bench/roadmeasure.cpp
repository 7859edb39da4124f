#include "bench/roadmeasure.h"

namespace
{

constexpr int reportsOnTheirWay = 20;
constexpr Seconds longestLag{10};
constexpr Seconds longestBurst{300};

double secondsSince(Clock::time_point begin)
{
    return Seconds(Clock::now() - begin).count();
}

void awaitAcknowledgements(Stage &stage, int count)
{
    while (stage.acknowledgements() < count)
        stage.serveOnce(Clock::now() + std::chrono::seconds(1));
}

/// All neighbours but the first report at once, each as fast as the broker takes it from its unit.
void burst(Stage &stage, int reports)
{
    const int acknowledgements = stage.acknowledgements();
    const int units = stage.neighbours() - 1;
    std::vector<int> left; // by neighbour
    for (int i = 0; i <= units; ++i)
        left.push_back(i == 0 ? 0 : (reports + i - 1) / units);
    for (int handedOver = 0; handedOver < reports;) {
        const int before = handedOver;
        for (int i = 1; i <= units; ++i) {
            int &leftHere = left[static_cast<std::size_t>(i)];
            if (leftHere == 0 || !stage.canReport(i))
                continue;
            stage.report(i, false, --leftHere == 0 ? 1 : 0);
            ++handedOver;
        }
        if (handedOver == before)
            stage.serveOnce(Clock::now() + std::chrono::seconds(1));
    }
    awaitAcknowledgements(stage, acknowledgements + units);
}

} // namespace

std::vector<double> alarmLatencies(Stage &stage, int reports)
{
    stage.listenTo(Stage::Answer::Alarm);
    std::vector<double> latencies;
    for (int i = 0; i < reports; ++i) {
        const auto begin = Clock::now();
        stage.step(i % stage.neighbours());
        stage.mustAnswer(i + 1);
        latencies.push_back(secondsSince(begin));
    }
    return latencies;
}

double processorTimeOfReport(Stage &stage, int reports)
{
    stage.listenTo(Stage::Answer::Attitude);
    const double before = stage.subject().processorSeconds();
    for (int i = 0; i < reports; ++i) {
        stage.report(i % stage.neighbours(), false);
        stage.mustAnswer(i + 1);
    }
    stage.serveUntil(Clock::now() + std::chrono::milliseconds(20)); // the uploads come back
    return (stage.subject().processorSeconds() - before) / reports;
}

void driveHard(Stage &stage, int reports)
{
    stage.listenTo(Stage::Answer::Attitude);
    for (int i = 0; i < reports; ++i) {
        stage.report(i % stage.neighbours(), false);
        stage.mustAnswer(i + 1 - reportsOnTheirWay);
    }
    stage.mustAnswer(reports);
}

SteadyRun driveSteadily(Stage &stage, double rate, double seconds)
{
    stage.listenTo(Stage::Answer::Attitude);
    SteadyRun run;
    run.reports = static_cast<long>(rate * seconds);
    const auto begin = Clock::now();
    const auto dueAt = [begin, rate](std::size_t report) {
        const Seconds after(static_cast<double>(report) / rate);
        return begin + std::chrono::duration_cast<Clock::duration>(after);
    };
    // Reports are answered in their order, so the n-th answer is that of the n-th report.
    const auto noteAnswers = [&] {
        while (static_cast<long>(run.latencies.size()) < stage.answers())
            run.latencies.push_back(secondsSince(dueAt(run.latencies.size())));
    };
    for (long i = 0; i < run.reports; ++i) {
        while (Clock::now() < dueAt(static_cast<std::size_t>(i))) {
            stage.awaitAnswers(stage.answers() + 1,
                               dueAt(static_cast<std::size_t>(i)) - Clock::now());
            noteAnswers();
        }
        stage.report(static_cast<int>(i % stage.neighbours()), false);
    }
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(longestLag);
    while (stage.answers() < run.reports && Clock::now() < deadline) {
        stage.awaitAnswers(stage.answers() + 1, deadline - Clock::now());
        noteAnswers();
    }
    run.unanswered = run.reports - stage.answers();
    return run;
}

double burstLag(Stage &stage, int reports)
{
    stage.rouse();
    stage.listenTo(Stage::Answer::Alarm);
    stage.step(0);
    stage.mustAnswer(1);
    burst(stage, reports - 1);
    const int acknowledgements = stage.acknowledgements();
    stage.report(0, false, 1);
    awaitAcknowledgements(stage, acknowledgements + 1);
    const auto acknowledged = Clock::now();
    if (!stage.awaitAnswers(2, longestBurst))
        throw Failure("the alarm after a burst is not cleared");
    return secondsSince(acknowledged);
}
