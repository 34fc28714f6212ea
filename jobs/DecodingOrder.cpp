#include "jobs/DecodingOrder.h"

#include <algorithm>

namespace Tessor::Jobs
{

void DecodingOrder::Add()
{
    streams.emplace_back();
}

std::optional<size_t> DecodingOrder::FindNext() const
{
    std::optional<size_t> next;
    // NoTime is below every time
    for (size_t i = 0; i < streams.size(); ++i)
        if (!streams[i].ended && (!next || streams[i].reached < streams[*next].reached))
            next = i;
    return next;
}

void DecodingOrder::Reach(size_t place, const SP<Proc::IDataPacket>& packet)
{
    Stream& stream = streams.at(place);
    stream.ended = !packet;
    if (packet)
        stream.reached = std::max(stream.reached, packet->GetDTS() != NoTime ? packet->GetDTS() : packet->GetPTS());
}

} // namespace Tessor::Jobs
