#include "ffhost/io/Muxer.h"
#include "Fnd/Exception.h"
#include "ffhost/io/FramedTrack.h"
#include "tests/ffhost/RawFile.h"
#include "tests/ffhost/Streams.h"
#include "tests/support/Media.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <map>

namespace Tessor::Host::Tests
{

using Proc::IDataPacket;
using Tessor::Test::ClipPath;
using Tessor::Test::ScratchFolder;

namespace
{

/// Copies the tracks of a file that the container carries; returns their numbers in the source.
std::vector<int> CopyInto(const RawFile& source, const std::string& target)
{
    const std::unique_ptr<Muxer> muxer = Muxer::Create(target);
    std::map<int, int> numbers;
    std::map<int, FramedTrack> framed;
    std::vector<int> carried;
    for (const RawFile::Track& track : source.tracks)
    {
        if (track.info.type == MediaType::None || track.packets.empty() || !muxer->CanCarry(track.info))
            continue;
        const SP<Proc::IStreamRaw> packets(new PacketList(track.info.format, track.packets));
        const FramedTrack& ready =
            framed.emplace(track.info.index, FramedTrack(packets, track.info.format, *muxer, track.info)).first->second;
        numbers[track.info.index] =
            muxer->AddTrack(track.info, ready.GetFormatCodec(), track.info.type == MediaType::Subtitle);
        carried.push_back(track.info.index);
    }
    if (carried.empty())
        return carried;
    muxer->Open();
    for (const auto& [index, packet] : source.order)
        if (numbers.count(index))
            muxer->Write(numbers[index], framed.at(index).Read());
    muxer->Finish();
    return carried;
}

std::string Payload(const IDataPacket& packet)
{
    return std::string(reinterpret_cast<const char*>(packet.GetData()), static_cast<size_t>(packet.GetSize()));
}

std::vector<avTime> SortedTimes(const std::vector<SP<IDataPacket>>& packets)
{
    std::vector<avTime> times;
    for (const auto& packet : packets)
        times.push_back(packet->GetPTS());
    std::sort(times.begin(), times.end());
    return times;
}

} // namespace

struct CopyCase
{
    const char* clip;
    const char* extension;
    const char* codecs;      // of the tracks that must arrive
    avTime tick;             // the tolerance of times, microseconds; 0 where the reader makes them up
    bool samePayload = true; // false where the container's framing differs from the source's
};

using MuxerCopyTest = testing::TestWithParam<CopyCase>;

TEST_P(MuxerCopyTest, KeepsPacketsAndTimes)
{
    const CopyCase& c = GetParam();
    TESSOR_SKIP_WITHOUT(c.clip);
    const ScratchFolder folder;
    const std::string target = folder / (std::string("copy.") + c.extension);
    const RawFile source = ReadRawFile(ClipPath(c.clip));
    const std::vector<int> carried = CopyInto(source, target);
    EXPECT_EQ(folder.List(), std::vector<std::string>{std::string("copy.") + c.extension});

    const RawFile copy = ReadRawFile(target);
    ASSERT_EQ(copy.tracks.size(), carried.size());
    std::string codecs;
    std::optional<avTime> shift; // one for all tracks
    for (size_t i = 0; i < carried.size(); ++i)
    {
        const RawFile::Track& before = source.tracks[static_cast<size_t>(carried[i])];
        const RawFile::Track& after = copy.tracks[i];
        codecs += (codecs.empty() ? "" : " ") + after.info.codecName;
        SCOPED_TRACE(before.info.codecName);
        ASSERT_EQ(before.packets.size(), after.packets.size());
        const std::vector<avTime> was = SortedTimes(before.packets), is = SortedTimes(after.packets);
        if (!shift)
            shift = SubTime(is[0], was[0]);
        avTime lastDts = NoTime;
        for (size_t k = 0; k < was.size(); ++k)
        {
            EXPECT_EQ(before.packets[k]->IsKeyFrame(), after.packets[k]->IsKeyFrame()) << "packet " << k;
            if (c.samePayload)
            {
                EXPECT_EQ(Payload(*before.packets[k]), Payload(*after.packets[k])) << "packet " << k;
            }
            if (!c.tick)
                continue;
            EXPECT_NEAR(SubTime(is[k], was[k]), *shift, c.tick) << "packet " << k;
            const avTime dts = after.packets[k]->GetDTS(); // Matroska has none
            EXPECT_TRUE(dts == NoTime || lastDts < dts) << "packet " << k;
            lastDts = dts;
        }
    }
    EXPECT_EQ(codecs, c.codecs);
}

INSTANTIATE_TEST_SUITE_P(
    Clips, MuxerCopyTest,
    testing::Values(
        CopyCase{"h264-high-closedgop-bframes-aac.mp4", "mp4", "h264 aac", 1},
        CopyCase{"h264-high-closedgop-bframes-aac.mp4", "mkv", "h264 aac", 1001},
        CopyCase{"h264-high-annexb-aac.ts", "mp4", "h264 aac", 12, false},
        CopyCase{"h264-high-annexb-aac.ts", "ts", "h264 aac", 50}, CopyCase{"h264-vfr-screen.mp4", "mp4", "h264", 1},
        CopyCase{"h264-editlist-start1s-aac.mp4", "mp4", "h264 aac", 1},
        CopyCase{"h264-rotated90-iphone-aac.mov", "mov", "h264 aac", 1},
        CopyCase{"h264-opengop-bpyramid-synth.mp4", "ts", "h264 aac", 50, false},
        CopyCase{"h264-subs-ass-ac3.mkv", "mkv", "h264 ac3 ass", 1001},
        CopyCase{"h264-subs-ass-ac3.mkv", "mp4", "h264 ac3", 1001},
        CopyCase{"h264-subs-pgs-ac3.mkv", "mkv", "h264 ac3 hdmv_pgs_subtitle", 1001},
        CopyCase{"hevc-hvc1-main10-hdr10-aac.mp4", "mkv", "hevc aac", 1001},
        CopyCase{"hevc-annexb-aac.ts", "ts", "hevc aac", 50, false}, CopyCase{"h263-amr.3gp", "3gp", "h263 amr_nb", 1},
        CopyCase{"mpeg4sp-85s-aac.mov", "mp4", "mpeg4 aac", 1}, CopyCase{"mpeg4sp-mp3.avi", "avi", "mpeg4 mp3", 42000},
        CopyCase{"mpeg1-es-nasa.mpg", "mpg", "mpeg1video", 0},
        CopyCase{"mpeg2-576i-ac3-synth.vob", "vob", "mpeg2video ac3", 0},
        CopyCase{"mpeg2-mp2.m2ts", "m2ts", "mpeg2video mp2", 50},
        CopyCase{"theora-vorbis.ogv", "ogv", "theora vorbis", 25},
        CopyCase{"theora-vorbis.ogv", "mkv", "theora vorbis", 1001}, CopyCase{"vp8-alpha.webm", "webm", "vp8", 1001},
        CopyCase{"vp9-opus.webm", "mp4", "vp9 opus", 1001},
        CopyCase{"wmv2-wmav2-letterbox.wmv", "wmv", "wmv2 wmav2", 1001}, CopyCase{"aac-lc-48k.aac", "aac", "aac", 0},
        CopyCase{"mp3-vbr-xing.mp3", "mp3", "mp3", 0}, CopyCase{"pcm-s24le.wav", "wav", "pcm_s24le", 1}),
    [](const auto& info)
    { return Tessor::Test::ToTestName(std::string(info.param.clip) + "_to_" + info.param.extension); });

/// One track of a clip, with times that are not the clip's.
struct RetimedCase
{
    const char* why;
    const char* clip;
    size_t track;
    const char* extension;
    size_t dropped;   // packets in front
    avTime length;    // of a packet, which gets new times without gaps; 0 keeps those of the clip
    avTime gap, tick; // in the middle; the tolerance
};

// What follows a gap must not be taken to abut, and nothing be moved to where counting or guessing would put it.
TEST(MuxerTest, EveryPacketKeepsItsTime)
{
    const RetimedCase rows[] = {
        {"frames in front are counted too", "mpeg4sp-mp3.avi", 0, "avi", 10, 0, 0, 1},
        {"pictures so small that a pack holds several", "mpeg1-es-nasa.mpg", 0, "mpg", 0, 33367, 0, 12},
        {"sound behind a gap", "mpeg2-mp2.m2ts", 1, "ts", 0, 0, 15000, 50},
        {"sound in pages behind a gap", "theora-vorbis.ogv", 1, "ogg", 0, 0, 15000, 25},
        {"pictures in pages behind a gap", "theora-vorbis.ogv", 0, "ogv", 0, 0, 100100, 25},
    };
    for (const RetimedCase& row : rows)
    {
        SCOPED_TRACE(row.why);
        TESSOR_SKIP_WITHOUT(row.clip);
        const ScratchFolder folder;
        const std::string target = folder / (std::string("x.") + row.extension);
        RawFile::Track track = ReadRawFile(ClipPath(row.clip)).tracks.at(row.track);
        track.packets.erase(track.packets.begin(), track.packets.begin() + static_cast<int>(row.dropped));
        const std::unique_ptr<Muxer> muxer = Muxer::Create(target);
        muxer->AddTrack(track.info, nullptr, false);
        muxer->Open();
        avTime next = 0;
        for (size_t i = 0; i < track.packets.size(); ++i)
        {
            IDataPacket& packet = *track.packets[i];
            const avTime gap = i > track.packets.size() / 2 ? row.gap : 0;
            packet.SetPTS((row.length ? next += row.length : packet.GetPTS()) + gap);
            if (row.length || gap)
                packet.SetDTS(packet.GetPTS());
            muxer->Write(0, track.packets[i]);
        }
        muxer->Finish();

        const RawFile::Track copy = ReadRawFile(target).tracks.at(0);
        ASSERT_EQ(copy.packets.size(), track.packets.size());
        const avTime shift = row.dropped ? 0 : copy.packets[0]->GetPTS() - track.packets[0]->GetPTS();
        for (size_t i = 0; i < copy.packets.size(); ++i)
            EXPECT_NEAR(copy.packets[i]->GetPTS() - track.packets[i]->GetPTS(), shift, row.tick) << "packet " << i;
    }
}

// libavformat would write these, but nobody could play them.
TEST(MuxerTest, RefusesWhatReadersCannotPlay)
{
    const struct
    {
        const char* clip;
        size_t track;
        const char* extension;
        bool carried;
    } rows[] = {
        {"h264-high-closedgop-bframes-aac.mp4", 0, "wmv", false},
        {"h264-high-closedgop-bframes-aac.mp4", 0, "avi", true},
        {"h264-high-closedgop-bframes-aac.mp4", 1, "avi", false},
        {"h264-high-closedgop-bframes-aac.mp4", 1, "vob", false},
        {"theora-vorbis.ogv", 1, "avi", false},
        {"pcm-s24le.wav", 0, "ts", false},
        {"pcm-s24le.wav", 0, "avi", true},
    };
    for (const auto& row : rows)
    {
        TESSOR_SKIP_WITHOUT(row.clip);
        const RawFile source = ReadRawFile(ClipPath(row.clip));
        const std::unique_ptr<Muxer> muxer = Muxer::Create(std::string("x.") + row.extension);
        EXPECT_EQ(muxer->CanCarry(source.tracks.at(row.track).info), row.carried) << row.clip << " " << row.extension;
    }
}

// A reader puts the length of a block into the track's parameters; sound must survive a second copy of the file.
TEST(MuxerTest, ACopyOfACopyKeepsTheTimesOfSoundInAvi)
{
    TESSOR_SKIP_WITHOUT("h264-letterbox-sintel-mp3.mp4");
    const ScratchFolder folder;
    CopyInto(ReadRawFile(ClipPath("h264-letterbox-sintel-mp3.mp4")), folder / "first.avi");
    const RawFile first = ReadRawFile(folder / "first.avi");
    CopyInto(first, folder / "second.avi");
    const RawFile second = ReadRawFile(folder / "second.avi");
    ASSERT_EQ(second.tracks.size(), 2u);
    EXPECT_GT(first.tracks[1].packets.size(), 50u);
    EXPECT_EQ(SortedTimes(second.tracks[1].packets), SortedTimes(first.tracks[1].packets));
}

TEST(MuxerTest, ReadersKnowAnySoundOfAShortPieceNamedAsBluRay)
{
    TESSOR_SKIP_WITHOUT("mpeg2-mp2.m2ts");
    const ScratchFolder folder;
    RawFile source = ReadRawFile(ClipPath("mpeg2-mp2.m2ts"));
    source.order.resize(8);
    CopyInto(source, folder / "short.m2ts");
    const RawFile copy = ReadRawFile(folder / "short.m2ts");
    ASSERT_EQ(copy.tracks.size(), 2u);
    EXPECT_EQ(copy.tracks[1].info.type, MediaType::Audio);
}

} // namespace Tessor::Host::Tests
