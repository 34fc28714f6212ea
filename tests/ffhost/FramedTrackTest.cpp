#include "ffhost/io/FramedTrack.h"
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "ffhost/io/Demuxer.h"
#include "tests/ffhost/Streams.h"
#include "tests/support/Media.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/mastering_display_metadata.h>
}

#include <cstring>
#include <map>

namespace Tessor::Host::Tests
{

using Proc::IDataPacket;
using Packets = std::vector<SP<IDataPacket>>;
using Tessor::Test::ClipPath;

namespace
{

std::string Bytes(const IDataPacket& packet)
{
    return std::string(reinterpret_cast<const char*>(packet.GetData()), static_cast<size_t>(packet.GetSize()));
}

/// A clip's track as our demuxer reads it.
struct Track
{
    explicit Track(const std::string& clip, size_t index = 0)
    {
        const SP<Demuxer> demuxer = Demuxer::Open(ClipPath(clip));
        demuxer->KeepLeadIns(false);
        info = demuxer->GetInfo().tracks[index];
        packets = ReadItems(*demuxer->GetStream(info.index));
    }

    FramedTrack FrameFor(const std::string& target) const
    {
        return FramedTrack(SP<Proc::IStreamRaw>(new PacketList(info.format, packets)), info.format,
                           *Muxer::Create(target), info);
    }

    TrackInfo info;
    Packets packets;
};

/// A clip's pictures as a part of a longer stream. Behind lengths, the first packet brings the header. Behind start
/// codes, the first packet alone carries the sets.
struct Piece : Track
{
    Piece(const std::string& clip, bool startCodes) : Track(clip)
    {
        const SP<const Proc::IBlob> header = info.format->GetExtradata();
        FramedTrack track = FrameFor("x.ts");
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

class FailingStream final : public ListStream<Proc::IStreamRaw>
{
public:
    using ListStream::ListStream;
    MediaType GetMediaType() const override { return MediaType::Video; }
    SP<IDataPacket> Read() override { Throw<Core::IOException>(TESSOR_HERE, "the disk is gone"); }
};

const char* const avcClip = "h264-high-closedgop-bframes-aac.mp4";

} // namespace

// A packet that can't be converted is left out, and the stream goes on behind it. A source that fails is no damage.
TEST(FramedTrackTest, DamagedPacketsAreNoEnd)
{
    const struct
    {
        const char* clip;
        size_t track;
        const char* target;
        int size; // that is left of the damaged packet
    } rows[] = {
        {avcClip, 0, "x.ts", 9}, {"hevc-hev1-cra-aac.mp4", 0, "x.ts", 9}, {"hevc-annexb-aac.ts", 1, "x.mp4", 5}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.clip);
        TESSOR_SKIP_WITHOUT(row.clip);
        const Track source(row.clip, row.track);
        const Packets& packets = source.packets;
        for (const size_t damaged : {packets.size() / 2, packets.size() / 2 + 1, packets.size() - 2})
            av_shrink_packet(packets[damaged]->GetAVPacket(), row.size);
        FramedTrack track = source.FrameFor(row.target);
        EXPECT_EQ(ReadItems(track).size() + 3, packets.size());
        EXPECT_EQ(track.GetDamagedCount(), 3);

        FramedTrack failing(SP<Proc::IStreamRaw>(new FailingStream(source.info.format, {})), source.info.format,
                            *Muxer::Create(row.target), source.info);
        EXPECT_THROW(failing.Read(), Core::IOException);
        EXPECT_EQ(failing.GetDamagedCount(), 0);
    }
}

// The last packet of a track, whose key flag the demuxer hides, included. The others are converted where they lie: the
// demuxer holds none of them.
TEST(FramedTrackTest, OnlyKeyPacketsAreBuiltAnewWithParameterSets)
{
    TESSOR_SKIP_WITHOUT(avcClip);
    Track source(avcClip);
    source.packets.resize(61); // 30 in a group
    source.packets.back()->GetAVPacket()->flags = AV_PKT_FLAG_TRUSTED;
    std::vector<const uint8_t*> places;
    for (const SP<IDataPacket>& packet : source.packets)
        places.push_back(packet->GetData());
    FramedTrack track = source.FrameFor("x.ts");
    const Packets framed = ReadItems(track);
    ASSERT_EQ(framed.size(), places.size());
    for (size_t i = 0; i < framed.size(); ++i)
    {
        const bool key = i % 30 == 0;
        EXPECT_EQ(framed[i]->IsKeyFrame(), key) << i;
        EXPECT_EQ(Bytes(*framed[i]).substr(0, 5) == std::string("\0\0\0\1\x67", 5), key) << i;
        EXPECT_EQ(framed[i]->GetData() != places[i], key) << i;
    }
}

// The container may say so with the first packet of the new sets (lengths), or that packet carries them (start codes):
// the key packets behind it carry them either way, and a form with start codes no others.
TEST(FramedTrackTest, ParameterSetsThatChangeAreMetAtEveryEntry)
{
    const struct
    {
        const char *first, *second;
        bool startCodes;
        const char* target;
    } rows[] = {
        {"h264-join-first-aac.mp4", "h264-join-second-aac.mp4", false, "x.ts"},
        {"h264-join-first-aac.mp4", "h264-join-second-aac.mp4", false, "x.mp4"},
        {"h264-join-first-aac.mp4", "h264-join-second-aac.mp4", true, "x.ts"},
        {"h264-join-first-aac.mp4", "h264-join-second-aac.mp4", true, "x.mp4"},
        {"hevc-hvc1-main10-hdr10-aac.mp4", "hevc-hev1-cra-aac.mp4", false, "x.ts"},
        {"hevc-hvc1-main10-hdr10-aac.mp4", "hevc-hev1-cra-aac.mp4", true, "x.mp4"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string(row.second) + (row.startCodes ? " start codes to " : " lengths to ") + row.target);
        TESSOR_SKIP_WITHOUT(row.first);
        TESSOR_SKIP_WITHOUT(row.second);
        Piece whole(row.first, row.startCodes);
        const Piece second(row.second, row.startCodes);
        const size_t seam = whole.packets.size();
        whole.packets.insert(whole.packets.end(), second.packets.begin(), second.packets.end());
        FramedTrack track = whole.FrameFor(row.target);
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
                EXPECT_NE(Bytes(*framed[i]).find(set), std::string::npos) << i;
            if (row.target == std::string("x.ts"))
            {
                EXPECT_EQ(Bytes(*framed[i]).find(whole.sets[0]), std::string::npos) << i;
            }
            EXPECT_FALSE(av_packet_get_side_data(framed[i]->GetAVPacket(), AV_PKT_DATA_NEW_EXTRADATA, nullptr));
        }
        EXPECT_GT(entries, 1);
    }
}

// A configuration that sound without headers can't follow is refused; a single odd frame is damage.
TEST(FramedTrackTest, SoundThatChangesItsConfigurationIsRefused)
{
    TESSOR_SKIP_WITHOUT("aac-lc-48k.aac");
    const auto countFramed = [](const char* target, std::initializer_list<size_t> odd)
    {
        Track source("aac-lc-48k.aac");
        source.packets.resize(10);
        for (const size_t i : odd)
        {
            av_packet_make_writable(source.packets[i]->GetAVPacket());
            source.packets[i]->GetAVPacket()->data[2] ^= 4; // 44100 Hz
        }
        FramedTrack track = source.FrameFor(target);
        return ReadItems(track).size();
    };
    EXPECT_EQ(countFramed("x.mp4", {3}), 9u);
    EXPECT_THROW(countFramed("x.mp4", {3, 4}), Core::IOException);
    EXPECT_EQ(countFramed("x.ts", {3, 4}), 10u);
}

// What a container says of a whole track: HDR.
TEST(FramedTrackTest, SideDataOfTheTrackIsCarried)
{
    TESSOR_SKIP_WITHOUT("hevc-hvc1-main10-hdr10-aac.mp4");
    AVMasteringDisplayMetadata display{};
    for (auto& primary : display.display_primaries)
        primary[0] = primary[1] = {17000, 50000};
    display.white_point[0] = display.white_point[1] = {15635, 50000};
    display.min_luminance = {1, 10000};
    display.max_luminance = {1000, 1};
    display.has_primaries = display.has_luminance = 1;
    const AVContentLightMetadata light{1000, 400};
    const auto bytes = [](const auto& value)
    {
        const auto* data = reinterpret_cast<const uint8_t*>(&value);
        return std::vector<uint8_t>(data, data + sizeof(value));
    };
    Track source("hevc-hvc1-main10-hdr10-aac.mp4");
    source.info.sideData = {{AV_PKT_DATA_MASTERING_DISPLAY_METADATA, bytes(display)},
                            {AV_PKT_DATA_CONTENT_LIGHT_LEVEL, bytes(light)}};
    for (const char* name : {"hdr.mp4", "hdr.mkv"})
    {
        const Tessor::Test::ScratchFolder folder;
        const auto muxer = Muxer::Create(folder / name);
        muxer->AddTrack(source.info, nullptr, false);
        muxer->Open();
        for (const SP<IDataPacket>& packet : source.packets)
            muxer->Write(0, packet->Clone());
        muxer->Finish();

        const SP<Demuxer> copy = Demuxer::Open(folder / name);
        const TrackInfo& arrived = copy->GetInfo().tracks[0];
        std::map<int, std::vector<uint8_t>> found(arrived.sideData.begin(), arrived.sideData.end());
        EXPECT_EQ(found[AV_PKT_DATA_CONTENT_LIGHT_LEVEL], bytes(light)) << name;
        ASSERT_EQ(found[AV_PKT_DATA_MASTERING_DISPLAY_METADATA].size(), sizeof(display)) << name;
        std::memcpy(&display, found[AV_PKT_DATA_MASTERING_DISPLAY_METADATA].data(), sizeof(display));
        EXPECT_NEAR(av_q2d(display.max_luminance), 1000, 1e-3) << name;
        EXPECT_NEAR(av_q2d(display.display_primaries[1][0]), 0.34, 1e-4) << name;
        EXPECT_EQ(arrived.parameters->color_trc, AVCOL_TRC_SMPTE2084) << name;
    }
}

} // namespace Tessor::Host::Tests
