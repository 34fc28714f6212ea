#include "Proc/Settings/CutTimeline.h"
#include "tests/Filters/CutTestTools.h"

#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <random>

namespace Tessor::Proc
{

namespace
{

using Test::Keep;
using Test::ms;
using Interval = SettingsFilterCutController::Interval;

/// The slow twin: one state for every ms between the ends of the list.
class Bitmap
{
public:
    void Lay(int start, int end, bool deleted)
    {
        if (start >= end)
            return;
        if (low == high)
            low = high = start;
        const bool first = IsDeleted(low);
        const bool last = IsDeleted(high - 1);
        for (; low > start; --low)
            At(low - 1) = first;
        for (; high < end; ++high)
            At(high) = last;
        for (int t = start; t < end; ++t)
            At(t) = deleted;
    }

    bool IsDeleted(int t) const { return states[static_cast<size_t>(std::clamp(t, low, high - 1) + OFFSET)]; }

    int Source2Result(int t) const
    {
        if (t < low)
            return IsDeleted(low) ? 0 : t;
        int result = IsDeleted(low) ? 0 : low;
        for (int i = low; i < t; ++i)
            result += IsDeleted(i) ? 0 : 1;
        return result;
    }

    int Result2Source(int t) const
    {
        int end = low; // of the last kept ms
        for (int i = low; i < high; ++i)
        {
            if (IsDeleted(i))
                continue;
            if (Source2Result(i) >= t)
                return i == low && t < i ? t : i;
            end = i + 1;
        }
        return end;
    }

    int low = 0;
    int high = 0;

private:
    static constexpr int OFFSET = 100;
    std::vector<bool>::reference At(int t) { return states[static_cast<size_t>(t + OFFSET)]; }
    std::vector<bool> states = std::vector<bool>(400);
};

void ExpectOptimized(const std::deque<Interval>& list)
{
    ASSERT_FALSE(list.empty());
    for (size_t i = 0; i < list.size(); ++i)
    {
        EXPECT_LT(list[i].start, list[i].end);
        if (i > 0)
        {
            EXPECT_EQ(list[i - 1].end, list[i].start);
            EXPECT_NE(list[i - 1].deleted, list[i].deleted);
        }
    }
}

void ExpectSame(const SettingsFilterCutController& settings, const Bitmap& twin)
{
    for (int t = twin.low - 20; t < twin.high + 20; ++t)
    {
        ASSERT_EQ(settings.IsPointDeleted(t * ms), twin.IsDeleted(t)) << t;
        ASSERT_EQ(settings.IsPointDeleted(t * ms + 999), twin.IsDeleted(t)) << t;
        ASSERT_EQ(settings.Source2Result(t * ms), twin.Source2Result(t) * ms) << t;
        ASSERT_EQ(settings.Result2Source(t * ms), twin.Result2Source(t) * ms) << t;
        const Interval holder = settings.GetOptInterval(static_cast<size_t>(settings.GetIntervalIndex(t * ms)));
        ASSERT_EQ(holder.end, settings.GetIntervalEndTime(t * ms));
        if (t >= twin.low && t < twin.high)
        {
            ASSERT_TRUE(holder.start <= t * ms && t * ms < holder.end) << t;
        }
    }
}

class CutSettingsRandom : public testing::TestWithParam<unsigned>
{
};

TEST_P(CutSettingsRandom, AddedIntervalsMatchABitmap)
{
    std::mt19937 random(GetParam());
    const auto pick = [&](int from, int to) { return std::uniform_int_distribution<int>(from, to)(random); };
    SettingsFilterCutController settings;
    Bitmap twin;
    settings.intervals = {{0, 100 * ms, NoTime, pick(0, 1) == 1}};
    twin.Lay(0, 100, settings.intervals[0].deleted);
    for (int i = pick(0, 12); i > 0; --i)
    {
        const int start = pick(-30, 125);
        const int end = start + pick(-2, 40);
        const bool deleted = pick(0, 1) == 1;
        settings.AddInterval(start * ms, end * ms, NoTime, deleted);
        twin.Lay(start, end, deleted);
        if (start < end)
            ExpectOptimized(settings.intervals);
        ExpectSame(settings, twin);
    }
}

TEST_P(CutSettingsRandom, ListsStraightFromACallerMeanTheSameAsOptimizedOnes)
{
    std::mt19937 random(GetParam());
    const auto pick = [&](int from, int to) { return std::uniform_int_distribution<int>(from, to)(random); };
    SettingsFilterCutController settings;
    settings.intervals.clear();
    std::vector<std::optional<bool>> line(120);
    for (int i = pick(1, 8); i > 0; --i)
    {
        const int start = pick(0, 80);
        const int end = start + pick(1, 30);
        settings.intervals.push_back({start * ms, end * ms, NoTime, pick(0, 1) == 1});
        std::fill(line.begin() + start, line.begin() + end, settings.intervals.back().deleted);
    }
    Bitmap twin;
    const auto known = [](const std::optional<bool>& state) { return state.has_value(); };
    const auto first = std::find_if(line.begin(), line.end(), known) - line.begin();
    const auto last = line.rend() - std::find_if(line.rbegin(), line.rend(), known);
    for (auto t = first; t < last; ++t)
        twin.Lay(static_cast<int>(t), static_cast<int>(t) + 1, line[static_cast<size_t>(t)].value_or(false));

    ExpectSame(settings, twin);
    settings.UpdateOptimizedList();
    ExpectOptimized(settings.intervals);
    ExpectSame(settings, twin);
}

INSTANTIATE_TEST_SUITE_P(Seeds, CutSettingsRandom, testing::Range(0u, 40u));

TEST(CutSettings, MapsTimesOutsideOfTheList)
{
    const SettingsFilterCutController later = Keep({{10, 20}, {30, 40}});
    const SettingsFilterCutController fromZero = Keep({{0, 10}, {20, 30}});
    constexpr avTime highest = std::numeric_limits<avTime>::max();
    for (const auto& [settings, source, result, back] :
         {std::tuple(SettingsFilterCutController(), 7 * ms, avTime{0}, avTime{0}),
          {SettingsFilterCutController(), NoTime, NoTime, NoTime},
          {later, 20 * ms, 10 * ms, 30 * ms}, // the seam
          {later, -21333, 0, 10 * ms},
          {fromZero, -21333, -21333, -21333},
          {fromZero, highest, 20 * ms, 30 * ms},
          {fromZero, NoTime + 1, NoTime + 1, NoTime + 1}})
    {
        EXPECT_EQ(settings.Source2Result(source), result) << source;
        EXPECT_EQ(settings.Result2Source(result), back) << source;
    }
}

TEST(CutSettings, ExtremeIntervalsDoNotOverflow)
{
    constexpr avTime highest = std::numeric_limits<avTime>::max();
    SettingsFilterCutController settings;
    settings.AddInterval(NoTime, 10, NoTime, false);
    settings.AddInterval(5, 5, NoTime, false);
    settings.AddInterval(9, 5, NoTime, false);
    EXPECT_EQ(settings, SettingsFilterCutController()) << "empty intervals";
    settings.AddInterval(-100, 0, NoTime, true);
    settings.AddInterval(0, highest, NoTime, false);
    EXPECT_EQ(settings.Source2Result(highest), highest);
    settings.AddInterval(NoTime + 1, highest, NoTime, false);
    EXPECT_EQ(settings.intervals.size(), 1u);
    EXPECT_EQ(settings.Source2Result(NoTime + 1), NoTime + 1);
    EXPECT_EQ(settings.Result2Source(highest), highest);
    EXPECT_THROW(settings.GetOptInterval(1), std::out_of_range);
}

TEST(CutSettings, PropertyHoldsEverything)
{
    SettingsFilterCutController settings = Keep({{0, 10}, {20, 30}});
    settings.intervals.push_back({1, 2, 3, true}); // as it stands, not optimised
    settings.streamIndex = -7;
    const Core::Property property = SettingsCutController2Property(settings);
    const SettingsFilterCutController back = Property2SettingsCutController(property);
    EXPECT_TRUE(back.IsEqualTo(settings));
    EXPECT_FALSE(back.IsEqualTo(SettingsFilterCutController()));

    using Keys = SettingsFilterCutController;
    std::vector<Core::Property> malformed(4, property);
    malformed[0].SetName("other");
    malformed[1].SetChildT<bool>(Keys::KEY_INTERVALS, true);
    malformed[2][Keys::KEY_INTERVALS].begin()->RemoveChild(Keys::KEY_END);
    malformed[3].SetChildT<long long>(Keys::KEY_STREAM_INDEX, 1LL << 40);
    for (const Core::Property& tree : malformed)
        EXPECT_THROW(Property2SettingsCutController(tree), Core::PropertyException);
}

} // namespace

} // namespace Tessor::Proc
