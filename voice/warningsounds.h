#pragma once

#include <QString>
#include <QVector3D>

/// Which recording warns of an alarm. Pure; the file's name in the folder of the recordings.
///
/// "rotationTorotation" warns of the side: left where the own jib's end \a mEnd lies at a smaller y
/// than the neighbour's \a hEnd, else right. "HeightTRotationAlarm" warns of what is below where
/// \a mEnd is higher, else of the side. Every other kind gets the general warning. Coordinates
/// that do not compare count as right, and as not higher.
QString warningFileFor(const QString &alarm, const QVector3D &mEnd, const QVector3D &hEnd);
