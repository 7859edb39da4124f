#pragma once

#include <QList>
#include <QString>

#include "model/foundationdata.h"
#include "model/tbasis.h"

/// The three vicinity reports as JSON texts, indented. Pure functions.
///
/// Each lists the neighbours in list order. They carry what the records hold, unchecked; a number
/// that is not finite is null. Their timestamp is fixed, so that equal content is an equal text.
class VicinityReports
{
public:
    /// Who stands where, with which dimensions; upload "Vicinity".
    static QString VicinitytoV(FoundationData self, const QList<tBasis> &list);
    /// The same text as VicinitytoV().
    static QString VicinityAttribute(FoundationData self, const QList<tBasis> &list);
    /// How each crane stands; upload "Attitude". A neighbour's "slewing" is the own reading at
    /// which the own jib would point the same way; it is not wrapped.
    static QString VicinityAttitude(FoundationData self, const QList<tBasis> &list);
    /// Who is heard; upload "VicinityStatus". Offline is more than 9 s without a report.
    static QString VicinityStatus(const QList<tBasis> &list);

    /// Metres or degrees in whole hundredths, cut toward zero: 12.349 gives 1234. Beyond the 32-bit
    /// range it saturates; NaN gives 0.
    static qint32 hundredthsOf(float value);
    /// A neighbour's "slewing" in whole hundredths.
    static qint32 slewingHundredths(const tBasis &neighbour);
    static bool isOffline(const tBasis &neighbour);
};
