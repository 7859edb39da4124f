#pragma once

#include "model/foundationdata.h"
#include "model/jsonmembers.h"
#include "model/tbasis.h"
#include "state/statefile.h"

/// The four state files of a crane: their names, the labels of their echoes, and their members.
///
/// One table drives both directions, so that a key cannot be saved and not loaded. Whoever reads a
/// file that another process owns takes the table and a StateFile without a label.

/// localdata.txt: the own crane, one object.
namespace LocalFile
{
inline const QString name = QStringLiteral("localdata.txt");
inline const QString label = QStringLiteral("localdata.txt配置文件");
inline constexpr NumberMember<FoundationData> numbers[] = {
    {QLatin1String("armlen"), &FoundationData::armlen},
    {QLatin1String("craneheight"), &FoundationData::craneheight},
    {QLatin1String("foundation"), &FoundationData::foundation},
    {QLatin1String("reararm"), &FoundationData::reararm},
    {QLatin1String("offset"), &FoundationData::offset},
    {QLatin1String("safelen"), &FoundationData::safelen},
    {QLatin1String("armwidth"), &FoundationData::armwidth},
};
inline constexpr TextMember<FoundationData> texts[] = {
    {QLatin1String("name"), &FoundationData::name},
    {QLatin1String("MqttTop"), &FoundationData::MqttTop},
    {QLatin1String("top"), &FoundationData::duid},
    {QLatin1String("type"), &FoundationData::type},
    {QLatin1String("heightzero"), &FoundationData::heightzero},
    {QLatin1String("MqttDataTop"), &FoundationData::MqttDataTop},
};
} // namespace LocalFile

/// mymqtt.txt: the neighbours of the cloud, an array.
namespace CloudFile
{
inline const QString name = QStringLiteral("mymqtt.txt");
inline const QString label = QStringLiteral("mymqtt配置文件");
inline constexpr NumberMember<FoundationData> numbers[] = {
    {QLatin1String("armlen"), &FoundationData::armlen},
    {QLatin1String("reararm"), &FoundationData::reararm},
    {QLatin1String("craneheight"), &FoundationData::craneheight},
    {QLatin1String("foundation"), &FoundationData::foundation},
    {QLatin1String("offset"), &FoundationData::offset},
    {QLatin1String("armwidth"), &FoundationData::armwidth},
};
inline constexpr TextMember<FoundationData> texts[] = {
    {QLatin1String("top"), &FoundationData::duid},
    {QLatin1String("name"), &FoundationData::name},
    {QLatin1String("type"), &FoundationData::type},
    {QLatin1String("heightzero"), &FoundationData::heightzero},
};
} // namespace CloudFile

/// jcjj.txt: the calibrated neighbours, an array.
namespace CalibrationFile
{
inline const QString name = QStringLiteral("jcjj.txt");
inline const QString label = QStringLiteral("jcjj.txt配置文件");
inline constexpr NumberMember<tBasis> numbers[] = {
    {QLatin1String("location_X"), &tBasis::location_X},
    {QLatin1String("location_Y"), &tBasis::location_Y},
    {QLatin1String("moffset"), &tBasis::moffset},
    {QLatin1String("hoffset"), &tBasis::hoffset},
    {QLatin1String("absolute_X"), &tBasis::absolute_X},
    {QLatin1String("absolute_Y"), &tBasis::absolute_Y},
    {QLatin1String("armwidth"), &tBasis::armwidth},
    {QLatin1String("craneheight"), &tBasis::craneheight},
};
inline constexpr TextMember<tBasis> texts[] = {
    {QLatin1String("top"), &tBasis::duid},
    {QLatin1String("name"), &tBasis::name},
    {QLatin1String("heightzero"), &tBasis::heightzero},
    {QLatin1String("type"), &tBasis::type},
};
} // namespace CalibrationFile

/// Radio.txt: the radio neighbours, an array.
namespace RadioFile
{
inline const QString name = QStringLiteral("Radio.txt");
inline const QString label = QStringLiteral("Radio.txt配置文件");
inline constexpr NumberMember<FoundationData> numbers[] = {
    {QLatin1String("location_X"), &FoundationData::location_X},
    {QLatin1String("location_Y"), &FoundationData::location_Y},
    {QLatin1String("armwidth"), &FoundationData::armwidth},
    {QLatin1String("craneheight"), &FoundationData::craneheight},
};
inline constexpr TextMember<FoundationData> texts[] = {
    {QLatin1String("top"), &FoundationData::duid},
    {QLatin1String("name"), &FoundationData::name},
    {QLatin1String("heightzero"), &FoundationData::heightzero},
    {QLatin1String("type"), &FoundationData::type},
};
} // namespace RadioFile
