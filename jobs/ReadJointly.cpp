#include "jobs/ReadJointly.h"

#include "jobs/DecodingOrder.h"

namespace Tessor::Jobs
{

void ReadJointly(const std::vector<SP<Proc::IStreamRaw>>& streams,
                 const std::function<void(size_t place, const SP<Proc::IDataPacket>& packet)>& take)
{
    // all of them first: a demuxer moves its tracks together
    for (const SP<Proc::IStreamRaw>& stream : streams)
        stream->RequestSeek(0, nullptr);
    for (const SP<Proc::IStreamRaw>& stream : streams)
        stream->DoSeek();
    DecodingOrder order;
    for (size_t i = 0; i < streams.size(); ++i)
        order.Add();
    while (const auto place = order.FindNext())
    {
        const SP<Proc::IDataPacket> packet = streams[*place]->Read();
        order.Reach(*place, packet);
        if (packet)
            take(*place, packet);
    }
}

} // namespace Tessor::Jobs
