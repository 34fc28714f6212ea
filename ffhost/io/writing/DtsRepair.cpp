#include "ffhost/io/writing/DtsRepair.h"

extern "C"
{
#include <libavcodec/packet.h>
#include <libavutil/avutil.h>
}

#include <algorithm>

namespace Tessor::Host
{

void DtsRepair::Push(PacketPtr packet)
{
    const int64_t next = newestDts ? *newestDts + step : 0;
    if (packet->pts == AV_NOPTS_VALUE)
        packet->pts = packet->dts != AV_NOPTS_VALUE ? packet->dts : next;
    if (packet->dts == AV_NOPTS_VALUE || packet->dts > packet->pts)
        packet->dts = packet->pts;
    newestDts = packet->dts;
    window.push_back(std::move(packet));
}

// The packet i places after this one is decoded i steps later at the least: its time less as many steps is the highest
// that this one may have. What has been handed out is the lowest.
PacketPtr DtsRepair::Pull()
{
    if (window.empty() || (!ended && window.size() <= lookAhead))
        return nullptr;
    int64_t dts = window.front()->dts;
    for (size_t i = 1; i < window.size(); ++i)
        dts = std::min(dts, window[i]->dts - static_cast<int64_t>(i) * step);
    // where both can't be had, rising goes first: containers refuse what does not
    if (lastDts)
        dts = std::max(dts, *lastDts + step);

    PacketPtr packet = std::move(window.front());
    window.pop_front();
    packet->dts = dts;
    packet->pts = std::max(packet->pts, dts);
    lastDts = dts;
    return packet;
}

} // namespace Tessor::Host
