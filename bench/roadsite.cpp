#include "bench/roadsite.h"

#include "bench/roadclock.h"

#include <cmath>
#include <cstdio>
#include <fstream>

namespace
{

constexpr double axisDistance = 77;
constexpr double radiansPerDegree = 0.017453292519943295;

std::string withNumber(const char *format, int number)
{
    char text[40];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

std::string duidOf(int neighbour)
{
    return withNumber("CRANE-%03d", neighbour + 1); // of one length: none contains another
}

std::string nameOf(int neighbour)
{
    return withNumber("%d#", neighbour + 1);
}

/// The own reading with the own jib pointing at the neighbour; the own jib stands at 30.
int ownReference(int neighbour)
{
    return 30 + neighbour % 7 - 3;
}

/// The neighbour's reading with its jib pointing at the own crane.
int reference(int neighbour)
{
    return neighbour * 37 % 180;
}

void write(const std::filesystem::path &path, const std::string &text)
{
    std::ofstream file(path);
    if (!(file << text << std::flush))
        throw Failure("cannot write " + path.string());
}

std::string stateDocument(double rotation, double travel, double height)
{
    char text[160];
    std::snprintf(text, sizeof text,
                  R"({"tower":[{"rotation":%.3f,"gantry":[{"travel":%.2f,)"
                  R"("hoist":[{"height":%.2f}]}]}]})",
                  rotation, travel, height);
    return text;
}

std::string cloudRecord(int neighbour)
{
    return R"({"armlen":20,"armwidth":2,"craneheight":40,"foundation":0,"heightzero":"0",)"
           R"("name":")" +
           nameOf(neighbour) + R"(","offset":0,"reararm":12,"top":")" + duidOf(neighbour) +
           R"(","type":"T1"})";
}

std::string calibratedRecord(int neighbour)
{
    const double angle = ownReference(neighbour) * radiansPerDegree;
    char text[400];
    std::snprintf(text, sizeof text,
                  R"({"absolute_X":%.9g,"absolute_Y":%.9g,"armwidth":0,"craneheight":0,)"
                  R"("heightzero":"","hoffset":%d,"location_X":%g,"location_Y":0,"moffset":%d,)"
                  R"("name":"%s","top":"%s","type":""})",
                  axisDistance * std::sin(angle), -axisDistance * std::cos(angle),
                  reference(neighbour), axisDistance, ownReference(neighbour),
                  nameOf(neighbour).c_str(), duidOf(neighbour).c_str());
    return text;
}

std::string array(int count, std::string (*element)(int))
{
    std::string text = "[";
    for (int i = 0; i < count; ++i)
        text += (i ? "," : "") + element(i);
    return text + "]";
}

} // namespace

std::string RoadSite::registrationDocument()
{
    return R"({"reginfo":{"type":{"id":3},"generic":{"fieldnumber":"0#"},)"
           R"("company":{"id":"C1","department":{"id":"D2","project":{"id":"P3"}}},)"
           R"("owner":{"id":"O4"},"vendor":{"id":"V5"}}})";
}

std::string RoadSite::ownStateDocument()
{
    return stateDocument(30, 20, 15);
}

void RoadSite::writeStateFiles(const std::filesystem::path &folder, int neighbours)
{
    write(folder / "localdata.txt",
          R"({"MqttDataTop":"F/3/0/C1/D2/P3/V5/O4/0/","MqttTop":"F/3/0/C1/D2/P3/+/+/+/",)"
          R"("armlen":50,"armwidth":2,"craneheight":40,"foundation":0,"heightzero":"0",)"
          R"("name":"0#","offset":0,"reararm":12,"safelen":5,"top":"CRANE-000","type":"T1"})");
    write(folder / "mymqtt.txt", array(neighbours, cloudRecord));
    write(folder / "jcjj.txt", array(neighbours, calibratedRecord));
}

std::string RoadSite::neighbourTopic(int neighbour)
{
    return "F/3/0/C1/D2/P3/V5/O4/0/" + duidOf(neighbour) + "/Data";
}

std::string RoadSite::neighbourDocument(int neighbour, bool isNear, int step, bool movesAlarm)
{
    const int direction = reference(neighbour) + (isNear ? 0 : 180);
    // Halfway between two hundredths, at which the reports cut, and never the same twice running.
    const double wobble = 0.005 + step % 200 * 0.02; // degrees
    return (movesAlarm ? " " : "") + stateDocument(direction + wobble, 10, 15);
}
