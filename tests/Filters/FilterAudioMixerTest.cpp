#include "Proc/Filters/Filters/FilterAudioMixer.h"

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Settings/IPreset.h"
#include "tests/Filters/FakeFilterFactory.h"
#include "tests/support/Decorators.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>
#include <map>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;

class FilterAudioMixerTest : public testing::Test
{
protected:
    SP<ScriptedAudio> Add(const std::string& script, int volume = 100, int rate = 48000)
    {
        const SP<ScriptedAudio> stream = ScriptedAudio::Create(script, rate);
        mixer->AddStream(stream, volume);
        return stream;
    }

    const std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    const SP<IFilterAudioMixer> mixer = FilterAudioMixer::Create(new FakeFilterFactory(log));
};

/// Blocks of a list, for what scripts can't say.
class BlockStream final : public PassThrough<IStreamAudio>
{
public:
    explicit BlockStream(const std::vector<SP<IDataAudio>>& blocks)
        : PassThrough(ScriptedAudio::Create("0")), blocks(blocks)
    {
    }
    SP<Conf::IFormatCodecAudio> GetFormatCodec() const override
    {
        const SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
        format->SetSampleInfo(blocks[0]->GetSampleInfo());
        return format;
    }

private:
    SP<IDataAudio> ReadInternal() override { return next < blocks.size() ? blocks[next++] : nullptr; }

    const std::vector<SP<IDataAudio>> blocks;
    size_t next = 0;
};

TEST_F(FilterAudioMixerTest, AddsBlocksByTheirOrder)
{
    struct Input
    {
        const char* script;
        int volume;
    };
    const struct
    {
        std::vector<Input> inputs;
        const char* mixed;
    } rows[] = {
        {{}, "E"},
        {{{"0=7 20=8", 100}}, "0=7 20=8 E"},
        {{{"0=100 20=100", 100}, {"0=200 20=200 40=200", 50}}, "0=200 20=200 40=100 E"},
        {{{"0=30000 20=-30000", 100}, {"0=30000 20=-30000", 100}}, "0=32767 20=-32768 E"},
        {{{"0=100", 200}, {"0=50", -100}}, "0=150 E"},
        {{{"40=1 60=2", 100}, {"0=10 20=20", 100}}, "40=11 60=22 E"}, // nothing is aligned
        {{{"0=1 20:10=2", 100}, {"0=10 20=20", 100}}, "0=11 20:10=22 E"},
    };
    for (const auto& row : rows)
    {
        const SP<IFilterAudioMixer> sum = FilterAudioMixer::Create(new FakeFilterFactory(log));
        for (const Input& input : row.inputs)
            sum->AddStream(ScriptedAudio::Create(input.script), input.volume);
        std::string expected = PrintScript(ParseScript(row.mixed), true);
        EXPECT_EQ(ReadAll(sum, Show::Values), expected) << row.mixed;
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
            const SP<DataAudioFF> whole = MakeAudio(info, 960, 0);
            SP<DataAudioFF> shorter = MakeAudio(info, count, 0);
            for (const auto& block : {whole, shorter})
            {
                const AudioRef audio = block->GetAudioRef();
                std::fill_n(reinterpret_cast<int16_t*>(audio.data),
                            audio.linesize / 2 * (format == SampleFormats::S16 ? 1 : 2), int16_t(5));
            }
            const SP<IFilterAudioMixer> sum = FilterAudioMixer::Create(new FakeFilterFactory(log));
            sum->AddStream(new BlockStream({whole}), 100);
            sum->AddStream(new BlockStream({shorter}), 100);
            const SP<IDataAudio> mixed = sum->Read();
            ASSERT_TRUE(mixed);
            for (const auto& [index, value] : std::map<int, double>{{0, 10}, {count - 1, 10}, {count, 5}, {959, 5}})
            {
                std::vector<double> samples;
                GetAudioSamples(mixed->GetConstAudioRef(), index, samples);
                EXPECT_EQ(samples, std::vector<double>(2, value / 32767.0)) << index;
            }
        }
}

TEST_F(FilterAudioMixerTest, DropsABlockThatCannotBeAdded)
{
    const SP<DataAudioFF> first = MakeAudio({SampleFormats::S16, 48000, ChannelLayout::Mono}, 960, 5);
    const SP<DataAudioFF> stereo = MakeAudio({SampleFormats::S16, 48000, ChannelLayout::Stereo}, 960, 1);
    const SP<DataAudioFF> floats =
        DataAudioFF::CreateBySampleCount({SampleFormats::Float, 48000, ChannelLayout::Mono}, 10);
    mixer->AddStream(new BlockStream({first}), 100);
    mixer->AddStream(new BlockStream({stereo}), 100);
    mixer->AddStream(new BlockStream({floats}), 100);
    EXPECT_EQ(ReadAll(mixer, Show::Values), "0:20=5 E");
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
    const std::string made = "Resample/Default IResample/ Init(0) ";
    const std::string formatter = " AudioFormatter/Default IAudioFormatter/Default";
    Add("0", 100, 44100);
    EXPECT_EQ(log->Take(), made + "Init(44100)" + formatter);
    const SP<ScriptedAudio> higher = Add("0", 100, 48000);
    EXPECT_EQ(log->Take(), "Init(48000) " + made + "Init(48000)" + formatter) << "the earlier ones first";
    Add("0", 100, 22050);
    EXPECT_EQ(log->Take(), made + "Init(48000)" + formatter) << "nothing has changed for the others";
    EXPECT_EQ(mixer->GetFormatCodec()->GetSampleInfo(),
              Conf::SampleInfo(SampleFormats::S16, 48000, ChannelLayout::Mono));
    mixer->RemoveStream(higher);
    EXPECT_EQ(log->Take(), "Init(44100) Init(44100)");
    mixer->RemoveStream(1);
    EXPECT_EQ(log->Take(), "");
    mixer->UpdateResampleSettings();
    EXPECT_EQ(log->Take(), "Init(44100)");

    const SP<ScriptedAudio> unknown = ScriptedAudio::Create("0");
    unknown->SetFormat(nullptr);
    try
    {
        mixer->AddStream(unknown, 100);
        FAIL();
    }
    catch (const FilterException& e)
    {
        EXPECT_EQ(Describe(e), "Stream format is NULL.");
    }
    EXPECT_EQ(log->Take(), "");
    EXPECT_EQ(mixer->GetStreamId(unknown), IFilterAudioMixer::NO_STREAM);
}

TEST_F(FilterAudioMixerTest, SeeksAndEnds)
{
    EXPECT_EQ(mixer->GetDuration(), 0);
    EXPECT_EQ(mixer->GetPosition(), NoTime);
    EXPECT_TRUE(mixer->GetSeekResult());
    EXPECT_FALSE(mixer->IsTerminated());

    const SP<ScriptedAudio> a = Add("0=1 20=2"), b = Add("0=10 20=20 40=30 60=40");
    EXPECT_EQ(mixer->GetDuration(), 80 * ms);
    EXPECT_EQ(ReadAll(mixer, Show::Values), "0=11 20=22 40=30 60=40 E");
    EXPECT_EQ(mixer->GetPosition(), 80 * ms);
    Seek(mixer, 20 * ms);
    EXPECT_EQ(mixer->GetPosition(), 20 * ms);
    EXPECT_EQ(ReadSome(mixer, 2, Show::Values), "20=22 40=30") << "who had ended takes part again";
    EXPECT_EQ(mixer->GetPosition(), 60 * ms);

    EXPECT_TRUE(mixer->GetSeekResult());
    mixer->Terminate();
    EXPECT_TRUE(a->IsTerminated());
    EXPECT_TRUE(mixer->IsTerminated());
    mixer->AddStream(ScriptedAudio::Create("0"), 100);
    EXPECT_TRUE(mixer->IsTerminated()) << "one of them is enough";
    Seek(mixer, 0);
    EXPECT_FALSE(mixer->IsTerminated());
    a->TakeLog();
    b->TakeLog();
    mixer->ReleaseInternalData();
    EXPECT_EQ(a->TakeLog() + b->TakeLog(), "ReleaseInternalDataReleaseInternalData");
}

TEST_F(FilterAudioMixerTest, FailuresPassAndTheOthersAreOneBlockAhead)
{
    Add("0=1 20=2 40=3");
    Add("0=10 ! 20=20 40=30");
    EXPECT_EQ(ReadAll(mixer, Show::Values), "0:20=11 ! 40:20=23 40:20=30 E");
}

TEST_F(FilterAudioMixerTest, TreesAndVisits)
{
    Core::Property settings("IFilterAudioMixer");
    settings.SetChild(IPreset::KEY_TYPE_ID, "");
    EXPECT_EQ(mixer->GetSettings(), settings);
    EXPECT_NO_THROW(mixer->Initialize(settings));
    try
    {
        mixer->Initialize(Core::Property("X"));
        FAIL();
    }
    catch (const FilterException& e)
    {
        EXPECT_EQ(Describe(e), "Object was initialized with incorrect class (X)!");
    }
    Add("0");
    ReadAll(mixer);
    const Core::Property statistic = mixer->GetStatistic();
    EXPECT_EQ(statistic.GetName(), "virtual Core::Property Tessor::Proc::FilterAudioMixer::GetStatistic() const");
    EXPECT_EQ(statistic["count"].GetInt64(), 1);
    EXPECT_EQ((statistic.end() - 1)->size(), 3u) << "source, resampler, formatter";
    Visitors::InfoCollector names;
    mixer->Accept(names);
    EXPECT_EQ(names.GetElements(),
              (std::vector<std::string>{"FilterAudioMixer", "FilterAudioFormatter", "FilterResample", "Scripted"}));
}

} // namespace
} // namespace Tessor::Test
