#include "Proc/Filters/Filters/Cutting/PacketQueueWithGOP.h"

#include <glog/logging.h>

namespace Tessor::Proc
{

void PacketQueueWithGOP::Reset(avTime limit)
{
    const Lock lock(Mutex());
    startLimit = limit;
    nextGOPPacket.reset();
    lastPosition = NoTime;
    cutShort = goesOn = false;
    SoftReset();
}

void PacketQueueWithGOP::SoftReset()
{
    const Lock lock(Mutex());
    PacketQueue::Reset();
}

avTime PacketQueueWithGOP::Position()
{
    const Lock lock(Mutex());
    if (Size() == 0)
        PutBufferToQueue();
    return PacketQueue::Position();
}

avTime PacketQueueWithGOP::Position() const
{
    const Lock lock(Mutex());
    // what moving it in would give; a packet without bytes has no position in a queue
    const bool waits = Size() == 0 && nextGOPPacket && nextGOPPacket->GetSize() > 0;
    if (waits && nextGOPPacket->GetPosition() >= startLimit)
        return nextGOPPacket->GetPosition();
    return PacketQueue::Position();
}

bool PacketQueueWithGOP::ReadGOP(const SP<IStreamRaw>& source)
{
    const Lock lock(Mutex());
    PutBufferToQueue();
    while (!IsFull())
    {
        const SP<IDataPacket> packet = source->Read();
        if (!packet || EndsGOP(packet))
            break;
        if (Size() == 0)
            goesOn = cutShort && !packet->IsKeyFrame();
        Push(packet);
    }
    cutShort = IsFull();
    VLOG(31) << "GOP: " << Size() << " packets";
    return Size() >= 1;
}

bool PacketQueueWithGOP::EndsGOP(const SP<IDataPacket>& packet)
{
    const avTime position = packet->GetPosition();
    if (position == NoTime)
        return false;
    lastPosition = position;
    if (!packet->IsKeyFrame() || Size() == 0)
        return false;
    // where stamps step back, the queued group may lie after the limit already
    if (position >= startLimit || PacketQueue::Position() >= startLimit)
    {
        nextGOPPacket = packet;
        return true;
    }
    SoftReset(); // all that is queued lies before the wanted part
    VLOG(31) << "GOP reset\n";
    return false;
}

void PacketQueueWithGOP::PutBufferToQueue()
{
    const Lock lock(Mutex());
    if (!nextGOPPacket)
        return;
    lastPosition = nextGOPPacket->GetPosition();
    if (lastPosition >= startLimit)
        Push(nextGOPPacket);
    else
        lastPosition = NoTime;
    nextGOPPacket.reset();
    goesOn = false;
}

avTime PacketQueueWithGOP::GetEnd() const
{
    const Lock lock(Mutex());
    const avTime next = nextGOPPacket ? nextGOPPacket->GetPosition() : NoTime;
    return next != NoTime ? next : lastPosition;
}

avTime PacketQueueWithGOP::GetEntry() const
{
    const Lock lock(Mutex());
    const SP<IDataPacket> first = Front();
    return first && first->IsKeyFrame() && first->GetPTS() != NoTime ? first->GetPTS() : PacketQueue::Position();
}

bool PacketQueueWithGOP::IsCutShort() const
{
    const Lock lock(Mutex());
    return cutShort;
}

bool PacketQueueWithGOP::GoesOn() const
{
    const Lock lock(Mutex());
    return goesOn;
}

} // namespace Tessor::Proc
