#include "tests/blackbox/slowlink.h"

#include <QByteArray>
#include <QElapsedTimer>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

sockaddr_in onLoopback(quint16 port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// False at the end of the connection.
bool pass(int from, int to, qint64 most)
{
    QByteArray bytes(static_cast<int>(qMin<qint64>(most, 65536)), Qt::Uninitialized);
    const ssize_t size = ::recv(from, bytes.data(), static_cast<size_t>(bytes.size()), 0);
    return size > 0 &&
           ::send(to, bytes.constData(), static_cast<size_t>(size), MSG_NOSIGNAL) == size;
}

} // namespace

SlowLink::SlowLink(quint16 port, quint16 brokerPort)
    : m_brokerPort(brokerPort), m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const int on = 1;
    const int little = 131072; // what lies here on the way is not to count; less loses packets
    ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    ::setsockopt(m_listener, SOL_SOCKET, SO_RCVBUF, &little, sizeof little);
    const sockaddr_in address = onLoopback(port);
    if (::bind(m_listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(m_listener, 1) != 0)
        qFatal("slow link: port %d is taken", port);
    m_thread = std::thread([this] { run(); });
}

SlowLink::~SlowLink()
{
    m_isEnding = true;
    m_thread.join();
    ::close(m_listener);
}

void SlowLink::run()
{
    while (!m_isEnding) {
        pollfd incoming = {m_listener, POLLIN, 0};
        if (::poll(&incoming, 1, 50) <= 0)
            continue;
        const int client = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        const int broker = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in address = onLoopback(m_brokerPort);
        const int on = 1;
        ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        ::setsockopt(broker, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (::connect(broker, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
            carry(client, broker);
        ::close(broker);
        ::close(client);
    }
}

void SlowLink::carry(int client, int broker)
{
    QElapsedTimer sinceLast;
    sinceLast.start();
    double allowance = 0; // bytes that may go up now
    while (!m_isEnding) {
        const auto rate = static_cast<double>(m_rate);
        const auto ns = static_cast<double>(sinceLast.nsecsElapsed());
        sinceLast.start();
        allowance = qMin(allowance + rate * ns / 1e9, qMax(rate / 50, 1.0));
        const short up = allowance >= 1 ? POLLIN : 0;
        pollfd ends[2] = {{client, up, 0}, {broker, POLLIN, 0}};
        ::poll(ends, 2, 5);
        if ((ends[1].revents & POLLIN) && !pass(broker, client, 65536))
            return;
        if (ends[0].revents & POLLIN) {
            const auto most = static_cast<qint64>(allowance);
            if (!pass(client, broker, most))
                return;
            allowance -= static_cast<double>(qMin<qint64>(most, 65536));
        }
        if ((ends[0].revents | ends[1].revents) & (POLLERR | POLLHUP))
            return;
    }
}
