#include "Fnd/Exception.h"
#include "ffhost/io/reading/Demuxer.h"
#include "ffhost/io/writing/Muxer.h"
#include "tests/ffhost/Items.h"
#include "tests/ffhost/RawFile.h"
#include "tests/ffhost/Streams.h"
#include "tests/support/Media.h"
#include "tests/support/ScratchFolder.h"

#include <algorithm>
#include <array>
#include <random>

namespace Tessor::Host::Tests
{

using Tessor::Test::ScratchFolder;

namespace
{

/// A track and its packets, written as they are and read by our demuxer.
struct MadeTrack
{
    MadeTrack(AVCodecID codec, MediaType type, int rate) : info(MakeTrack(type, codec, {}, rate)) {}

    void Add(const std::string& bytes, avTime pts, avTime duration)
    {
        const Tessor::Test::Bytes payload(bytes.begin(), bytes.end());
        packets.push_back(Tessor::Test::CreateFakePacket({.pts = pts, .duration = duration, .dts = pts, .key = true},
                                                         info.type, &payload));
    }

    void Write(const std::string& path) const
    {
        const std::unique_ptr<Muxer> muxer = Muxer::Create(path);
        muxer->AddTrack(info, nullptr, false);
        muxer->Open();
        for (const auto& packet : packets)
            muxer->Write(0, packet);
        muxer->Finish();
    }

    /// The first track of a file.
    static MadeTrack Read(const std::string& path)
    {
        const SP<Demuxer> demuxer = Demuxer::Open(path);
        MadeTrack track(demuxer->GetInfo().tracks.at(0));
        if (track.info.type == MediaType::Subtitle)
        {
            demuxer->SelectSparse(0);
            track.packets = demuxer->TakeSparse(0);
        }
        else
            track.packets = ReadItems(*demuxer->GetStream(0));
        track.damaged = demuxer->GetDamage().packets;
        return track;
    }

    TrackInfo info;
    Packets packets;
    long long damaged = 0;

private:
    explicit MadeTrack(const TrackInfo& info) : info(info) {}
};

std::vector<std::string> Payloads(const Packets& packets)
{
    std::vector<std::string> payloads;
    for (const auto& packet : packets)
        payloads.push_back(Payload(*packet));
    return payloads;
}

} // namespace

// Blocks of several frames, as phones write them, with comfort noise and frames without data. What is torn ends its
// block.
TEST(SourceTest, FramesOfAmrComeOneByOne)
{
    // codec and rate; types and sizes of frames
    const std::tuple<AVCodecID, int, std::vector<std::pair<int, size_t>>> rows[] = {
        {AV_CODEC_ID_AMR_NB, 8000, {{0, 13}, {7, 32}, {8, 6}, {15, 1}, {3, 18}}},
        {AV_CODEC_ID_AMR_WB, 16000, {{8, 61}, {0, 18}, {9, 6}, {14, 1}, {15, 1}}}};
    for (const auto& [codec, rate, kinds] : rows)
    {
        SCOPED_TRACE(rate);
        const ScratchFolder folder;
        std::mt19937 random(3);
        MadeTrack source(codec, MediaType::Audio, rate);
        std::vector<std::string> frames;
        for (avTime block = 0; block < 20; ++block)
        {
            std::string bytes;
            for (int i = 0; i < 50; ++i)
            {
                const auto& [type, size] = kinds[random() % kinds.size()];
                frames.push_back(static_cast<char>(type << 3 | 4) + std::string(size - 1, static_cast<char>(random())));
                bytes += frames.back();
            }
            source.Add(bytes, block * 1000000, 1000000);
        }
        // of this block two frames are whole, and after the third comes a type that is none
        source.Add(frames[0] + frames[1] + "\x64" + frames[2], 20000000, 1000000);
        source.Add(frames[0] + frames[1].substr(0, frames[1].size() / 2), 21000000, 1000000);
        source.Write(folder / "blocks.mkv");

        const MadeTrack read = MadeTrack::Read(folder / "blocks.mkv");
        frames.insert(frames.end(), {frames[0], frames[1], frames[0]});
        EXPECT_EQ(Payloads(read.packets), frames);
        EXPECT_EQ(read.damaged, frames[1].size() > 1 ? 2 : 1);
        EXPECT_EQ(read.packets.at(999)->GetPTS(), 999 * 20000);
        read.Write(folder / "frames.3gp");
        EXPECT_EQ(Payloads(ReadRawFile(folder / "frames.3gp").tracks.at(0).packets), frames);
    }
}

// Several packets of a display set go under one time; the wrapper that libavformat leaves on all but the first must not
// stay on them. Segments are alike in every container.
TEST(SourceTest, SegmentsOfDvbSubtitlesStayAsTheyWere)
{
    const ScratchFolder folder;
    MadeTrack source(AV_CODEC_ID_DVB_SUBTITLE, MediaType::Subtitle, 0);
    for (const avTime time : {1000000, 3000000})
        for (int i = 0; i < 4; ++i)
            source.Add(std::string("\x0F\x10\0\x01\0\x05", 6) + std::string(5, static_cast<char>('a' + i)), time, 0);
    const std::vector<std::string> segments = Payloads(source.packets);
    std::string from = folder / "0.ts";
    source.Write(from);
    int number = 0;
    for (const char* extension : {".ts", ".mkv", ".ts"})
    {
        const MadeTrack read = MadeTrack::Read(from);
        SCOPED_TRACE(from);
        EXPECT_EQ(Payloads(read.packets), segments);
        ASSERT_FALSE(read.packets.empty());
        EXPECT_EQ(read.packets[0]->GetPTS(), read.packets[3 % read.packets.size()]->GetPTS());
        from = folder / (std::to_string(++number) + extension);
        read.Write(from);
    }
    EXPECT_EQ(Payloads(MadeTrack::Read(from).packets), segments);
}

// Matroska has no decoding times, and libavformat's guess is late beside a track that reorders more pictures.
TEST(SourceTest, NothingIsDecodedAfterItIsShown)
{
    const ScratchFolder scratch;
    const std::unique_ptr<Muxer> muxer = Muxer::Create(scratch / "two.mkv");
    std::vector<Packets> sources;
    for (const char* name : {"h264.mp4", "mpeg4.mp4"})
    {
        const SP<Demuxer> demuxer = Demuxer::Open(Tessor::Test::ClipPath(name));
        muxer->AddTrack(demuxer->GetInfo().tracks.at(0), nullptr, false);
        sources.push_back(ReadItems(*demuxer->GetStream(0)));
    }
    muxer->Open();
    for (size_t i = 0; i < std::max(sources[0].size(), sources[1].size()); ++i)
        for (const int track : {0, 1})
            if (i < sources[track].size())
                muxer->Write(track, sources[track][i]);
    muxer->Finish();

    const SP<Demuxer> demuxer = Demuxer::Open(scratch / "two.mkv");
    const std::array streams{demuxer->GetStream(0), demuxer->GetStream(1)};
    for (avTime target = 0; target < 3 * SECOND; target += 300 * MILLISECOND)
    {
        for (const auto& stream : streams)
            stream->RequestSeek(target, nullptr);
        for (const auto& stream : streams)
            stream->DoSeek();
        for (const auto& stream : streams)
            for (const auto& packet : ReadItems(*stream))
                EXPECT_LE(packet->GetDTS(), packet->GetPTS()) << T2S(target);
    }
}

// An error code of FFmpeg alone tells nobody anything.
TEST(SourceTest, FailuresTellTheirCause)
{
    const ScratchFolder folder;
    MadeTrack blocks(AV_CODEC_ID_AMR_NB, MediaType::Audio, 8000);
    blocks.Add(std::string("\x04") + std::string(12, 'x') + "\x04" + std::string(12, 'x'), 0, 40000);
    const std::string cause = Tessor::Test::TextOf<Core::IOException>([&] { blocks.Write(folder / "x.3gp"); });
    EXPECT_NE(cause.find("single packet"), std::string::npos) << cause;
}

} // namespace Tessor::Host::Tests
