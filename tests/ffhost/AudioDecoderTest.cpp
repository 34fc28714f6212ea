#include "ffhost/codecs/AudioDecoder.h"

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "ffhost/io/reading/Demuxer.h"
#include "tests/ffhost/Streams.h"
#include "tests/support/Media.h"
#include "tests/support/ScratchFolder.h"

#include <cmath>
#include <fstream>

namespace Tessor::Host::Tests
{

using namespace Proc;

namespace
{

constexpr int RATE = 8000;

/// The first channel, and where the first sample stands.
struct Sound
{
    avTime start = NoTime;
    std::vector<double> samples;
};

/// Reads at most that many samples, and sees to it that blocks abut.
Sound ReadSound(IStreamAudio& stream, size_t most)
{
    Sound sound;
    avTime end = NoTime;
    while (sound.samples.size() < most)
    {
        const SP<IDataAudio> block = stream.Read();
        if (!block)
            break;
        if (end == NoTime)
            sound.start = end = block->GetPTS();
        EXPECT_EQ(block->GetPTS(), end) << "sample " << sound.samples.size();
        end = AddTime(block->GetPTS(), block->GetDuration());
        for (int i = 0; i < block->GetSampleCount(); ++i)
        {
            std::vector<double> channels;
            GetAudioSamples(block->GetConstAudioRef(), i, channels);
            sound.samples.push_back(channels.at(0));
        }
    }
    return sound;
}

/// Packets of 100 ms of PCM whose samples count up, at the given times.
SP<IStreamRaw> MakePackets(const std::vector<avTime>& times)
{
    const SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
    format->SetSampleInfo({Conf::SampleFormats::S16, RATE, Conf::ChannelLayout::Mono});
    format->GetProperties().SetChildT<std::string>(Conf::IFormatCodec::TAG_CODEC_ID, "pcm_s16le");
    Packets packets;
    int16_t next = 1;
    for (const avTime time : times)
    {
        Tessor::Test::Bytes samples;
        for (int i = 0; i < RATE / 10; ++i, ++next)
            samples.insert(samples.end(), {static_cast<uint8_t>(next), static_cast<uint8_t>(next >> 8)});
        packets.push_back(
            Tessor::Test::CreateFakePacket({.pts = time, .duration = 100000, .dts = time}, MediaType::Audio, &samples));
    }
    return SP<IStreamRaw>(new PacketList(format, packets));
}

/// Times of packets of 100 ms, of which all but the first two are one.
std::vector<avTime> Stand(size_t count, avTime time)
{
    std::vector<avTime> times(count, time);
    times[0] = 0;
    times[1] = 100000;
    return times;
}

} // namespace

using AudioClips = testing::TestWithParam<std::string>;

TEST_P(AudioClips, SeeksAreExact)
{
    const SP<Demuxer> demuxer = Demuxer::Open(Tessor::Test::ClipPath(GetParam()));
    const std::vector<TrackInfo>& tracks = demuxer->GetInfo().tracks;
    const auto track =
        std::find_if(tracks.begin(), tracks.end(), [](const TrackInfo& info) { return info.type == MediaType::Audio; });
    const SP<IStreamAudio> stream = AudioDecoder::Create(demuxer->GetStream(track->index));
    const int rate = stream->GetFormatCodec()->GetSampleInfo().GetSampleRate();
    const Sound whole = ReadSound(*stream, SIZE_MAX);
    ASSERT_GE(whole.samples.size(), static_cast<size_t>(rate));
    EXPECT_GE(whole.start, 0);
    for (const avTime target : {600000LL, 0LL, 900000LL, 333333LL})
    {
        Tessor::Test::Seek(stream, target);
        const Sound part = ReadSound(*stream, static_cast<size_t>(rate) / 10);
        const avTime wanted = std::max(target, whole.start);
        EXPECT_LE(std::abs(part.start - wanted), 1000000 / rate + 1) << target;
        const auto first = static_cast<size_t>(Duration2SampleCount(part.start - whole.start, rate));
        double worst = 0;
        for (size_t i = 0; i < part.samples.size() && first + i < whole.samples.size(); ++i)
            worst = std::max(worst, std::abs(part.samples[i] - whole.samples[first + i]));
        EXPECT_LT(worst, 1e-4) << target;
    }
}

// none whose decoder makes noise of its own
INSTANTIATE_TEST_SUITE_P(Samples, AudioClips,
                         testing::Values("h264-irregular.mp4", "h264-rotated.mov", "mpeg4.mov", "aac.aac",
                                         "aac-pce.aac", "mp3.mp3", "theora.ogv", "amr.3gp", "pages.ogv"));
INSTANTIATE_TEST_SUITE_P(Media, AudioClips, testing::ValuesIn(Tessor::Test::RealClips("h264-high")));

TEST(AudioDecoder, FollowsTheSamplesUnlessTimesSayMore)
{
    // times; the samples' count and start; places and values, in units of the counter
    using Samples = std::vector<std::pair<size_t, double>>;
    const std::tuple<const char*, std::vector<avTime>, size_t, avTime, Samples> rows[] = {
        {"jitter is none of the sound", {0, 110000, 195000, 300000}, 3200, 0, {{0, 1}, {800, 801}, {3199, 3200}}},
        {"a gap is silence", {0, 100000, 400000}, 4000, 0, {{1599, 1600}, {1600, 0}, {3199, 0}, {3200, 1601}}},
        {"what comes twice is dropped", {0, 100000, 100000, 200000}, 2400, 0, {{1599, 1600}, {1600, 2401}}},
        {"a wrong time is no gap", {0, 100000, -90000000, 300000}, 3200, 0, {{1600, 1601}, {2400, 2401}}},
        {"what lies before 0 is dropped", {-150000, -50000, 50000}, 1200, 0, {{0, 1201}, {400, 1601}}},
        {"a gap up to the limit is silence, a longer one is closed, and what follows goes along",
         {0, 1100000, 2300001, 2500001},
         12000,
         0,
         {{800, 0}, {8800, 801}, {9600, 1601}, {10400, 0}, {11200, 2401}}},
        {"times that are back were wrong",
         {0, 90000000, 200000, 400000},
         4000,
         0,
         {{800, 801}, {2400, 0}, {3200, 2401}}},
        {"what stands still comes twice for a second at most",
         Stand(17, 900000),
         11200,
         0,
         {{7199, 0}, {7200, 1601}, {7999, 2400}, {8000, 10401}, {11199, 13600}}},
        {"a late start is no silence", {500000, 600000}, 1600, 500000, {{0, 1}}},
    };
    for (const auto& [what, times, count, start, samples] : rows)
    {
        const SP<IStreamAudio> stream = AudioDecoder::Create(MakePackets(times), {.longest = SECOND});
        Tessor::Test::Seek(stream, 0);
        const Sound sound = ReadSound(*stream, SIZE_MAX);
        ASSERT_EQ(sound.samples.size(), count) << what;
        EXPECT_EQ(sound.start, start) << what;
        for (const auto& [place, value] : samples)
            EXPECT_EQ(std::lround(sound.samples[place] * 32767), value) << what << ", sample " << place;
    }
}

// Six channels, then one.
TEST(AudioDecoder, SoundThatChangesGoesOnInTheFormatOfItsBeginning)
{
    const Tessor::Test::ScratchFolder folder;
    const std::string joined = folder / "joined.aac";
    std::ofstream(joined, std::ios::binary) << Tessor::Test::Slurp(Tessor::Test::ClipPath("aac-pce.aac"))
                                            << Tessor::Test::Slurp(Tessor::Test::ClipPath("aac.aac"));
    const SP<Demuxer> demuxer = Demuxer::Open(joined);
    const SP<IStreamAudio> stream = AudioDecoder::Create(demuxer->GetStream(0));
    EXPECT_EQ(stream->GetFormatCodec()->GetSampleInfo().GetChannelCount(), 6);
    EXPECT_NEAR(static_cast<double>(ReadSound(*stream, SIZE_MAX).samples.size()), 6.06 * 48000, 1024);
}

} // namespace Tessor::Host::Tests
