#include "Proc/Filters/Filters/Cutting/PacketQueue.h"

#include "Fnd/Exception.h"

#include <algorithm>

namespace Tessor::Proc
{

PacketQueue::PacketQueue(MediaType type) : canBeEmpty(type != MediaType::Video && type != MediaType::Audio) {}

avTime PacketQueue::Position() const
{
    const Lock lock(mutex);
    if (bytes == 0)
        return NoTime;
    const auto known = std::find_if(packets.begin(), packets.end(),
                                    [](const SP<IDataPacket>& packet) { return packet->GetPosition() != NoTime; });
    return known == packets.end() ? NoTime : (*known)->GetPosition();
}

void PacketQueue::Reset()
{
    const Lock lock(mutex);
    packets.clear();
    bytes = 0;
    keyFrameCount = 0;
}

void PacketQueue::Push(const SP<IDataPacket>& packet)
{
    const Lock lock(mutex);
    packets.push_back(packet);
    bytes += packet->GetSize();
    keyFrameCount += packet->IsKeyFrame();
}

SP<IDataPacket> PacketQueue::Pop()
{
    const Lock lock(mutex);
    if (packets.empty())
        Throw<std::logic_error>(TESSOR_HERE, "Pop from an empty queue");
    const SP<IDataPacket> packet = std::move(packets.front());
    packets.pop_front();
    bytes -= packet->GetSize();
    keyFrameCount -= packet->IsKeyFrame();
    return packet;
}

SP<IDataPacket> PacketQueue::Front() const
{
    const Lock lock(mutex);
    return packets.empty() ? nullptr : packets.front();
}

int32_t PacketQueue::Size() const
{
    const Lock lock(mutex);
    return static_cast<int32_t>(packets.size());
}

bool PacketQueue::IsFull() const
{
    const Lock lock(mutex);
    return Size() > maxPackets || bytes > maxBytes;
}

uint32_t PacketQueue::GetKeyFrameCount() const
{
    const Lock lock(mutex);
    return keyFrameCount;
}

bool PacketQueue::IsEnabled() const
{
    const Lock lock(mutex);
    return enabled;
}

void PacketQueue::SetEnabled(bool enable)
{
    const Lock lock(mutex);
    enabled = enable;
    if (!enabled)
        Reset();
}

} // namespace Tessor::Proc
