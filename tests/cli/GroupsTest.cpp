#include "cli/Groups.h"

#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Cli;
using Tessor::Test::ms;
using Tessor::Test::ScriptedRaw;

TEST(FindPictures, KnowsWhatStandsAndWhatComesNextInTheOrderOfDisplay)
{
    // two groups with reordering, then a still picture; what begins at 80 ms begins behind other tracks
    const auto stream = ScriptedRaw::Create("80K:40d0 200:40d40 120:40d80 160:40d120 "
                                            "240K:40d160 360:40d200 280:40d240 320:40d280 400:2000d400 2400:40d2400");
    constexpr avTime none = -1;
    const struct
    {
        avTime time, standing, next;
        bool nextIsKey;
        const char* why;
    } rows[] = {
        {30, none, 80, true, "in front of the first picture"},
        {80, 80, 120, false, "at a picture"},
        {81, 80, 120, false, "decoded behind one that is shown later"},
        {161, 160, 200, false, "decoded before those in front of it"},
        {201, 200, 240, true, "the next group's key picture"},
        {361, 360, 400, false, "across groups"},
        {500, 400, 2400, false, "within a still picture"},
        {2410, 2400, none, false, "the last one"},
    };
    for (const auto& row : rows)
    {
        const PicturesAround found = FindPictures(*stream, row.time * ms);
        EXPECT_EQ(found.standing.start, row.standing == none ? NoTime : row.standing * ms) << row.why;
        EXPECT_EQ(found.next.start, row.next == none ? NoTime : row.next * ms) << row.why;
        EXPECT_EQ(found.next.key, row.nextIsKey) << row.why;
    }
    EXPECT_EQ(FindPictures(*stream, 2450 * ms).end, 2440 * ms);
}
