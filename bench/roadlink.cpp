#include "bench/roadlink.h"

#include <mosquitto.h>

#include <algorithm>
#include <array>

#include <poll.h>

namespace
{

constexpr int keepAlive = 65535; // seconds; no ping gets into a measurement
constexpr auto patience = std::chrono::seconds(20);

void check(const char *what, int code)
{
    if (code != MOSQ_ERR_SUCCESS)
        throw Failure(std::string(what) + ": " + mosquitto_strerror(code));
}

} // namespace

Link::Link(int port, Receiver receiver) : m_receiver(std::move(receiver))
{
    static const int initialised = mosquitto_lib_init();
    static_cast<void>(initialised);
    m_client = mosquitto_new(nullptr, true, this);
    if (!m_client)
        throw Failure("no memory for a connection");
    mosquitto_int_option(m_client, MOSQ_OPT_TCP_NODELAY, 1);
    attachCallbacks(m_client);
    check("connecting to a broker", mosquitto_connect(m_client, "127.0.0.1", port, keepAlive));
    const auto deadline = Clock::now() + patience;
    while (!m_isConnected && Clock::now() < deadline)
        serve({this}, deadline);
}

Link::~Link()
{
    mosquitto_destroy(m_client);
}

void Link::attachCallbacks(mosquitto *client)
{
    mosquitto_connect_callback_set(client, [](mosquitto *, void *link, int code) {
        static_cast<Link *>(link)->m_isConnected = code == 0;
    });
    mosquitto_subscribe_callback_set(client, [](mosquitto *, void *link, int, int, const int *) {
        ++static_cast<Link *>(link)->m_confirmations;
    });
    mosquitto_unsubscribe_callback_set(
        client, [](mosquitto *, void *link, int) { ++static_cast<Link *>(link)->m_confirmations; });
    mosquitto_publish_callback_set(client, [](mosquitto *, void *link, int id) {
        Link *const self = static_cast<Link *>(link);
        if (id != self->m_awaitedId) // one with QoS 0
            return;
        ++self->m_acknowledgements;
        self->m_awaitedId = 0;
    });
    mosquitto_message_callback_set(
        client, [](mosquitto *, void *link, const mosquitto_message *message) {
            static_cast<Link *>(link)->m_receiver(message->topic,
                                                  {static_cast<const char *>(message->payload),
                                                   static_cast<std::size_t>(message->payloadlen)});
        });
}

void Link::await(const int &count, int wanted)
{
    const auto deadline = Clock::now() + patience;
    while (count < wanted && Clock::now() < deadline)
        serve({this}, deadline);
    if (count < wanted)
        throw Failure("a broker does not answer");
}

void Link::subscribe(const std::string &filter)
{
    const int wanted = m_confirmations + 1;
    check("subscribing", mosquitto_subscribe(m_client, nullptr, filter.c_str(), 0));
    await(m_confirmations, wanted);
}

void Link::unsubscribe(const std::string &filter)
{
    const int wanted = m_confirmations + 1;
    check("unsubscribing", mosquitto_unsubscribe(m_client, nullptr, filter.c_str()));
    await(m_confirmations, wanted);
}

void Link::publish(const std::string &topic, std::string_view payload, int qos, bool isRetained)
{
    check("publishing",
          mosquitto_publish(m_client, qos > 0 ? &m_awaitedId : nullptr, topic.c_str(),
                            static_cast<int>(payload.size()), payload.data(), qos, isRetained));
}

void Link::deliver(const std::string &topic, std::string_view payload, bool isRetained)
{
    const int wanted = m_acknowledgements + 1;
    publish(topic, payload, 1, isRetained);
    await(m_acknowledgements, wanted);
}

bool Link::hasUnsent() const
{
    return mosquitto_want_write(m_client);
}

void Link::take(short events)
{
    if (events & POLLOUT)
        check("writing to a broker", mosquitto_loop_write(m_client, 1));
    if (events & (POLLIN | POLLHUP | POLLERR))
        check("reading from a broker", mosquitto_loop_read(m_client, 1));
}

void serve(const std::vector<Link *> &links, Clock::time_point until)
{
    std::array<pollfd, 16> sockets = {};
    for (std::size_t i = 0; i < links.size(); ++i) {
        sockets.at(i).fd = mosquitto_socket(links[i]->m_client);
        sockets.at(i).events =
            static_cast<short>(links[i]->hasUnsent() ? POLLIN | POLLOUT : POLLIN);
    }
    const auto left =
        std::max(std::chrono::nanoseconds(0),
                 std::chrono::duration_cast<std::chrono::nanoseconds>(until - Clock::now()));
    const timespec timeout = {left.count() / 1000000000, left.count() % 1000000000};
    if (::ppoll(sockets.data(), links.size(), &timeout, nullptr) <= 0)
        return;
    for (std::size_t i = 0; i < links.size(); ++i)
        links[i]->take(sockets[i].revents);
}
