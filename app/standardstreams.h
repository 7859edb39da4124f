#pragma once

/// Standard output and standard error hold nothing up, whoever reads them.
///
/// Both functions are called once, in this order, first thing in the process.

/// Puts /dev/null in the place of each standard stream that is closed. The next file or socket that
/// is opened would get its number, and the echoes and log lines would end up in there.
void occupyStandardStreams();

/// From now on what a full pipe, a halted terminal or a full socket does not take is lost: a reader
/// that has stalled must not hold up an alarm. A file is written directly.
void keepOutputFromBlocking();
