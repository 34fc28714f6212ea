#include "ffhost/io/reading/Demuxer.h"
#include "ffhost/bitstream/KeyPictures.h"
#include "ffhost/io/PacketPtr.h"
#include "media/items/DataPacketFF.h"
#include "tests/ffhost/Items.h"
#include "tests/ffhost/RawFile.h"
#include "tests/ffhost/Streams.h"
#include "tests/support/Media.h"

#include <filesystem>
#include <map>
#include <random>
#include <set>

namespace Tessor::Host::Tests
{

using Tessor::Test::ClipPath;

namespace
{

/// Those with sound or pictures.
auto WithoutCaptions(std::vector<std::string> names)
{
    const std::set<std::string> captions{".srt", ".ass", ".sup"};
    std::erase_if(names, [&](const std::filesystem::path& name) { return captions.count(name.extension()) > 0; });
    return testing::ValuesIn(names);
}

/// A clip with all its audio and video tracks selected.
struct Opened
{
    explicit Opened(const std::string& name) : demuxer(Demuxer::Open(ClipPath(name)))
    {
        for (const TrackInfo& track : demuxer->GetInfo().tracks)
        {
            if ((track.type != MediaType::Video && track.type != MediaType::Audio) || track.attachedPicture)
                continue;
            tracks.push_back(track.index);
            streams.push_back(demuxer->GetStream(track.index));
        }
    }

    void Seek(avTime target)
    {
        for (const auto& stream : streams)
            stream->RequestSeek(target, nullptr);
        for (const auto& stream : streams)
            stream->DoSeek();
    }

    /// Reads it from the start without what is deleted.
    std::vector<Packets> ReadWithout(avTime start, avTime end)
    {
        const Proc::CutInterval kept{0, MAX_DURATION, NoTime, false};
        const Proc::CutInterval deleted{std::max<avTime>(start, 0), end, NoTime, true};
        demuxer->SetCut(Proc::CutTimeline({kept, deleted}));
        Seek(0);
        return ReadAll();
    }

    std::vector<Packets> ReadAll()
    {
        std::vector<Packets> all;
        for (const auto& stream : streams)
            all.push_back(ReadItems(*stream));
        return all;
    }

    /// Blocks of plain samples are cut where reading begins.
    bool HasFixedPackets(size_t track) const
    {
        return demuxer->GetInfo().tracks[static_cast<size_t>(tracks[track])].codecName.rfind("pcm_", 0) != 0;
    }

    SP<Demuxer> demuxer;
    std::vector<int> tracks;
    std::vector<SP<Proc::IStreamRaw>> streams;
};

bool IsForDecoding(const Proc::IDataPacket& packet)
{
    return (packet.GetAVPacket()->flags & AV_PKT_FLAG_DISCARD) != 0;
}

std::string Text(const Packets& packets)
{
    std::string text;
    for (size_t i = 0; i < packets.size() && i < 12; ++i)
        text += (packets[i]->IsKeyFrame() ? "K" : "") + T2S(packets[i]->GetPTS()) + "/" + T2S(packets[i]->GetDTS()) +
                "@" + T2S(packets[i]->GetPosition()) + " ";
    return text;
}

using Clip = testing::TestWithParam<std::string>;

} // namespace

INSTANTIATE_TEST_SUITE_P(Samples, Clip, WithoutCaptions(Tessor::Test::Samples()), Tessor::Test::ClipName);
INSTANTIATE_TEST_SUITE_P(Media, Clip, WithoutCaptions(Tessor::Test::RealClips()), Tessor::Test::ClipName);

// Times are sound, and nothing is lost or changed against a plain read by libavformat.
TEST_P(Clip, LinearRead)
{
    Opened clip(GetParam());
    const auto all = clip.ReadAll();
    const RawFile plain = ReadRawFile(ClipPath(GetParam()));
    const MediaInfo& info = clip.demuxer->GetInfo();
    EXPECT_GT(info.duration, 0);
    for (size_t t = 0; t < all.size(); ++t)
    {
        const Packets& packets = all[t];
        SCOPED_TRACE("track " + std::to_string(clip.tracks[t]) + " " + Text(packets));
        ASSERT_FALSE(packets.empty());
        EXPECT_TRUE(packets.size() == 1 || !packets.back()->IsKeyFrame());
        avTime lastDts = NoTime, end = NoTime;
        std::set<avTime> times;
        for (const auto& packet : packets)
        {
            ASSERT_NE(packet->GetPTS(), NoTime);
            ASSERT_NE(packet->GetDTS(), NoTime);
            EXPECT_GT(packet->GetDuration(), 0);
            EXPECT_GT(packet->GetDTS(), lastDts);
            EXPECT_LE(packet->GetDTS(), packet->GetPTS());
            EXPECT_TRUE(times.insert(packet->GetPTS()).second) << T2S(packet->GetPTS());
            lastDts = packet->GetDTS();
            end = std::max(end, packet->GetPTS() + packet->GetDuration());
        }
        // Groups tile: each begins with its first leading picture, and carries the one before as lead-in for that.
        size_t group = 0;
        for (size_t i = 1; i < packets.size(); ++i)
        {
            if (!packets[i]->IsKeyFrame())
                continue;
            avTime first = packets[i]->GetPTS();
            for (size_t j = i + 1; j < packets.size() && !packets[j]->IsKeyFrame(); ++j)
                first = std::min(first, packets[j]->GetPTS());
            EXPECT_EQ(packets[i]->GetPosition(), first);
            const Packets leadIn = GetFacts(*packets[i]).leadIn;
            EXPECT_EQ(leadIn.size(), first < packets[i]->GetPTS() ? i - group : 0);
            for (const auto& packet : leadIn)
                EXPECT_TRUE(GetFacts(*packet).leadIn.empty());
            group = i;
        }
        EXPECT_EQ(packets.back()->GetPosition(), packets.size() > 1 ? end : packets.back()->GetPTS());
        EXPECT_LE(end, info.duration);
        const Packets& wanted = plain.tracks[static_cast<size_t>(clip.tracks[t])].packets;
        ASSERT_EQ(packets.size(), wanted.size());
        for (size_t i = 0; i < wanted.size(); ++i)
            ASSERT_TRUE(Payload(*packets[i]) == Payload(*wanted[i])) << i;
    }
}

namespace
{

/// What a fresh read gives from the last key packet at or before the target on, without the leading pictures of that
/// group; all of it when there is none, or the target is no time within the file.
Packets ExpectedFrom(const Packets& linear, avTime target)
{
    size_t landing = 0;
    for (size_t i = 0; i < linear.size() && target > 0; ++i)
        if (linear[i]->IsKeyFrame() && linear[i]->GetPTS() <= target)
            landing = i;
    Packets expected;
    bool first = landing != 0;
    for (size_t i = landing; i < linear.size(); ++i)
    {
        first = first && (i == landing || !linear[i]->IsKeyFrame());
        if (!first || linear[i]->GetPTS() >= linear[landing]->GetPTS())
            expected.push_back(linear[i]);
    }
    return expected;
}

void ExpectSame(const Packets& expected, const Packets& got)
{
    SCOPED_TRACE("expected " + Text(expected) + "\n     got " + Text(got));
    ASSERT_EQ(expected.size(), got.size());
    for (size_t i = 0; i < got.size(); ++i)
    {
        ASSERT_EQ(got[i]->GetPTS(), expected[i]->GetPTS()) << i;
        ASSERT_TRUE(Payload(*got[i]) == Payload(*expected[i])) << i;
        ASSERT_EQ(got[i]->IsKeyFrame(), expected[i]->IsKeyFrame()) << i;
        ASSERT_TRUE(i == 0 || got[i]->GetDTS() > got[i - 1]->GetDTS()) << i;
        ASSERT_GE(got[i]->GetPTS(), got[i]->GetDTS()) << i;
    }
}

} // namespace

TEST_P(Clip, SeeksLandExactly)
{
    Opened clip(GetParam());
    const auto linear = clip.ReadAll();
    const MediaInfo& info = clip.demuxer->GetInfo();
    std::mt19937 random(7);
    std::vector<avTime> targets{0, info.duration, info.duration + 5000000, -1000};
    for (int i = 0; i < 12; ++i)
        targets.push_back(std::uniform_int_distribution<avTime>(0, info.duration)(random));
    for (const auto& packet : linear[0])
        if (packet->IsKeyFrame() && targets.size() < 50 &&
            info.tracks[static_cast<size_t>(clip.tracks[0])].type == MediaType::Video)
            targets.insert(targets.end(), {packet->GetPTS(), packet->GetPTS() - 1});
    for (const avTime target : targets)
    {
        SCOPED_TRACE("target " + T2S(target));
        clip.Seek(target / 2);
        clip.Seek(target);
        const avTime clamped = std::min(target, info.duration);
        if (clip.HasFixedPackets(0))
        {
            const Packets expected = ExpectedFrom(linear[0], clamped);
            EXPECT_EQ(clip.streams[0]->GetPosition(),
                      expected.size() == linear[0].size() ? linear[0][0]->GetPosition() : expected[0]->GetPTS());
        }
        const auto got = clip.ReadAll();
        for (size_t t = 0; t < got.size(); ++t)
            if (clip.HasFixedPackets(t))
                ExpectSame(ExpectedFrom(linear[t], clamped), got[t]);
        if (HasFailure())
            return;
    }
}

// What lies outside of the deleted stretches is all there, each packet once.
TEST_P(Clip, CutReadsWhatIsKept)
{
    const auto linear = Opened(GetParam()).ReadAll();
    Opened clip(GetParam());
    const avTime duration = clip.demuxer->GetInfo().duration;
    for (const auto& [from, to] : {std::pair{0.1, 0.9}, {0.0, 0.8}, {0.3, 1.0}, {0.4, 0.45}})
    {
        const avTime start = static_cast<avTime>(from * static_cast<double>(duration));
        const avTime deleted = start == 0 ? NoTime : start; // what lies before 0 counts to the first interval
        const avTime end = to == 1.0 ? MAX_DURATION : static_cast<avTime>(to * static_cast<double>(duration));
        const auto got = clip.ReadWithout(start, end);
        for (size_t t = 0; t < got.size(); ++t)
        {
            SCOPED_TRACE("track " + std::to_string(t) + " " + T2S(start) + "-" + T2S(end) + " " + Text(got[t]));
            std::map<avTime, SP<Proc::IDataPacket>> byTime;
            for (const auto& packet : got[t])
            {
                const auto [place, first] = byTime.emplace(packet->GetPTS(), packet);
                ASSERT_TRUE(first || IsForDecoding(*place->second)) << "twice " << T2S(packet->GetPTS());
                place->second = packet;
            }
            if (!clip.HasFixedPackets(t))
                continue;
            size_t lost = 0;
            for (const auto& packet : linear[t])
                if (packet->GetPTS() < deleted || packet->GetPTS() >= end)
                    lost += !byTime.count(packet->GetPTS()) || Payload(*byTime[packet->GetPTS()]) != Payload(*packet);
            EXPECT_EQ(lost, 0u);
            // The group before the stretch must end at the key packet after its start.
            for (const auto& packet : linear[t])
                if (packet->IsKeyFrame() && packet->GetPosition() >= deleted)
                {
                    EXPECT_TRUE(byTime.count(packet->GetPTS())) << T2S(packet->GetPTS());
                    break;
                }
        }
    }
}

// A file lasts as long as anything in it, be it a caption's end that no sound or picture reaches.
TEST(Demuxer, SparseTracksAreMetOnceAndCountToTheDuration)
{
    for (const auto& [name, duration] :
         {std::pair{"h264-late-captions.mkv", 4021000}, {"h264-bitmaps.mkv", 3165000}, {"captions.srt", 4000000}})
    {
        SCOPED_TRACE(name);
        Opened clip(name);
        EXPECT_EQ(clip.demuxer->GetInfo().duration, duration);
        for (const TrackInfo& track : clip.demuxer->GetInfo().tracks)
        {
            if (track.type != MediaType::Subtitle)
                continue;
            clip.demuxer->SelectSparse(track.index);
            clip.ReadAll();
            EXPECT_FALSE(clip.demuxer->TakeSparse(track.index).empty());
            clip.Seek(0);
            clip.ReadAll();
            EXPECT_TRUE(clip.demuxer->TakeSparse(track.index).empty());
        }
    }
}

// Containers flag too many pictures and too few, of any codec: the bytes tell. What they don't tell is believed.
TEST(Demuxer, KeyPicturesAreWhatTheirBytesSay)
{
    using Tessor::Test::Bytes;
    using Tessor::Test::operator+;
    const Bytes code{0, 0, 0, 1}, inter{0x41, 0x9A, 0, 0}, intra{0x41, 0x88, 0x80, 0}, idr{0x65, 0x88, 0x80, 0};
    const Bytes now{0x06, 0x06, 0x01, 0xC4, 0x80}, later{0x06, 0x06, 0x02, 0x15, 0x10, 0x80}, odd{0x06, 0x06, 0xFF};
    const Bytes avcC{1, 66, 0, 10, 0xFD, 0xE0, 0}, picture{0, 0, 1, 0}, vop{0, 0, 1, 0xB6}, h263{0, 0, 0x80, 2};
    // what becomes of the flags of two packets that follow a key: K, or another letter
    const std::tuple<const char*, AVCodecID, Bytes, Bytes, char, char> rows[] = {
        {"IDR", AV_CODEC_ID_H264, {}, code + idr, 'K', 'K'},
        {"IDR after a length", AV_CODEC_ID_H264, avcC, Bytes{0, 4} + idr, 'K', 'K'},
        {"P", AV_CODEC_ID_H264, {}, code + inter, '-', '-'},
        {"I that nothing says to be an entry", AV_CODEC_ID_H264, {}, code + intra, '-', '-'},
        {"I at a recovery point", AV_CODEC_ID_H264, {}, code + now + code + intra, 'K', 'K'},
        {"I before a recovery point", AV_CODEC_ID_H264, {}, code + later + code + intra, 'K', 'K'},
        {"P at a recovery point", AV_CODEC_ID_H264, {}, code + now + code + inter, 'K', '-'},
        {"an intra refresh begins", AV_CODEC_ID_H264, {}, code + later + code + inter, '-', '-'},
        {"a message ends too early", AV_CODEC_ID_H264, {}, code + odd + code + inter, 'K', '-'},
        {"unknown framing", AV_CODEC_ID_H264, {}, Bytes{0, 0, 1, 1, 0x41}, 'K', '-'},
        {"CRA", AV_CODEC_ID_HEVC, {}, code + Bytes{0x2A, 1}, 'K', 'K'},
        {"TRAIL_R", AV_CODEC_ID_HEVC, {}, code + Bytes{2, 1}, '-', '-'},
        {"I", AV_CODEC_ID_MPEG2VIDEO, {}, picture + Bytes{0, 0x08}, 'K', 'K'},
        {"B", AV_CODEC_ID_MPEG1VIDEO, {}, picture + Bytes{0, 0x18}, '-', '-'},
        {"I", AV_CODEC_ID_MPEG4, {}, vop + Bytes{0x10}, 'K', 'K'},
        {"S", AV_CODEC_ID_MPEG4, {}, vop + Bytes{0xC0}, '-', '-'},
        {"I", AV_CODEC_ID_H263, {}, h263 + Bytes{0x08}, 'K', 'K'},
        {"P", AV_CODEC_ID_H263, {}, h263 + Bytes{0x0A}, '-', '-'},
        {"P of the extended type", AV_CODEC_ID_H263, {}, h263 + Bytes{0x1C, 0x80, 0, 0x08}, '-', '-'},
        {"key", AV_CODEC_ID_VP8, {}, {0x10, 0, 0, 0x9D, 1, 0x2A}, 'K', 'K'},
        {"inter", AV_CODEC_ID_VP8, {}, {0x11, 0, 0}, '-', '-'},
        {"key", AV_CODEC_ID_VP9, {}, {0x82, 0x49}, 'K', 'K'},
        {"inter", AV_CODEC_ID_VP9, {}, {0x86, 0}, '-', '-'},
        {"an old one shown", AV_CODEC_ID_VP9, {}, {0x88}, '-', '-'},
        {"intra", AV_CODEC_ID_THEORA, {}, {0x2F}, 'K', 'K'},
        {"inter", AV_CODEC_ID_THEORA, {}, {0x6F}, '-', '-'},
        {"P", AV_CODEC_ID_WMV2, {}, {0x80}, '-', '-'},
        {"P", AV_CODEC_ID_MSMPEG4V3, {}, {0x40}, '-', '-'},
        {"any", AV_CODEC_ID_VC1, {}, {0x40}, 'K', '-'},
    };
    for (const auto& [what, codec, header, bytes, flagged, unflagged] : rows)
    {
        SCOPED_TRACE(testing::Message() << avcodec_get_name(codec) << ": " << what);
        const TrackInfo track = MakeTrack(MediaType::Video, codec, header);
        KeyPictures keys(track);
        const auto check = [&, &bytes = bytes](int flags)
        {
            const PacketPtr packet(Proc::CreatePacket(bytes.size()));
            std::copy(bytes.begin(), bytes.end(), packet->data);
            packet->flags = flags;
            keys.Check(*packet);
            return packet->flags & AV_PKT_FLAG_KEY ? 'K' : '-';
        };
        // nothing better comes before the first picture of a file
        const char first = check(AV_PKT_FLAG_KEY);
        EXPECT_EQ(first, what == std::string("an intra refresh begins") ? 'K' : flagged);
        EXPECT_EQ(check(AV_PKT_FLAG_KEY), flagged);
        EXPECT_EQ(check(0), unflagged);
        keys.Reset(true);
        EXPECT_EQ(check(AV_PKT_FLAG_KEY), first);
    }
}

} // namespace Tessor::Host::Tests
