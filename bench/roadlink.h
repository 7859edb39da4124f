#pragma once

#include "bench/roadclock.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

struct mosquitto;

/// One connection of the bench to a broker, on libmosquitto itself and with nothing of the
/// controller's. Nothing happens but in its functions and in serve(). Any loss throws.
class Link
{
public:
    using Receiver = std::function<void(std::string_view topic, std::string_view payload)>;

    /// Connects through the network namespace of the moment, and stays in it.
    Link(int port, Receiver receiver);
    ~Link();
    Link(const Link &) = delete;
    Link &operator=(const Link &) = delete;

    /// Both return when the broker has confirmed it.
    void subscribe(const std::string &filter);
    void unsubscribe(const std::string &filter);

    /// Hands one message over without waiting. With \a qos 1 acknowledgements() counts it later;
    /// only one such may be on its way.
    void publish(const std::string &topic, std::string_view payload, int qos = 0,
                 bool isRetained = false);
    /// Publishes with QoS 1 and waits until the broker has it.
    void deliver(const std::string &topic, std::string_view payload, bool isRetained);

    int acknowledgements() const { return m_acknowledgements; }
    bool hasUnsent() const;

private:
    friend void serve(const std::vector<Link *> &links, Clock::time_point until);
    static void attachCallbacks(mosquitto *client);
    void await(const int &count, int wanted);
    void take(short events);

    mosquitto *m_client = nullptr;
    Receiver m_receiver;
    int m_confirmations = 0;    // subscriptions made and ended
    int m_awaitedId = 0;        // of the last publication with QoS 1
    int m_acknowledgements = 0; // of such publications
    bool m_isConnected = false;
};

/// Waits until one of \a links has something to be read or sent, or until the time has come; calls
/// the receivers for what is there.
void serve(const std::vector<Link *> &links, Clock::time_point until);
