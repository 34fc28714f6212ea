#include "Proc/Filters/Filters/Cutting/CutOutput.h"

#include <algorithm>
#include <glog/logging.h>
#include <iterator>

namespace Tessor::Proc
{

void CutOutput::Add(const SP<IDataPacket>& packet)
{
    parts.push_back({.packet = packet});
    waitingBytes += static_cast<size_t>(packet->GetSize());
}

void CutOutput::AddGroup(Encode encode)
{
    if (limits.groups > 1)
    {
        WaitForThread();
        parts.push_back({.group = std::async(std::launch::async, std::move(encode), stop.get_token())});
        return;
    }
    for (const SP<IDataPacket>& packet : encode(stop.get_token()))
    {
        Add(packet);
        Note(*packet);
    }
    VLOG(31) << "--------";
}

SP<IDataPacket> CutOutput::Take()
{
    while (!parts.empty())
    {
        Part part = std::move(parts.front());
        parts.pop_front();
        if (part.packet)
        {
            waitingBytes -= static_cast<size_t>(part.packet->GetSize());
            return part.packet;
        }
        PutInFront(part.group.get());
    }
    return nullptr;
}

void CutOutput::PutInFront(const Packets& packets)
{
    std::deque<Part> front;
    for (const SP<IDataPacket>& packet : packets)
    {
        waitingBytes += static_cast<size_t>(packet->GetSize());
        front.push_back({.packet = packet});
    }
    parts.insert(parts.begin(), std::make_move_iterator(front.begin()), std::make_move_iterator(front.end()));
    for (const SP<IDataPacket>& packet : packets)
        Note(*packet);
    VLOG(31) << "--------";
}

void CutOutput::Note(const IDataPacket& packet)
{
    ++encodedCount;
    VLOG(31) << "New packet: (" << parts.size() << "): PTS=" << T2S(packet.GetPTS()) << ", DTS=" << T2S(packet.GetDTS())
             << ", duration=" << T2S(packet.GetDuration()) << (packet.IsKeyFrame() ? " (key)" : "");
}

bool CutOutput::WantsMore() const
{
    return !parts.empty() && parts.front().group.valid() && waitingBytes < limits.bytes &&
           CountGroups() < limits.groups;
}

size_t CutOutput::CountGroups() const
{
    return static_cast<size_t>(
        std::count_if(parts.begin(), parts.end(), [](const Part& p) { return p.group.valid(); }));
}

// For the oldest, which are wanted first.
void CutOutput::WaitForThread() const
{
    size_t count = CountGroups();
    for (auto part = parts.begin(); count >= limits.groups; ++part)
        if (part->group.valid())
        {
            part->group.wait();
            --count;
        }
}

} // namespace Tessor::Proc
