#pragma once

#include <QProcess>

#include <csignal>
#include <sys/prctl.h>

/// A child process that dies with the test, also when the test is killed.
///
/// Create it in the main thread: the kernel ties its life to the creating thread.
class Child : public QProcess
{
protected:
    void setupChildProcess() override { prctl(PR_SET_PDEATHSIG, SIGKILL); }
};
