#include "Proc/Filters/Filters/FilterAudioVolume.h"

#include "Proc/Filters/Filters/FilterVolumeDetect.h"
#include "Proc/Settings/SettingsFade.h"
#include "tests/support/Conformance.h"
#include "tests/support/ReadAll.h"

#include <cmath>
#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

SP<IStreamAudioEx> MakeVolume(const SP<IStreamAudio>& source, double volume, bool normalize = false)
{
    SettingsFilterAudioVolume settings;
    settings.volume = volume;
    settings.normalize = normalize;
    return FilterAudioVolume::Create(source, nullptr, settings);
}

TEST(FilterAudioVolume, Conforms)
{
    CheckConformance<IStreamAudio>(Regular(30, 64 / 3.0),
                                   [](const SP<IStreamAudio>& source) { return MakeVolume(source, 1.5); });
}

TEST(FilterAudioVolume, ScalesIntoANewBlock)
{
    const struct
    {
        double volume;
        int value;
        bool passes; ///< the parent's own block
    } rows[] = {
        {1.0, 1000, true}, {1.0005, 1000, true}, {0.9995, 1000, true},  {1.002, 1004, false}, {0.5, 500, false},
        {0.0, 0, false},   {-1.0, -996, false},  {100.0, 32767, false}, {NAN, 0, false},
    };
    for (const auto& row : rows)
    {
        // 441 samples: a line that the scaled block has longer
        const SP<IDataAudio> block = MakeVolume(ScriptedAudio::Create("10=1000", 44100), row.volume)->Read();
        // a block alone lasts 40 ms
        ASSERT_EQ(PrintScript({DescribeItem(*block)}), PrintScript(ParseScript("10"))) << row.volume;
        EXPECT_EQ(dynamic_cast<FakeAudio*>(block.get()) != nullptr, row.passes) << row.volume;
        const AudioRef audio = block->GetConstAudioRef();
        const auto* samples = reinterpret_cast<const int16_t*>(audio.data);
        EXPECT_EQ(std::vector<int>(samples, samples + audio.sampleCount), std::vector<int>(1764, row.value))
            << row.volume;
    }
}

/// The factor of every block, to two places, as the samples tell it. A block of silence tells none.
std::vector<double> Factors(const SP<IStreamAudioEx>& filter, const std::string& script)
{
    std::vector<double> factors;
    for (const ScriptItem& item : ParseScript(script))
    {
        const SP<IDataAudio> block = filter->Read();
        if (item.value != 0)
            factors.push_back(std::round(100.0 * DescribeItem(*block).value / item.value) / 100);
    }
    return factors;
}

TEST(FilterAudioVolume, NormalizesFromBlockToBlock)
{
    const struct
    {
        const char* script;
        std::vector<double> factors;
    } rows[] = {
        {"0=10000 100=10000 200=10000", {1.07, 1.14, 1.21}},
        {"0=32000 100=32000", {1.0, 1.0}},        // loud enough as it is
        {"0=0 2000=0 4000=0 6000=10000", {3.28}}, // silence lifts to 4, and the first sound drops it
        {"0=0 2000=0 4000=0 6000=100", {4.0}},    // and no further
        // a climb beyond the limit is cut off in this block, and goes on in the next one
        {"0:4000=10000 4000:100=1000", {3.28, 3.87}},
        {"0:1000=-30000 1000:100=3000", {1.09, 1.77}}, // a negative peak is none
    };
    for (const auto& row : rows)
    {
        const SP<IStreamAudioEx> filter = MakeVolume(ScriptedAudio::Create(row.script, 8000), 1.0, true);
        const std::vector<double> factors = Factors(filter, row.script);
        ASSERT_EQ(factors.size(), row.factors.size());
        for (size_t i = 0; i < factors.size(); ++i)
            EXPECT_NEAR(factors[i], row.factors[i], 0.011) << row.script << " " << i;
    }
}

TEST(FilterAudioVolume, StartsAnewBehindASeekAndWithSettings)
{
    const char* script = "0=1000 500=1000 1000=1000";
    const SP<IStreamAudioEx> filter = MakeVolume(ScriptedAudio::Create(script), 1.0, true);
    const char* climbs = "0=1352 500=1699 1000=2051 E";
    EXPECT_EQ(ReadAll(filter, Show::Values), climbs);
    Seek(filter, 0);
    EXPECT_EQ(ReadAll(filter, Show::Values), climbs);
    Seek(filter, 0);
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "0:500=1352");
    filter->Initialize(IFilterAudioVolume::Settings2Property(SettingsFilterAudioVolume()));
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "500:500=1000") << "the defaults let all pass";
    SettingsFilterAudioVolume normalizes;
    normalizes.normalize = true;
    filter->Initialize(normalizes);
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "1000:500=1352");
}

TEST(FilterAudioVolume, SettingsAndStatistics)
{
    const SP<IStreamAudio> source = ScriptedAudio::Create("0 40");
    const SP<IStreamAudioEx> filter = MakeVolume(source, -2.5, true);
    const SettingsFilterAudioVolume settings = IFilterAudioVolume::Property2Settings(filter->GetSettings());
    EXPECT_EQ(settings.volume, -2.5);
    EXPECT_TRUE(settings.normalize);
    EXPECT_THROW(filter->Initialize(SettingsFade()), std::bad_cast);
    EXPECT_THROW(FilterAudioVolume::Create(source, nullptr, SettingsFade()), std::bad_cast);
    ReadAll(filter);
    const Core::Property statistic = filter->GetStatistic();
    ASSERT_EQ(statistic.size(), 2u);
    EXPECT_EQ((*(statistic.end() - 1))["count"].GetInt64(), 2) << "the end does not count";
}

TEST(FilterVolumeDetect, WeighsTheFirstTenMinutes)
{
    const struct
    {
        const char* script;
        double peak;
        bool low;
        int count;
    } rows[] = {
        {"", 0, true, 0},
        {"0=9830 60000=-30000", 9830 / 32767.0, true, 2},
        {"0=9831", 9831 / 32767.0, false, 1},
        {"0=1 300000=2 600000:100=3 600000.001=30000 700000=30000", 3 / 32767.0, true, 3},
    };
    for (const auto& row : rows)
    {
        const SP<IFilterVolumeDetect> detect = FilterVolumeDetect::Create(nullptr);
        EXPECT_TRUE(detect->IsLowLevel());
        const SP<ScriptedAudio> source = ScriptedAudio::Create(row.script, 50);
        detect->Process(source);
        EXPECT_EQ(source->TakeLog(), "RequestSeek(0) DoSeek");
        EXPECT_EQ(source->GetReadCount(), row.count + 1) << row.script;
        EXPECT_EQ(detect->GetPeakValue(), row.peak) << row.script;
        EXPECT_EQ(detect->IsLowLevel(), row.low) << row.script;
        EXPECT_EQ(detect->GetStatistic()["count"].GetInt64(), row.count) << row.script;
        detect->Process(ScriptedAudio::Create("0=5"));
        EXPECT_EQ(detect->GetPeakValue(), 5 / 32767.0) << "every run starts from nothing";
    }
}

} // namespace
} // namespace Tessor::Test
