#include "Proc/Filters/Filters/FilterResample.h"

#include "Proc/Filters/Filters/FilterAudioFormatter.h"
#include "ffhost/registry/Host.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>
#include <thread>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;

/// The shells of either kind around the host's engines.
class AudioShellTest : public testing::Test
{
protected:
    static SP<IFilterResample> Resample(const SP<IStreamAudio>& parent)
    {
        return FilterResample::Create(parent, Host::MakeHost().effects);
    }
    static SP<IFilterAudioFormatter> Formatter(const SP<IStreamAudio>& parent)
    {
        return FilterAudioFormatter::Create(parent, Host::MakeHost().algorithms);
    }

    const SP<ScriptedAudio> source = ScriptedAudio::Create("0=1 40=2 80=3");
};

TEST_F(AudioShellTest, ResamplerDrainsWhatItsEngineHolds)
{
    const SP<IFilterResample> filter = Resample(source);
    filter->Init({SampleFormats::S16, 44100, ChannelLayout::Mono});
    for (int round = 0; round < 2; ++round)
    {
        int samples = 0;
        while (const SP<IDataAudio> block = filter->Read())
            samples += block->GetSampleCount();
        EXPECT_EQ(samples, 120 * 441 / 10);
        EXPECT_EQ(source->GetReadCount(), (round + 1) * 5) << "the empty parent is asked for what drains, and the end";
        Seek(filter, 0);
    }
    EXPECT_EQ(ReadAll(Resample(ScriptedAudio::Create(""))), "E");
    filter->Terminate();
    EXPECT_FALSE(filter->Read());
    EXPECT_EQ(source->GetReadCount(), 10) << "who is terminated reads no more";
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
        {"0=1 40=2 80=3", 30 * ms, "0=1 30=1 60=2 90=3 E"},
        {"0:250=1", 100 * ms, "0=1 100=1 200:50=1 E"},
        {"", 100 * ms, "E"},
    };
    for (const auto& row : rows)
    {
        const SP<IFilterAudioFormatter> filter = Formatter(ScriptedAudio::Create(row.script));
        filter->SetPacketDuration(row.duration);
        EXPECT_EQ(ReadAll(filter, Show::Values), row.blocks) << row.script;
        EXPECT_EQ(ReadAll(filter), "E");
    }
    EXPECT_THROW(Formatter(source)->SetPacketDuration(0), std::invalid_argument);
}

TEST_F(AudioShellTest, NothingHeldSurvivesASeekOrARelease)
{
    const SP<IFilterAudioFormatter> filter = Formatter(source);
    filter->SetPacketDuration(30 * ms);
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "0:30=1");
    Seek(filter, 40 * ms);
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "40:30=2");
    filter->ReleaseInternalData();
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "0:30=3") << "times start from zero";

    const SP<IFilterResample> resampler = Resample(source);
    resampler->InitByFormat(ScriptedAudio::Create("0", 96000)->GetFormatCodec());
    Seek(resampler, 0);
    resampler->Read();
    Seek(resampler, 80 * ms);
    EXPECT_EQ(resampler->Read()->GetPTS(), 80 * ms);
}

TEST_F(AudioShellTest, TreesGoThereAndBack)
{
    SettingsFilterResample settings;
    settings.rate = 32000;
    settings.format = ResampleOutput::Format::S32P;
    settings.layout = ChannelLayout::L5_1;
    settings.implName = Host::MakeHost().effects->ListAudioImplementations(IResample::CLASS_ID).front();
    const SP<IFilterResample> filter = Resample(source);
    filter->Initialize(settings);
    EXPECT_EQ(filter->GetFormatCodec()->GetSampleInfo(),
              Conf::SampleInfo(SampleFormats::S32P, 32000, ChannelLayout::L5_1));
    EXPECT_TRUE(IFilterResample::Property2Settings(filter->GetSettings()).IsEqualTo(settings));
    settings.implName = "other";
    EXPECT_THROW(filter->Initialize(settings), EffectException);
    EXPECT_THROW(FilterResample::Create(source, nullptr), std::invalid_argument);

    const SP<IFilterAudioFormatter> formatter = Formatter(source);
    Core::Property tree = formatter->GetSettings();
    tree.SetChildT<long long>(IFilterAudioFormatter::PACKET_DURATION, 20000);
    formatter->Initialize(tree);
    EXPECT_EQ(formatter->GetSettings(), tree);
    EXPECT_THROW(FilterAudioFormatter::Create(source, nullptr), std::invalid_argument);
}

TEST_F(AudioShellTest, ChangesComeFromOtherThreads)
{
    const SP<IFilterResample> resample = Resample(ScriptedAudio::Create(Regular(2000, 5)));
    const SP<IFilterAudioFormatter> formatter = Formatter(resample);
    std::atomic<bool> done{false};
    std::thread changer(
        [&]
        {
            for (int i = 0; !done; ++i)
            {
                resample->Init({i % 2 ? SampleFormats::S16 : SampleFormats::S32, 48000, ChannelLayout::Mono});
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
