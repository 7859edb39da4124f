#pragma once

#include <QtGlobal>

class QDateTime;
class QString;

/// The diagnostic log: day files under log/ in the working directory.

/// Appends one stamped line to the day file log/yyyy-MM-dd.txt, then passes the message on to
/// standard error as the framework would have.
///
/// Any thread; lines never interleave. The file is opened and closed for every line, so a crash
/// loses at most the line in hand. Where it cannot be opened, or anything but a plain file lies in
/// its place, the line is missing from it, silently, and so is one that does not fit on the disk
/// whole: what was taken of it is cut off again. The folder log/ is never created, an integrator
/// who wants day files creates it. The handler itself never writes a message.
void customMessageHandler(QtMsgType type, const QMessageLogContext &context,
                          const QString &message);

/// Makes customMessageHandler() the handler of all messages. Only from then on are they passed on.
/// Called once, before another thread logs.
void installLogHandler();

/// Removes the "*.txt" files in log/ that were created more than seven days before \a now, and
/// reports each. Main thread. A file whose age the file system does not know is kept.
void pruneLogs(const QDateTime &now);
