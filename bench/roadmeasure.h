#pragma once

#include "bench/roadstage.h"

#include <vector>

/// What is measured on a stage, a block of reports at a time. Blocks of the controller and of the
/// relay take turns, so that both see the machine's good and bad moments. Times in seconds.

/// Each report, round robin over the neighbours, raises or clears an alarm: from handing it over in
/// the cloud to having the alarm on the board. The next one goes out at once, so that what is left
/// of the one before, the log line and the own uploads that come back, counts.
std::vector<double> alarmLatencies(Stage &stage, int reports);

/// Processor time a report of what is on the stage. One report at a time, round robin, nobody in
/// alarm.
double processorTimeOfReport(Stage &stage, int reports);

/// Reports as fast as they are answered, with up to 20 on their way.
void driveHard(Stage &stage, int reports);

/// Reports of all neighbours at \a rate a second for \a seconds.
struct SteadyRun {
    long reports = 0;
    long unanswered = 0;           // 10 s after the last one
    std::vector<double> latencies; // of the attitude report, from the moment each one was due
};
SteadyRun driveSteadily(Stage &stage, double rate, double seconds);

/// Hands \a reports over as fast as the broker takes them, each neighbour over its own connection;
/// the last one clears the only alarm. The time from the broker's acknowledgement of the last one
/// to that alarm on the board.
double burstLag(Stage &stage, int reports);
