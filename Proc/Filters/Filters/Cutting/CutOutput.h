#pragma once

#include "Proc/Filters/Filters/Cutting/CutShare.h"
#include "media/items/IDataPacket.h"

#include <atomic>
#include <deque>
#include <functional>
#include <future>
#include <stop_token>
#include <vector>

namespace Tessor::Proc
{

/// What a compressed cut stream has finished and not yet handed out, in its order. Groups may be at work on threads of
/// their own: their packets come when they are done, and what follows waits for them. How far the reader goes ahead
/// depends on what it has read, never on how fast they are, so that all is the same on every run.
///
/// Threads: one at a time calls. The destructor has groups at work end early, and waits for them.
class TESSOR_API CutOutput
{
public:
    using Packets = std::vector<SP<IDataPacket>>;
    /// Encodes a group; its result is of no use once a stop is requested.
    using Encode = std::function<Packets(const std::stop_token&)>;

    explicit CutOutput(const EncodeAhead& limits) : limits(limits) {}
    CutOutput(const CutOutput&) = delete;
    CutOutput& operator=(const CutOutput&) = delete;
    ~CutOutput() { stop.request_stop(); }

    void Add(const SP<IDataPacket>& packet);
    /// Adds a group. Where groups are encoded one by one it is encoded here, and exceptions come from here; otherwise
    /// they come from Take, in the place of its packets.
    void AddGroup(Encode encode);

    /// The next packet, once the group that it comes of is done; null where there is none. A group that failed is gone.
    SP<IDataPacket> Take();
    /// Whether more is to be added before the next packet is taken: a group is worked at, and others may be meanwhile.
    bool WantsMore() const;
    bool IsEmpty() const { return parts.empty(); }
    /// Packets of groups that were encoded.
    uint64_t GetEncodedCount() const { return encodedCount; }

private:
    /// A packet, or a group that is encoded.
    struct Part
    {
        SP<IDataPacket> packet = nullptr;
        std::future<Packets> group = {};
    };

    void PutInFront(const Packets& packets);
    void Note(const IDataPacket& packet);
    size_t CountGroups() const;
    void WaitForThread() const;

    const EncodeAhead limits;
    std::stop_source stop;
    std::deque<Part> parts;
    size_t waitingBytes = 0;               // of the packets among the parts
    std::atomic<uint64_t> encodedCount{0}; // for statistics, which anybody may ask for
};

} // namespace Tessor::Proc
