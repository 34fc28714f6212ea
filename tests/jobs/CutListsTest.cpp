#include "jobs/lists/CutLists.h"

#include "jobs/JobError.h"
#include "jobs/lists/ChapterNumbers.h"
#include "jobs/lists/Timecode.h"
#include "tests/support/ReadAll.h"

#include <fmt/format.h>
#include <random>

using namespace Tessor;
using namespace Tessor::Jobs;
using Tessor::Test::TextOf;

namespace
{

/// Of a minute at 30000/1001 frames per second.
TimeContext MakeContext(const std::string& timecode = "")
{
    return {60000000, [](long long frame) { return frame * 40000; }, 30000, 1001, timecode};
}

/// "1000-2000 title;..." in milliseconds.
std::string Print(const CutList& list)
{
    std::string text;
    for (const AskedRange& asked : list.ranges)
        text += fmt::format("{}{}-{}{}", text.empty() ? "" : ";", asked.range.start / 1000, asked.range.end / 1000,
                            asked.title.empty() ? "" : " " + asked.title);
    return text;
}

CutList ReadText(const std::string& text, bool remove = false, const TimeContext& context = MakeContext())
{
    return ReadCutList(ListText("list", text), context, remove);
}

} // namespace

TEST(CutLists, WhatOthersWrite)
{
    const std::pair<const char*, const char*> rows[] = {
        {"\xEF\xBB\xBF,1.5,\"a, \"\"b\"\"\"\r\n2.5,,\r\n\r\n", "0-1500 a, \"b\";2500-60000"},
        {"Start,End,Name\n00:00:01.000,25f,\"two\nlines\"\n", "1000-1000 two\nlines"},
        {"## made by hand\n10 20.5 0\n#750 0:00:31.5 0\n40 50 3\n55 2\n", "0-10000;20500-30000;31500-60000"},
        {"TITLE: x\nFCM: NON-DROP FRAME\n001  AX  V     C        00:00:01:00 00:00:02:00 00:00:00:00 00:00:01:00\n"
         "* FROM CLIP NAME: first\n002  AX  A     C        00:00:01:00 00:00:02:00 00:00:00:00 00:00:01:00\n"
         "003  AX  B  D 012  00:00:10:15 00:00:20:00 00:00:01:00 00:00:10:15\n",
         "1001-2002 first;10510-20020"},
        {";FFMETADATA1\ntitle=film\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\ntitle=a\\=b\\\nc\n# no end\n[STREAM]\n"
         "title=no\n[CHAPTER]\nSTART=5000000000\nEND=7000000000\n",
         "0-5000 a=b\nc;5000-7000"},
        {"{\"intervals\": [[1.5, 2], [3, 4.000001]], \"titles\": [\"x\"]}", "1500-2000 x;3000-4000"},
    };
    for (const auto& [text, ranges] : rows)
        EXPECT_EQ(Print(ReadText(text)), ranges) << text;
    EXPECT_EQ(Print(ReadText("10 20 0\n40 50 3", true)), "10000-20000");
    EXPECT_EQ(ReadText("1 2 1\n3 4 0\n5 5 2").warnings,
              (std::vector<std::string>{"list:1: muted sound is not cut", "list:3: a scene is not cut"}));
    EXPECT_EQ(Print(ReadText("001 AX V C 10:00:01;00 10:00:02;00 0 0", false, MakeContext("10:00:00;00"))),
              "1001-2002");
}

TEST(CutLists, FaultsAreToldWithTheirLine)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", "list:1: the list is empty"},
        {"1,2\n\n3;4\n", "list:3: start,end[,title] is wanted"},
        {"1,2\n3,x\n", "list:2: \"x\" is no time"},
        {"1,2\n3,4,\"open\n\n", "list:2: a quote is not closed"},
        {"1 2 0\n3 4 7\n", "list:2: start end action is wanted, with an action from 0 to 3"},
        {"1 2 0\n5 4 0\n", "list:2: the range ends before it begins"},
        {"FCM: DROP FRAME\n001 AX V C 00:01:00:00 00:01:01:00 0 0\n",
         "list:2: \"00:01:00:00\" is no timecode at this frame rate"},
        {"TITLE: x\n\n001 AX V C 00:00:00:30 00:00:02:00 0 0\n",
         "list:3: \"00:00:00:30\" is no timecode at this frame rate"},
        {"TITLE: x\n001 AX V\n", "list:2: number, reel, channel, transition and four timecodes are wanted"},
        {";FFMETADATA1\n[CHAPTER]\nEND=1\n", "list:2: the chapter has no start"},
        {";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/0\n", "list:3: \"1/0\" is no time base"},
        {"{\n\"intervals\": [[1, 2]\n", "list:3: is no JSON from here on"},
        {"{\"intervals\": [[1, 2], [1]]}", "list:1: interval 2 is not [start, end] in seconds"},
        {"{\"intervals\": 5}", "list:1: has no \"intervals\""},
        {"{\"intervals\": [[0, 1e400]]}", "list:1: holds a number that is too large"},
        {"O:01,0:02\n3,4\n", "list:1: \"O:01\" is no time"},
    };
    for (const auto& [text, message] : rows)
        EXPECT_EQ(TextOf<JobError>([text = text] { ReadText(text); }).substr(0, std::string(message).size()), message);
}

// To the format's resolution: frames where it counts them. Whatever a title holds, it stays in its cell.
TEST(CutLists, WhatIsWrittenIsReadAgain)
{
    std::mt19937 random(20);
    const char* const titles[] = {"", "a", "b, c", "\"d\"", "e=f;g#h\\i", " blank ", "two\nlines", "1,2", "ü"};
    TimeContext context = MakeContext("01:00:00;02");
    context.firstFrame = 13000;
    const Timecode timecode(30000, 1001);
    for (int round = 0; round < 300; ++round)
    {
        std::vector<AskedRange> kept;
        for (long long frame = random() % 3; frame < 1790 && kept.size() < 12; frame += 1 + random() % 200)
        {
            const long long start = frame, end = std::min<long long>(1796, frame += 1 + random() % 300);
            const auto at = [&](long long number) { return context.firstFrame + timecode.ToTime(number); };
            kept.push_back({{at(start), at(end)}, titles[random() % std::size(titles)], ""});
        }
        for (const auto& format : GetCutListFormats())
        {
            const std::string text = WriteCutList(*format, kept, context);
            const CutList again = ReadText(text, false, context);
            ASSERT_EQ(GetRanges(again.ranges), GetRanges(kept)) << text;
            for (size_t i = 0; i < kept.size() && (format->GetName() == "ffmetadata" || format->GetName() == "json");
                 ++i)
                EXPECT_EQ(again.ranges[i].title, kept[i].title) << text;
        }
    }
}

// Held against a clock that counts frame by frame.
TEST(CutLists, TimecodesKeepPaceWithTheClock)
{
    const Timecode timecode(30000, 1001);
    int hour = 0, minute = 0, second = 0, count = 0;
    for (long long frame = 0; frame < 120000; ++frame)
    {
        const std::string name = fmt::format("{:02}:{:02}:{:02};{:02}", hour, minute, second, count);
        ASSERT_EQ(timecode.ToName(frame, true), name);
        ASSERT_EQ(timecode.ToFrame(name, false), frame);
        if (++count < 30)
            continue;
        count = 0;
        second = (second + 1) % 60;
        minute += second == 0;
        hour += minute / 60;
        minute %= 60;
        // two names less in each minute, except for each tenth
        count = second == 0 && minute % 10 != 0 ? 2 : 0;
    }
    EXPECT_EQ(Timecode(25, 1).ToFrame("00:01:00;00", true), 1500);
}

TEST(CutLists, ChaptersByNumberAndTitle)
{
    Host::MediaInfo info;
    info.path = "film";
    info.duration = 9000000;
    for (avTime start = 0; start < 9000000; start += 3000000)
        info.chapters.push_back({start, start + 3000001, {{"title", start == 0 ? "One, two" : "Three"}}});
    const std::pair<const char*, const char*> rows[] = {
        {"1,3", "0-3000 One, two;6000-9000 Three"},
        {"2-", "3000-6000 Three;6000-9000 Three"},
        {"one, TWO", "0-3000 One, two"},
        {"three, 1", "3000-6000 Three;6000-9000 Three;0-3000 One, two"},
    };
    for (const auto& [text, ranges] : rows)
        EXPECT_EQ(Print({ParseChapters("--keep-chapters", text, info), {}}), ranges);
    for (const char* text : {"0", "4", "3-2", "2-9", "four", "", "1,"})
        EXPECT_THROW(ParseChapters("--keep-chapters", text, info), JobError) << text;
}
