#pragma once

class QByteArray;

/// Writes \a line and a newline to standard output in one write, past the diagnostic log.
///
/// Any thread. What cannot be written is lost: a closed output is no failure, and a reader that
/// does not read is waited for a tenth of a second, once.
void echo(QByteArray line);
