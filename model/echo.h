#pragma once

class QByteArray;

/// Writes \a line and a newline to standard output in one write, past the diagnostic log.
///
/// Any thread. What cannot be written is lost; a closed output is no failure.
void echo(QByteArray line);
