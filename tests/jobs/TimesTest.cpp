#include "jobs/Times.h"

#include "jobs/JobError.h"
#include "tests/support/ReadAll.h"

using namespace Tessor;
using namespace Tessor::Jobs;

namespace
{

const TimeContext context{20000000, [](long long frame) { return (frame < 0 ? 500 + frame : frame) * 40000; }};

std::vector<AskedRange> InOrder(const std::string& text)
{
    std::vector<AskedRange> ranges = ParseRanges("--keep", text, context);
    PutInOrder(ranges, context.duration);
    return ranges;
}

} // namespace

TEST(Times, FormsThatAreUnderstood)
{
    const std::pair<const char*, avTime> rows[] = {
        {"1.5s", 1500000},          {"1.5ms", 1500},        {"77us", 77},
        {"0.0000019", 1},           {"01:02.25", 62250000}, {"90:00", 5400000000},
        {"1:02:03.04", 3723040000}, {"-0.5", 19500000},     {"25f", 1000000},
        {"end", 20000000},          {"-25f", 19000000},     {"-1:00", 0},
        {"1.5m", 90000000},         {"0.5h", 1800000000},   {"-0", 20000000},
        {"-0f", 20000000},
    };
    for (const auto& [text, time] : rows)
        EXPECT_EQ(ParseTime(text, context), time) << text;
    for (const char* text : {"", "x", "1,5", "1.", ".5", "1:60", "1:61:00", "1:2:3:4", "1:", "--5", "-end", "-", "1.5f",
                             "1e3", "99999999999999999999", "2592001"})
        EXPECT_THROW(ParseTime(text, context), JobError) << text;
}

TEST(Times, Ranges)
{
    using Ranges = std::vector<Range>;
    const std::pair<const char*, Ranges> good[] = {
        {"5-,1-2", {{1000000, 2000000}, {5000000, 20000000}}},
        {"-1-", {{19000000, 20000000}}},
        {"-10--5,-50f-end", {{10000000, 15000000}, {18000000, 20000000}}},
    };
    for (const auto& [text, ranges] : good)
        EXPECT_EQ(GetRanges(InOrder(text)), ranges) << text;
    const std::pair<const char*, const char*> rows[] = {
        {"5-3", "--keep 5-3: the range ends before it begins"},
        {"20-30", "--keep 20-30: the range lies beyond the end, 0:00:20.000000"},
        {"-5--10", "--keep -5--10: the range ends before it begins"},
        {"3-8,1-5", "--keep 3-8: ranges overlap at 0:00:03.000000"},
    };
    for (const auto& [ranges, message] : rows)
        EXPECT_EQ(Tessor::Test::TextOf<JobError>([ranges = ranges] { InOrder(ranges); }).find(message), 0u) << ranges;
    EXPECT_EQ(Complement({{2, 4}, {6, 10}}, 10), (Ranges{{0, 2}, {4, 6}}));
    EXPECT_EQ(Complement({{-5, 20}}, 10), Ranges{});
}
