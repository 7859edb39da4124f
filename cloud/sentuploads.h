#pragma once

#include <QByteArray>

#include <deque>

/// The payloads sent lately, to recognise them when the broker hands them back.
///
/// One that comes back parses as a JSON object, since the engine made it; that is all it proves.
/// Kept is a 64-bit hash of each: in a burst of reports thousands are on their way at a time, and
/// parsing them would hold up the reports behind them. They come back in the order in which they
/// went out, so one that is found ends the wait for all before it.
class SentUploads
{
public:
    void add(const QByteArray &payload);
    /// Whether \a payload is among them; then it and all older ones are forgotten.
    bool take(const QByteArray &payload);

private:
    std::deque<size_t> m_prints; // oldest first
};
