#pragma once

#include <QByteArray>

#include <deque>

/// The payloads sent lately, to recognise them when the broker hands them back.
///
/// Equal bytes prove that a payload parses as a JSON object, no more. They come back in the order
/// in which they went out, so one that is found ends the wait for all before it.
class SentUploads
{
public:
    void add(const QByteArray &payload);
    /// Whether \a payload is among them; then it and all older ones are forgotten.
    bool take(const QByteArray &payload);

private:
    std::deque<QByteArray> m_payloads; // oldest first, a few only
};
