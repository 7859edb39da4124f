#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QVector>

#include "model/foundationdata.h"

/// Which records of the neighbour list match a crane id, remembered from one report to the next.
///
/// A record matches an id that contains its device id. The answer holds as long as no record is
/// added and no device id changes: the list only grows, and a record keeps its id. So everything is
/// forgotten when the list's length differs from the one remembered (whoever replaces the list by
/// another one of that length needs another memo); and when the answers take more than some 4 MiB,
/// since a stranger can invent ids, long ones and such that match everybody.
class NeighbourMemo
{
public:
    /// Positions in \a list that match \a craneId, in list order.
    const QVector<int> &positionsOf(const QString &craneId, const QList<FoundationData> &list);

private:
    QHash<QString, QVector<int>> m_positions;
    int m_listSize = 0;
    int m_bytes = 0; // that m_positions takes, about
};
