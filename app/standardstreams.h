#pragma once

/// Standard output and standard error hold nothing up, whoever reads them and whoever owns them.
///
/// Both functions are called once, in this order, first thing in the process.

/// Puts /dev/null in the place of each standard stream that is closed. The next file or socket that
/// is opened would get its number, and the echoes and log lines would end up in there.
void occupyStandardStreams();

/// From now on what a full pipe, a halted terminal or a full socket does not take is lost: a reader
/// that has stalled must not hold up an alarm. A file is written directly.
///
/// A pipe or terminal is opened anew, in non-blocking mode. Where that is refused (it belongs to
/// another user: su, a supervisor that changes the user) a pipe of our own takes its place, and a
/// thread that does nothing else carries what comes out of it, in order, to the original, which may
/// block it for ever. The own pipe holds 64 KiB; what is still in it when the process ends, however
/// it ends, is lost. The thread ends when the reader is gone, and all output is lost from then on,
/// also where a named pipe finds another reader.
///
/// Standard output and standard error keep their order where both are the same pipe or terminal.
void keepOutputFromBlocking();
