#include "ffhost/io/writing/Muxer.h"
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "ffhost/io/writing/FramedTrack.h"
#include "tests/ffhost/RawFile.h"
#include "tests/ffhost/Streams.h"
#include "tests/support/Media.h"
#include "tests/support/ScratchFolder.h"

extern "C"
{
#include <libavutil/mastering_display_metadata.h>
}

#include <map>

namespace Tessor::Host::Tests
{

using Proc::IDataPacket;
using Tessor::Test::ClipPath;
using Tessor::Test::ScratchFolder;

namespace
{

FramedTrack Frame(const RawFile::Track& track, const Muxer& muxer)
{
    const SP<Proc::IStreamRaw> packets(new PacketList(track.info.format, track.packets));
    return FramedTrack(packets, track.info.format, muxer, track.info);
}

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
        const FramedTrack& ready = framed.emplace(track.info.index, Frame(track, *muxer)).first->second;
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

std::vector<avTime> SortedTimes(const Packets& packets)
{
    std::vector<avTime> times;
    for (const auto& packet : packets)
        times.push_back(packet->GetPTS());
    std::sort(times.begin(), times.end());
    return times;
}

/// A clip's pictures as a part of a longer stream. With lengths, the first packet brings the header. With start codes,
/// the first packet alone carries the sets.
struct Piece : RawFile::Track
{
    Piece(const std::string& clip, bool startCodes) : Track(ReadRawFile(ClipPath(clip)).tracks.at(0))
    {
        const SP<const Proc::IBlob> header = info.format->GetExtradata();
        FramedTrack track = Frame(*this, *Muxer::Create("x.ts"));
        const SP<const Proc::IBlob> units = track.GetFormatCodec()->GetExtradata();
        std::vector<Proc::CodecParsers::Nalu> found;
        Proc::CodecParsers::FindAnnexBNalus(units->Data(), units->Size(), found);
        for (const auto& [data, size] : found)
            if ((data[0] & 0x7E) != 0x4E) // SEI of HEVC
                sets.emplace_back(reinterpret_cast<const char*>(data), size);
        if (!startCodes)
        {
            uint8_t* brought =
                av_packet_new_side_data(packets[0]->GetAVPacket(), AV_PKT_DATA_NEW_EXTRADATA, header->Size());
            std::copy_n(header->Data(), header->Size(), brought);
            return;
        }
        packets = ReadItems(track);
        for (size_t i = 1; i < packets.size(); ++i)
            if (packets[i]->IsKeyFrame())
            {
                packets[i]->GetAVPacket()->data += units->Size();
                packets[i]->GetAVPacket()->size -= static_cast<int>(units->Size());
            }
        info.format = track.GetFormatCodec();
    }

    std::vector<std::string> sets; // parameter sets of the header
};

} // namespace

struct CopyCase
{
    std::string clip;
    const char* extension;
    const char* codecs;      // of the tracks that must arrive; others can't be played, whatever libavformat writes
    avTime tick;             // the tolerance of times, microseconds; 0 where the reader makes them up
    bool samePayload = true; // false where the container's framing differs from the source's
    std::string real = "";   // a real clip of the same kind
};

using MuxerCopyTest = testing::TestWithParam<CopyCase>;

TEST_P(MuxerCopyTest, KeepsPacketsAndTimes)
{
    const CopyCase& c = GetParam();
    const ScratchFolder folder;
    const std::string target = folder / (std::string("copy.") + c.extension);
    const RawFile source = ReadRawFile(ClipPath(c.clip));
    const std::vector<int> carried = CopyInto(source, target);
    if (carried.empty() && *c.codecs == 0)
        return;
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
            EXPECT_TRUE(!c.samePayload || Payload(*before.packets[k]) == Payload(*after.packets[k])) << "packet " << k;
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

namespace
{

/// Of generated clips, or of the real ones that are there.
std::vector<CopyCase> CopyCases(bool real)
{
    std::vector<CopyCase> cases{
        {"h264.mp4", "mkv", "h264 aac", 1001, true, "h264-high-closedgop-bframes-aac.mp4"},
        {"h264.mp4", "avi", "h264", 0, false},
        {"h264.mp4", "vob", "h264", 12, false},
        {"h264.ts", "mp4", "h264 aac", 12, false, "h264-high-annexb-aac.ts"},
        {"h264.ts", "ts", "h264 aac", 50, true, "h264-high-annexb-aac.ts"},
        {"h264-late.mp4", "mp4", "h264 aac", 1, true, "h264-editlist-start1s-aac.mp4"},
        {"h264-rotated.mov", "mov", "h264 aac", 1, true, "h264-rotated90-iphone-aac.mov"},
        {"h264-tracks.mkv", "mkv", "h264 aac ac3 ass", 1001},
        {"h264-bitmaps.mkv", "mkv", "h264 ac3 hdmv_pgs_subtitle", 1001},
        {"hevc.ts", "ts", "hevc aac", 50, false, "hevc-annexb-aac.ts"},
        {"amr.3gp", "3gp", "h263 amr_nb", 1, true, "h263-amr.3gp"},
        {"mpeg4.mov", "mp4", "mpeg4 aac", 1, true, "mpeg4sp-85s-aac.mov"},
        {"mpeg2.m2ts", "m2ts", "mpeg2video mp2", 50, true, "mpeg2-mp2.m2ts"},
        {"pages.ogv", "ogv", "theora flac", 25},
        {"theora.ogv", "mkv", "theora vorbis", 1001},
        {"alpha.webm", "webm", "vp8", 1001},
        {"vp9-late.webm", "mp4", "vp9 opus", 1001, true, "vp9-opus.webm"},
        {"wmv2.wmv", "wmv", "wmv2 wmav2", 1001, true, "wmv2-wmav2-letterbox.wmv"},
        {"aac.aac", "aac", "aac", 0},
        {"mp3.mp3", "mp3", "mp3", 0},
        {"pcm.wav", "wav", "pcm_s24le", 1},
        {"pcm.wav", "ts", "", 0},
        {"theora.ogv", "avi", "", 0},
        {"", "mkv", "h264 ac3 ass", 1001, true, "h264-subs-ass-ac3.mkv"},
    };
    for (CopyCase& c : cases)
        c.clip = real ? c.real : c.clip;
    const std::vector<std::string> there = real ? Tessor::Test::RealClips() : Tessor::Test::Samples();
    std::erase_if(cases,
                  [&](const CopyCase& c) { return std::find(there.begin(), there.end(), c.clip) == there.end(); });
    return cases;
}

std::string CopyName(const testing::TestParamInfo<CopyCase>& info)
{
    return Tessor::Test::ToTestName(info.param.clip + "_to_" + info.param.extension);
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Samples, MuxerCopyTest, testing::ValuesIn(CopyCases(false)), CopyName);
INSTANTIATE_TEST_SUITE_P(Media, MuxerCopyTest, testing::ValuesIn(CopyCases(true)), CopyName);

// What follows a gap must not be taken to abut, and nothing be moved to where counting or guessing would put it.
TEST(MuxerTest, EveryPacketKeepsItsTime)
{
    // packets dropped in front; the length of those that get new times without gaps, 0 for the clip's own; the step in
    // the middle, and the tolerance
    const std::tuple<const char*, const char*, size_t, const char*, int, avTime, avTime, avTime> rows[] = {
        {"frames in front are counted too", "mpeg4.avi", 0, "avi", 10, 0, 0, 1},
        {"pictures so small that a pack holds several", "mpeg1.m1v", 0, "mpg", 0, 33367, 0, 12},
        {"sound after a gap", "mpeg2.m2ts", 1, "ts", 0, 0, 15000, 50},
        {"sound in pages after a gap", "pages.ogv", 1, "ogg", 0, 0, 15000, 25},
        {"pictures in pages after a gap", "theora.ogv", 0, "ogv", 0, 0, 120000, 25},
    };
    for (const auto& [why, clip, index, extension, dropped, length, step, tick] : rows)
    {
        SCOPED_TRACE(why);
        const ScratchFolder folder;
        const std::string target = folder / (std::string("x.") + extension);
        RawFile::Track track = ReadRawFile(ClipPath(clip)).tracks.at(index);
        track.packets.erase(track.packets.begin(), track.packets.begin() + dropped);
        const std::unique_ptr<Muxer> muxer = Muxer::Create(target);
        muxer->AddTrack(track.info, nullptr, false);
        muxer->Open();
        avTime next = 0;
        for (size_t i = 0; i < track.packets.size(); ++i)
        {
            IDataPacket& packet = *track.packets[i];
            const avTime gap = i > track.packets.size() / 2 ? step : 0;
            packet.SetPTS((length ? next += length : packet.GetPTS()) + gap);
            if (length || gap)
                packet.SetDTS(packet.GetPTS());
            muxer->Write(0, track.packets[i]);
        }
        muxer->Finish();

        const RawFile::Track copy = ReadRawFile(target).tracks.at(0);
        ASSERT_EQ(copy.packets.size(), track.packets.size());
        const avTime shift = dropped ? 0 : copy.packets[0]->GetPTS() - track.packets[0]->GetPTS();
        for (size_t i = 0; i < copy.packets.size(); ++i)
            EXPECT_NEAR(copy.packets[i]->GetPTS() - track.packets[i]->GetPTS(), shift, tick) << "packet " << i;
    }
}

// A container that counts pictures would repeat one for as long as a wrong time says.
TEST(MuxerTest, NoPictureIsRepeatedForHours)
{
    const ScratchFolder folder;
    const RawFile::Track track = ReadRawFile(ClipPath("theora.ogv")).tracks.at(0);
    track.packets.back()->SetPTS(track.packets.back()->GetPTS() + 7200 * SECOND);
    track.packets.back()->SetDTS(track.packets.back()->GetPTS());
    const std::unique_ptr<Muxer> muxer = Muxer::Create(folder / "x.ogv");
    muxer->AddTrack(track.info, nullptr, false);
    muxer->Open();
    const auto write = [&]
    {
        for (const SP<IDataPacket>& packet : track.packets)
            muxer->Write(0, packet);
        muxer->Finish();
    };
    EXPECT_THROW(write(), Core::IOException);
}

// A reader puts the length of a block into the track's parameters; sound must survive a second copy of the file.
TEST(MuxerTest, ACopyOfACopyKeepsTheTimesOfSoundInAvi)
{
    const ScratchFolder folder;
    CopyInto(ReadRawFile(ClipPath("mpeg4.avi")), folder / "first.avi");
    const RawFile first = ReadRawFile(folder / "first.avi");
    CopyInto(first, folder / "second.avi");
    const Packets once = first.tracks.at(1).packets, twice = ReadRawFile(folder / "second.avi").tracks.at(1).packets;
    EXPECT_GT(once.size(), 50u);
    EXPECT_EQ(SortedTimes(twice), SortedTimes(once));
}

// What a container says of a whole track: HDR.
TEST(MuxerTest, SideDataOfTheTrackIsCarried)
{
    const AVContentLightMetadata light{1000, 400};
    const auto* data = reinterpret_cast<const uint8_t*>(&light);
    const std::pair<int, std::vector<uint8_t>> sideData(AV_PKT_DATA_CONTENT_LIGHT_LEVEL, {data, data + sizeof(light)});
    RawFile source = ReadRawFile(ClipPath("hevc-hdr10.mp4"));
    source.tracks[0].info.sideData = {sideData};
    for (const char* name : {"hdr.mp4", "hdr.mkv"})
    {
        const ScratchFolder folder;
        CopyInto(source, folder / name);
        const TrackInfo arrived = ReadRawFile(folder / name).tracks[0].info;
        EXPECT_EQ(std::count(arrived.sideData.begin(), arrived.sideData.end(), sideData), 1) << name;
        EXPECT_EQ(arrived.parameters->color_trc, AVCOL_TRC_SMPTE2084) << name;
    }
}

TEST(MuxerTest, ReadersKnowAnySoundOfAShortPieceNamedAsBluRay)
{
    const ScratchFolder folder;
    RawFile source = ReadRawFile(ClipPath("mpeg2.m2ts"));
    source.order.resize(8);
    CopyInto(source, folder / "short.m2ts");
    EXPECT_EQ(ReadRawFile(folder / "short.m2ts").tracks.at(1).info.type, MediaType::Audio);
}

// A packet that can't be converted is left out, and the stream goes on after it. A source that fails is no damage.
TEST(FramedTrackTest, DamagedPacketsAreNoEnd)
{
    // the size is what is left of a damaged packet
    const std::tuple<const char*, size_t, const char*, int> rows[] = {
        {"h264.mp4", 0, "x.ts", 9}, {"hevc-cra.mp4", 0, "x.ts", 9}, {"hevc.ts", 1, "x.mp4", 5}};
    for (const auto& [clip, index, target, size] : rows)
    {
        SCOPED_TRACE(clip);
        const RawFile::Track source = ReadRawFile(ClipPath(clip)).tracks.at(index);
        const Packets& packets = source.packets;
        for (const size_t damaged : {packets.size() / 2, packets.size() / 2 + 1, packets.size() - 2})
            av_shrink_packet(packets[damaged]->GetAVPacket(), size);
        FramedTrack track = Frame(source, *Muxer::Create(target));
        EXPECT_EQ(ReadItems(track).size() + 3, packets.size());
        EXPECT_EQ(track.GetDamagedCount(), 3);

        FramedTrack failing(Tessor::Test::ScriptedRaw::Create("!"), source.info.format, *Muxer::Create(target),
                            source.info);
        EXPECT_THROW(failing.Read(), std::exception);
        EXPECT_EQ(failing.GetDamagedCount(), 0);
    }
}

// The demuxer hides the key flag of a track's last packet.
TEST(FramedTrackTest, ALastKeyPacketGetsItsParameterSets)
{
    RawFile::Track source = ReadRawFile(ClipPath("h264.mp4")).tracks.at(0);
    source.packets.resize(1);
    dynamic_cast<Proc::DataPacketFF&>(*source.packets[0]).HideKey();
    ASSERT_FALSE(source.packets[0]->IsKeyFrame());
    const SP<IDataPacket> framed = Frame(source, *Muxer::Create("x.ts")).Read();
    EXPECT_TRUE(framed->IsKeyFrame());
    EXPECT_EQ(Payload(*framed).substr(0, 5), std::string("\0\0\0\1\x67", 5));
}

// The container may say so with the first packet of the new sets (lengths), or that packet carries them (start codes):
// the key packets after it carry them either way, and a form with start codes no others.
TEST(FramedTrackTest, ParameterSetsThatChangeAreMetAtEveryEntry)
{
    for (const auto& [clip, next, startCodes] : {std::tuple("h264.mp4", "h264-irregular.mp4", false),
                                                 {"h264.mp4", "h264-irregular.mp4", true},
                                                 {"hevc-hdr10.mp4", "hevc-cra.mp4", false},
                                                 {"hevc-hdr10.mp4", "hevc-cra.mp4", true}})
    {
        SCOPED_TRACE(testing::Message() << next << startCodes);
        Piece whole(clip, startCodes);
        const Piece second(next, startCodes);
        const size_t seam = whole.packets.size();
        whole.packets.insert(whole.packets.end(), second.packets.begin(), second.packets.end());
        FramedTrack track = Frame(whole, *Muxer::Create(startCodes ? "x.mp4" : "x.ts"));
        const Packets framed = ReadItems(track);
        ASSERT_EQ(framed.size(), whole.packets.size());
        EXPECT_EQ(track.GetDamagedCount(), 0);
        int entries = 0;
        for (size_t i = seam; i < framed.size(); ++i)
        {
            if (!framed[i]->IsKeyFrame())
                continue;
            ++entries;
            for (const std::string& set : second.sets)
                EXPECT_NE(Payload(*framed[i]).find(set), std::string::npos) << i;
            EXPECT_TRUE(startCodes || Payload(*framed[i]).find(whole.sets[0]) == std::string::npos) << i;
            EXPECT_FALSE(av_packet_get_side_data(framed[i]->GetAVPacket(), AV_PKT_DATA_NEW_EXTRADATA, nullptr));
        }
        EXPECT_GT(entries, 1);
    }
}

// A configuration that sound without headers can't follow is refused; a single odd frame is damage.
TEST(FramedTrackTest, SoundThatChangesItsConfigurationIsRefused)
{
    const auto countFramed = [](const char* target, std::initializer_list<size_t> odd)
    {
        RawFile::Track source = ReadRawFile(ClipPath("aac.aac")).tracks.at(0);
        source.packets.resize(10);
        for (const size_t i : odd)
        {
            av_packet_make_writable(source.packets[i]->GetAVPacket());
            source.packets[i]->GetAVPacket()->data[2] ^= 4; // 44100 Hz
        }
        FramedTrack track = Frame(source, *Muxer::Create(target));
        return ReadItems(track).size();
    };
    EXPECT_EQ(countFramed("x.mp4", {3}), 9u);
    EXPECT_THROW(countFramed("x.mp4", {3, 4}), Core::IOException);
    EXPECT_EQ(countFramed("x.ts", {3, 4}), 10u);
}

} // namespace Tessor::Host::Tests
