#include "jobs/ReadJointly.h"

#include <algorithm>

namespace Tessor::Jobs
{

void ReadJointly(const std::vector<SP<Proc::IStreamRaw>>& streams,
                 const std::function<void(size_t place, const SP<Proc::IDataPacket>& packet)>& take)
{
    for (const SP<Proc::IStreamRaw>& stream : streams)
        stream->RequestSeek(0, nullptr);
    for (const SP<Proc::IStreamRaw>& stream : streams)
        stream->DoSeek();
    // decoding time that each stream has reached: the lowest time until its first packet, the highest after its end
    std::vector<avTime> reached(streams.size(), NoTime);
    for (;;)
    {
        const auto earliest = std::min_element(reached.begin(), reached.end());
        if (earliest == reached.end() || *earliest == std::numeric_limits<avTime>::max())
            return;
        const auto place = static_cast<size_t>(earliest - reached.begin());
        const SP<Proc::IDataPacket> packet = streams[place]->Read();
        *earliest = packet ? std::max(*earliest, packet->GetDTS()) : std::numeric_limits<avTime>::max();
        if (packet)
            take(place, packet);
    }
}

} // namespace Tessor::Jobs
