#pragma once

#include "tests/blackbox/child.h"

#include <QString>
#include <QTemporaryDir>

/// A real sound server (pulseaudio) of the test's own, without hardware, and a recorder of all that
/// is played on it. Ends with this object.
class SoundServer
{
public:
    SoundServer() = default;
    ~SoundServer();

    /// Starts it and waits until it answers. Also after kill(): the address stays the same.
    bool start();
    /// For the environment variable PULSE_SERVER of whoever is to use it.
    QByteArray address() const;
    void kill();
    /// Stops its process (SIGSTOP): it takes connections, and answers none.
    void freeze();
    void thaw();

    /// Begins to record; it takes 2.2 s, for which the server plays ahead.
    bool startRecorder();
    /// Ends the recording: seconds from the first sound in it to the last, 0 for none.
    double recordedSeconds();

    static double soundingSeconds(const QString &file);

private:
    void signal(int number) const;

    QTemporaryDir m_folder;
    Child m_process;
    Child m_recorder;
};
