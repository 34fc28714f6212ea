#include "Proc/Filters/Filters/DataSkipperStreamImpl.h"
#include "tests/Filters/CutTestTools.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using FrameSkipper = DataSkipperStreamImpl<IStreamVideo>;

std::string PrintTimes(const FrameSkipper& skipper)
{
    std::string text;
    for (const auto& [pts, duration] : skipper.GetProcessedPktsTimes())
        text += (text.empty() ? "" : " ") + PrintMs(pts) + ":" + PrintMs(duration);
    return text;
}

TEST(FrameSkipper, GivesEvenTimesAndFoldsRepeats)
{
    const std::tuple<Ranges, const char*, const char*, const char*> rows[] = {
        {{{0, 1000}}, "0=1 40=2 80=2 120=2 160=3", "0:?=1 40:?=2 80:?=3 E", "0:40 40:120 160:40"},
        {{{0, 1000}}, "0=1 40=2 80=1", "0:?=1 40:?=2 80:?=1 E", "0:40 40:40 80:40"}, // no repeat of the one before
        {{{0, 1000}}, "10=1 45=2 90=3", "10:?=1 50:?=2 90:?=3 E", "10:35 45:45 90:45"},
        {{{0, 80}, {160, 1000}}, "0=1 40=2 80=3 120=3 160=2 200=4", "0:?=1 40:?=2 80:?=4 E", "0:40 40:80 120:40"},
        {{{500, 1000}}, "0=1 40=2", "E", ""},
    };
    for (const auto& [kept, script, delivered, times] : rows)
    {
        SCOPED_TRACE(script);
        const auto source = ScriptedVideo::Create(script);
        source->GetFormatCodec()->SetFrameRate(25, 1);
        const SP<FrameSkipper> skipper(new FrameSkipper(source, Cutter(kept)));
        EXPECT_EQ(ReadAll(SP<IStreamVideo>(skipper), Show::Values), delivered);
        EXPECT_EQ(PrintTimes(*skipper), times);
    }
}

TEST(FrameSkipper, RoundsDownWithNothingLostOnTheWay)
{
    const auto source = ScriptedVideo::Create(Regular(200));
    source->GetFormatCodec()->SetFrameRate(30000, 1001);
    const SP<IStreamVideo> skipper(new FrameSkipper(source, Cutter({{0, 100000}})));
    for (int64_t i = 0; i < 200; ++i)
        ASSERT_EQ(skipper->Read()->GetPTS(), 1001 * i * 1000000 / 30000);
}

TEST(FrameSkipper, WantsAFrameRate)
{
    const auto source = ScriptedVideo::Create("0 40 80");
    const SP<IStreamVideo> skipper(new FrameSkipper(source, Cutter({{0, 1000}})));
    source->GetFormatCodec()->SetFrameRate(0, 1);
    EXPECT_EQ(ReadAll(skipper), "!(Wrong fps!)");
}

TEST(PacketSkipper, CutsPacketsAndCountsThem)
{
    const auto source = ScriptedRaw::Create("0K 40d20 80 120 ?:40");
    const SP<IStreamRaw> skipper(new DataSkipperStreamImpl<IStreamRaw>(source, Cutter({{40, 80}, {120, 1000}})));
    Seek(skipper, 0);
    EXPECT_EQ(source->TakeLog(), "RequestSeek(40) DoSeek");
    EXPECT_EQ(ReadAll(skipper), "0d-20 40 ? E");
    EXPECT_EQ((*(skipper->GetStatistic().end() - 1))["count"].GetInt64(), 3);
}

} // namespace
} // namespace Tessor::Test
