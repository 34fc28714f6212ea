#pragma once

#include "Proc/Filters/Filters/FilterCutController.h"
#include "Proc/Filters/Filters/PacketQueueWithGOP.h"
#include "Proc/Filters/Filters/RecodeSearch.h"
#include "Proc/Filters/Filters/SaveThread.h"
#include "Proc/StreamTemplates/IStreamCutInterval.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/StreamImpl.h"
#include "host/ICodecFactory.h"

#include <atomic>
#include <deque>

namespace Tessor::Proc
{

/// The cut stream for compressed packets. It takes time out of a stream without decoding it, a group of pictures at a
/// time:
///
///     kept      |K p p p|K p p p|            passes as it is, only moved in time
///     deleted   |///////|///////|            is dropped, with a jump over it where that pays
///     cut       |K p/////|                   is re-encoded, and only this group; without an encoder it is kept whole
///                                            and the cut moves to its edge for all streams of the file
///
/// Only video is ever re-encoded; packets of other kinds are cut one by one by their time.
///
/// Threads: one thread reads and seeks; during a jump over a long deleted stretch a helper thread reads as well.
class TESSOR_API FilterCutControllerStreamRawImpl final : public virtual IStreamCutInterval,
                                                          public StreamImpl<IStreamRaw, IStreamRaw>,
                                                          public RefCountImpl
{
public:
    /// Searches for an encoder that can stand in for the source's, which reads packets from the source. Throws
    /// Core::NotEnoughResource when the encoder is there but busy: the caller may try again later.
    FilterCutControllerStreamRawImpl(const SP<IStreamRaw>& source, const SP<FilterCutController>& controller,
                                     const SP<ICodecFactory>& factory);
    ~FilterCutControllerStreamRawImpl() override;

    /// True when cuts are exact: the stream can re-encode, or needs no key frames.
    bool CanCutAnywhere() const;

private:
    using Lock = boost::lock_guard<boost::recursive_mutex>;

    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override { return Core::Property(); }
    avTime GetDuration() const override { return controller->Source2Result(parentStream->GetDuration()); }
    SP<Conf::IFormatCodec> GetFormatCodec() const override;
    Core::Property GetStatistic() const override;
    MediaType GetMediaType() const override { return parentStream->GetMediaType(); }

    avTime GetSourcePosition() override { return parentStream->GetPosition(); }
    void SavePacketsBeforeSeek(avTime start, avTime end) override;
    void WaitForSeek() override { saveThread.Wait(); }
    bool IsRawStream() override { return true; }
    bool KeyframeSeek() override { return !CanCutAnywhere(); }

    void AcceptInternal(IStreamVisitor& visitor) override;
    SP<IDataPacket> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;
    void DoSeekInternal() override { parentStream->DoSeek(); }

    /// Who handles a group: a jump follows what the reader returns, and not what the helper thread does.
    enum class Caller
    {
        Reader,
        Helper,
    };

    void UpdateFormatCodec(Conf::IFormatCodec& format) const;
    SP<IDataPacket> ReadPacket();
    SP<IDataPacket> TakeOutput();
    SP<IDataPacket> ReadUncut();
    /// Reads one group and does with it what the cut demands; finished packets go to outputPackets. Returns where to
    /// jump from, or NoTime. `sought`: the last thing done was a seek, and it has not yielded a kept group yet.
    avTime GetNextSeekPositionAfterGOP(bool& sought, Caller caller);
    avTime DropGOP(avTime gopStart, bool& sought, Caller caller);
    void PassGOP();
    SP<IDataPacket> AddPacketHeader(const SP<IDataPacket>& packet) const;
    void RecodeGOP();
    void SavePacketsBeforeSeek_thread(avTime start, avTime end);
    bool SaveGOP(avTime start);

    const SP<FilterCutController> controller;
    const SP<ICodecFactory> codecFactory;
    const RecodeAbility ability; // what the search in the constructor found
    const bool video;
    bool eof = false;                          // nothing can follow; valid within one read
    boost::recursive_mutex mutex;              // guards reading, outputPackets and both flags against the helper
    bool seekRequested = false;                // `sought` across reads: a seek came since the last kept group
    std::deque<SP<IDataPacket>> outputPackets; // finished packets waiting to be read; they survive a seek
    PacketQueueWithGOP queue{MediaType::None}; // the group at work, and the key frame of the next one
    std::atomic<uint64_t> packetsOut{0};       // for statistics
    std::atomic<uint64_t> recodedPackets{0};   // for statistics
    SaveThread saveThread;                     // the last member: it works on all others
};

} // namespace Tessor::Proc
