#include "Proc/Filters/Filters/Video/FilterFrameRateAdjust.h"

#include "tests/support/Decorators.h"

#include <thread>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using Ratio = Core::Property::Ratio;

const SettingsFilterFrameRate rate25({25, 1});

TEST(FilterFrameRate, FillsTheGrid)
{
    const std::tuple<const char*, const char*, Ratio, const char*> rows[] = {
        {"doubled", "0 40", {50, 1}, "0=0 20=0 40=1 60=1 E"},
        {"halved, the earlier one of two equals", "0 20 40 60", {25, 1}, "0=0 40=2 E"},
        {"the last slot is cut", "0 40 80:20", {25, 1}, "0=0 40=1 80:20=2 E"},
        {"a gap is filled with a neighbour, read once", "0:20 100:20", {50, 1}, "0=0 20=0 40=1 60=1 80=1 100=1 E"},
        {"the larger part wins", "0:25 25:15 40", {25, 1}, "0=0 40:15=2 E"},
        {"rounded grid", "0 40 80 120", {30, 1}, "0=0 33.333=1 66.667=2 100=2 133.333:26.667=3 E"},
        {"frames of unknown time", "?:? 0 40", {25, 1}, "0=1 40=2 E"},
    };
    for (const auto& [what, source, rate, result] : rows)
    {
        const SP<IStreamVideoEx> filter =
            FilterFrameRate::CreateEx(ScriptedVideo::Create(source), SettingsFilterFrameRate(rate));
        EXPECT_EQ(ReadAll(filter, Show::Values), result) << what;
    }
}

TEST(FilterFrameRate, SeeksToTheSlotOfTheTarget)
{
    const SP<ScriptedVideo> source = ScriptedVideo::Create(Regular(100));
    const SP<IStreamVideoEx> filter = FilterFrameRate::CreateEx(source, rate25);
    // rate, target, start of its slot, what is read
    const std::tuple<Ratio, avTime, const char*, const char*> rows[] = {
        {{25, 1}, 1010 * ms, "1000", "1010 1040:40"},
        // 66.667 ms is rounded up: divided again it would be in slot 2, 33.333 ms in slot 0
        {{30, 1}, 33333, "33.333", "33.333 66.667:33.333"},
        {{30, 1}, 66666, "33.333", "66.666 66.667:33.333"},
    };
    for (const auto& [rate, target, parentTarget, result] : rows)
    {
        filter->Initialize(SettingsFilterFrameRate(rate));
        source->TakeLog();
        Seek(filter, target);
        EXPECT_EQ(source->TakeLog(), std::string("RequestSeek(") + parentTarget + ") DoSeek");
        EXPECT_EQ(ReadSome(filter, 2), result);
    }
}

TEST(FilterFrameRate, TellsItsRate)
{
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0 40");
    source->GetFormatCodec()->SetFrameRate(30000, 1001);
    const SP<IFilterFrameRate> filter = FilterFrameRate::Create(source);
    filter->Initialize(SettingsFilterFrameRate());
    EXPECT_EQ(filter->GetFrameRate(), Ratio(30000, 1001)) << "the mark stands for the parent's rate";
    filter->Initialize(IFilterFrameRate::MakeSettings({24, 1}));
    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()[Conf::IFormatCodecVideo::TAG_FPS].GetRatio(), Ratio(24, 1));
    source->SetFormat(nullptr);
    EXPECT_THROW(filter->GetFormatCodec(), FilterException);
}

TEST(FilterFrameRate, CountsItsOwnTimeAndNotItsParents)
{
    for (const auto create : {&FilterFrameRate::CreateEx, &FilterFrameRateAdjust::Create})
    {
        const auto source = Hooked<IStreamVideo>::Create(ScriptedVideo::Create(Regular(300)));
        source->beforeRead = [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); };
        const SP<IStreamVideoEx> filter = create(source, rate25);
        ReadAll(filter);
        const long long time = (filter->GetStatistic().end() - 1)->FindChild("time")->GetInt64();
        EXPECT_GT(time, 0);
        EXPECT_LT(time, 300000);
    }
}

TEST(FilterFrameRate, ImpossibleRatesAreRefused)
{
    for (const Ratio& rate : {Ratio(-25, 1), Ratio(1, std::numeric_limits<long long>::max())})
    {
        const SP<IStreamVideoEx> filter =
            FilterFrameRate::CreateEx(ScriptedVideo::Create("0 40"), SettingsFilterFrameRate(rate));
        EXPECT_THROW(filter->Read(), FilterException);
        EXPECT_THROW(Seek(filter, 40 * ms), FilterException);
    }
}

TEST(FilterFrameRateAdjust, MovesFramesThatShareANumber)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"both are number 25", "1000 1010 1080", "1000 1020.4 1080:70 E"},
        {"three of one number", "0 1 2:40", "0 20.4 60.4 E"},
        {"backwards", "80:40 0:40 120:40", "80 100.399 140.4:40 E"},
        {"durations follow the starts", "0:10 40:50 80:40", "0 40 80 E"},
    };
    for (const auto& [what, source, result] : rows)
        EXPECT_EQ(ReadAll(FilterFrameRateAdjust::Create(ScriptedVideo::Create(source), rate25)), result) << what;
}

TEST(FilterFrameRateAdjust, KeepsTheWaitingFrameOverASeek)
{
    const SP<IStreamVideoEx> filter = FilterFrameRateAdjust::Create(ScriptedVideo::Create("0 40 80 120"), rate25);
    EXPECT_EQ(ReadSome(filter, 1), "0");
    Seek(filter, 120 * ms);
    EXPECT_EQ(ReadAll(filter, Show::Values), "40=1 120:40=3 E");
}

} // namespace
} // namespace Tessor::Test
