#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

TEST(Script, PrintsWhatItParsed)
{
    for (const std::string text : {"E", "0 E", "0K 40 80 120K E", "0K 120d40 40d80 80d120 E", "0:20 40 E", "? 0 E",
                                   "? 0 20:? E", "0 ! 33.333 66.667 E", "-20K 0 40 80:20 E"})
        EXPECT_EQ(PrintScript(ParseScript(text)), text);
    EXPECT_EQ(PrintScript(ParseScript("0=7 40"), true), "0=7 40=1 E");
    EXPECT_EQ(PrintScript(ParseScript(Regular(4, 40, 3))), "0K 40 80 120K E");
    for (const std::string text : {"a", "0q", "0:", "0:40K"})
        EXPECT_THROW(ParseScript(text), std::invalid_argument) << text;
}

TEST(ScriptedStream, ReadsBackAsItsScript)
{
    EXPECT_EQ(ReadAll(ScriptedRaw::Create("0K 120d40p0 40d80 ! 80d120")), "0K 120d40 40d80 ! 80d120 E");
    EXPECT_EQ(ReadAll(ScriptedRaw::Create("0 20", MediaType::Audio), Show::Values), "0K=0 20K=1 E");
    EXPECT_EQ(ReadAll(ScriptedVideo::Create("0=9 40"), Show::Values), "0=9 40=1 E");
    EXPECT_EQ(ReadAll(ScriptedAudio::Create("0=9 40"), Show::Values), "0=9 40=1 E");
}

TEST(ScriptedStream, SeeksPacketsToKeysAndItemsExactly)
{
    const SP<ScriptedRaw> raw = ScriptedRaw::Create("0K 40 80K 120");
    const SP<ScriptedVideo> video = ScriptedVideo::Create("0 40 80 120");
    Seek(raw, 79 * ms);
    EXPECT_EQ(raw->GetPosition(), 0);
    Seek(raw, 500 * ms);
    EXPECT_EQ(ReadAll(raw), "80K 120 E");
    EXPECT_EQ(raw->TakeLog(), "RequestSeek(79) DoSeek RequestSeek(500) DoSeek");
    Seek(video, 119 * ms);
    EXPECT_EQ(video->GetPosition(), 80 * ms);
    EXPECT_EQ(ReadSome(video, 1), "80");
    Seek(video, 160 * ms);
    EXPECT_EQ(ReadAll(video), "E");
}

} // namespace
} // namespace Tessor::Test
