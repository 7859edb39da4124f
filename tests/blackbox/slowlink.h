#pragma once

#include <QtGlobal>

#include <atomic>
#include <thread>

/// A link in front of a broker: takes a connection on one port of the loopback and carries it to
/// another, upwards no faster than it is told. One connection at a time; a thread of its own.
class SlowLink
{
public:
    SlowLink(quint16 port, quint16 brokerPort);
    ~SlowLink();

    /// From now on, of what comes from the client; as fast as it goes at first.
    void setBytesPerSecond(qint64 rate) { m_rate = rate; }

private:
    void run();
    void carry(int client, int broker);

    const quint16 m_brokerPort;
    int m_listener;
    std::atomic<qint64> m_rate{1'000'000'000};
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};
