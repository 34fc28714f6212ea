#include "jobs/verify/VerifyReport.h"

#include <algorithm>
#include <limits>

namespace Tessor::Jobs
{

PictureVerdict VerifyReport::SumPictures() const
{
    PictureVerdict sum;
    sum.lowestRatio = std::numeric_limits<double>::infinity();
    for (const TrackVerdict& track : tracks)
    {
        if (!track.pictures)
            continue;
        sum.expected += track.pictures->expected;
        sum.found += track.pictures->found;
        sum.identical += track.pictures->identical;
        sum.lowestRatio = std::min(sum.lowestRatio, track.pictures->lowestRatio);
        sum.worstTimeErrorMs = std::max(sum.worstTimeErrorMs, track.pictures->worstTimeErrorMs);
    }
    return sum;
}

PacketVerdict VerifyReport::SumVideoPackets() const
{
    PacketVerdict sum;
    for (const TrackVerdict& track : tracks)
    {
        if (!track.pictures || !track.packets)
            continue;
        sum.found += track.packets->found;
        sum.identical += track.packets->identical;
    }
    return sum;
}

} // namespace Tessor::Jobs
