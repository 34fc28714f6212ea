#include "Fnd/Exception.h"
#include "media/audio/AudioTime.h"
#include "media/items/DataAudioFF.h"

extern "C"
{
#include <libavutil/buffer.h>
}

#include <gtest/gtest.h>
#include <numeric>
#include <random>

using namespace Tessor;
using namespace Tessor::Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;
using Conf::SampleInfo;

namespace
{

constexpr avTime longest = std::numeric_limits<avTime>::max();

using Bytes = std::vector<uint8_t>;

/// The whole buffer of a new block with those samples, padding included. Bytes tell sample and channel; -1 is silence.
Bytes Layout(const SampleInfo& info, const std::vector<int>& samples)
{
    const bool planar = info.GetFormat().planar;
    const auto width = static_cast<size_t>(info.GetFormat().bits / 8);
    const auto channels = static_cast<size_t>(info.GetChannelCount());
    const size_t linesize = GetAudioLinesize(info, static_cast<int>(samples.size()));
    Bytes all(linesize * (planar ? channels : 1));
    for (size_t i = 0; i < samples.size(); ++i)
        for (size_t channel = 0; channel < channels; ++channel)
            for (size_t byte = 0; byte < width; ++byte)
            {
                const size_t at = planar ? channel * linesize + i * width : (i * channels + channel) * width;
                const size_t value = static_cast<size_t>(samples[i]) * 37 + channel * 5 + byte;
                all[at + byte] = static_cast<uint8_t>(samples[i] >= 0 ? value % 251 : width == 1 ? 128 : 0);
            }
    return all;
}

std::vector<int> FirstSamples(int count)
{
    std::vector<int> samples(static_cast<size_t>(count));
    std::iota(samples.begin(), samples.end(), 0);
    return samples;
}

SP<DataAudioFF> MakeBlock(const SampleInfo& info, int count)
{
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, count);
    const Bytes bytes = Layout(info, FirstSamples(count));
    std::copy(bytes.begin(), bytes.end(), block->GetAudioRef().data);
    block->SetPTS(1000);
    return block;
}

Bytes GetBytes(IDataAudio& block)
{
    const AudioRef ref = block.GetAudioRef();
    EXPECT_EQ(ref.linesize, GetAudioLinesize(ref.sampleInfo, ref.sampleCount));
    return Bytes(ref.data, ref.data + block.GetMemorySize());
}

std::vector<SampleInfo> MakeInfos()
{
    std::vector<SampleInfo> infos;
    const int rates[] = {44100, 11025, 48000, 7, 192000};
    const ChannelLayout layouts[] = {ChannelLayout::Mono, ChannelLayout::Stereo, ChannelLayout::L5_1};
    for (int format = 0; format < 10; ++format)
        infos.emplace_back(static_cast<SampleFormats>(format), rates[format % 5], layouts[format % 3]);
    return infos;
}

long long Uniform(std::mt19937& random, long long low, long long high)
{
    return std::uniform_int_distribution<long long>(low, high)(random);
}

} // namespace

TEST(DataAudio, CutsLikeAListOfSamples)
{
    std::mt19937 random(2);
    for (const SampleInfo& info : MakeInfos())
        for (int round = 0; round < 40; ++round)
        {
            std::vector<int> samples = FirstSamples(static_cast<int>(Uniform(random, 0, 700)));
            const SP<DataAudioFF> block = MakeBlock(info, static_cast<int>(samples.size()));
            avTime pts = 1000;
            for (int cut = 0; cut < 3; ++cut)
            {
                const avTime duration = block->GetDuration();
                const avTime start = Uniform(random, 0, duration);
                const avTime length = Uniform(random, 0, duration - start);
                const auto count = static_cast<long long>(samples.size());
                const auto toSamples = [&](avTime t) { return Duration2SampleCount(t, info.GetSampleRate()); };
                const auto remove = [&](long long from, long long to) {
                    samples.erase(samples.begin() + std::clamp(from, 0LL, count),
                                  samples.begin() + std::min(to, count));
                };
                switch (random() % 3)
                {
                case 0:
                    block->TrimStart(length);
                    remove(0, toSamples(length));
                    pts += length;
                    break;
                case 1:
                    block->TrimEnd(length);
                    remove(count - toSamples(length), count);
                    break;
                default:
                    block->RemovePart(start, length);
                    remove(toSamples(start), toSamples(start + length));
                }
                ASSERT_EQ(block->GetDuration(), duration - length);
                ASSERT_EQ(block->GetPTS(), pts);
                ASSERT_EQ(block->GetSampleCount(), static_cast<int>(samples.size()));
                ASSERT_EQ(GetBytes(*block), Layout(info, samples));
            }
            samples.resize(static_cast<size_t>(Uniform(random, 0, block->GetSampleCount())));
            block->Shorten(static_cast<int>(samples.size()));
            ASSERT_EQ(block->GetDuration(), SampleCount2Duration(samples.size(), info.GetSampleRate()));
            ASSERT_EQ(GetBytes(*block), Layout(info, samples));
        }
}

TEST(DataAudio, ClonesShareUntilOneChangesOrIsSilenced)
{
    using Change = void (*)(DataAudioFF&);
    const Change changes[] = {
        [](DataAudioFF& b) { b.TrimStart(300); },       [](DataAudioFF& b) { b.TrimEnd(300); },
        [](DataAudioFF& b) { b.RemovePart(100, 300); }, [](DataAudioFF& b) { b.Shorten(17); },
        [](DataAudioFF& b) { b.FillSilence(); },        [](DataAudioFF& b) { b.GetAudioRef().data[0] ^= 1; },
    };
    for (const SampleInfo& info : MakeInfos())
        for (const Change& change : changes)
        {
            SCOPED_TRACE(&change - changes);
            const SP<DataAudioFF> block = MakeBlock(info, 500);
            const Bytes before = GetBytes(*block);
            const uint8_t* const home = block->GetAudioRef().data;
            const SP<IDataAudio> clones[] = {block->Clone(false), block->Clone(1), block->Clone(2)};
            for (const SP<IDataAudio>& clone : clones)
                clone->SetPTS(7);
            EXPECT_EQ(block->GetPTS(), 1000);
            change(*block);
            for (const SP<IDataAudio>& clone : clones)
                EXPECT_EQ(GetBytes(*clone), before);
            if (&change == &changes[4])
            {
                EXPECT_EQ(GetBytes(*block), Layout(info, std::vector<int>(500, -1))) << "padding stays zero";
            }
            // the last holder of the shared samples does not copy them
            EXPECT_EQ(clones[0]->GetAudioRef().data == home, block->GetAudioRef().data != home);
        }
}

TEST(DataAudio, RefusesWhatItCannotDo)
{
    const SampleInfo good(SampleFormats::S16, 48000, ChannelLayout::Stereo);
    for (const auto& [info, count] :
         {std::pair(good, -1), {SampleInfo(), 5}, {SampleInfo(SampleFormats::S16, 48000, ChannelLayout::None), 5}})
        EXPECT_THROW(DataAudioFF::CreateBySampleCount(info, count), std::invalid_argument);
    for (AVBufferRef* const memory : {static_cast<AVBufferRef*>(nullptr), av_buffer_alloc(1919)})
        EXPECT_THROW(DataAudioFF::CreateOver(good, 480, memory), std::invalid_argument);
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(good, 480);
    for (const avTime amount : {avTime{-1}, avTime{10001}, NoTime, longest})
    {
        EXPECT_THROW(block->TrimStart(amount), Exception) << amount;
        EXPECT_THROW(block->TrimEnd(amount), Exception) << amount;
        EXPECT_THROW(block->RemovePart(0, amount), Exception) << amount;
        EXPECT_THROW(block->RemovePart(amount, 1), Exception) << amount;
    }
    EXPECT_THROW(block->Shorten(481), std::invalid_argument);
    EXPECT_EQ(block->GetSampleCount(), 480);
    EXPECT_EQ(block->GetDuration(), 10000);
}

TEST(DataAudio, SamplesAndDurationMayDisagree)
{
    const SP<DataAudioFF> noBytes =
        DataAudioFF::CreateBySampleCount(SampleInfo(SampleFormats(17), 48000, ChannelLayout::Stereo), 480);
    noBytes->FillSilence();
    noBytes->TrimStart(5000);
    EXPECT_EQ(noBytes->GetAudioRef().linesize, 0u);
    EXPECT_EQ(noBytes->GetSampleCount(), 240);

    // without a duration the samples are the bound
    const SP<DataAudioFF> endless =
        DataAudioFF::CreateBySampleCount(SampleInfo(SampleFormats::FloatP, 48000, ChannelLayout::Mono), 480);
    const SP<IDataAudio> longer = endless->Clone(2);
    endless->SetDuration(NoTime);
    EXPECT_THROW(endless->TrimEnd(10020), Exception);
    endless->TrimEnd(5000);
    EXPECT_EQ(endless->GetSampleCount(), 240);
    EXPECT_EQ(endless->GetDuration(), NoTime);

    longer->SetDuration(20000);
    longer->TrimStart(15000);
    EXPECT_EQ(longer->GetSampleCount(), 0);
    EXPECT_EQ(longer->GetDuration(), 5000);
}

TEST(AudioTime, DoesNotDriftInTwoHours)
{
    AudioTime time;
    time.Reset(40);
    long long samples = 0;
    while (samples < 2LL * 3600 * 11025)
    {
        time.AddSamples(11025, 1152);
        samples += 1152;
        const long long doubled = samples * 2000000 / 11025;
        ASSERT_EQ(time.GetTime(), 40 + (doubled + 1) / 2);
    }
}

TEST(AudioTime, FoldsAtANewRate)
{
    AudioTime time;
    time.Reset(0);
    time.AddSamples(3, 1); // 333333.3
    time.AddSamples(7, 1); // 142857.1
    EXPECT_EQ(time.GetTime(), 333333 + 142857);
    time.AddSamples(7, 6);
    EXPECT_EQ(time.GetTime(), 1333333);
    EXPECT_THROW(time.AddSamples(0, 1), std::invalid_argument);
}

TEST(AudioTime, StopsAtTheEndOfTheRange)
{
    AudioTime time;
    time.Reset(0);
    time.AddSamples(1, std::numeric_limits<unsigned long long>::max());
    EXPECT_EQ(time.GetTime(), longest);
    time.AddSamples(1, 5);
    EXPECT_EQ(time.GetTime(), longest);
    time.Reset(0);
    time.AddSamples(1000000, 1ull << 62);
    EXPECT_EQ(time.GetTime(), avTime{1} << 62);
}

TEST(AudioTime, ConvertsDurationsRoundingToNearest)
{
    EXPECT_EQ(Duration2SampleCount(23220, 44100), 1024);
    for (const auto& [duration, samples] : {std::pair(5, 1), {4, 0}, {-5, -1}, {-4, 0}})
        EXPECT_EQ(Duration2SampleCount(duration, 100000), samples) << duration;
    EXPECT_EQ(Duration2SampleCount(NoTime, 44100), 0);
    EXPECT_EQ(Duration2SampleCount(1000000, 0), 0);
    EXPECT_EQ(Duration2SampleCount(longest, 2000000), longest);
    EXPECT_EQ(Duration2SampleCount(-longest, 2000000), -longest);
    // a rate below 500 kHz loses nothing on the way to microseconds and back
    std::mt19937 random(5);
    for (int i = 0; i < 1000; ++i)
    {
        const int rate = std::uniform_int_distribution<int>(1, 499999)(random);
        const long long count = std::uniform_int_distribution<long long>(0, 1LL << 40)(random);
        EXPECT_EQ(Duration2SampleCount(SampleCount2Duration(count, rate), rate), count) << rate;
    }
}
