#pragma once

#include "ffhost/bitstream/H264EntryRepair.h"
#include "ffhost/io/Container.h"
#include "ffhost/io/StandardStreams.h"
#include "ffhost/io/writing/CountedPictures.h"
#include "ffhost/io/writing/DtsRepair.h"
#include "ffhost/io/writing/FileHeader.h"
#include "ffhost/io/writing/Interleaver.h"
#include "ffhost/io/writing/Muxer.h"
#include "ffhost/io/writing/OutputFile.h"
#include "ffhost/io/writing/ProgramStream.h"
#include "ffhost/io/writing/TrackStages.h"

#include <deque>
#include <optional>

namespace Tessor::Host
{

/// The muxer over libavformat, and over our own for program streams. A packet's way: repair of entries, ticks of the
/// container, repair of decoding times, interleaving, the common shift, what TrackStages puts in for the container.
///
/// The header is written when the first packet of every track is known, for the shift moves the chapters too.
class MuxerFF final : public Muxer, private IPacketSink
{
public:
    MuxerFF(const std::string& path, const MuxerSettings& settings);
    ~MuxerFF() override;

    std::string GetPath() const override { return NameOutput(path); }
    bool CanCarry(const TrackInfo& track) const override;
    Proc::SettingsFilterBitStream::StreamFormat GetFraming(const TrackInfo& track) const override;
    bool IsByteStream() const override { return container.IsByteStream(); }
    int AddTrack(const TrackInfo& source, const SP<Conf::IFormatCodec>& format, bool sparse) override;
    void SetTags(const Tags& newTags) override { header.SetTags(newTags); }
    void SetChapters(const std::vector<ChapterInfo>& newChapters) override { header.SetChapters(newChapters); }
    void Open() override;
    void Write(int track, const SP<Proc::IDataPacket>& packet) override;
    void EndTrack(int track) override;
    void Finish() override;
    std::vector<avTime> GetExposed(int track) const override;
    std::vector<std::string> GetLosses() const override;

private:
    void Hand(AVPacket& packet) override;
    void Flush() override;
    void Refuse(const std::string& cause) override;

    struct Track
    {
        TrackInfo source;
        std::shared_ptr<const AVCodecParameters> parameters; // what the container is told
        std::optional<H264EntryRepair> entries;              // of H.264 tracks
        std::optional<CountedPictures> pictures;             // before the repair, where the container counts them
        DtsRepair repair;
        bool sparse;
        avTime delay = 0;                         // added to its times, on top of the common shift
        AVRational ticks = {};                    // of its packets from Open on, see IsCountedSound
        std::unique_ptr<PacketStage> stages = {}; // from Open on: its packets' way after the common shift
        bool ended = false;
        std::vector<avTime> exposed = {}; // times of packets that are decoded only, where that can't be told
    };

    bool IsAttached(const TrackInfo& cover) const;
    TrackInfo MakeAttachment(const TrackInfo& cover) const;
    Track MakeTrack(const TrackInfo& source, const SP<Conf::IFormatCodec>& format, bool sparse) const;
    void Hide(Track& track, AVPacket& packet, avTime time) const;
    static PacketPtr ToTicks(const Proc::IDataPacket& packet, const Track& track);
    void Settle(int track);
    void Drain();
    void Start(const AVPacket& first);
    void WriteHeader();
    void WriteOut(PacketPtr packet);
    void FillUp();
    void BringIndexForward();
    Track& TrackOf(const AVPacket& packet) { return tracks[static_cast<size_t>(packet.stream_index)]; }
    template <class Call>
    void Run(const std::string& what, Call call) const;

    const std::string path;
    const MuxerSettings settings;
    const Container container;
    FileHeader header; // of tracks, tags and chapters as they are added, until it is written
    std::deque<Track> tracks;
    std::unique_ptr<OutputFile> file;     // from Open on
    FileHeader::ContextPtr context;       // from Open on
    std::optional<ProgramStream> program; // from Open on, where it is ours to write
    Interleaver interleaver;              // knows the tracks from Open on
    avTime earliest = 0;                  // lowest presentation time below 0 until the start, sparse tracks apart
    std::optional<avTime> grid;           // by what pictures that are counted have moved to lie on their ticks
    avTime shift = 0;                     // added to all times; settled at the start
    bool started = false;                 // the header is written
};

} // namespace Tessor::Host
