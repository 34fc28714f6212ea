#include "media/AudioTime.h"

#include <gtest/gtest.h>
#include <random>

using namespace Tessor;
using Proc::AudioTime;

namespace
{

constexpr avTime longest = std::numeric_limits<avTime>::max();

} // namespace

TEST(AudioTime, DoesNotDriftInTwoHours)
{
    AudioTime time;
    time.Reset(40);
    long long samples = 0;
    while (samples < 2LL * 3600 * 11025)
    {
        time.AddSamples(11025, 1152);
        samples += 1152;
        const long long doubled = samples * 2000000 / 11025;
        ASSERT_EQ(time.GetTime(), 40 + (doubled + 1) / 2);
    }
}

TEST(AudioTime, NeedsABaseAndAPositiveRate)
{
    AudioTime time;
    time.AddSamples(48000, 480);
    time.AddSamples(0, 480);
    EXPECT_FALSE(time.isInit());
    EXPECT_EQ(time.GetTime(), NoTime);
    time.Reset(-3);
    time.AddSamples(48000, 480);
    EXPECT_THROW(time.AddSamples(0, 1), std::invalid_argument);
    EXPECT_THROW(time.AddSamples(-1, 1), std::invalid_argument);
    EXPECT_EQ(time.GetTime(), 9997);
    time.Reset(NoTime);
    EXPECT_FALSE(time.isInit());
}

TEST(AudioTime, FoldsAtANewRate)
{
    AudioTime time;
    time.Reset(0);
    time.AddSamples(3, 1); // 333333.3
    time.AddSamples(7, 1); // 142857.1
    EXPECT_EQ(time.GetTime(), 333333 + 142857);
    time.AddSamples(7, 6);
    EXPECT_EQ(time.GetTime(), 1333333);
}

TEST(AudioTime, StopsAtTheEndOfTheRange)
{
    AudioTime time;
    time.Reset(0);
    time.AddSamples(1, std::numeric_limits<unsigned long long>::max());
    EXPECT_EQ(time.GetTime(), longest);
    time.AddSamples(1, 5);
    EXPECT_EQ(time.GetTime(), longest);
    time.Reset(longest - 10);
    time.AddSamples(1000000, 11);
    EXPECT_EQ(time.GetTime(), longest);
    time.Reset(0);
    time.AddSamples(1000000, 1ull << 62);
    EXPECT_EQ(time.GetTime(), avTime{1} << 62);
}

TEST(AudioTime, ConvertsDurationsRoundingToNearest)
{
    const struct
    {
        avTime duration;
        int rate;
        long long samples;
    } rows[] = {
        {23220, 44100, 1024},
        {5, 100000, 1},
        {4, 100000, 0},
        {-5, 100000, -1},
        {-4, 100000, 0},
        {NoTime, 44100, 0},
        {1000000, 0, 0},
        {longest, 2000000, longest},
        {-longest, 2000000, -longest},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Proc::Duration2SampleCount(row.duration, row.rate), row.samples) << row.duration << " " << row.rate;
    // a rate below 500 kHz loses nothing on the way to microseconds and back
    std::mt19937 random(5);
    for (int i = 0; i < 1000; ++i)
    {
        const int rate = std::uniform_int_distribution<int>(1, 499999)(random);
        const long long count = std::uniform_int_distribution<long long>(0, 1LL << 40)(random);
        EXPECT_EQ(Proc::Duration2SampleCount(Proc::SampleCount2Duration(count, rate), rate), count) << rate;
    }
}
