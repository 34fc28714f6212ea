#include "cli/Groups.h"

#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Cli;
using Tessor::Test::ms;
using Tessor::Test::ScriptedRaw;

TEST(SnapToPicture, PicturesBeginBehindTheTimeUnlessTheyAreFar)
{
    // two groups with reordering, then a still picture; what begins at 80 ms begins behind other tracks
    const auto stream = ScriptedRaw::Create("80K:40d0 200:40d40 120:40d80 160:40d120 "
                                            "240K:40d160 360:40d200 280:40d240 320:40d280 400:2000d400 2400:40d2400");
    const struct
    {
        double time, snapped;
        const char* why;
    } rows[] = {
        {30, 30, "in front of the first picture nothing is cut through"},
        {80, 80, "at a picture"},
        {81, 119, "decoded behind one that is shown later; in front of the time that the tick may stand for"},
        {120.09, 119, "a little behind the picture that is meant"},
        {161, 199, "decoded before those in front of it"},
        {201, 240, "a key picture: its group stays whole"},
        {361, 399, "across groups"},
        {500, 500, "too far from the next picture"},
        {2350, 2399, "near enough again"},
        {2410, 2439, "the end of the last one"},
        {2450, 2450, "behind the end"},
    };
    for (const auto& row : rows)
    {
        const avTime time = static_cast<avTime>(row.time * ms);
        EXPECT_EQ(SnapToPicture(*stream, time, {100, 100 * ms, ms}), row.snapped * ms) << row.why;
    }
}
