#include "Proc/Filters/Filters/Cutting/FilterCutController.h"

#include "Proc/Settings/SettingsStreamMetadataUpdater.h"
#include "tests/Filters/CutTestTools.h"
#include "tests/support/Decorators.h"

#include <numeric>
#include <thread>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

TEST(FilterCutController, RefusesWhatDoesNotFit)
{
    const SettingsStreamMetadataUpdater foreign;
    EXPECT_EQ(TextOf<FilterException>([&] { FilterCutController::Create(foreign, nullptr); }), "Wrong settings!");
    const auto controller = Cutter({});
    EXPECT_EQ(TextOf<std::invalid_argument>([&] { controller->Initialize(foreign); }), "wrong settings");
    EXPECT_EQ(TextOf<std::invalid_argument>([&] { controller->Initialize(Core::Property("x")); }),
              "incorrect controller name");
    controller->Initialize(SettingsCutController2Property(Keep({{0, 40}})));
    EXPECT_EQ(controller->GetCut(), Keep({{0, 40}}));

    const SP<IStreamVideo> video = ScriptedVideo::Create("0 40");
    SP<IStreamVideo> cut = controller->AddStream(video);
    EXPECT_EQ(TextOf<FilterException>([&] { controller->AddStream(video); }),
              "This stream is already added into current FilterCutController object");
    EXPECT_EQ(TextOf<FilterException>([&] { controller->AddStream(SP<IStreamAudio>(ScriptedAudio::Create("0"))); }),
              "Duration of new stream differs from duration of other streams already registered in "
              "FilterCutController.");
    EXPECT_EQ(TextOf<FilterException>([&] { controller->AddStream(SP<IStreamRaw>(ScriptedRaw::Create("0K 40"))); }),
              "Codec factory is not provided to FilterCutController. Call FilterCutController::SetCodecFacory(..) "
              "before.");
    cut.reset(); // a destroyed cut stream makes room
    EXPECT_EQ(ReadAll(controller->AddStream(video)), "0 E");
}

TEST(FilterCutController, CutsFrames)
{
    const std::tuple<const char*, Ranges, const char*, const char*> rows[] = {
        {"kept", {{10, 90}}, "10:80", "0:80 E"},
        {"deleted", {{90, 99}}, "10:80", "null"},
        {"tail", {{0, 50}}, "20:80", "20:30 E"},
        {"tail and head: the tail alone", {{50, 70}}, "20:80", "0:50 E"},
        {"tail after a seam", {{0, 10}, {30, 70}}, "40:80", "20:30 E"},
        {"no duration", {{0, 100}}, "20:0", "null"},
        {"no time", {{0, 100}}, "?:20", "null"},
        {"unknown duration", {{10, 100}}, "20:?", "10:? E"},
        {"unknown duration, deleted", {{50, 100}}, "20:?", "null"},
        {"fixed and cut", {{0, 50}}, "20:80x", "null"},
        {"a part in the middle", {{0, 40}, {60, 200}}, "20:80", "null"},
        {"an empty part at the end: nothing else goes", {{0, 40}, {60, 100}}, "20:80", "20:80 E"},
    };
    for (const auto& [what, kept, item, cut] : rows)
        EXPECT_EQ(PrintOrNull(Cutter(kept)->CutDataTemplate(CreateFrame(ParseScript(item).front()))), cut) << what;
}

TEST(FilterCutController, TakesOnePartOutOfTheMiddleOfABlock)
{
    const Conf::SampleInfo info(Conf::SampleFormats::S16, 1000, Conf::ChannelLayout::Mono);
    const SP<DataAudioFF> block = CreateBlock(ParseScript("20:80").front(), info);
    auto* const samples = reinterpret_cast<int16_t*>(block->GetAudioRef().data);
    std::iota(samples, samples + 80, int16_t{0});

    // of two deleted intervals the later one goes, and the time is that of the whole item's start
    const auto controller = Cutter({{5, 30}, {35, 50}, {60, 200}});
    const SP<IDataAudio> cut = controller->CutDataTemplate(SP<IDataAudio>(block));
    EXPECT_EQ(PrintOrNull(cut), "15:70 E");
    ASSERT_EQ(cut->GetSampleCount(), 70);
    const auto* const left = reinterpret_cast<const int16_t*>(cut->GetAudioRef().data);
    EXPECT_EQ(std::tuple(left[29], left[30], left[69]), std::tuple(29, 40, 79));
    EXPECT_EQ(block->GetSampleCount(), 80) << "the source's item is another's";
}

TEST(FilterCutController, KnowsWhereNothingFollows)
{
    const auto controller = Cutter({{10, 20}, {30, 40}});
    EXPECT_FALSE(controller->CheckPositionForEOF(35 * ms));
    EXPECT_TRUE(controller->CheckPositionForEOF(40 * ms)) << "of unknown duration";
    const auto cut = controller->AddStream(SP<IStreamVideo>(ScriptedVideo::Create("0:40")));
    EXPECT_FALSE(controller->CheckPositionForEOF(25 * ms));
    EXPECT_TRUE(controller->CheckPositionForEOF(35 * ms));
    EXPECT_FALSE(Cutter({{0, 40}})->CheckPositionForEOF(NoTime));
}

const std::string tenSeconds = Regular(10, 1000);

TEST(FilterCutController, AllStreamsJumpTogetherAndOnce)
{
    const auto controller = Cutter({{0, 1000}, {6000, 10000}});
    const auto videoSource = ScriptedVideo::Create(tenSeconds);
    const auto audioSource = ScriptedAudio::Create(tenSeconds);
    const auto log = videoSource->log = audioSource->log;
    const auto video = controller->AddStream(SP<IStreamVideo>(videoSource));
    const auto audio = controller->AddStream(SP<IStreamAudio>(audioSource));
    const uint64_t before = controller->GetJumps()->GetMoveCount();
    controller->SeekToNextPosition(NoTime);
    EXPECT_EQ(log->Take(), "");
    controller->SeekToNextPosition(1000 * ms);
    EXPECT_EQ(log->Take(), "RequestSeek(6000) RequestSeek(6000) DoSeek DoSeek");
    // whoever read what he read before that jump has been moved by it, wherever the others stand by now
    Seek(videoSource, 2000 * ms);
    log->Take();
    controller->GetJumps()->SeekToNextPosition(1000 * ms, before);
    EXPECT_EQ(log->Take(), "");
    // all stand in kept time now: nobody needs the same jump again
    Seek(videoSource, 8000 * ms);
    log->Take();
    controller->SeekToNextPosition(1000 * ms);
    EXPECT_EQ(log->Take(), "");
}

// ---- with a compressed stream that starts on key frames only

TEST(FilterCutController, MovesStartsToKeyFramesOnce)
{
    const char* groups = "0K 20 40 60 80K 100 120 140";
    const std::tuple<const char*, const char*, Ranges, Ranges, std::vector<int>> rows[] = {
        {"inside of a group", groups, {{100, 130}}, {{80, 130}}, {100}},
        {"into the one before", groups, {{60, 90}, {100, 130}}, {{0, 130}}, {60, 100}},
        {"after the end", groups, {{0, 10}, {200, 300}}, {{0, 10}, {200, 300}}, {}},
        {"no seek reaches it", "80K 100K 120", {{50, 60}, {100, 110}}, {{50, 60}, {100, 110}}, {50, 100}},
        {"a group that is known", groups, {{105, 130}}, {{105, 130}}, {}},
    };
    for (const auto& [what, script, kept, widened, seeks] : rows)
    {
        SCOPED_TRACE(what);
        const RawRig rig(kept, script);
        rig.controller->AddGOPPoint(105 * ms);
        rig.controller->DetectNewGOPS();
        EXPECT_EQ(rig.controller->GetCut(), Keep(widened));
        EXPECT_EQ(rig.source->TakeLog(), Seeks(seeks));
        rig.controller->DetectNewGOPS();
        EXPECT_EQ(rig.source->TakeLog(), "");
    }
}

TEST(FilterCutController, ACompressedStreamAlwaysVotesForTheJump)
{
    const RawRig rig({{0, 1000}, {7500, 10000}}, Regular(10, 1000, 3));
    Seek(rig.source, 9000 * ms);
    rig.source->TakeLog();
    rig.controller->SeekToNextPosition(2000 * ms);
    EXPECT_EQ(rig.source->TakeLog(), Seeks({7500, 6000}));
    EXPECT_EQ(rig.controller->GetCut(), Keep({{0, 1000}, {6000, 10000}}));
}

// ---- the cut of decoded streams

TEST(DecodedCut, DeliversWhatIsKept)
{
    const std::string longItem = "0=0 1000=1 2000:3900=2 5900=3 6900:1000=4";
    const std::string fixedItems = "0=0 1000=1x 2000=2 8000=8x 9000=9";
    const std::tuple<Ranges, std::string, std::string, std::vector<int>> rows[] = {
        {{}, tenSeconds, "E", {}},
        {{{0, 2592000000}}, "0=5 40=6x 80:0=7", "0=5 40=6 80:0=7 E", {}}, // no cuts: nothing is looked at
        {{{0, 1000}, {5900, 10000}}, longItem, "0=0 1000=3 2000=4 E", {}},
        {{{0, 1000}, {6000, 8000}}, tenSeconds, "0=0 1000=6 2000=7 E", {6000}},
        {{{7000, 9000}}, tenSeconds, "0=7 1000=8 E", {7000}},
        {{{0, 1500}, {2500, 4000}}, "0=0 1000=1 2000=2 3000=3", "0=0 1000=1 1500=2 2000:1000=3 E", {}},
        {{{0, 1500}, {8500, 10000}}, fixedItems, "0:1000=0 2000:1000=9 E", {8500}},
        {{{0, 9000}}, "0=0 1000:0=1 ?:40=2 2000:1000=3", "0:1000=0 2000:1000=3 E", {}},
    };
    for (const auto& [kept, script, result, jumps] : rows)
    {
        SCOPED_TRACE(script + " -> " + result);
        const auto source = ScriptedVideo::Create(script);
        const auto cut = Cutter(kept)->AddStream(SP<IStreamVideo>(source));
        EXPECT_EQ(ReadAll(cut, Show::Values), result);
        EXPECT_EQ(source->TakeLog(), Seeks(jumps));
    }
}

TEST(DecodedCut, EndsOnTheFirstItemThatNothingFollows)
{
    const auto source = ScriptedVideo::Create(tenSeconds);
    const auto cut = Cutter({{0, 1500}})->AddStream(SP<IStreamVideo>(source));
    EXPECT_EQ(ReadAll(cut), "0 1000:500 E");
    EXPECT_EQ(ReadAll(cut), "E");
    EXPECT_EQ(source->GetReadCount(), 3);
    EXPECT_EQ(cut->GetDuration(), 1500 * ms);
    Seek(cut, 1000 * ms);
    EXPECT_EQ(ReadAll(cut), "1000:500 E") << "the end is forgotten";
}

/// A stream that is read first, and jumps over 6 s for both, and another one.
struct TwoCuts
{
    explicit TwoCuts(const std::string& audioScript = tenSeconds) : audioSource(ScriptedAudio::Create(audioScript)) {}

    const SP<FilterCutController> controller = Cutter({{0, 2000}, {8000, 10000}});
    const SP<ScriptedAudio> audioSource;
    const SP<IStreamVideo> video = controller->AddStream(SP<IStreamVideo>(ScriptedVideo::Create(tenSeconds)));
    const SP<IStreamAudio> audio = controller->AddStream(SP<IStreamAudio>(audioSource));
};

TEST(DecodedCut, SavedItemsComeFirstAfterAJump)
{
    const TwoCuts two;
    EXPECT_EQ(ReadAll(two.video, Show::Values), "0=0 1000=1 2000=8 3000=9 E");
    EXPECT_EQ(two.audioSource->TakeLog(), Seeks({8000}));
    EXPECT_EQ(ReadAll(two.audio, Show::Values), "0=0 1000=1 2000=8 3000=9 E");
    EXPECT_EQ(two.audioSource->TakeLog(), "");

    // a seek leaves what was saved, giving memory back doesn't
    for (const bool release : {false, true})
    {
        Seek(two.video, 0);
        Seek(two.audio, 0);
        ReadAll(two.video);
        if (release)
            two.audio->ReleaseInternalData();
        else
            Seek(two.audio, 3000 * ms);
        EXPECT_EQ(ReadSome(two.audio, 2, Show::Values), release ? "2000=8 3000=9" : "0=0 1000=1");
        ReadAll(two.audio);
    }

    const TwoCuts whole;
    EXPECT_EQ(ReadSome(whole.video, 3), "0 1000 2000");
    whole.controller->GetIntervals()->KeepWhole(0, MAX_DURATION);
    EXPECT_EQ(ReadAll(whole.audio, Show::Values), "0=0 1000:1000=1 8000=8 9000=9 E") << "nothing is cut any more";

    const TwoCuts failing("0 ! 1000 2000 3000 4000 5000 6000 7000 8000 9000");
    EXPECT_EQ(ReadAll(failing.video), "0 1000 2000 3000 E");
    EXPECT_EQ(ReadAll(failing.audio, Show::Values), "0=0 1000=1 2000=8 3000=9 E")
        << "a failed helper keeps it to itself";
}

TEST(DecodedCut, AnInexactSeekIsReadThrough)
{
    const auto script = ScriptedVideo::Create(tenSeconds);
    const auto source = Hooked<IStreamVideo>::Create(script);
    source->seekTo = [](avTime target) { return target - 2000 * ms; };
    const auto cut = Cutter({{0, 1000}, {8000, 10000}})->AddStream(SP<IStreamVideo>(source));
    EXPECT_EQ(ReadAll(cut, Show::Values), "0=0 1000=8 2000=9 E");
    EXPECT_EQ(script->TakeLog(), Seeks({6000}));
}

TEST(DecodedCut, StreamsReadFromTwoThreadsLoseAndRepeatNothing)
{
    const Ranges kept = {{0, 1000}, {9000, 11000}, {20000, 20500}, {22000, 23000}, {29000, 30000}};
    const auto makeVideo = [] { return SP<IStreamVideo>(ScriptedVideo::Create(Regular(750, 40))); };
    const auto makeAudio = [] { return SP<IStreamAudio>(ScriptedAudio::Create(Regular(3000, 10))); };
    const std::string allFrames = ReadAll(Cutter(kept)->AddStream(makeVideo()), Show::Values);
    const std::string allBlocks = ReadAll(Cutter(kept)->AddStream(makeAudio()), Show::Values);
    // each lets go of its stream at once, while the other may still jump
    const auto read = [](auto& stream, std::string& items)
    {
        items = ReadAll(stream, Show::Values);
        stream.reset();
    };
    for (int round = 0; round < 20; ++round)
    {
        const auto controller = Cutter(kept);
        SP<IStreamVideo> video = controller->AddStream(makeVideo());
        SP<IStreamAudio> audio = controller->AddStream(makeAudio());
        std::string frames, blocks;
        std::thread viewer([&] { read(video, frames); });
        std::thread listener([&] { read(audio, blocks); });
        viewer.join();
        listener.join();
        EXPECT_TRUE(frames == allFrames) << "round " << round; // too long to print
        EXPECT_TRUE(blocks == allBlocks) << "round " << round;
    }
}

} // namespace
} // namespace Tessor::Test
