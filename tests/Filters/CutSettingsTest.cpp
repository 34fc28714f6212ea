#include "Proc/Settings/CutTimeline.h"
#include "tests/Filters/CutTestTools.h"

#include <limits>
#include <random>

namespace Tessor::Test
{
namespace
{

using Proc::SettingsFilterCutController;
using Interval = SettingsFilterCutController::Interval;

constexpr avTime highest = std::numeric_limits<avTime>::max();

/// The slow twin: one state for every ms between the ends of the list.
class Bitmap
{
public:
    /// What lies between the list and the interval counts to the list's end.
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
        EXPECT_TRUE(i == 0 || (list[i - 1].end == list[i].start && list[i - 1].deleted != list[i].deleted)) << i;
    }
}

void ExpectSame(const SettingsFilterCutController& settings, const Bitmap& twin)
{
    const Proc::CutTimeline timeline(settings.intervals);
    // a kept start keeps its times, also those before it; after a deleted one the result starts at 0
    int result = twin.IsDeleted(twin.low) ? 0 : twin.low - 20;
    for (int t = twin.low - 20; t < twin.high + 20; ++t)
    {
        const bool inside = t >= twin.low && t < twin.high, kept = !twin.IsDeleted(t);
        ASSERT_EQ(settings.IsPointDeleted(t * ms), !kept) << t;
        ASSERT_EQ(settings.IsPointDeleted(t * ms + 999), !kept) << t;
        ASSERT_EQ(settings.Source2Result(t * ms), result * ms) << t;
        ASSERT_TRUE(!inside || !kept || settings.Result2Source(result * ms) == t * ms) << t;
        const Interval holder = settings.GetOptInterval(static_cast<size_t>(settings.GetIntervalIndex(t * ms)));
        ASSERT_EQ(holder.end, settings.GetIntervalEndTime(t * ms));
        ASSERT_TRUE(!inside || (holder.start <= t * ms && t * ms < holder.end)) << t;
        int deleted = 0;
        for (int i = t; i < t + 7; ++i)
            deleted += twin.IsDeleted(i);
        ASSERT_EQ(timeline.IsDeleted(t * ms, (t + 7) * ms), deleted == 7) << t;
        ASSERT_EQ(timeline.IsPartlyKept(t * ms, (t + 7) * ms), deleted > 0 && deleted < 7) << t;
        ASSERT_EQ(timeline.IsKeptStart(t * ms), kept && twin.IsDeleted(t - 1)) << t;
        result += kept;
    }
}

TEST(CutSettings, MatchABitmap)
{
    for (unsigned seed = 0; seed < 40 && !testing::Test::HasFailure(); ++seed)
    {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto pick = [&](int from, int to) { return std::uniform_int_distribution<int>(from, to)(random); };
        SettingsFilterCutController added;
        added.intervals = {{0, 100 * ms, NoTime, pick(0, 1) == 1}};
        Bitmap twin;
        twin.Lay(0, 100, added.intervals[0].deleted);
        for (int i = pick(0, 12); i > 0; --i)
        {
            const int start = pick(-30, 125), end = start + pick(-2, 40);
            const bool deleted = pick(0, 1) == 1;
            added.AddInterval(start * ms, end * ms, NoTime, deleted);
            twin.Lay(start, end, deleted);
            if (start < end)
                ExpectOptimized(added.intervals);
            ExpectSame(added, twin);
        }

        // A list straight from a caller may have gaps, which are kept, and means the same as its optimized form.
        SettingsFilterCutController given;
        given.intervals.clear();
        for (int i = pick(1, 8); i > 0; --i)
        {
            const int start = pick(0, 80);
            given.intervals.push_back({start * ms, (start + pick(1, 30)) * ms, NoTime, pick(0, 1) == 1});
        }
        Bitmap line;
        for (const Interval& interval : given.intervals)
            line.Lay(static_cast<int>(interval.start / ms), static_cast<int>(interval.end / ms), false);
        for (const Interval& interval : given.intervals)
            line.Lay(static_cast<int>(interval.start / ms), static_cast<int>(interval.end / ms), interval.deleted);
        ExpectSame(given, line);
        given.UpdateOptimizedList();
        ExpectOptimized(given.intervals);
        ExpectSame(given, line);
    }
}

TEST(CutSettings, MapsTimesOutsideOfTheList)
{
    const SettingsFilterCutController later = Keep({{10, 20}, {30, 40}});
    const SettingsFilterCutController fromZero = Keep({{0, 10}, {20, 30}});
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
    EXPECT_EQ(later.Result2Source(-5), 10 * ms) << "before the result is the first kept time";
}

TEST(CutSettings, ExtremeIntervalsDoNotOverflow)
{
    SettingsFilterCutController settings;
    settings.AddInterval(NoTime, 10, NoTime, false);
    settings.AddInterval(5, 5, NoTime, false);
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

} // namespace
} // namespace Tessor::Test
