#include "voice/warningsounds.h"

namespace
{

QString sideWarning(const QVector3D &mEnd, const QVector3D &hEnd)
{
    return mEnd.y() < hEnd.y() ? QStringLiteral("警告回转左侧障碍物.mp3")  // obstacle on the left
                               : QStringLiteral("警告回转右侧障碍物.mp3"); // on the right
}

} // namespace

QString warningFileFor(const QString &alarm, const QVector3D &mEnd, const QVector3D &hEnd)
{
    if (alarm == QLatin1String("rotationTorotation"))
        return sideWarning(mEnd, hEnd);
    if (alarm == QLatin1String("HeightTRotationAlarm"))
        return mEnd.z() > hEnd.z() ? QStringLiteral("警告下方障碍物.mp3") // obstacle below
                                   : sideWarning(mEnd, hEnd);
    return QStringLiteral("警告警告.mp3"); // warning
}
