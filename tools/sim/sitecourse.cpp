#include "tools/sim/sitecourse.h"

BusyCourse::BusyCourse(const Site &site, double silence)
{
    for (const SiteCrane &crane : site)
        m_motions.emplace_back(crane);
    m_silence.length = silence;
}

CranePose BusyCourse::poseAt(int index, double seconds)
{
    return m_motions.at(static_cast<std::size_t>(index)).poseAt(seconds);
}
