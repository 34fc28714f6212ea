#pragma once

#include "ffhost/io/Container.h"
#include "ffhost/io/DtsRepair.h"
#include "ffhost/io/H264EntryRepair.h"
#include "ffhost/io/H264Framing.h"
#include "ffhost/io/Interleaver.h"
#include "ffhost/io/Muxer.h"
#include "ffhost/io/OutputFile.h"
#include "ffhost/io/SampleAligner.h"

#include <deque>
#include <optional>

namespace Tessor::Host
{

/// The muxer over libavformat. A packet's way: framing, ticks of the container, repair of decoding times, interleaving,
/// the common shift, the container.
///
/// The header is written when the first packet of every track is known, for the shift moves the chapters too.
class MuxerFF final : public Muxer
{
public:
    explicit MuxerFF(const std::string& path);
    ~MuxerFF() override;

    bool CanCarry(const TrackInfo& track) const override;
    int AddTrack(const TrackInfo& source, const SP<Conf::IFormatCodec>& format, bool sparse) override;
    void SetTags(const Tags& newTags) override { tags = newTags; }
    void SetChapters(const std::vector<ChapterInfo>& newChapters) override { chapters = newChapters; }
    void Open() override;
    void Write(int track, const SP<Proc::IDataPacket>& packet) override;
    void EndTrack(int track) override;
    void Finish() override;
    std::vector<std::string> GetLosses() const override;

private:
    struct ContextDeleter
    {
        void operator()(AVFormatContext* context) const { avformat_free_context(context); }
    };
    using ContextPtr = std::unique_ptr<AVFormatContext, ContextDeleter>;

    struct Track
    {
        TrackInfo source;
        std::shared_ptr<const AVCodecParameters> parameters; // what the container is told
        std::optional<H264EntryRepair> entries;              // of H.264 tracks
        std::optional<H264Framing> framing;                  // of H.264 tracks
        std::optional<SampleAligner> samples;                // of plain sound, where the container counts its samples
        DtsRepair repair;
        bool sparse;
        avTime delay = 0; // added to its times, on top of the common shift
        bool ended = false;
        bool written = false;            // a packet has been handed to the container
        std::optional<int64_t> end = {}; // of the last packet of sound, in ticks, where packets share times
        long long damaged = 0;           // packets that could not be framed, and were left out
    };

    Track MakeTrack(const TrackInfo& source, const SP<Conf::IFormatCodec>& format, bool sparse) const;
    ContextPtr MakeContext() const;
    void AddStream(AVFormatContext& target, const Track& track) const;
    /// The ticks that libavformat's muxer chose for each track; empty when it does not take the header.
    std::vector<AVRational> TryHeader(ContextPtr trial) const;
    int GetVideoTimescale() const;

    void Queue(int number, const Proc::IDataPacket& packet);
    PacketPtr ToTicks(const Proc::IDataPacket& packet, int number) const;
    void Settle(int track);
    void Drain();
    void Start(const AVPacket& first);
    void WriteHeader();
    void AddChapters();
    void WriteOut(PacketPtr packet);
    void FillStart(const AVPacket& first);
    void KeepApart(const AVPacket& packet);
    void Check(int result) const;

    const std::string path;
    const Container container;
    Tags tags;
    std::vector<ChapterInfo> chapters;
    std::deque<Track> tracks;
    std::unique_ptr<OutputFile> file; // from Open on
    ContextPtr context;               // from Open on
    Interleaver interleaver;          // knows the tracks from Open on
    avTime earliest = 0;              // lowest presentation time below 0 until the start, sparse tracks apart
    avTime shift = 0;                 // added to all times; settled at the start
    bool started = false;             // the header is written
};

} // namespace Tessor::Host
