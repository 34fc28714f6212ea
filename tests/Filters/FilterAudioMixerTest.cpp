#include "Proc/Filters/Filters/FilterAudioMixer.h"

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "ffhost/registry/Host.h"
#include "tests/support/Decorators.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;

/// Over blocks of 100 ms, which the formatters in front of it leave as they are.
class FilterAudioMixerTest : public testing::Test
{
protected:
    static SP<IFilterAudioMixer> Make() { return Host::MakeHost().filters->CreateAudioMixer(""); }

    SP<ScriptedAudio> Add(const std::string& script, int rate = 48000)
    {
        const SP<ScriptedAudio> stream = ScriptedAudio::Create(script, rate);
        mixer->AddStream(stream, 100);
        return stream;
    }

    const SP<IFilterAudioMixer> mixer = Make();
};

/// One block of any format, whose samples are all 5.
SP<IStreamAudio> FivesOf(const Conf::SampleInfo& info, int count)
{
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, count);
    const AudioRef audio = block->GetAudioRef();
    std::fill_n(reinterpret_cast<int16_t*>(audio.data), block->GetMemorySize() / 2, int16_t(5));
    block->SetPTS(0);
    const SP<ScriptedAudio> script = ScriptedAudio::Create("0");
    const SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
    format->SetSampleInfo(info);
    script->SetFormat(format);
    const auto stream = Hooked<IStreamAudio>::Create(script);
    stream->map = [block](const SP<IDataAudio>&) { return block; };
    return stream;
}

TEST_F(FilterAudioMixerTest, AddsBlocksByTheirOrder)
{
    const struct
    {
        std::vector<std::pair<const char*, int>> inputs; // and their volumes
        const char* mixed;
    } rows[] = {
        {{}, "E"},
        {{{"0=100 100=100", 100}, {"0=200 100=200 200=200", 50}}, "0=200 100=200 200=100 E"},
        {{{"0=30000 100=-30000", 100}, {"0=30000 100=-30000", 100}}, "0=32767 100=-32768 E"},
        {{{"0:100=100", 200}, {"0:100=50", -100}}, "0:100=150 E"},
        {{{"200=1 300=2", 100}, {"0=10 100=20", 100}}, "200=11 300=22 E"}, // nothing is aligned
        {{{"0=1 100:50=2", 100}, {"0=10 100=20", 100}}, "0=11 100:50=22 E"},
    };
    for (const auto& row : rows)
    {
        const SP<IFilterAudioMixer> sum = Make();
        for (const auto& [script, volume] : row.inputs)
            sum->AddStream(ScriptedAudio::Create(script), volume);
        EXPECT_EQ(ReadAll(sum, Show::Values), row.mixed);
        EXPECT_EQ(ReadAll(sum), "E") << "the end stays the end";
    }
}

TEST_F(FilterAudioMixerTest, ShortBlocksAreFilledWithSilence)
{
    // one sample less lies in lines of the same length, many less in others
    for (const int count : {959, 10})
        for (const SampleFormats format : {SampleFormats::S16, SampleFormats::S16P})
        {
            const Conf::SampleInfo info(format, 48000, ChannelLayout::Stereo);
            const SP<IFilterAudioMixer> sum = Make();
            sum->AddStream(FivesOf(info, 960), 100);
            sum->AddStream(FivesOf(info, count), 100);
            const SP<IDataAudio> mixed = sum->Read();
            ASSERT_TRUE(mixed);
            for (const auto& [index, value] : {std::pair(0, 10), {count - 1, 10}, {count, 5}, {959, 5}})
            {
                std::vector<double> samples;
                GetAudioSamples(mixed->GetConstAudioRef(), index, samples);
                EXPECT_EQ(samples, std::vector<double>(2, value / 32767.0)) << index;
            }
        }
}

TEST_F(FilterAudioMixerTest, DropsABlockThatCannotBeAdded)
{
    Add("0:150=7");
    EXPECT_EQ(ReadSome(mixer, 1, Show::Values), "0:100=7");
    mixer->AddStream(FivesOf({SampleFormats::S16, 48000, ChannelLayout::Stereo}, 4800), 100);
    EXPECT_EQ(ReadAll(mixer, Show::Values), "100:50=7 E") << "mono, from before the mix became stereo";
}

TEST_F(FilterAudioMixerTest, StreamsGoByTheirPlaces)
{
    const SP<ScriptedAudio> a = Add("0=1"), b = Add("0=10"), c = Add("0=100");
    EXPECT_EQ(mixer->AddStream(b, 100), 3u);
    EXPECT_EQ(mixer->GetStreamId(b), 1u) << "the first place of a stream that was added twice";
    mixer->RemoveStream(3);
    mixer->RemoveStream(IFilterAudioMixer::NO_STREAM);
    mixer->RemoveStream(a);
    EXPECT_EQ(mixer->GetStreamId(a), IFilterAudioMixer::NO_STREAM);
    EXPECT_EQ(mixer->GetStreamId(c), 1u);
    mixer->SetVolume(c, 50);
    mixer->SetVolume(0, 200);
    EXPECT_EQ(ReadAll(mixer, Show::Values), "0=70 E");
    EXPECT_THROW(mixer->RemoveStream(2), std::out_of_range);
    EXPECT_THROW(mixer->SetVolume(a, 1), std::out_of_range);
}

TEST_F(FilterAudioMixerTest, AllStreamsMeetInOneFormat)
{
    EXPECT_EQ(mixer->GetFormatCodec()->GetSampleInfo(), Conf::SampleInfo(SampleFormats::None, -1, ChannelLayout::None));
    const auto expectRate = [&](int rate)
    {
        EXPECT_EQ(mixer->GetFormatCodec()->GetSampleInfo().GetSampleRate(), rate);
        Seek(mixer, 0);
        EXPECT_EQ(mixer->Read()->GetSampleRate(), rate);
    };
    Add(Regular(5, 100), 44100);
    expectRate(44100);
    const SP<ScriptedAudio> higher = Add(Regular(5, 100), 48000);
    expectRate(48000);
    Add(Regular(5, 100), 22050);
    expectRate(48000);
    mixer->RemoveStream(higher);
    expectRate(44100);

    higher->SetFormat(nullptr);
    EXPECT_EQ(TextOf<FilterException>([&] { mixer->AddStream(higher, 100); }), "Stream format is NULL.");
    EXPECT_EQ(mixer->GetStreamId(higher), IFilterAudioMixer::NO_STREAM);
}

TEST_F(FilterAudioMixerTest, SeeksAndEnds)
{
    EXPECT_EQ(mixer->GetDuration(), 0);
    const SP<ScriptedAudio> a = Add("0=1 100=2");
    Add("0=10 100=20 200=30 300=40");
    EXPECT_EQ(mixer->GetDuration(), 400 * ms);
    EXPECT_EQ(ReadAll(mixer, Show::Values), "0=11 100=22 200=30 300=40 E");
    const Core::Property statistic = mixer->GetStatistic();
    EXPECT_EQ(statistic["count"].GetInt64(), 4);
    EXPECT_EQ((statistic.end() - 1)->size(), 3u) << "source, resampler, formatter";
    Seek(mixer, 100 * ms);
    EXPECT_EQ(mixer->GetPosition(), 100 * ms);
    EXPECT_EQ(ReadSome(mixer, 2, Show::Values), "100=22 200=30") << "who had ended takes part again";
    EXPECT_EQ(mixer->GetPosition(), 300 * ms);

    mixer->Terminate();
    EXPECT_TRUE(a->IsTerminated() && mixer->IsTerminated());
    Add("0");
    EXPECT_TRUE(mixer->IsTerminated()) << "one of them is enough";
    Seek(mixer, 0);
    EXPECT_FALSE(mixer->IsTerminated());
}

TEST_F(FilterAudioMixerTest, TakesItsOwnTreeOnly)
{
    mixer->Initialize(mixer->GetSettings());
    EXPECT_EQ(TextOf<FilterException>([&] { mixer->Initialize(Core::Property("X")); }),
              "Object was initialized with incorrect class (X)!");
}

TEST_F(FilterAudioMixerTest, FailuresPassAndTheOthersAreOneBlockAhead)
{
    Add("0=1 100=2 200=3");
    Add("0=10 ! 100=20 200=30");
    EXPECT_EQ(ReadAll(mixer, Show::Values), "0:100=11 ! 200:100=23 200:100=30 E");
}

} // namespace
} // namespace Tessor::Test
