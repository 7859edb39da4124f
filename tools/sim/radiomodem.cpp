#include "tools/sim/radiomodem.h"

#include <QFile>
#include <QFileInfo>
#include <QTimer>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace
{
/// No line discipline: the bytes pass as they are.
bool makeRaw(int descriptor)
{
    termios settings{};
    if (tcgetattr(descriptor, &settings) != 0)
        return false;
    cfmakeraw(&settings);
    return tcsetattr(descriptor, TCSANOW, &settings) == 0;
}
} // namespace

RadioModem::RadioModem(const QString &link, QObject *parent) : QObject(parent), m_link(link) {}

RadioModem::~RadioModem()
{
    pull();
}

bool RadioModem::plugIn()
{
    if (isPluggedIn())
        return true;
    m_descriptor = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (m_descriptor < 0)
        return fail("no pseudo-terminal");
    if (grantpt(m_descriptor) != 0 || unlockpt(m_descriptor) != 0 || !makeRaw(m_descriptor))
        return fail("the pseudo-terminal cannot be used");
    if (!makeLink(ptsname(m_descriptor)))
        return fail("the link cannot be made");
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    m_notifier->setEnabled(!m_isStuck);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] { read(); });
    return true;
}

bool RadioModem::fail(const char *action)
{
    m_problem =
        QStringLiteral("%1: %2: %3")
            .arg(m_link, QLatin1String(action), QString::fromLocal8Bit(std::strerror(errno)));
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
    return false;
}

bool RadioModem::makeLink(const char *target)
{
    const QFileInfo there(m_link);
    if (there.isSymLink() && !there.exists())
        QFile::remove(m_link); // left behind by one that was killed
    return ::symlink(target, QFile::encodeName(m_link).constData()) == 0;
}

void RadioModem::pull()
{
    if (!isPluggedIn())
        return;
    m_notifier.reset();
    QFile::remove(m_link);
    ::close(m_descriptor);
    m_descriptor = -1;
}

void RadioModem::send(const QByteArray &bytes)
{
    constexpr int patienceMs = 2000;
    int sent = 0;
    while (isPluggedIn() && sent < bytes.size()) {
        pollfd room{m_descriptor, POLLOUT, 0};
        if (::poll(&room, 1, patienceMs) <= 0)
            return;
        const auto count = ::write(m_descriptor, bytes.constData() + sent,
                                   static_cast<std::size_t>(bytes.size() - sent));
        if (count < 0 && errno != EAGAIN && errno != EINTR)
            return;
        sent += static_cast<int>(qMax<decltype(count)>(count, 0));
    }
}

void RadioModem::setStuck(bool isStuck)
{
    m_isStuck = isStuck;
    if (m_notifier)
        m_notifier->setEnabled(!isStuck);
}

void RadioModem::read()
{
    QByteArray bytes(4096, '\0');
    const auto count = ::read(m_descriptor, bytes.data(), static_cast<std::size_t>(bytes.size()));
    if (count > 0)
        Q_EMIT heard(bytes.left(static_cast<int>(count)));
    else if (errno == EIO)
        rest();
}

/// Nobody has the near end open, and the far end says so without pause: look again later.
void RadioModem::rest()
{
    constexpr int restMs = 100;
    m_notifier->setEnabled(false);
    QTimer::singleShot(restMs, m_notifier.get(), [this] { m_notifier->setEnabled(!m_isStuck); });
}
