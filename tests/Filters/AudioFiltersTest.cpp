#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Filters/Filters/Audio/FilterAudioFormatter.h"
#include "Proc/Filters/Filters/Audio/FilterAudioMixer.h"
#include "Proc/Filters/Filters/Audio/FilterAudioVolume.h"
#include "Proc/Filters/Filters/Audio/FilterResample.h"
#include "Proc/Filters/Filters/Audio/FilterVolumeDetect.h"
#include "ffhost/registry/Host.h"
#include "tests/support/Decorators.h"

#include <cmath>
#include <thread>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using Conf::ChannelLayout;
using Conf::SampleFormats;

// ---- volume

SP<IStreamAudioEx> MakeVolume(const SP<IStreamAudio>& source, double volume, bool normalize = false)
{
    SettingsFilterAudioVolume settings;
    settings.volume = volume;
    settings.normalize = normalize;
    return FilterAudioVolume::Create(source, nullptr, settings);
}

TEST(FilterAudioVolume, ScalesIntoANewBlock)
{
    // volume, sample value, whether the parent's own block passes
    const std::tuple<double, int, bool> rows[] = {
        {1.0, 1000, true}, {1.0005, 1000, true}, {0.9995, 1000, true},  {1.002, 1004, false},
        {0.5, 500, false}, {-1.0, -996, false},  {100.0, 32767, false}, {NAN, 0, false},
    };
    for (const auto& [volume, value, passes] : rows)
    {
        // 441 samples: a line that the scaled block has longer
        const auto source = Hooked<IStreamAudio>::Create(ScriptedAudio::Create("10=1000", 44100));
        SP<IDataAudio> given;
        source->map = [&](const SP<IDataAudio>& block) { return given = block; };
        const SP<IDataAudio> block = MakeVolume(source, volume)->Read();
        EXPECT_EQ(block == given, passes) << volume;
        EXPECT_EQ(block->GetPTS(), 10 * ms);
        const AudioRef audio = block->GetConstAudioRef();
        const auto* samples = reinterpret_cast<const int16_t*>(audio.data);
        EXPECT_EQ(std::vector<int>(samples, samples + audio.sampleCount), std::vector<int>(1764, value)) << volume;
    }
}

TEST(FilterAudioVolume, NormalizesFromBlockToBlock)
{
    // blocks, factors of those that are not silent
    const std::tuple<const char*, std::vector<double>> rows[] = {
        {"0=10000 100=10000 200=10000", {1.07, 1.14, 1.21}},
        {"0=32000 100=32000", {1.0, 1.0}},        // loud enough as it is
        {"0=0 2000=0 4000=0 6000=10000", {3.28}}, // silence lifts to 4, and the first sound drops it
        {"0=0 2000=0 4000=0 6000=100", {4.0}},    // and no further
        // a climb beyond the limit is cut off in this block, and goes on in the next one
        {"0:4000=10000 4000:100=1000", {3.28, 3.87}},
        {"0:1000=-30000 1000:100=3000", {1.09, 1.77}}, // a negative peak is none
    };
    for (const auto& [script, factors] : rows)
    {
        const SP<IStreamAudioEx> filter = MakeVolume(ScriptedAudio::Create(script, 8000), 1.0, true);
        size_t i = 0;
        for (const ScriptItem& item : ParseScript(script))
        {
            const double value = DescribeItem(*filter->Read()).value;
            if (item.value != 0)
            {
                EXPECT_NEAR(value / item.value, factors.at(i++), 0.011) << script;
            }
        }
    }
}

TEST(FilterAudioVolume, StartsAnewAfterASeek)
{
    const SP<IStreamAudioEx> filter = MakeVolume(ScriptedAudio::Create("0=1000 500=1000 1000=1000"), 1.0, true);
    EXPECT_EQ(ReadAll(filter, Show::Values), "0=1352 500=1699 1000=2051 E");
    Seek(filter, 0);
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "0:500=1352");
    filter->Initialize(SettingsFilterAudioVolume());
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "500:500=1000") << "the defaults let all pass";
}

TEST(FilterVolumeDetect, WeighsTheFirstTenMinutes)
{
    const std::tuple<const char*, int, bool, int> rows[] = {
        {"", 0, true, 0},
        {"0=9830 60000=-30000", 9830, true, 2},
        {"0=9831", 9831, false, 1},
        {"0=1 300000=2 600000:100=3 600000.001=30000 700000=30000", 3, true, 3},
    };
    const SP<IFilterVolumeDetect> detect = FilterVolumeDetect::Create(nullptr);
    EXPECT_TRUE(detect->IsLowLevel());
    for (const auto& [script, peak, low, count] : rows) // every run starts from nothing
    {
        const SP<ScriptedAudio> source = ScriptedAudio::Create(script, 50);
        detect->Process(source);
        EXPECT_EQ(source->TakeLog(), "RequestSeek(0) DoSeek");
        EXPECT_EQ(source->GetReadCount(), count + 1) << script;
        EXPECT_EQ(detect->GetPeakValue(), peak / 32767.0) << script;
        EXPECT_EQ(detect->IsLowLevel(), low) << script;
    }
}

// ---- the shells around the host's engines

SP<IFilterResample> Resample(const SP<IStreamAudio>& parent)
{
    return FilterResample::Create(parent, Host::MakeHost().effects);
}

SP<IFilterAudioFormatter> Formatter(const SP<IStreamAudio>& parent, avTime duration)
{
    const SP<IFilterAudioFormatter> filter = FilterAudioFormatter::Create(parent, Host::MakeHost().algorithms);
    filter->SetPacketDuration(duration);
    return filter;
}

TEST(FilterResample, DrainsWhatItsEngineHolds)
{
    const SP<ScriptedAudio> source = ScriptedAudio::Create("0=1 40=2 80=3");
    const SP<IFilterResample> filter = Resample(source);
    filter->InitByFormat(ScriptedAudio::Create("", 44100)->GetFormatCodec());
    for (int round = 0; round < 2; ++round)
    {
        int samples = 0;
        while (const SP<IDataAudio> block = filter->Read())
            samples += block->GetSampleCount();
        EXPECT_EQ(samples, 120 * 441 / 10);
        EXPECT_EQ(source->GetReadCount(), (round + 1) * 5) << "the empty parent is asked for what drains, and the end";
        Seek(filter, 0);
    }
    filter->Terminate();
    EXPECT_FALSE(filter->Read());
    EXPECT_EQ(source->GetReadCount(), 10) << "who is terminated reads no more";
}

TEST(FilterAudioFormatter, CutsAndFlushes)
{
    for (const auto& [script, duration, blocks] : {std::tuple("0=1 40=2 80=3", 100, "0=1 100:20=3 E"),
                                                   {"0=1 40=2 80=3", 30, "0=1 30=1 60=2 90=3 E"},
                                                   {"0:250=1", 100, "0=1 100=1 200:50=1 E"},
                                                   {"", 100, "E"}})
    {
        const SP<IFilterAudioFormatter> filter = Formatter(ScriptedAudio::Create(script), duration * ms);
        EXPECT_EQ(ReadAll(filter, Show::Values), blocks) << script;
        EXPECT_EQ(ReadAll(filter), "E");
    }
    EXPECT_THROW(Formatter(ScriptedAudio::Create(""), 0), std::invalid_argument);
}

TEST(AudioShells, NothingHeldSurvivesASeekOrARelease)
{
    const SP<IFilterAudioFormatter> filter = Formatter(ScriptedAudio::Create("0=1 40=2 80=3"), 30 * ms);
    Seek(filter, 40 * ms);
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "40:30=2");
    filter->ReleaseInternalData();
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "80:30=3") << "times go on";

    const SP<IFilterResample> resampler = Resample(ScriptedAudio::Create("0=1 40=2 80=3"));
    resampler->InitByFormat(ScriptedAudio::Create("0", 96000)->GetFormatCodec());
    resampler->Read();
    Seek(resampler, 80 * ms);
    EXPECT_EQ(resampler->Read()->GetPTS(), 80 * ms);
}

TEST(AudioShells, ChangesComeFromOtherThreads)
{
    const SP<IFilterResample> resample = Resample(ScriptedAudio::Create(Regular(2000, 5)));
    const SP<IFilterAudioFormatter> formatter = Formatter(resample, ms);
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

// ---- the mixer, over blocks of 100 ms, which the formatters in front of it leave as they are

SP<IFilterAudioMixer> Mixer(const std::vector<std::pair<SP<IStreamAudio>, int>>& inputs = {})
{
    const SP<IFilterAudioMixer> mixer = Host::MakeHost().filters->CreateAudioMixer("");
    for (const auto& [stream, volume] : inputs)
        mixer->AddStream(stream, volume);
    return mixer;
}

/// One block of any format, whose samples are all 5.
SP<IStreamAudio> FivesOf(const Conf::SampleInfo& info, int count)
{
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, count);
    std::fill_n(reinterpret_cast<int16_t*>(block->GetAudioRef().data), block->GetMemorySize() / 2, int16_t(5));
    block->SetPTS(0);
    const SP<ScriptedAudio> script = ScriptedAudio::Create("0");
    const SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
    format->SetSampleInfo(info);
    script->SetFormat(format);
    const auto stream = Hooked<IStreamAudio>::Create(script);
    stream->map = [block](const SP<IDataAudio>&) { return block; };
    return stream;
}

TEST(FilterAudioMixer, AddsBlocksByTheirOrder)
{
    // inputs and their volumes, what is read
    const std::tuple<std::vector<std::pair<const char*, int>>, const char*> rows[] = {
        {{{"0=100 100=100", 100}, {"0=200 100=200 200=200", 50}}, "0=200 100=200 200=100 E"},
        {{{"0=30000 100=-30000", 100}, {"0=30000 100=-30000", 100}}, "0=32767 100=-32768 E"},
        {{{"0:100=100", 200}, {"0:100=50", -100}}, "0:100=150 E"},
        {{{"200=1 300=2", 100}, {"0=10 100=20", 100}}, "200=11 300=22 E"}, // nothing is aligned
        {{{"0=1 100:50=2", 100}, {"0=10 100=20", 100}}, "0=11 100:50=22 E"},
        // a failure passes, and the others are one block ahead
        {{{"0=1 100=2 200=3", 100}, {"0=10 ! 100=20 200=30", 100}}, "0:100=11 ! 200:100=23 200:100=30 E"},
    };
    for (const auto& [inputs, mixed] : rows)
    {
        const SP<IFilterAudioMixer> sum = Mixer();
        for (const auto& [script, volume] : inputs)
            sum->AddStream(ScriptedAudio::Create(script), volume);
        EXPECT_EQ(ReadAll(sum, Show::Values), mixed);
        EXPECT_EQ(ReadAll(sum), "E") << "the end stays the end";
    }
}

TEST(FilterAudioMixer, ShortBlocksAreFilledWithSilence)
{
    // one sample less lies in lines of the same length, many less in others
    for (const int count : {959, 10})
        for (const SampleFormats format : {SampleFormats::S16, SampleFormats::S16P})
        {
            const Conf::SampleInfo info(format, 48000, ChannelLayout::Stereo);
            const SP<IDataAudio> mixed = Mixer({{FivesOf(info, 960), 100}, {FivesOf(info, count), 100}})->Read();
            ASSERT_TRUE(mixed);
            for (const auto& [index, value] : {std::pair(0, 10), {count - 1, 10}, {count, 5}, {959, 5}})
            {
                std::vector<double> samples;
                GetAudioSamples(mixed->GetConstAudioRef(), index, samples);
                EXPECT_EQ(samples, std::vector<double>(2, value / 32767.0)) << index;
            }
        }
    const SP<IFilterAudioMixer> mixer = Mixer({{ScriptedAudio::Create("0:150=7"), 100}});
    EXPECT_EQ(ReadSome(mixer, 1, Show::Values), "0:100=7");
    mixer->AddStream(FivesOf({SampleFormats::S16, 48000, ChannelLayout::Stereo}, 4800), 100);
    EXPECT_EQ(ReadAll(mixer, Show::Values), "100:50=10 E");
}

TEST(FilterAudioMixer, AStreamOfAnotherFormatJoinsARunningMixWithoutAHole)
{
    const SP<IFilterAudioMixer> mixer =
        Mixer({{ScriptedAudio::Create("0:130=1000 130:370=1000"), 100}, {ScriptedAudio::Create("0:500=200"), 100}});
    EXPECT_EQ(ReadSome(mixer, 2, Show::Values), "0=1200 100=1200");
    mixer->AddStream(FivesOf({SampleFormats::S16, 48000, ChannelLayout::Stereo}, 14400), 100);
    for (int i = 2; i < 5; ++i)
    {
        const SP<IDataAudio> block = mixer->Read();
        EXPECT_EQ(block->GetPTS(), i * 100 * ms);
        ASSERT_EQ(block->GetSampleCount(), 4800) << "what was held of the former format counts";
        const auto* samples = reinterpret_cast<const int16_t*>(block->GetConstAudioRef().data);
        EXPECT_EQ(std::vector<int>(samples, samples + 9600), std::vector<int>(9600, 853))
            << "5, and 1200 by the root of 2";
    }
    EXPECT_EQ(ReadAll(mixer), "E");
}

TEST(FilterAudioMixer, StreamsGoByTheirPlaces)
{
    const SP<ScriptedAudio> a = ScriptedAudio::Create("0:100=1"), b = ScriptedAudio::Create("0:100=10"),
                            c = ScriptedAudio::Create("0:100=100");
    const SP<IFilterAudioMixer> mixer = Mixer({{a, 100}, {b, 100}, {c, 100}});
    EXPECT_EQ(mixer->AddStream(b, 100), 3u);
    EXPECT_EQ(mixer->GetStreamId(b), 1u) << "the first place of a stream that was added twice";
    mixer->RemoveStream(3);
    mixer->RemoveStream(IFilterAudioMixer::NO_STREAM);
    mixer->RemoveStream(a);
    EXPECT_EQ(mixer->GetStreamId(a), IFilterAudioMixer::NO_STREAM);
    EXPECT_EQ(mixer->GetStreamId(c), 1u);
    mixer->SetVolume(c, 50);
    mixer->SetVolume(0, 200);
    EXPECT_EQ(ReadAll(mixer, Show::Values), "0:100=70 E");
    EXPECT_THROW(mixer->RemoveStream(2), std::out_of_range);
    EXPECT_THROW(mixer->SetVolume(a, 1), std::out_of_range);
    EXPECT_EQ(TextOf<FilterException>([&] { mixer->Initialize(Core::Property("X")); }),
              "Object was initialized with incorrect class (X)!");
}

TEST(FilterAudioMixer, AllStreamsMeetInOneFormat)
{
    const SP<IFilterAudioMixer> mixer = Mixer();
    EXPECT_EQ(mixer->GetFormatCodec()->GetSampleInfo(), Conf::SampleInfo(SampleFormats::None, -1, ChannelLayout::None));
    const auto expectRate = [&](int rate)
    {
        EXPECT_EQ(mixer->GetFormatCodec()->GetSampleInfo().GetSampleRate(), rate);
        Seek(mixer, 0);
        EXPECT_EQ(mixer->Read()->GetSampleRate(), rate);
    };
    const SP<ScriptedAudio> highest = ScriptedAudio::Create(Regular(5, 100), 48000);
    for (const auto& [stream, rate] : {std::pair(ScriptedAudio::Create(Regular(5, 100), 44100), 44100),
                                       {highest, 48000},
                                       {ScriptedAudio::Create(Regular(5, 100), 22050), 48000}})
    {
        mixer->AddStream(stream, 100);
        expectRate(rate);
    }
    mixer->RemoveStream(highest);
    expectRate(44100);

    highest->SetFormat(nullptr);
    EXPECT_EQ(TextOf<FilterException>([&] { mixer->AddStream(highest, 100); }), "Stream format is NULL.");
}

TEST(FilterAudioMixer, SeeksAndEnds)
{
    EXPECT_EQ(Mixer()->GetDuration(), 0);
    EXPECT_EQ(ReadAll(Mixer()), "E");
    const SP<ScriptedAudio> a = ScriptedAudio::Create("0=1 100=2");
    const SP<IFilterAudioMixer> mixer = Mixer({{a, 100}, {ScriptedAudio::Create("0=10 100=20 200=30 300=40"), 100}});
    EXPECT_EQ(mixer->GetDuration(), 400 * ms);
    EXPECT_EQ(ReadAll(mixer, Show::Values), "0=11 100=22 200=30 300=40 E");
    EXPECT_EQ(mixer->GetStatistic()["count"].GetInt64(), 4);
    Seek(mixer, 100 * ms);
    EXPECT_EQ(mixer->GetPosition(), 100 * ms);
    EXPECT_EQ(ReadSome(mixer, 2, Show::Values), "100=22 200=30") << "who had ended takes part again";
    EXPECT_EQ(mixer->GetPosition(), 300 * ms);

    mixer->Terminate();
    EXPECT_TRUE(a->IsTerminated() && mixer->IsTerminated());
    mixer->AddStream(ScriptedAudio::Create("0"), 100);
    EXPECT_TRUE(mixer->IsTerminated()) << "one of them is enough";
    Seek(mixer, 0);
    EXPECT_FALSE(mixer->IsTerminated());
}

} // namespace
} // namespace Tessor::Test
