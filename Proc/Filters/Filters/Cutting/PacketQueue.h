#pragma once

#include "Fnd/Time.h"
#include "media/formats/MediaType.h"
#include "media/items/IDataPacket.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <list>

namespace Tessor::Proc
{

/// A FIFO of compressed packets with size accounting. Thread-safe.
class TESSOR_API PacketQueue
{
public:
    static constexpr int32_t maxPackets = 999999;
    static constexpr int64_t maxBytes = 50000000;

    explicit PacketQueue(MediaType type);
    PacketQueue(const PacketQueue&) = delete;
    PacketQueue& operator=(const PacketQueue&) = delete;
    virtual ~PacketQueue() = default;

    /// With bytes queued, the position of the first queued packet that has one; otherwise NoTime.
    virtual avTime Position() const;
    /// Empties the queue.
    virtual void Reset();

    void Push(const SP<IDataPacket>& packet);
    /// The oldest packet. Throws std::logic_error when there is none.
    SP<IDataPacket> Pop();
    int32_t Size() const;
    /// More than maxPackets packets, or more than maxBytes bytes.
    bool IsFull() const;
    uint32_t GetKeyFrameCount() const;
    bool IsEnabled() const;
    /// Disabling also empties the queue.
    void SetEnabled(bool enable);
    /// False for video and audio, which a reader always waits for.
    bool CanBeEmpty() const { return canBeEmpty; }

protected:
    using Lock = boost::lock_guard<boost::recursive_mutex>;

    /// The oldest packet, which stays; null when there is none.
    SP<IDataPacket> Front() const;
    /// The lock, for operations that must see one state from their begin to their end.
    boost::recursive_mutex& Mutex() const { return mutex; }

private:
    bool enabled = true; // a switch for the owner; the queue itself works either way
    const bool canBeEmpty;
    uint32_t keyFrameCount = 0; // key frames in `packets`
    int64_t bytes = 0;          // sum of the sizes of `packets`
    std::list<SP<IDataPacket>> packets;
    mutable boost::recursive_mutex mutex; // guards all of the above
};

} // namespace Tessor::Proc
