#include "radio/portlock.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

// Read by a signal handler: written only while the flag is not set.
char heldPath[PATH_MAX];
int heldPort = -1;
std::atomic<bool> isHeld{false};
static_assert(std::atomic<bool>::is_always_lock_free);

/// The signal has its default action again.
void leavePortAndEnd(int number)
{
    if (isHeld) {
        ::ioctl(heldPort, TIOCNXCL); // which lasts as long as any process has the device open
        ::unlink(heldPath);
    }
    std::raise(number);
}

void catchEndingSignals()
{
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        struct sigaction action = {};
        if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL)
            continue;
        action.sa_handler = leavePortAndEnd;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        ::sigaction(number, &action, nullptr);
    }
}

/// Where the port has, or finds, the lock file of this device; empty if there is none.
QString lockFileOf(const QString &device)
{
    // The port takes the first of these that it can use.
    for (const char *folder : {"/var/lock", "/etc/locks", "/var/spool/locks", "/var/spool/uucp",
                               "/tmp", "/var/tmp", "/var/lock/lockdev", "/run/lock"}) {
        const QString path =
            QLatin1String(folder) + QStringLiteral("/LCK..") + QFileInfo(device).fileName();
        if (QFile::exists(path) && QFileInfo(QLatin1String(folder)).isReadable())
            return path;
    }
    return QString();
}

/// Whether the process runs, under that name if one is given: numbers are used again.
bool isRunning(qint64 pid, const QByteArray &name)
{
    if (::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH)
        return false;
    constexpr int shownName = 15; // bytes, the kernel keeps no more
    QFile file(QStringLiteral("/proc/%1/comm").arg(pid));
    const QByteArray actual =
        file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
    return name.isEmpty() || actual.isEmpty() || actual == name.left(shownName);
}

struct PortLock {
    QString path;    // empty if there is no lock file
    qint64 pid = 0;  // 0 if it names none, or cannot be read
    QByteArray name; // of the process; programs of other kinds write none
    bool isInUse() const { return pid > 0 && pid != ::getpid() && isRunning(pid, name); }
};

PortLock lockOf(const QString &device)
{
    PortLock lock;
    lock.path = lockFileOf(device);
    QFile file(lock.path);
    if (lock.path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return lock;
    const QList<QByteArray> lines = file.read(1000).split('\n');
    lock.pid = qMax(0, lines.first().trimmed().toInt());
    lock.name = lines.value(1).mid(lines.value(1).lastIndexOf('/') + 1);
    return lock;
}

QString describe(const PortLock &lock)
{
    const QString whose =
        QStringLiteral("the lock file %1 of user %2").arg(lock.path, QFileInfo(lock.path).owner());
    if (lock.pid == 0)
        return whose + QStringLiteral(", in which no process can be read: remove it if none uses "
                                      "the device");
    if (lock.isInUse())
        return QStringLiteral("in use by process %1, says %2").arg(lock.pid).arg(whose);
    return whose + QStringLiteral(", left by process %1, which has ended: remove it").arg(lock.pid);
}

} // namespace

bool isPortInUse(const QString &device)
{
    return lockOf(device).isInUse();
}

QString portObstacle(const QString &device, const QString &otherwise)
{
    QStringList obstacles;
    const QFileInfo node(device);
    if (!node.isReadable() || !node.isWritable())
        obstacles += QStringLiteral("no permission on the device");
    const PortLock lock = lockOf(device);
    if (!lock.path.isEmpty())
        obstacles += describe(lock);
    return obstacles.isEmpty() ? otherwise : obstacles.join(QStringLiteral("; "));
}

void holdPortLock(const QString &device, int port)
{
    const QByteArray path = QFile::encodeName(lockFileOf(device));
    if (path.isEmpty() || path.size() >= static_cast<int>(sizeof heldPath))
        return;
    releasePortLock();
    qstrcpy(heldPath, path.constData());
    heldPort = port;
    isHeld = true;
    catchEndingSignals();
}

void releasePortLock()
{
    isHeld = false;
}
