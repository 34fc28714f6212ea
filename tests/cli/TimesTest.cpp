#include "cli/Times.h"

#include "cli/UserError.h"

#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Cli;

namespace
{

TimeContext Context()
{
    return {20000000, [](long long frame) { return frame * 40000; }};
}

std::string Message(const std::string& ranges)
{
    try
    {
        ParseRanges("--keep", ranges, Context());
    }
    catch (const UserError& e)
    {
        EXPECT_EQ(e.code, ExitCode::Usage);
        return e.what();
    }
    return "";
}

} // namespace

TEST(Times, FormsThatAreUnderstood)
{
    const std::pair<const char*, avTime> rows[] = {
        {"0", 0},
        {"1.5", 1500000},
        {"1.5s", 1500000},
        {"250ms", 250000},
        {"1.5ms", 1500},
        {"77us", 77},
        {"0.0000019", 1},
        {"1:02", 62000000},
        {"01:02.25", 62250000},
        {"90:00", 5400000000},
        {"1:02:03.000004", 3723000004},
        {"-0.5", -500000},
        {"25f", 1000000},
        {"start", 0},
        {"end", 20000000},
    };
    for (const auto& [text, time] : rows)
        EXPECT_EQ(ParseTime(text, Context()), time) << text;
}

TEST(Times, WhatIsNotUnderstoodIsRefused)
{
    for (const char* text : {"",       "-",       "x",       "1,5",  "1.",  ".5",  "1.5.2",
                             "1:60",   "1:61:00", "1:2:3:4", "1:",   ":1",  "1h",  "f",
                             "-5f",    "1.5f",    "5 s",     "0x10", "1e3", "nan", "99999999999999999999",
                             "2592001"})
        EXPECT_THROW(ParseTime(text, Context()), UserError) << text;
}

TEST(Times, Ranges)
{
    using Ranges = std::vector<Range>;
    EXPECT_EQ(ParseRanges("--keep", "1-2", Context()), (Ranges{{1000000, 2000000}}));
    EXPECT_EQ(ParseRanges("--keep", "5-,1-2", Context()), (Ranges{{1000000, 2000000}, {5000000, 20000000}}));
}

TEST(Times, RangesThatMakeNoSense)
{
    EXPECT_EQ(Message("5-3"), "--keep 5-3: the range ends before it begins");
    EXPECT_EQ(Message("5-5"), "--keep 5-5: the range ends before it begins");
    EXPECT_EQ(Message("5"), "--keep 5: a range is written A-B");
    EXPECT_EQ(Message("20-30"), "--keep 20-30: the range lies beyond the end, 0:00:20.000000");
    EXPECT_EQ(Message("1-5,3-8"), "--keep 1-5,3-8: ranges overlap at 0:00:03.000000");
    EXPECT_NE(Message("1-2,"), "");
}

TEST(Times, ComplementIsWhatTheRangesLeave)
{
    using Ranges = std::vector<Range>;
    EXPECT_EQ(Complement({{2, 4}, {6, 10}}, 10), (Ranges{{0, 2}, {4, 6}}));
    EXPECT_EQ(Complement({{0, 4}}, 10), (Ranges{{4, 10}}));
    EXPECT_EQ(Complement({{-5, 20}}, 10), Ranges{});
    EXPECT_EQ(Complement({}, 10), (Ranges{{0, 10}}));
}
