#include "tests/Filters/CutTestTools.h"
#include "tests/support/Decorators.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>
#include <thread>

namespace Tessor::Proc
{

namespace
{

using namespace Test;

struct StreamRow
{
    const char* what;
    Ranges kept;
    std::string script;
    std::string result;
    std::string log; // of the source
};

const std::string tenSeconds = Regular(10, 1000);

TEST(DecodedCut, DeliversWhatIsKept)
{
    const StreamRow rows[] = {
        {"everything deleted", {}, tenSeconds, "E", ""},
        {"no cuts", {{0, 2592000000}}, "0=5 40=6x 80:0=7", "0=5 40=6 80:0=7 E", ""},
        {"short of a jump",
         {{0, 1000}, {5900, 10000}},
         "0=0 1000=1 2000:3900=2 5900=3 6900:1000=4",
         "0=0 1000=3 2000=4 E",
         ""},
        {"a jump", {{0, 1000}, {6000, 8000}}, tenSeconds, "0=0 1000=6 2000=7 E", "RequestSeek(6000) DoSeek"},
        {"a jump before anything", {{7000, 9000}}, tenSeconds, "0=7 1000=8 E", "RequestSeek(7000) DoSeek"},
        {"cuts in items", {{0, 1500}, {2500, 4000}}, "0=0 1000=1 2000=2 3000=3", "0=0 1000=1 1500=2 2000:1000=3 E", ""},
        {"items that can't be trimmed",
         {{0, 1500}, {8500, 10000}},
         "0=0 1000=1x 2000=2 8000=8x 9000=9",
         "0:1000=0 2000:1000=9 E",
         "RequestSeek(8500) DoSeek"},
        {"items of no duration, of no time",
         {{0, 9000}},
         "0=0 1000:0=1 ?:40=2 2000:1000=3",
         "0:1000=0 2000:1000=3 E",
         ""},
    };
    for (const StreamRow& row : rows)
    {
        SCOPED_TRACE(row.what);
        const auto source = ScriptedVideo::Create(row.script);
        const auto cut = Cutter(row.kept)->AddStream(SP<IStreamVideo>(source));
        EXPECT_EQ(ReadAll(cut, Show::Values), row.result);
        EXPECT_EQ(source->TakeLog(), row.log);
    }
}

TEST(DecodedCutStream, EndsOnTheFirstItemThatNothingFollows)
{
    const auto source = ScriptedSubtitle::Create(tenSeconds);
    const auto cut = Cutter({{0, 1500}})->AddStream(SP<IStreamSubtitle>(source));
    EXPECT_EQ(ReadAll(cut), "0 1000:500 E");
    EXPECT_EQ(ReadAll(cut), "E");
    EXPECT_EQ(source->GetReadCount(), 3);
    EXPECT_EQ(cut->GetDuration(), 1500 * ms);
    EXPECT_EQ((*(cut->GetStatistic().end() - 1))["count"].GetInt64(), 2);
    Seek(cut, 1000 * ms);
    EXPECT_EQ(ReadAll(cut), "1000:500 E") << "the end is forgotten";
}

TEST(DecodedCutStream, SavedItemsComeFirstAfterAJump)
{
    const auto controller = Cutter({{0, 2000}, {8000, 10000}});
    const auto video = controller->AddStream(SP<IStreamVideo>(ScriptedVideo::Create(tenSeconds)));
    const auto audioSource = ScriptedAudio::Create(tenSeconds);
    const auto audio = controller->AddStream(SP<IStreamAudio>(audioSource));
    EXPECT_EQ(ReadAll(video, Show::Values), "0=0 1000=1 2000=8 3000=9 E");
    EXPECT_EQ(audioSource->TakeLog(), "RequestSeek(8000) DoSeek");
    EXPECT_EQ(ReadAll(audio, Show::Values), "0=0 1000=1 2000=8 3000=9 E");
    EXPECT_EQ(audioSource->TakeLog(), "");

    // a seek leaves what was saved, giving memory back doesn't
    for (const bool release : {false, true})
    {
        Seek(video, 0);
        Seek(audio, 0);
        ReadAll(video);
        if (release)
            audio->ReleaseInternalData();
        else
            Seek(audio, 3000 * ms);
        EXPECT_EQ(ReadSome(audio, 2, Show::Values), release ? "2000=8 3000=9" : "0=0 1000=1");
        ReadAll(audio);
    }
}

TEST(DecodedCutStream, SavedItemsComeFirstWhenNothingIsCutAnyMore)
{
    const auto controller = Cutter({{0, 2000}, {8000, 10000}});
    const auto video = controller->AddStream(SP<IStreamVideo>(ScriptedVideo::Create(tenSeconds)));
    const auto audio = controller->AddStream(SP<IStreamAudio>(ScriptedAudio::Create(tenSeconds)));
    EXPECT_EQ(ReadSome(video, 3), "0 1000 2000");
    controller->KeepWhole(0, MAX_DURATION);
    EXPECT_TRUE(controller->CutsAreAbsent());
    EXPECT_EQ(ReadAll(audio, Show::Values), "0=0 1000:1000=1 8000=8 9000=9 E");
}

TEST(DecodedCutStream, AnInexactSeekIsReadThrough)
{
    const auto source = Hooked<IStreamVideo>::Create(ScriptedVideo::Create(tenSeconds));
    int seeks = 0;
    source->seekTo = [&](avTime target)
    {
        ++seeks;
        return target - 1000 * ms;
    };
    const auto cut = Cutter({{0, 1000}, {8000, 10000}})->AddStream(SP<IStreamVideo>(source));
    EXPECT_EQ(ReadAll(cut, Show::Values), "0=0 1000=8 2000=9 E");
    EXPECT_EQ(seeks, 1);
}

TEST(DecodedCutStream, AFailureOfTheHelperStaysWithIt)
{
    const auto controller = Cutter({{0, 2000}, {8000, 10000}});
    const auto video = controller->AddStream(SP<IStreamVideo>(ScriptedVideo::Create(tenSeconds)));
    const auto audio = controller->AddStream(
        SP<IStreamAudio>(ScriptedAudio::Create("0 ! 1000 2000 3000 4000 5000 6000 7000 8000 9000")));
    EXPECT_EQ(ReadAll(video), "0 1000 2000 3000 E");
    EXPECT_EQ(ReadAll(audio, Show::Values), "0:1000=0 2000=8 3000=9 E");
}

TEST(DecodedCutStream, StreamsReadFromTwoThreadsLoseAndRepeatNothing)
{
    const Ranges kept = {{0, 1000}, {9000, 11000}, {20000, 20500}, {22000, 23000}, {29000, 30000}};
    const auto makeVideo = [] { return SP<IStreamVideo>(ScriptedVideo::Create(Regular(750, 40))); };
    const auto makeAudio = [] { return SP<IStreamAudio>(ScriptedAudio::Create(Regular(3000, 10))); };
    const std::string allFrames = ReadAll(Cutter(kept)->AddStream(makeVideo()), Show::Values);
    const std::string allBlocks = ReadAll(Cutter(kept)->AddStream(makeAudio()), Show::Values);
    for (int round = 0; round < 20; ++round)
    {
        const auto controller = Cutter(kept);
        SP<IStreamVideo> video = controller->AddStream(makeVideo());
        SP<IStreamAudio> audio = controller->AddStream(makeAudio());
        std::string frames;
        std::string blocks;
        // each lets go of its stream at once, while the other may still jump
        std::thread viewer(
            [&]
            {
                frames = ReadAll(video, Show::Values);
                video.reset();
            });
        std::thread listener(
            [&]
            {
                blocks = ReadAll(audio, Show::Values);
                audio.reset();
            });
        viewer.join();
        listener.join();
        EXPECT_TRUE(frames == allFrames) << "round " << round; // too long to print
        EXPECT_TRUE(blocks == allBlocks) << "round " << round;
    }
}

} // namespace

} // namespace Tessor::Proc
