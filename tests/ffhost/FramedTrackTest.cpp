#include "ffhost/io/FramedTrack.h"
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "ffhost/io/Demuxer.h"
#include "tests/ffhost/RawFile.h"
#include "tests/ffhost/Streams.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/mastering_display_metadata.h>
}

namespace Tessor::Host::Tests
{

using Proc::IDataPacket;
using Framing = Proc::SettingsFilterBitStream;

namespace
{

std::string Begin(const IDataPacket& packet, int count)
{
    return std::string(reinterpret_cast<const char*>(packet.GetData()),
                       static_cast<size_t>(std::min(count, packet.GetSize())));
}

/// Packets of a track, read by our demuxer.
std::vector<SP<IDataPacket>> ReadTrack(Demuxer& demuxer, int track)
{
    std::vector<SP<IDataPacket>> packets;
    const SP<Proc::IStreamRaw> stream = demuxer.GetStream(track);
    while (SP<IDataPacket> packet = stream->Read())
        packets.push_back(packet);
    return packets;
}

std::vector<SP<IDataPacket>> ReadAll(FramedTrack& track)
{
    std::vector<SP<IDataPacket>> packets;
    while (SP<IDataPacket> packet = track.Read())
        packets.push_back(packet);
    return packets;
}

std::string Bytes(const IDataPacket& packet)
{
    return Begin(packet, packet.GetSize());
}

/// A clip's pictures as a part of a longer stream.
struct Piece
{
    TrackInfo info;
    std::vector<SP<IDataPacket>> packets;
    std::vector<std::string> sets; // parameter sets of the header
};

/// Behind lengths, the first packet brings the header. Behind start codes, the first packet alone carries the sets.
Piece ReadPiece(const std::string& clip, bool startCodes)
{
    const SP<Demuxer> demuxer = Demuxer::Open(clip);
    Piece piece{demuxer->GetInfo().tracks[0], ReadTrack(*demuxer, 0), {}};
    const SP<const Proc::IBlob> header = piece.info.format->GetExtradata();
    FramedTrack track(SP<Proc::IStreamRaw>(new PacketList(piece.info.format, piece.packets)), piece.info.format,
                      *Muxer::Create("x.ts"), piece.info);
    const SP<const Proc::IBlob> sets = track.GetFormatCodec()->GetExtradata();
    std::vector<Proc::CodecParsers::Nalu> units;
    Proc::CodecParsers::FindAnnexBNalus(sets->Data(), sets->Size(), units);
    for (const auto& [data, size] : units)
        if ((data[0] & 0x7E) != 0x4E) // SEI of HEVC
            piece.sets.emplace_back(reinterpret_cast<const char*>(data), size);
    if (!startCodes)
    {
        uint8_t* brought =
            av_packet_new_side_data(piece.packets[0]->GetAVPacket(), AV_PKT_DATA_NEW_EXTRADATA, header->Size());
        std::copy_n(header->Data(), header->Size(), brought);
        return piece;
    }
    piece.packets = ReadAll(track);
    for (size_t i = 1; i < piece.packets.size(); ++i)
        if (piece.packets[i]->IsKeyFrame())
        {
            piece.packets[i]->GetAVPacket()->data += sets->Size();
            piece.packets[i]->GetAVPacket()->size -= static_cast<int>(sets->Size());
        }
    piece.info.format = track.GetFormatCodec();
    return piece;
}

class FailingStream final : public ListStream<Proc::IStreamRaw>
{
public:
    using ListStream::ListStream;
    MediaType GetMediaType() const override { return MediaType::Video; }
    SP<IDataPacket> Read() override { Throw<Core::IOException>(TESSOR_HERE, "the disk is gone"); }
};

const char* const avcClip = "h264-high-closedgop-bframes-aac.mp4";

} // namespace

TEST(FramedTrackTest, EveryContainerNamesItsFraming)
{
    const struct
    {
        const char* clip;
        int track;
        const char* extension;
        Framing::StreamFormat framing;
    } cases[] = {
        {avcClip, 0, "ts", Framing::STREAM_FORMAT_ANNEX_B},
        {avcClip, 0, "264", Framing::STREAM_FORMAT_ANNEX_B},
        {avcClip, 0, "avi", Framing::STREAM_FORMAT_ANNEX_B},
        {avcClip, 0, "mkv", Framing::STREAM_FORMAT_MP4},
        {avcClip, 0, "flv", Framing::STREAM_FORMAT_MP4},
        {"hevc-annexb-aac.ts", 0, "mov", Framing::STREAM_FORMAT_MP4},
        {"hevc-hev1-cra-aac.mp4", 0, "265", Framing::STREAM_FORMAT_ANNEX_B},
        {"hevc-annexb-aac.ts", 1, "mp4", Framing::STREAM_FORMAT_RAW_AAC},
        {"hevc-annexb-aac.ts", 1, "ts", Framing::STREAM_FORMAT_UNCHANGED},
        // the PCE of the first frame has to come in front again wherever the output begins
        {"aac-pce-51-synth.aac", 0, "ts", Framing::STREAM_FORMAT_RAW_AAC},
        {"mpeg2-mp2.m2ts", 0, "mkv", Framing::STREAM_FORMAT_UNCHANGED},
    };
    for (const auto& c : cases)
    {
        const std::string clip = FindClip(c.clip);
        if (clip.empty())
            GTEST_SKIP() << "no clip";
        const SP<Demuxer> demuxer = Demuxer::Open(clip);
        const auto muxer = Muxer::Create(std::string("x.") + c.extension);
        EXPECT_EQ(muxer->GetFraming(demuxer->GetInfo().tracks[static_cast<size_t>(c.track)]), c.framing)
            << c.clip << " " << c.extension;
    }
}

// A packet that can't be converted is left out; the stream goes on behind it.
TEST(FramedTrackTest, DamagedPacketsAreNoEnd)
{
    const struct
    {
        const char* clip;
        int track;
        const char* extension;
        int size; // that is left of the damaged packet
    } cases[] = {{avcClip, 0, "ts", 9}, {"hevc-hev1-cra-aac.mp4", 0, "ts", 9}, {"hevc-annexb-aac.ts", 1, "mp4", 5}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.clip);
        const std::string clip = FindClip(c.clip);
        if (clip.empty())
            GTEST_SKIP() << "no clip";
        const SP<Demuxer> demuxer = Demuxer::Open(clip);
        const TrackInfo& info = demuxer->GetInfo().tracks[static_cast<size_t>(c.track)];
        const std::vector<SP<IDataPacket>> packets = ReadTrack(*demuxer, c.track);
        for (const size_t damaged : {packets.size() / 2, packets.size() / 2 + 1, packets.size() - 2})
            av_shrink_packet(packets[damaged]->GetAVPacket(), c.size);
        FramedTrack track(SP<Proc::IStreamRaw>(new PacketList(info.format, packets)), info.format,
                          *Muxer::Create(std::string("x.") + c.extension), info);
        EXPECT_EQ(ReadAll(track).size() + 3, packets.size());
        EXPECT_EQ(track.GetDamagedCount(), 3);
        EXPECT_EQ(track.Read(), nullptr);
    }
}

TEST(FramedTrackTest, FailuresOfTheSourceAreNotTakenForDamage)
{
    const std::string clip = FindClip(avcClip);
    if (clip.empty())
        GTEST_SKIP() << "no clip";
    const SP<Demuxer> demuxer = Demuxer::Open(clip);
    const TrackInfo& info = demuxer->GetInfo().tracks[0];
    FramedTrack track(SP<Proc::IStreamRaw>(new FailingStream(info.format, {})), info.format, *Muxer::Create("x.ts"),
                      info);
    EXPECT_THROW(track.Read(), Core::IOException);
    EXPECT_EQ(track.GetDamagedCount(), 0);
}

// The last packet of a track, whose key flag the demuxer hides, included. The others are converted where they lie: the
// demuxer holds none of them.
TEST(FramedTrackTest, OnlyKeyPacketsAreBuiltAnewWithParameterSets)
{
    const std::string clip = FindClip(avcClip);
    if (clip.empty())
        GTEST_SKIP() << "no clip";
    const SP<Demuxer> demuxer = Demuxer::Open(clip);
    demuxer->KeepLeadIns(false);
    const TrackInfo& info = demuxer->GetInfo().tracks[0];
    std::vector<SP<IDataPacket>> packets = ReadTrack(*demuxer, 0);
    packets.resize(61); // 30 in a group
    packets.back()->GetAVPacket()->flags = AV_PKT_FLAG_TRUSTED;
    std::vector<const uint8_t*> places;
    for (const SP<IDataPacket>& packet : packets)
        places.push_back(packet->GetData());
    FramedTrack track(SP<Proc::IStreamRaw>(new PacketList(info.format, packets)), info.format, *Muxer::Create("x.ts"),
                      info);
    const std::vector<SP<IDataPacket>> framed = ReadAll(track);
    ASSERT_EQ(framed.size(), packets.size());
    for (size_t i = 0; i < framed.size(); ++i)
    {
        const bool key = i % 30 == 0;
        EXPECT_EQ(framed[i]->IsKeyFrame(), key) << i;
        EXPECT_EQ(Begin(*framed[i], 5) == std::string("\0\0\0\1\x67", 5), key) << i;
        EXPECT_EQ(framed[i]->GetData() != places[i], key) << i;
    }
}

// The container may say so with the first packet of the new sets (lengths), or that packet carries them (start codes):
// the key packets behind it carry them either way, and a form with start codes no others.
TEST(FramedTrackTest, ParameterSetsThatChangeAreMetAtEveryEntry)
{
    const std::pair<const char*, const char*> pairs[] = {
        {"h264-join-first-aac.mp4", "h264-join-second-aac.mp4"},
        {"hevc-hvc1-main10-hdr10-aac.mp4", "hevc-hev1-cra-aac.mp4"},
    };
    for (const auto& [first, second] : pairs)
        for (const bool startCodes : {false, true})
            for (const char* target : {"x.ts", "x.mp4"})
            {
                SCOPED_TRACE(std::string(second) + (startCodes ? " start codes to " : " lengths to ") + target);
                if (FindClip(first).empty() || FindClip(second).empty())
                    GTEST_SKIP() << "no clip";
                const Piece a = ReadPiece(FindClip(first), startCodes), b = ReadPiece(FindClip(second), startCodes);
                std::vector<SP<IDataPacket>> packets = a.packets;
                packets.insert(packets.end(), b.packets.begin(), b.packets.end());
                FramedTrack track(SP<Proc::IStreamRaw>(new PacketList(a.info.format, packets)), a.info.format,
                                  *Muxer::Create(target), a.info);
                const std::vector<SP<IDataPacket>> framed = ReadAll(track);
                ASSERT_EQ(framed.size(), packets.size());
                EXPECT_EQ(track.GetDamagedCount(), 0);
                int entries = 0;
                for (size_t i = a.packets.size(); i < framed.size(); ++i)
                {
                    if (!framed[i]->IsKeyFrame())
                        continue;
                    ++entries;
                    for (const std::string& set : b.sets)
                        EXPECT_NE(Bytes(*framed[i]).find(set), std::string::npos) << i;
                    if (target == std::string("x.ts"))
                    {
                        EXPECT_EQ(Bytes(*framed[i]).find(a.sets[0]), std::string::npos) << i;
                    }
                    EXPECT_FALSE(av_packet_get_side_data(framed[i]->GetAVPacket(), AV_PKT_DATA_NEW_EXTRADATA, nullptr));
                }
                EXPECT_GT(entries, 1);
            }
}

// A configuration that sound without headers can't follow is refused; a single odd frame is damage.
TEST(FramedTrackTest, SoundThatChangesItsConfigurationIsRefused)
{
    const std::string clip = FindClip("aac-lc-48k.aac");
    if (clip.empty())
        GTEST_SKIP() << "no clip";
    const SP<Demuxer> demuxer = Demuxer::Open(clip);
    const TrackInfo& info = demuxer->GetInfo().tracks[0];
    std::vector<SP<IDataPacket>> packets = ReadTrack(*demuxer, 0);
    packets.resize(10);
    const auto frame = [&](const char* target, std::initializer_list<size_t> odd)
    {
        std::vector<SP<IDataPacket>> changed;
        for (const SP<IDataPacket>& packet : packets)
            changed.push_back(packet->Clone());
        for (const size_t i : odd)
        {
            av_packet_make_writable(changed[i]->GetAVPacket());
            changed[i]->GetAVPacket()->data[2] ^= 4; // 44100 Hz
        }
        FramedTrack track(SP<Proc::IStreamRaw>(new PacketList(info.format, changed)), info.format,
                          *Muxer::Create(target), info);
        return ReadAll(track).size();
    };
    EXPECT_EQ(frame("x.mp4", {3}), 9u);
    EXPECT_THROW(frame("x.mp4", {3, 4}), Core::IOException);
    EXPECT_EQ(frame("x.ts", {3, 4}), 10u);
}

// What a container says of a whole track: HDR.
TEST(FramedTrackTest, SideDataOfTheTrackIsCarried)
{
    const std::string clip = FindClip("hevc-hvc1-main10-hdr10-aac.mp4");
    if (clip.empty())
        GTEST_SKIP() << "no clip";
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
    for (const char* name : {"hdr.mp4", "hdr.mkv"})
    {
        const ScratchFolder folder;
        const SP<Demuxer> demuxer = Demuxer::Open(clip);
        TrackInfo info = demuxer->GetInfo().tracks[0];
        info.sideData = {{AV_PKT_DATA_MASTERING_DISPLAY_METADATA, bytes(display)},
                         {AV_PKT_DATA_CONTENT_LIGHT_LEVEL, bytes(light)}};
        const auto muxer = Muxer::Create(folder / name);
        const int number = muxer->AddTrack(info, nullptr, false);
        muxer->Open();
        for (const SP<IDataPacket>& packet : ReadTrack(*demuxer, 0))
            muxer->Write(number, packet);
        muxer->Finish();

        const SP<Demuxer> copy = Demuxer::Open(folder / name);
        const TrackInfo& arrived = copy->GetInfo().tracks[0];
        const auto find = [&](int type)
        {
            for (const auto& [key, data] : arrived.sideData)
                if (key == type)
                    return data;
            return std::vector<uint8_t>();
        };
        EXPECT_EQ(find(AV_PKT_DATA_CONTENT_LIGHT_LEVEL), bytes(light)) << name;
        const std::vector<uint8_t> mastering = find(AV_PKT_DATA_MASTERING_DISPLAY_METADATA);
        ASSERT_EQ(mastering.size(), sizeof(display)) << name;
        const auto& read = *reinterpret_cast<const AVMasteringDisplayMetadata*>(mastering.data());
        EXPECT_NEAR(av_q2d(read.max_luminance), 1000, 1e-3) << name;
        EXPECT_NEAR(av_q2d(read.display_primaries[1][0]), 0.34, 1e-4) << name;
        EXPECT_EQ(arrived.parameters->color_trc, AVCOL_TRC_SMPTE2084) << name;
    }
}

} // namespace Tessor::Host::Tests
