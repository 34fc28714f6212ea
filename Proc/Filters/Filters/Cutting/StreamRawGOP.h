#pragma once

#include "Proc/Filters/Filters/Cutting/PacketQueueWithGOP.h"

#include <vector>

namespace Tessor::Proc
{

/// Plays one group of pictures from memory. A seek always goes to its first packet. The packets are handed out as they
/// were queued, not cloned: sources attach data to them that decoders look for. Used by one thread at a time.
class TESSOR_API StreamRawGOP final : public virtual IStreamRaw, public RefCountImpl
{
public:
    /// Takes all packets out of the queue; the key frame that waits there stays. The source only answers for format,
    /// statistics and kind. Throws FilterException "Queue hasn't packets" for an empty queue.
    StreamRawGOP(const SP<IStreamRaw>& source, PacketQueueWithGOP& queue);

    /// Where the group ends: a position, not a length.
    avTime GetDuration() const override { return endTime; }
    /// The first time known from the first packet on, PTS before DTS, wherever the reader stands.
    avTime GetPosition() override;
    const IDataPacket& GetFirst() const { return *packets.front(); }
    /// The first position known, NoTime when there is none.
    avTime GetStart() const { return startTime; }
    /// Leaves out the packets at the end of which nothing is needed to show what lies outside of [start, end), in which
    /// the group ends. The first picture in there stays: it tells how long the one before it is shown.
    void LeaveOutTail(avTime start, avTime end);
    /// From now on packets but the first go from memory once they are handed out: who has begun to read can't go back.
    void LetGo();

private:
    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override { return Core::Property(); }
    SP<IData> ReadStream() override { return Read(); }
    void RequestSeek(avTime target, SP<IStream> partner) override;
    void DoSeek() override;
    bool GetSeekResult() override { return true; }
    Core::Property GetStatistic() const override;
    void Terminate() override { source->Terminate(); }
    bool IsTerminated() const override { return source->IsTerminated(); }
    void ReleaseInternalData() override { source->ReleaseInternalData(); }
    void Accept(IStreamVisitor& visitor) override;
    SP<IDataPacket> Read() override;
    MediaType GetMediaType() const override { return source->GetMediaType(); }
    SP<Conf::IFormatCodec> GetFormatCodec() const override { return source->GetFormatCodec(); }

    const SP<IStreamRaw> source;
    uint64_t readIndex = 0; // the next packet to hand out; seeks set it back
    std::vector<SP<IDataPacket>> packets;
    bool lettingGo = false;    // those before readIndex, but the first, are null
    avTime shownTime = NoTime; // GetPosition's, from then on
    avTime startTime = NoTime;
    avTime endTime = NoTime;
    std::vector<SP<IStream>> seekers; // who asked for a seek since the last DoSeek, the latest first
};

} // namespace Tessor::Proc
