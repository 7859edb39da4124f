#pragma once

#include <filesystem>
#include <string>

/// The bench's site: what the controller's state files hold, and what the units say.
///
/// Seen from above, for each neighbour alike, give or take 3 degrees of the own reading:
///
///      own axis (0, 0)                      its axis (77, 0)
///          o================= 50 m    far:        o======= 20 m
///          o================= 50 m    near  ======o
///
/// The safety distance is 5 m. Near, the jibs are 7 to 10 m apart: that raises the alarm of the
/// slewing zone, and no other. Far, nothing is raised.
namespace RoadSite
{

inline const std::string cloudFilter = "F/3/0/C1/D2/P3/+/+/+/#";
inline const std::string attitudeTopic = "Local/Vicinity/Attitude/TEXT";
inline const std::string alarmTopic = "Local/Alarm";
inline const std::string attitudeUploadTopic = "F/3/0/C1/D2/P3/V5/O4/0/CRANE-000/Vicinity/Attitude";

inline const std::string registrationTopic = "Local/IdentityInfo";
std::string registrationDocument();
inline const std::string ownStateTopic = "Local/Data";
std::string ownStateDocument();

/// Writes the state files of a controller that knows \a neighbours calibrated cranes.
void writeStateFiles(const std::filesystem::path &folder, int neighbours);

std::string neighbourTopic(int neighbour);

/// Report number \a step of a neighbour; the readings of successive steps differ in the reports.
/// With \a movesAlarm it begins with a blank, which is for the relay.
std::string neighbourDocument(int neighbour, bool isNear, int step, bool movesAlarm);

} // namespace RoadSite
