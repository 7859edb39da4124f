#pragma once

class QByteArray;

/// Writes \a line and a newline to standard output, past the diagnostic log: in one write, or in
/// pieces where a pipe takes a long one so.
///
/// Any thread; echoes never mix. What cannot be written is lost: a closed output is no failure, and
/// a reader that does not read is waited for a tenth of a second, once. Of a line that is given up
/// half-way the begin stays, and the next echo starts on a line of its own.
///
/// Another thread's echo is waited for. With an output that does not block (see
/// app/standardstreams.h) it takes a tenth of a second at most, the same tenth that is for the
/// reader: whoever has waited so long for the lock does not wait for the reader, too.
void echo(QByteArray line);
