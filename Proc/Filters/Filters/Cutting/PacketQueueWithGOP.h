#pragma once

#include "Proc/Filters/Filters/Cutting/PacketQueue.h"
#include "Proc/StreamTemplates/IStreamRaw.h"

namespace Tessor::Proc
{

/// A queue that reads a group of pictures at a time. The key frame that ends a group is kept aside and starts the next:
///
///     source   K p p p | K p p ...
///     queue    K p p p   K is nextGOPPacket
///
/// A packet without a position never ends a group, key frame or not. A group that the queue can't hold comes in pieces,
/// one a read. Thread-safe.
class TESSOR_API PacketQueueWithGOP : public PacketQueue
{
public:
    using PacketQueue::PacketQueue;

    /// Drops everything; from now on key frames before the limit do not end a group but discard it, so that the first
    /// group delivered is the one that the limit falls into.
    virtual void Reset(avTime limit);
    /// Drops what is queued, and keeps the waiting key frame and the limit.
    virtual void SoftReset();
    /// As in the base; in an empty queue the waiting key frame counts, and the non-const form moves it in.
    virtual avTime Position();
    avTime Position() const override;

    using PacketQueue::Reset;

    /// Reads up to the next key frame, the end of the source or the bounds of the queue. True when there is a packet.
    bool ReadGOP(const SP<IStreamRaw>& source);
    /// Moves the waiting key frame into the queue, or drops it when it lies before the limit.
    void PutBufferToQueue();
    /// Where the group that was read ends: the position of the waiting key frame, otherwise that of the last packet.
    avTime GetEnd() const;
    /// Where the group that was read begins, told alike wherever reading began: the time of its key frame. Its position
    /// is that of the first picture shown, which an open group lacks when the group before was not read.
    avTime GetEntry() const;
    /// The last read stopped because the queue was full: the group goes on in the next one.
    bool IsCutShort() const;
    /// The last read went on with a group that was cut short.
    bool GoesOn() const;

private:
    bool EndsGOP(const SP<IDataPacket>& packet);

    SP<IDataPacket> nextGOPPacket; // the key frame that ended the last read, not yet in the queue
    avTime lastPosition = NoTime;  // the last position seen, the group's end while no key frame waits
    avTime startLimit = NoTime;    // key frames before it discard their group; set by jumps
    bool cutShort = false;         // the last read stopped at the bounds; what it left may be in the next one
    bool goesOn = false;           // what is queued, or was read last, is not the begin of its group
};

} // namespace Tessor::Proc
