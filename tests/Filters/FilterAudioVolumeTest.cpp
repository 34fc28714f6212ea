#include "Proc/Filters/Filters/FilterAudioVolume.h"

#include "Proc/Filters/Filters/FilterVolumeDetect.h"
#include "tests/support/Decorators.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

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

TEST(FilterAudioVolume, ScalesIntoANewBlock)
{
    const struct
    {
        double volume;
        int value;
        bool passes; ///< the parent's own block
    } rows[] = {
        {1.0, 1000, true}, {1.0005, 1000, true}, {0.9995, 1000, true},  {1.002, 1004, false},
        {0.5, 500, false}, {-1.0, -996, false},  {100.0, 32767, false}, {NAN, 0, false},
    };
    for (const auto& row : rows)
    {
        // 441 samples: a line that the scaled block has longer
        const auto source = Hooked<IStreamAudio>::Create(ScriptedAudio::Create("10=1000", 44100));
        SP<IDataAudio> given;
        source->map = [&](const SP<IDataAudio>& block) { return given = block; };
        const SP<IDataAudio> block = MakeVolume(source, row.volume)->Read();
        EXPECT_EQ(block == given, row.passes) << row.volume;
        EXPECT_EQ(block->GetPTS(), 10 * ms);
        const AudioRef audio = block->GetConstAudioRef();
        const auto* samples = reinterpret_cast<const int16_t*>(audio.data);
        EXPECT_EQ(std::vector<int>(samples, samples + audio.sampleCount), std::vector<int>(1764, row.value))
            << row.volume;
    }
}

TEST(FilterAudioVolume, NormalizesFromBlockToBlock)
{
    const struct
    {
        const char* script;
        std::vector<double> factors; // of the blocks that are not silent
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
        size_t i = 0;
        for (const ScriptItem& item : ParseScript(row.script))
        {
            const double value = DescribeItem(*filter->Read()).value;
            if (item.value != 0)
            {
                EXPECT_NEAR(value / item.value, row.factors.at(i++), 0.011) << row.script;
            }
        }
    }
}

TEST(FilterAudioVolume, StartsAnewBehindASeekAndWithSettings)
{
    const SP<IStreamAudioEx> filter = MakeVolume(ScriptedAudio::Create("0=1000 500=1000 1000=1000"), 1.0, true);
    const char* climbs = "0=1352 500=1699 1000=2051 E";
    EXPECT_EQ(ReadAll(filter, Show::Values), climbs);
    EXPECT_EQ((*(filter->GetStatistic().end() - 1))["count"].GetInt64(), 3) << "the end does not count";
    Seek(filter, 0);
    EXPECT_EQ(ReadAll(filter, Show::Values), climbs);
    Seek(filter, 0);
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "0:500=1352");
    const Core::Property tree = filter->GetSettings();
    filter->Initialize(SettingsFilterAudioVolume());
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "500:500=1000") << "the defaults let all pass";
    filter->Initialize(tree);
    EXPECT_EQ(ReadSome(filter, 1, Show::Values), "1000:500=1352");
}

TEST(FilterVolumeDetect, WeighsTheFirstTenMinutes)
{
    const struct
    {
        const char* script;
        int peak;
        bool low;
        int count;
    } rows[] = {
        {"", 0, true, 0},
        {"0=9830 60000=-30000", 9830, true, 2},
        {"0=9831", 9831, false, 1},
        {"0=1 300000=2 600000:100=3 600000.001=30000 700000=30000", 3, true, 3},
    };
    const SP<IFilterVolumeDetect> detect = FilterVolumeDetect::Create(nullptr);
    EXPECT_TRUE(detect->IsLowLevel());
    for (const auto& row : rows) // every run starts from nothing
    {
        const SP<ScriptedAudio> source = ScriptedAudio::Create(row.script, 50);
        detect->Process(source);
        EXPECT_EQ(source->TakeLog(), "RequestSeek(0) DoSeek");
        EXPECT_EQ(source->GetReadCount(), row.count + 1) << row.script;
        EXPECT_EQ(detect->GetPeakValue(), row.peak / 32767.0) << row.script;
        EXPECT_EQ(detect->IsLowLevel(), row.low) << row.script;
    }
}

} // namespace
} // namespace Tessor::Test
