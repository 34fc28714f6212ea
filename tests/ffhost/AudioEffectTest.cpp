#include "Fnd/Exception.h"
#include "Proc/Settings/SettingsAVFilter.h"
#include "Proc/Settings/SettingsFade.h"
#include "effects/IResample.h"
#include "ffhost/registry/Host.h"
#include "host/IAudioFormatter.h"
#include "media/AudioTime.h"
#include "media/DataAudioFF.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

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

/// A sine in every channel, from sample `first` on.
SP<IDataAudio> MakeBlock(int rate, int count, long long first, SampleFormats format = SampleFormats::Float,
                         ChannelLayout layout = ChannelLayout::Stereo)
{
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(SampleInfo(format, rate, layout), count);
    const AudioRef audio = block->GetAudioRef();
    const int channels = audio.sampleInfo.GetChannelCount();
    for (int i = 0; format == SampleFormats::Float && i < count * channels; ++i)
        reinterpret_cast<float*>(audio.data)[i] =
            static_cast<float>(std::sin(0.05 * static_cast<double>(first + i / channels)) * 0.5);
    block->SetPTS(SampleCount2Duration(static_cast<unsigned long long>(first), rate));
    return block;
}

Blocks RunAll(IOneInputEffectAudio& effect, Blocks blocks)
{
    Blocks out;
    for (SP<IDataAudio> block : blocks)
        if (effect.Process(block); block)
            out.push_back(block);
    for (SP<IDataAudio> block; effect.Process(block), block; block.reset())
        out.push_back(block);
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

void ExpectAbutting(const Blocks& blocks)
{
    for (size_t i = 1; i < blocks.size(); ++i)
        ASSERT_EQ(blocks[i]->GetPTS(), blocks[i - 1]->GetPTS() + blocks[i - 1]->GetDuration()) << i;
}

long long CountSamples(const Blocks& blocks)
{
    long long count = 0;
    for (const SP<IDataAudio>& block : blocks)
        count += block->GetSampleCount();
    return count;
}

SP<IResample> MakeResampler(const SampleInfo& output)
{
    const SP<IOneInputEffectAudio> effect = MakeHost().effects->CreateEffectAudio(IResample::CLASS_ID, "", nullptr);
    const SP<IResample> resampler(&dynamic_cast<IResample&>(*effect));
    resampler->Init(output);
    return resampler;
}

template <class S>
SP<IOneInputEffectAudio> MakeEffect(const S& settings)
{
    const SP<IOneInputEffectAudio> effect = MakeHost().effects->CreateEffectAudio(S::CLASS_ID, "", nullptr);
    effect->Initialise(settings);
    return effect;
}

/// libswresample in one call and its drain.
std::vector<float> ResampleDirectly(const std::vector<float>& samples, int from, int to)
{
    AVChannelLayout stereo = {};
    av_channel_layout_default(&stereo, 2);
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &stereo, AV_SAMPLE_FMT_FLT, to, &stereo, AV_SAMPLE_FMT_FLT, from, 0, nullptr);
    swr_init(context);
    std::vector<float> out(samples.size() * static_cast<size_t>(to) / static_cast<size_t>(from) + 4096);
    uint8_t* at = reinterpret_cast<uint8_t*>(out.data());
    const auto* in = reinterpret_cast<const uint8_t*>(samples.data());
    const int room = static_cast<int>(out.size() / 2);
    int count = swr_convert(context, &at, room, &in, static_cast<int>(samples.size() / 2));
    at = reinterpret_cast<uint8_t*>(out.data() + 2 * count);
    count += swr_convert(context, &at, room - count, nullptr, 0);
    swr_free(&context);
    out.resize(static_cast<size_t>(2 * count));
    return out;
}

TEST(ResampleTest, SamplesAreThoseOfTheLibrary)
{
    for (const auto& [from, to] : std::vector<std::pair<int, int>>{{44100, 48000}, {48000, 11025}, {8000, 44100}})
    {
        Blocks blocks;
        for (int i = 0; i < 40; ++i)
            blocks.push_back(MakeBlock(from, 1024, i * 1024LL));
        const std::vector<float> expected = ResampleDirectly(GetSamples(blocks), from, to);
        const SP<IResample> resampler = MakeResampler(SampleInfo(SampleFormats::None, to, ChannelLayout::None));
        const Blocks out = RunAll(*resampler, blocks);
        const std::vector<float> samples = GetSamples(out);
        ASSERT_EQ(samples.size(), expected.size());
        for (size_t i = 0; i < samples.size(); ++i)
            ASSERT_NEAR(samples[i], expected[i], 1e-6) << i;
        EXPECT_EQ(out.front()->GetPTS(), 0);
        ExpectAbutting(out);
    }
}

TEST(ResampleTest, AnHourDoesNotDrift)
{
    const SP<IResample> resampler = MakeResampler(SampleInfo(SampleFormats::None, 11025, ChannelLayout::Mono));
    constexpr int count = 44100;
    constexpr long long seconds = 3600;
    const SP<IDataAudio> silence = MakeBlock(44100, count, 0, SampleFormats::S16, ChannelLayout::Mono);
    long long samples = 0;
    avTime end = 0;
    for (long long i = 0; i <= seconds; ++i)
    {
        SP<IDataAudio> block = i < seconds ? silence->Clone(0) : nullptr;
        if (block)
            block->SetPTS(500000 + i * 1000000);
        resampler->Process(block);
        ASSERT_TRUE(block);
        ASSERT_EQ(block->GetPTS(), 500000 + SampleCount2Duration(static_cast<unsigned long long>(samples), 11025));
        samples += block->GetSampleCount();
        end = block->GetPTS() + block->GetDuration();
    }
    EXPECT_EQ(samples, seconds * 11025);
    EXPECT_EQ(end, 500000 + seconds * 1000000);
}

TEST(ResampleTest, GapsStayAndNothingIsLeftBehindASeek)
{
    const SP<IResample> resampler = MakeResampler(SampleInfo(SampleFormats::None, 48000, ChannelLayout::None));
    SP<IDataAudio> block = MakeBlock(44100, 4410, 0);
    resampler->Process(block);
    block = MakeBlock(44100, 4410, 44100);
    resampler->Process(block);
    EXPECT_NEAR(static_cast<double>(block->GetPTS()), 1000000, 1000);
    resampler->Reset();
    block.reset();
    resampler->Process(block);
    EXPECT_FALSE(block);
    block = MakeBlock(44100, 4410, 88200);
    resampler->Process(block);
    EXPECT_EQ(block->GetPTS(), 2000000);
}

TEST(ResampleTest, FormatsMayChangeInMidStream)
{
    const SP<IResample> resampler = MakeResampler(SampleInfo(SampleFormats::S16P, 48000, ChannelLayout::Mono));
    const Blocks out = RunAll(*resampler, {MakeBlock(44100, 44100, 0), MakeBlock(44100, 0, 44100),
                                           MakeBlock(48000, 48000, 48000, SampleFormats::S16P, ChannelLayout::Mono),
                                           MakeBlock(8000, 8000, 16000, SampleFormats::Double, ChannelLayout::L5_1)});
    EXPECT_NEAR(static_cast<double>(CountSamples(out)), 3 * 48000, 2);
    for (const SP<IDataAudio>& block : out)
        EXPECT_EQ(block->GetSampleInfo(), SampleInfo(SampleFormats::S16P, 48000, ChannelLayout::Mono));
    SP<IDataAudio> other = MakeBlock(44100, 100, 0);
    resampler->Init(SampleInfo(SampleFormats::None, -1, ChannelLayout::None));
    const SP<IDataAudio> same = other;
    resampler->Process(other);
    EXPECT_EQ(other, same) << "nothing to convert";
    SP<IDataAudio> rateless =
        DataAudioFF::CreateBySampleCount(SampleInfo(SampleFormats::S16, 0, ChannelLayout::Mono), 10);
    EXPECT_THROW(resampler->Process(rateless), EffectException);
}

TEST(AudioFormatterTest, BlocksFollowTheRunningTime)
{
    const SP<IAudioFormatter> formatter = MakeHost().algorithms->CreateAudioFormatter("");
    formatter->Reset(NoTime);
    long long pushed = 0, given = 0;
    for (int i = 0; i < 36000; ++i)
    {
        SP<IDataAudio> out;
        while (!(out = formatter->Get(100000, false)))
        {
            SP<IDataAudio> in = MakeBlock(11025, 1000, pushed, SampleFormats::S16, ChannelLayout::Mono);
            pushed += in->GetSampleCount();
            formatter->Push(in);
            ASSERT_FALSE(in);
        }
        ASSERT_EQ(out->GetPTS(), SampleCount2Duration(static_cast<unsigned long long>(given), 11025));
        ASSERT_NEAR(static_cast<double>(out->GetPTS()), i * 100000.0, 46);
        ASSERT_NEAR(out->GetSampleCount(), 1102.5, 0.5);
        given += out->GetSampleCount();
    }
    EXPECT_EQ(given, 3600LL * 11025);
    const SP<IDataAudio> rest = formatter->Get(100000, true);
    EXPECT_EQ(rest ? rest->GetSampleCount() : 0, pushed - given);
    EXPECT_FALSE(formatter->Get(100000, true));
    EXPECT_THROW(formatter->Get(0, false), AlgorithmException);
}

TEST(AudioFormatterTest, SamplesPassUnchangedAcrossBlocksAndFormats)
{
    const SP<IAudioFormatter> formatter = MakeHost().algorithms->CreateAudioFormatter(ImplNames::DEFAULT);
    formatter->Reset(7000000);
    Blocks in;
    for (const auto& [count, first] : std::vector<std::pair<int, int>>{{300, 0}, {0, 300}, {5000, 300}, {701, 5300}})
        in.push_back(MakeBlock(48000, count, first));
    const std::vector<float> expected = GetSamples(in);
    in.push_back(MakeBlock(44100, 441, 0, SampleFormats::Float, ChannelLayout::Mono));
    for (SP<IDataAudio> block : in)
        formatter->Push(block);
    Blocks out;
    while (const SP<IDataAudio> block = formatter->Get(20000, true))
        out.push_back(block);
    ExpectAbutting(out);
    EXPECT_EQ(out.front()->GetPTS(), 7000000);
    EXPECT_EQ(out.back()->GetSampleRate(), 44100);
    EXPECT_EQ(out.back()->GetSampleCount(), 441);
    out.pop_back();
    EXPECT_EQ(GetSamples(out), expected);
}

TEST(AudioGraphTest, ChainsChangeFormatAndLoseNothing)
{
    const SP<IOneInputEffectAudio> effect =
        MakeEffect(SettingsAVFilter("aresample=22050,aformat=channel_layouts=mono,asetnsamples=999:p=0"));
    Blocks in;
    for (int i = 0; i < 10; ++i)
        in.push_back(MakeBlock(44100, 4410, i * 4410));
    const Blocks out = RunAll(*effect, in);
    EXPECT_EQ(CountSamples(out), 22050);
    ExpectAbutting(out);
    EXPECT_EQ(out.front()->GetSampleInfo(), SampleInfo(SampleFormats::Float, 22050, ChannelLayout::Mono));
    SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
    format->SetSampleInfo(in[0]->GetSampleInfo());
    effect->UpdateFormat(format);
    EXPECT_EQ(format->GetSampleInfo(), out.front()->GetSampleInfo());
}

TEST(FadeAudioTest, LevelMovesFromSampleToSample)
{
    SettingsFade settings;
    settings.direction = SettingsFade::Direction::Out;
    const SP<IOneInputEffectAudio> effect = MakeEffect(settings);
    effect->SetTimeToProgress({0, 1000000, &TimeToProgress::Linear});
    for (const SampleFormats format : {SampleFormats::U8, SampleFormats::S16P, SampleFormats::S32})
    {
        SP<IDataAudio> block = MakeBlock(1000, 500, 500, format, ChannelLayout::Mono);
        const SP<IDataAudio> kept = block;
        const AudioRef audio = block->GetAudioRef();
        std::fill_n(audio.data, audio.linesize, uint8_t{0x40});
        const auto read = [&](const SP<IDataAudio>& data, int i) -> double
        {
            const uint8_t* first = data->GetConstAudioRef().data;
            return format == SampleFormats::U8     ? first[i] - 128
                   : format == SampleFormats::S16P ? reinterpret_cast<const int16_t*>(first)[i]
                                                   : reinterpret_cast<const int32_t*>(first)[i];
        };
        effect->Process(block);
        const double whole = read(kept, 0);
        for (const int i : {0, 100, 499})
            EXPECT_NEAR(read(block, i), whole * (500 - i) / 1000, 1.0) << i;
    }
}

} // namespace

} // namespace Tessor::Host::Tests
