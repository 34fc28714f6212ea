#include "Proc/Filters/Filters/FilterResample.h"

#include "Proc/Settings/IPreset.h"
#include "Proc/Settings/SettingsFade.h"
#include "Proc/Settings/SettingsFilterAudioFormatter.h"
#include "tests/Filters/FakeEngines.h"
#include "tests/support/Conformance.h"
#include "tests/support/ReadAll.h"

#include <gtest/gtest.h>
#include <thread>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;

std::string RefusalOf(IStream& filter, const Core::Property& tree)
{
    try
    {
        filter.Initialize(tree);
    }
    catch (const FilterException& e)
    {
        return Describe(e);
    }
    return "";
}

/// A source, and a filter of either kind around a fake engine, that write into one log.
class AudioShellTest : public testing::Test
{
protected:
    AudioShellTest() { source->SetLog(log, ""); }

    SP<IFilterResample> Resample() { return FilterResample::Create(source, new FakeEngineFactory(log)); }
    SP<IFilterAudioFormatter> Formatter()
    {
        return FilterAudioFormatter::Create(source, new FakeAlgorithmFactory(log));
    }

    const std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    const SP<ScriptedAudio> source = ScriptedAudio::Create("0=1 40=2 80=3");
};

TEST_F(AudioShellTest, Conform)
{
    CheckConformance<IStreamAudio>(Regular(30, 20), [](const SP<IStreamAudio>& s)
                                   { return FilterResample::Create(s, new FakeEngineFactory); });
    CheckConformance<IStreamAudio>(Regular(30, 20),
                                   [](const SP<IStreamAudio>& s)
                                   {
                                       SettingsFilterAudioFormatter settings;
                                       settings.packetDuration = 20 * ms;
                                       return FilterAudioFormatter::CreateStreamEx(s, new FakeAlgorithmFactory,
                                                                                   settings);
                                   });
}

TEST_F(AudioShellTest, ResamplerCollectsAndDrains)
{
    const SP<IFilterResample> filter = Resample();
    EXPECT_EQ(ReadAll(filter, Show::Values), "0=1 40=2 80=3 E");
    EXPECT_EQ(source->GetReadCount(), 5) << "the empty parent is asked for what drains, and for the end";
    EXPECT_EQ((*(filter->GetStatistic().end() - 1))["count"].GetInt64(), 3);
    const SP<IFilterResample> empty = FilterResample::Create(ScriptedAudio::Create(""), new FakeEngineFactory);
    EXPECT_EQ(ReadAll(empty), "E");
    filter->Terminate();
    EXPECT_FALSE(filter->Read());
    EXPECT_EQ(source->GetReadCount(), 5) << "who is terminated reads no more";
}

TEST_F(AudioShellTest, FormatterCutsAndFlushes)
{
    const struct
    {
        const char* script;
        avTime duration;
        const char* blocks;
    } rows[] = {
        {"0=1 40=2 80=3", 100 * ms, "0=1 100:20=3 E"},
        {"0=1 40=2 80=3", 40 * ms, "0=1 40=2 80=3 E"},
        {"0=1 40=2 80=3", 30 * ms, "0=1 30=1 60=2 90=3 E"},
        {"0:250=1", 100 * ms, "0=1 100=1 200:50=1 E"},
        {"", 100 * ms, "E"},
    };
    for (const auto& row : rows)
    {
        const SP<IFilterAudioFormatter> filter =
            FilterAudioFormatter::Create(ScriptedAudio::Create(row.script), new FakeAlgorithmFactory);
        filter->SetPacketDuration(row.duration);
        EXPECT_EQ(ReadAll(filter, Show::Values), row.blocks) << row.script;
        EXPECT_EQ(ReadAll(filter), "E");
    }
    EXPECT_THROW(Formatter()->SetPacketDuration(0), std::invalid_argument);
    EXPECT_EQ(Formatter()->GetSettings()[IFilterAudioFormatter::PACKET_DURATION].GetInt64(), 100 * ms);
}

TEST_F(AudioShellTest, EnginesAreResetInTheirOrder)
{
    const SP<IFilterResample> resample = Resample();
    EXPECT_EQ(log->Take(), "IResample/ Init(0)");
    resample->RequestSeek(40 * ms, nullptr);
    EXPECT_EQ(log->Take(), "RequestSeek(40)");
    resample->DoSeek();
    EXPECT_EQ(log->Take(), "Reset DoSeek");
    resample->ReleaseInternalData();
    EXPECT_EQ(log->Take(), "Reset ReleaseInternalData");

    const SP<IFilterAudioFormatter> formatter = Formatter();
    EXPECT_EQ(log->Take(), "IAudioFormatter/Default");
    formatter->RequestSeek(40 * ms, nullptr);
    EXPECT_EQ(log->Take(), "Reset(?) RequestSeek(40)");
    formatter->DoSeek();
    EXPECT_EQ(log->Take(), "DoSeek");
    formatter->ReleaseInternalData();
    EXPECT_EQ(log->Take(), "Reset(0) ReleaseInternalData");
}

TEST_F(AudioShellTest, ResamplerTellsItsOutput)
{
    const SP<IFilterResample> filter = Resample();
    filter->Init({SampleFormats::FloatP, 96000, ChannelLayout::Stereo});
    const SP<Conf::IFormatCodecAudio> format = filter->GetFormatCodec();
    EXPECT_EQ(format->GetSampleInfo(), Conf::SampleInfo(SampleFormats::FloatP, 96000, ChannelLayout::Stereo));
    EXPECT_EQ(source->GetFormatCodec()->GetSampleInfo().GetSampleRate(), 48000) << "the parent's stays";
    filter->InitByFormat(ScriptedAudio::Create("0", 192000)->GetFormatCodec());
    EXPECT_EQ(filter->GetFormatCodec()->GetSampleInfo().GetSampleRate(), 192000);
    source->SetFormat(nullptr);
    EXPECT_FALSE(filter->GetFormatCodec());
}

TEST_F(AudioShellTest, ResamplerTakesTrees)
{
    SettingsFilterResample settings;
    settings.rate = 32000;
    settings.format = ResampleOutput::Format::S32P;
    settings.layout = ChannelLayout::L5_1;
    settings.implName = "Mine";
    const SP<IStreamAudioEx> filter = FilterResample::CreateStreamEx(source, new FakeEngineFactory(log), settings);
    EXPECT_EQ(log->Take(), "IResample/ Init(0) IResample/Mine Init(32000)");
    EXPECT_EQ(filter->GetFormatCodec()->GetSampleInfo(),
              Conf::SampleInfo(SampleFormats::S32P, 48000, ChannelLayout::L5_1));
    EXPECT_EQ(filter->GetSettings(), IFilterResample::Settings2Property(settings));
    EXPECT_TRUE(IFilterResample::Property2Settings(filter->GetSettings()).IsEqualTo(settings));

    EXPECT_EQ(RefusalOf(*filter, Core::Property("X")), "Filter was initialized with incorrect class (X)!");
    settings.implName = "other";
    EXPECT_THROW(filter->Initialize(settings), std::bad_cast);
    EXPECT_THROW(filter->Initialize(SettingsFade()), std::bad_cast);
    EXPECT_THROW(FilterResample::Create(source, nullptr), std::invalid_argument);
    EXPECT_EQ(SettingsResample::CLASS_ID, IResample::CLASS_ID);
}

TEST_F(AudioShellTest, FormatterTakesTrees)
{
    const SP<IFilterAudioFormatter> filter = Formatter();
    Core::Property tree(IFilterAudioFormatter::CLASS_ID);
    tree.SetChild(IPreset::KEY_TYPE_ID, "");
    tree.SetChildT<long long>(IFilterAudioFormatter::PACKET_DURATION, 20000);
    tree.SetChild(IAudioFormatter::CLASS_ID, Core::Property(IAudioFormatter::CLASS_ID));
    log->Take();
    filter->Initialize(tree);
    EXPECT_EQ(log->Take(), "Initialize(IAudioFormatter)");
    EXPECT_EQ(filter->GetSettings(), tree);
    EXPECT_EQ(RefusalOf(*filter, Core::Property("X")), "Filter was initialized with incorrect class (X)!");
    EXPECT_THROW(filter->Initialize(SettingsFade()), std::bad_cast);
    EXPECT_THROW(FilterAudioFormatter::Create(source, nullptr), std::invalid_argument);
}

TEST_F(AudioShellTest, ChangesComeFromOtherThreads)
{
    const SP<ScriptedAudio> longSource = ScriptedAudio::Create(Regular(2000, 5));
    const SP<IFilterResample> resample = FilterResample::Create(longSource, new FakeEngineFactory);
    const SP<IFilterAudioFormatter> formatter = FilterAudioFormatter::Create(resample, new FakeAlgorithmFactory);
    std::atomic<bool> done{false};
    std::thread changer(
        [&]
        {
            for (int i = 0; !done; ++i)
            {
                resample->Init({SampleFormats::S16, 8000 + i % 100, ChannelLayout::Mono});
                formatter->SetPacketDuration((1 + i % 20) * ms);
                resample->GetFormatCodec();
            }
        });
    int64_t samples = 0;
    while (const SP<IDataAudio> block = formatter->Read())
        samples += block->GetSampleCount();
    done = true;
    changer.join();
    EXPECT_EQ(samples, 2000 * 240) << "blocks of any length, and no sample lost";
}

} // namespace
} // namespace Tessor::Test
