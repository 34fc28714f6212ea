#include "Fnd/Exception.h"
#include "media/AudioTime.h"
#include "media/DataAudioFF.h"

#include <gtest/gtest.h>
#include <random>

using namespace Tessor;
using namespace Tessor::Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;
using Conf::SampleInfo;

namespace
{

using Bytes = std::vector<uint8_t>;

/// A block as the slow twin has it: one value a sample and channel, each the bytes of that sample.
struct Twin
{
    SampleInfo info;
    std::vector<std::vector<Bytes>> samples; // [sample][channel]

    void Remove(long long from, long long to)
    {
        const long long size = static_cast<long long>(samples.size());
        samples.erase(samples.begin() + std::min(from, size), samples.begin() + std::min(to, size));
    }
};

size_t SampleOffset(const AudioRef& ref, int sample, int channel)
{
    const size_t bytes = static_cast<size_t>(ref.sampleInfo.GetFormat().bits / 8);
    if (ref.sampleInfo.GetFormat().planar)
        return channel * ref.linesize + sample * bytes;
    return (static_cast<size_t>(sample) * ref.sampleInfo.GetChannelCount() + channel) * bytes;
}

Twin FillBoth(DataAudioFF& block, std::mt19937& random)
{
    const AudioRef ref = block.GetAudioRef();
    Twin twin{ref.sampleInfo, {}};
    for (int sample = 0; sample < ref.sampleCount; ++sample)
    {
        twin.samples.emplace_back();
        for (int channel = 0; channel < ref.sampleInfo.GetChannelCount(); ++channel)
        {
            Bytes bytes(ref.sampleInfo.GetFormat().bits / 8);
            std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random()); });
            std::copy(bytes.begin(), bytes.end(), ref.data + SampleOffset(ref, sample, channel));
            twin.samples.back().push_back(bytes);
        }
    }
    return twin;
}

/// The whole buffer as a new block of the twin's samples has to look, padding included.
Bytes Layout(const Twin& twin)
{
    const int count = static_cast<int>(twin.samples.size());
    const int channels = twin.info.GetChannelCount();
    const AudioRef ref{count, twin.info, nullptr, GetAudioLinesize(twin.info, count)};
    Bytes all(ref.linesize * (twin.info.GetFormat().planar ? channels : 1));
    for (int sample = 0; sample < count; ++sample)
        for (int channel = 0; channel < channels; ++channel)
            std::copy(twin.samples[sample][channel].begin(), twin.samples[sample][channel].end(),
                      all.begin() + SampleOffset(ref, sample, channel));
    return all;
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

TEST(DataAudio, CutsLikeItsTwin)
{
    std::mt19937 random(2);
    for (const SampleInfo& info : MakeInfos())
        for (int round = 0; round < 40; ++round)
        {
            const SP<DataAudioFF> block =
                DataAudioFF::CreateBySampleCount(info, static_cast<int>(Uniform(random, 0, 700)));
            block->SetPTS(1000);
            Twin twin = FillBoth(*block, random);
            avTime pts = 1000;
            for (int cut = 0; cut < 3; ++cut)
            {
                const avTime duration = block->GetDuration();
                const avTime start = Uniform(random, 0, duration);
                const avTime length = Uniform(random, 0, duration - start);
                const auto samples = [&](avTime t) { return Duration2SampleCount(t, info.GetSampleRate()); };
                const long long count = static_cast<long long>(twin.samples.size());
                switch (random() % 3)
                {
                case 0:
                    block->TrimStart(length);
                    twin.Remove(0, samples(length));
                    pts += length;
                    break;
                case 1:
                    block->TrimEnd(length);
                    twin.Remove(std::max(count - samples(length), 0LL), count);
                    break;
                default:
                    block->RemovePart(start, length);
                    twin.Remove(samples(start), samples(start + length));
                }
                ASSERT_EQ(block->GetDuration(), duration - length);
                ASSERT_EQ(block->GetPTS(), pts);
                ASSERT_EQ(block->GetSampleCount(), static_cast<int>(twin.samples.size()));
                ASSERT_EQ(GetBytes(*block), Layout(twin));
            }
        }
}

TEST(DataAudio, ClonesShareUntilOneChanges)
{
    using Change = void (*)(DataAudioFF&);
    const Change changes[] = {
        [](DataAudioFF& b) { b.TrimStart(300); },
        [](DataAudioFF& b) { b.TrimEnd(300); },
        [](DataAudioFF& b) { b.RemovePart(100, 300); },
        [](DataAudioFF& b) { b.FillSilence(); },
        [](DataAudioFF& b) { b.GetAudioRef().data[0] ^= 1; },
    };
    std::mt19937 random(3);
    for (const SampleInfo& info : MakeInfos())
        for (const Change& change : changes)
        {
            SCOPED_TRACE(&change - changes);
            const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, 500);
            block->SetPTS(5);
            const Bytes before = Layout(FillBoth(*block, random));
            const uint8_t* const home = block->GetAudioRef().data;
            const SP<IDataAudio> clones[] = {block->Clone(false), block->Clone(1), block->Clone(2)};
            for (const SP<IDataAudio>& clone : clones)
                clone->SetPTS(7);
            EXPECT_EQ(block->GetPTS(), 5);
            change(*block);
            for (const SP<IDataAudio>& clone : clones)
                EXPECT_EQ(GetBytes(*clone), before);
            // the last holder of the shared samples does not copy them
            EXPECT_EQ(clones[0]->GetAudioRef().data == home, block->GetAudioRef().data != home);
        }
}

TEST(DataAudio, SilenceLeavesThePaddingZero)
{
    std::mt19937 random(4);
    for (const SampleInfo& info : MakeInfos())
    {
        const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, 33);
        Twin twin = FillBoth(*block, random);
        block->FillSilence();
        for (auto& sample : twin.samples)
            for (Bytes& bytes : sample)
                bytes.assign(bytes.size(), bytes.size() == 1 ? 128 : 0);
        EXPECT_EQ(GetBytes(*block), Layout(twin));
    }
}

TEST(DataAudio, RefusesWhatItCannotDo)
{
    const SampleInfo good(SampleFormats::S16, 48000, ChannelLayout::Stereo);
    EXPECT_THROW(DataAudioFF::CreateBySampleCount(good, -1), std::invalid_argument);
    EXPECT_THROW(DataAudioFF::CreateBySampleCount(SampleInfo(), 5), std::invalid_argument);
    EXPECT_THROW(DataAudioFF::CreateBySampleCount(SampleInfo(SampleFormats::S16, 48000, ChannelLayout::None), 5),
                 std::invalid_argument);
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(good, 480);
    for (const avTime amount : {avTime{-1}, avTime{10001}, NoTime, std::numeric_limits<avTime>::max()})
    {
        EXPECT_THROW(block->TrimStart(amount), Exception) << amount;
        EXPECT_THROW(block->TrimEnd(amount), Exception) << amount;
        EXPECT_THROW(block->RemovePart(0, amount), Exception) << amount;
        EXPECT_THROW(block->RemovePart(amount, 1), Exception) << amount;
    }
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

    const SampleInfo noRate(SampleFormats::S16, 0, ChannelLayout::Stereo);
    EXPECT_EQ(DataAudioFF::CreateBySampleCount(noRate, 5)->GetDuration(), NoTime);

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
