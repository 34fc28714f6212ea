#include "Fnd/Exception.h"
#include "Proc/Settings/SettingsFade.h"
#include "effects/IResample.h"
#include "ffhost/registry/Host.h"
#include "host/IAudioFormatter.h"
#include "media/audio/AudioTime.h"
#include "tests/ffhost/Items.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Tessor::Host::Tests
{

using namespace Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;
using Conf::SampleInfo;

namespace
{

using Blocks = std::vector<SP<IDataAudio>>;

SampleInfo Stereo(int rate)
{
    return SampleInfo(SampleFormats::Float, rate, ChannelLayout::Stereo);
}

/// Blocks that abut.
Blocks MakeBlocks(int rate, const std::vector<int>& counts)
{
    Blocks blocks;
    long long first = 0;
    for (const int count : counts)
    {
        blocks.push_back(MakeSound(Stereo(rate), count, first));
        first += count;
    }
    return blocks;
}

/// What comes out, which has to abut without a drift.
Blocks RunAll(IOneInputEffectAudio& effect, Blocks blocks)
{
    Blocks out;
    for (SP<IDataAudio> block : blocks)
        if (effect.Process(block); block)
            out.push_back(block);
    for (SP<IDataAudio> block; effect.Process(block), block; block.reset())
        out.push_back(block);
    unsigned long long samples = 0;
    for (const SP<IDataAudio>& block : out)
    {
        EXPECT_EQ(block->GetPTS(), out[0]->GetPTS() + SampleCount2Duration(samples, block->GetSampleRate()));
        samples += static_cast<unsigned>(block->GetSampleCount());
    }
    return out;
}

std::vector<float> GetSamples(const Blocks& blocks)
{
    std::vector<float> samples;
    for (const SP<IDataAudio>& block : blocks)
    {
        const AudioRef audio = block->GetConstAudioRef();
        const auto* first = reinterpret_cast<const float*>(audio.data);
        samples.insert(samples.end(), first, first + audio.sampleCount * audio.sampleInfo.GetChannelCount());
    }
    return samples;
}

SP<IResample> MakeResampler(int rate, SampleFormats format = SampleFormats::None,
                            ChannelLayout layout = ChannelLayout::None)
{
    const SP<IOneInputEffectAudio> effect = MakeHost().effects->CreateEffectAudio(IResample::CLASS_ID, "", nullptr);
    const SP<IResample> resampler(&dynamic_cast<IResample&>(*effect));
    resampler->Init(SampleInfo(format, rate, layout));
    return resampler;
}

TEST(ResampleTest, ASineStaysItselfFromTheFirstSampleToTheLast)
{
    for (const auto& [from, to] : std::vector<std::pair<int, int>>{{44100, 48000}, {48000, 11025}, {8000, 44100}})
    {
        const SP<IResample> resampler = MakeResampler(to);
        const Blocks out = RunAll(*resampler, MakeBlocks(from, std::vector<int>(40, 1024)));
        const std::vector<float> samples = GetSamples(out);
        EXPECT_EQ(out.front()->GetPTS(), 0);
        EXPECT_NEAR(static_cast<double>(samples.size()), 2.0 * 40 * 1024 * to / from, 4);
        for (size_t i = 200; i + 200 < samples.size(); ++i)
            ASSERT_NEAR(samples[i], 0.5 * std::sin(0.05 * static_cast<double>(i / 2) * from / to), 2e-3) << i;
    }
}

TEST(ResampleTest, GapsStayAndNothingIsLeftAfterASeek)
{
    const SP<IResample> resampler = MakeResampler(48000);
    const auto process = [&](SP<IDataAudio> block)
    {
        resampler->Process(block);
        return block;
    };
    process(MakeSound(Stereo(44100), 4410));
    EXPECT_NEAR(static_cast<double>(process(MakeSound(Stereo(44100), 4410, 44100))->GetPTS()), 1000000, 1000);
    resampler->Reset();
    EXPECT_FALSE(process(nullptr));
    EXPECT_EQ(process(MakeSound(Stereo(44100), 4410, 88200))->GetPTS(), 2000000);
}

TEST(ResampleTest, FormatsMayChangeInMidStream)
{
    const SampleInfo wanted(SampleFormats::S16P, 48000, ChannelLayout::Mono);
    const SP<IResample> resampler = MakeResampler(48000, SampleFormats::S16P, ChannelLayout::Mono);
    const Blocks out =
        RunAll(*resampler, {MakeSound(Stereo(44100), 44100), MakeSound(wanted, 48000, 48000),
                            MakeSound(SampleInfo(SampleFormats::Double, 8000, ChannelLayout::L5_1), 8000, 16000)});
    EXPECT_NEAR(static_cast<double>(out.back()->GetPTS() + out.back()->GetDuration()), 3000000, 50);
    for (const SP<IDataAudio>& block : out)
        EXPECT_EQ(block->GetSampleInfo(), wanted);
}

TEST(FadeAudioTest, EverySampleHasTheLevelOfItsTimeWhateverBlockItComesIn)
{
    for (const int rate : {8000, 44100, 192000})
        for (const avTime base : {avTime{0}, avTime{-20011}, avTime{5000011}})
            for (const auto direction : {SettingsFade::Direction::In, SettingsFade::Direction::Out})
            {
                const auto fade = [&](const std::vector<int>& counts)
                {
                    SettingsFade settings;
                    settings.direction = direction;
                    const auto effect = MakeHost().effects->CreateEffectAudio(SettingsFade::CLASS_ID, "", nullptr);
                    effect->Initialise(settings);
                    effect->SetTimeToProgress({base + 10000, base + 60000, TimeToProgress::Linear});
                    Blocks blocks = MakeBlocks(rate, counts);
                    for (const SP<IDataAudio>& block : blocks)
                        block->SetPTS(block->GetPTS() + base);
                    return GetSamples(RunAll(*effect, blocks));
                };
                const int count = rate / 10;
                const std::vector<float> whole = GetSamples(MakeBlocks(rate, {count})), faded = fade({count});
                EXPECT_EQ(fade({1, 7, count / 3, count / 2, count - 8 - count / 3 - count / 2}), faded) << rate;
                EXPECT_EQ(fade(std::vector<int>(static_cast<size_t>(count / 10), 10)), faded) << rate;
                for (size_t i = 0; i < whole.size(); ++i)
                {
                    // a base that is no multiple of a sample's duration moves the times by half a sample at most
                    const double in = std::clamp((static_cast<double>(i / 2) / rate - 0.01) / 0.05, 0.0, 1.0);
                    const double level = direction == SettingsFade::Direction::In ? in : 1 - in;
                    ASSERT_NEAR(faded[i], whole[i] * level, base == 0 ? 1e-7 : 0.51 / rate / 0.05) << i;
                }
            }
}

TEST(AudioFormatterTest, BlocksFollowTheRunningTimeWithTheSamplesUnchanged)
{
    const SP<IAudioFormatter> formatter = MakeHost().algorithms->CreateAudioFormatter(ImplNames::DEFAULT);
    formatter->Reset(7000000); // for blocks without times of their own
    std::vector<int> counts;
    for (int i = 0; i < 100; ++i)
        counts.insert(counts.end(), {300, 0, 5000, 701});
    Blocks in = MakeBlocks(11025, counts), out;
    const std::vector<float> expected = GetSamples(in);
    in.push_back(MakeSound(Stereo(44100), 441));
    for (SP<IDataAudio> block : in)
    {
        block->SetPTS(NoTime);
        formatter->Push(block);
    }
    unsigned long long given = 0;
    while (const SP<IDataAudio> block = formatter->Get(100000, true))
    {
        ASSERT_EQ(block->GetPTS(), 7000000 + SampleCount2Duration(given, 11025));
        given += static_cast<unsigned>(block->GetSampleCount());
        out.push_back(block);
    }
    EXPECT_EQ(out.back()->GetSampleRate(), 44100);
    EXPECT_EQ(out.back()->GetSampleCount(), 441);
    out.pop_back();
    EXPECT_EQ(GetSamples(out), expected);
    for (size_t i = 0; i + 1 < out.size(); ++i)
        ASSERT_NEAR(static_cast<double>(out[i]->GetPTS()), 7000000 + static_cast<double>(i) * 100000, 46) << i;
}

} // namespace

} // namespace Tessor::Host::Tests
