#include "jobs/ReadJointly.h"

#include "jobs/DecodingOrder.h"
#include "jobs/TrackFault.h"

namespace Tessor::Jobs
{

namespace
{

// More in a row are not those of packets: the stream itself has come to its end.
constexpr int MOST_FAULTS = 1000;

} // namespace

void ReadJointly(const std::vector<SP<Proc::IStreamRaw>>& streams,
                 const std::function<void(size_t place, const SP<Proc::IDataPacket>& packet)>& take,
                 const std::function<void(size_t place, const std::string& fault)>& note)
{
    // all of them first: a demuxer moves its tracks together
    for (const SP<Proc::IStreamRaw>& stream : streams)
        stream->RequestSeek(0, nullptr);
    for (const SP<Proc::IStreamRaw>& stream : streams)
        stream->DoSeek();
    int faults = 0; // in a row
    DecodingOrder order;
    for (size_t i = 0; i < streams.size(); ++i)
        order.Add();
    while (const auto place = order.FindNext())
    {
        SP<Proc::IDataPacket> packet;
        const auto read = [&] { packet = streams[*place]->Read(); };
        const std::string fault = note ? FindFault(read) : (read(), "");
        faults = fault.empty() ? 0 : faults + 1;
        if (!fault.empty())
            note(*place, fault);
        if (faults > 0 && faults < MOST_FAULTS)
            continue;
        order.Reach(*place, packet);
        if (packet)
            take(*place, packet);
    }
}

} // namespace Tessor::Jobs
