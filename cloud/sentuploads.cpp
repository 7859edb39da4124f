#include "sentuploads.h"

#include <algorithm>

void SentUploads::add(const QByteArray &payload)
{
    constexpr size_t most = 32;
    if (m_payloads.size() == most)
        m_payloads.pop_front();
    m_payloads.push_back(payload);
}

bool SentUploads::take(const QByteArray &payload)
{
    const auto found = std::find(m_payloads.begin(), m_payloads.end(), payload);
    if (found == m_payloads.end())
        return false;
    m_payloads.erase(m_payloads.begin(), found + 1);
    return true;
}
