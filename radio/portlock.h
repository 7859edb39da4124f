#pragma once

#include <QString>

/// The lock file of a serial device ("LCK..ttyUSB0"), by which programs keep off each other's
/// devices. The port makes it when it is opened and removes it when it is closed; a process that is
/// ended by a signal would leave it behind, and only its own user or root may remove it then.

/// Whether a lock file names another process that runs. The port itself minds those of its own kind
/// only, and removes the others.
bool isPortInUse(const QString &device);

/// What keeps a device that is there from being opened, in plain words: a missing permission, a
/// program that uses it, the lock file of one that has ended; \a otherwise where it is none of
/// these.
QString portObstacle(const QString &device, const QString &otherwise);

/// From now on SIGTERM, SIGINT and SIGHUP give \a device up before they end the process: its lock
/// file goes, and nobody is kept off its descriptor \a port any more. A signal that does not end
/// the process is left as it is. One device at a time; of one thread.
void holdPortLock(const QString &device, int port);
/// No more: the port is about to be closed.
void releasePortLock();
