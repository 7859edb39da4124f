#include "cloud/sentuploads.h"

#include <algorithm>
#include <string_view>

namespace
{

static_assert(sizeof(size_t) == 8); // of fewer bits two payloads may well have the same hash

size_t printOf(const QByteArray &payload)
{
    const std::string_view bytes(payload.constData(), static_cast<size_t>(payload.size()));
    return std::hash<std::string_view>()(bytes);
}

} // namespace

void SentUploads::add(const QByteArray &payload)
{
    constexpr size_t most = 16384; // 128 KiB, should a broker fall that far behind
    if (m_prints.size() == most)
        m_prints.pop_front();
    m_prints.push_back(printOf(payload));
}

bool SentUploads::take(const QByteArray &payload)
{
    const auto found = std::find(m_prints.begin(), m_prints.end(), printOf(payload));
    if (found == m_prints.end())
        return false;
    m_prints.erase(m_prints.begin(), found + 1);
    return true;
}
