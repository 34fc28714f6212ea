#include "Proc/Filters/Filters/Cutting/StreamRawGOP.h"

#include "Fnd/Exception.h"
#include "Fnd/Statistics.h"
#include "Proc/StreamTemplates/NotImplemented.h"
#include "Proc/StreamTemplates/Visitors.h"

#include <algorithm>
#include <glog/logging.h>
#include <utility>

namespace Tessor::Proc
{

StreamRawGOP::StreamRawGOP(const SP<IStreamRaw>& source, PacketQueueWithGOP& queue) : source(source)
{
    if (queue.Size() == 0)
        Throw<FilterException>(TESSOR_HERE, "Queue hasn't packets");
    endTime = queue.GetEnd();
    packets.reserve(static_cast<size_t>(queue.Size()));
    while (queue.Size() > 0)
    {
        packets.push_back(queue.Pop());
        if (startTime == NoTime)
            startTime = packets.back()->GetPosition();
    }
}

avTime StreamRawGOP::GetPosition()
{
    if (lettingGo)
        return shownTime;
    for (const SP<IDataPacket>& packet : packets)
    {
        const avTime time = packet->GetPTS() != NoTime ? packet->GetPTS() : packet->GetDTS();
        if (time != NoTime)
            return time;
    }
    return NoTime;
}

void StreamRawGOP::LeaveOutTail(avTime start, avTime end)
{
    size_t needed = 0, next = 0; // counts of packets
    avTime nextTime = NoTime;
    for (size_t i = 0; i < packets.size(); ++i)
    {
        const avTime time = packets[i]->GetPTS();
        if (time < start || time >= end) // those without a time included
            needed = i + 1;
        else if (nextTime == NoTime || time < nextTime)
        {
            next = i + 1;
            nextTime = time;
        }
    }
    packets.resize(std::max(needed, next));
}

void StreamRawGOP::LetGo()
{
    shownTime = GetPosition();
    lettingGo = true;
}

void StreamRawGOP::Initialize(const Core::Property&)
{
    ThrowMethodNotImplemented(TESSOR_HERE);
}

void StreamRawGOP::RequestSeek(avTime, SP<IStream> partner)
{
    if (partner && std::find(seekers.begin(), seekers.end(), partner) == seekers.end())
        seekers.insert(seekers.begin(), partner);
}

void StreamRawGOP::DoSeek()
{
    if (lettingGo && readIndex > 1)
        Throw<FilterException>(TESSOR_HERE, "The group that is sought has been let go");
    readIndex = 0;
    for (const SP<IStream>& seeker : seekers)
        if (!seeker->GetSeekResult())
            VLOG(31) << "Decoder seek result = 0\n";
    seekers.clear();
}

Core::Property StreamRawGOP::GetStatistic() const
{
    Core::Property statistic = source->GetStatistic();
    statistic.Add(Core::MakeStatistics(Core::StatisticsTag("StreamRawGOP"), 0, 0));
    return statistic;
}

void StreamRawGOP::Accept(IStreamVisitor& visitor)
{
    Visitors::ProcessStandartVisitors(visitor, "StreamRawGOP", FRAME_ALLOC_CPU, nullptr);
    source->Accept(visitor);
}

SP<IDataPacket> StreamRawGOP::Read()
{
    if (readIndex == packets.size())
        return nullptr;
    SP<IDataPacket>& packet = packets[readIndex++];
    return lettingGo && readIndex > 1 ? std::exchange(packet, nullptr) : packet;
}

} // namespace Tessor::Proc
