#include "cloud/neighbourmemo.h"

const QVector<int> &NeighbourMemo::positionsOf(const QString &craneId,
                                               const QList<FoundationData> &list)
{
    constexpr int mostBytes = 4 << 20; // twice what a full list of usual ids takes
    if (m_listSize != list.size() || m_bytes > mostBytes) {
        m_positions.clear();
        m_bytes = 0;
        m_listSize = list.size();
    }
    const auto known = m_positions.constFind(craneId);
    if (known != m_positions.constEnd())
        return *known;
    QVector<int> positions;
    for (int i = 0; i < list.size(); ++i) {
        if (craneId.contains(list.at(i).duid))
            positions.append(i);
    }
    positions.squeeze();
    constexpr int overhead = 128; // of an answer: its node and what the allocator adds
    m_bytes += overhead + 2 * craneId.size() + 4 * positions.size();
    return *m_positions.insert(craneId, positions);
}
