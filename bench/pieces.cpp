// Measures the pieces of a report, the fast form against the plain one.
//
//   pieces [--short] [--benchmark_...]   a table on standard error, the rows on standard output
//   pieces --count FORM N                runs one form N times, for a counter around the process

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "bench/pieceforms.h"

namespace
{

constexpr int notMeasured = 1; // exit codes
constexpr int wrongResult = 2;

/// The usual table without the single repetitions, on standard error, and the medians of the
/// repetitions.
class MedianReporter : public benchmark::ConsoleReporter
{
public:
    MedianReporter() : ConsoleReporter(OO_None) { SetOutputStream(&std::cerr); }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        std::vector<Run> aggregates;
        for (const Run &run : runs) {
            if (run.run_type == Run::RT_Aggregate)
                aggregates.push_back(run);
            else if (!run.error_occurred)
                m_seconds[run.run_name.function_name].push_back(
                    run.real_accumulated_time / static_cast<double>(run.iterations));
        }
        ConsoleReporter::ReportRuns(aggregates);
    }

    /// Nanoseconds of one step; 0 if the form was not run.
    double medianOf(const std::string &form) const
    {
        const auto found = m_seconds.find(form);
        if (found == m_seconds.end())
            return 0.0;
        std::vector<double> seconds = found->second;
        const auto middle = seconds.begin() + static_cast<std::ptrdiff_t>(seconds.size() / 2);
        std::nth_element(seconds.begin(), middle, seconds.end());
        return *middle * 1e9;
    }

private:
    std::map<std::string, std::vector<double>> m_seconds;
};

struct Row {
    const char *row;
    const char *what;
    double goal;
    const char *measuredForm;
    const char *yardstickForm;
};

constexpr Row rows[] = {
    {"7", "a day-file line to a bare open, write, close", 1.3, "logline/fast", "logline/plain"},
    {"10", "a match among 200 records to the three report texts", 0.5, "match200/plain",
     "texts200/fast"},
    {"11", "saving 200 records to Qt's writer and a bare save", 1.5, "save/fast", "save/plain"},
};

void printRow(int output, const char *row, const char *what, double goal, const char *unit,
              double measured, const std::string &detail)
{
    ::dprintf(output,
              "{\"row\":\"%s\",\"what\":\"%s\",\"goal\":%.6g,\"unit\":\"%s\",\"measured\":%.4g,"
              "\"detail\":\"%s\"}\n",
              row, what, goal, unit, measured, detail.c_str());
}

/// Nanoseconds for the reader, as "1.53 us".
std::string timeText(double ns)
{
    char text[40];
    const bool isLong = ns >= 1000.0;
    std::snprintf(text, sizeof text, "%.4g %s", isLong ? ns / 1000.0 : ns, isLong ? "us" : "ns");
    return text;
}

void registerForms()
{
    for (const PieceForm &form : pieceForms()) {
        benchmark::RegisterBenchmark(form.name.c_str(), [form](benchmark::State &state) {
            static std::map<std::string, PieceStep> prepared;
            PieceStep &step = prepared[form.name];
            if (!step)
                step = form.prepare();
            for (auto _ : state)
                step();
        })->UseRealTime();
    }
}

/// Prints the rows whose two forms were both run.
void printRatios(int output, const MedianReporter &reporter)
{
    for (const Row &row : rows) {
        const double measured = reporter.medianOf(row.measuredForm);
        const double yardstick = reporter.medianOf(row.yardstickForm);
        if (measured > 0.0 && yardstick > 0.0)
            printRow(output, row.row, row.what, row.goal, "x", measured / yardstick,
                     timeText(measured) + " to " + timeText(yardstick));
    }
}

int runCounted(const std::string &name, int count)
{
    for (const PieceForm &form : pieceForms()) {
        if (form.name != name)
            continue;
        const PieceStep step = form.prepare();
        for (int i = 0; i < count; ++i)
            step();
        return 0;
    }
    std::fprintf(stderr, "no form is named %s\n", name.c_str());
    return notMeasured;
}

int measure(int output, bool isShort, std::vector<char *> arguments)
{
    static char interleaved[] = "--benchmark_enable_random_interleaving=true";
    static char manyRepetitions[] = "--benchmark_repetitions=41";
    static char fewRepetitions[] = "--benchmark_repetitions=11";
    static char longTime[] = "--benchmark_min_time=0.05"; // seconds, each
    static char shortTime[] = "--benchmark_min_time=0.02";
    arguments.insert(
        arguments.begin() + 1,
        {interleaved, isShort ? fewRepetitions : manyRepetitions, isShort ? shortTime : longTime});
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return notMeasured;
    registerForms();
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printRatios(output, reporter);

    const int pairs = isShort ? 50000 : 1000000;
    const int differing = differingPairs(pairs);
    printRow(output, "6 bits", "pairs with a clearance other than the plain form's", 0, "pairs",
             differing, "of " + std::to_string(pairs) + " random and degenerate ones");
    const bool isSame = isSavedAsQtWould();
    printRow(output, "11 bytes", "saved files other than Qt's", 0, "files", isSame ? 0 : 1, "of 1");
    return differing == 0 && isSame ? 0 : wrongResult;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    // The files lie where the program was called, on a disk; not in a folder in memory.
    const QTemporaryDir folder(QDir::current().filePath(QStringLiteral("pieces-XXXXXX")));
    if (!folder.isValid() || !QDir::setCurrent(folder.path())) {
        std::perror("cannot make a folder for the files");
        return notMeasured;
    }
    // The echoes of what is saved are not measured, and the rows are not to stand among them.
    const int output = ::dup(STDOUT_FILENO);
    const int nowhere = ::open("/dev/null", O_WRONLY);
    if (output < 0 || nowhere < 0 || ::dup2(nowhere, STDOUT_FILENO) < 0) {
        std::perror("cannot set standard output aside");
        return notMeasured;
    }
    std::vector<char *> arguments(argv, argv + argc);
    if (argc == 4 && std::string(argv[1]) == "--count")
        return runCounted(argv[2], std::atoi(argv[3]));
    const auto isShort = [](const char *word) { return std::string(word) == "--short"; };
    const auto end = std::remove_if(arguments.begin(), arguments.end(), isShort);
    const bool wantsShort = end != arguments.end();
    arguments.erase(end, arguments.end());
    return measure(output, wantsShort, std::move(arguments));
}
