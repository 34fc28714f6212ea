#include "Proc/Filters/Filters/FilterCutController.h"

#include "Proc/Settings/SettingsStreamMetadataUpdater.h"
#include "media/DataAudioFF.h"
#include "tests/Filters/CutTestTools.h"
#include "tests/Filters/FakeCodecs.h"
#include "tests/support/Decorators.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

namespace Tessor::Proc
{

namespace
{

using namespace Test;

TEST(FilterCutController, RefusesForeignSettings)
{
    const SettingsStreamMetadataUpdater foreign;
    EXPECT_EQ(TextOf<FilterException>([&] { FilterCutController::Create(foreign, nullptr); }), "Wrong settings!");
    const auto controller = Cutter({});
    EXPECT_EQ(TextOf<std::invalid_argument>([&] { controller->Initialize(foreign); }), "wrong settings");
    EXPECT_EQ(TextOf<std::invalid_argument>([&] { controller->Initialize(Core::Property("x")); }),
              "incorrect controller name");
    controller->Initialize(SettingsCutController2Property(Keep({{5, 9}})));
    EXPECT_EQ(controller->GetCut(), Keep({{5, 9}}));
}

TEST(FilterCutController, RefusesStreamsThatDoNotFit)
{
    const auto controller = Cutter({{0, 40}});
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
    EXPECT_EQ(TextOf<std::invalid_argument>([&] { controller->AddStream(SP<IStreamAudio>()); }),
              "parentStream is NULL.");
    // a destroyed cut stream makes room
    cut.reset();
    EXPECT_EQ(ReadAll(controller->AddStream(video)), "0 E");
}

TEST(FilterCutController, NormalisesTheList)
{
    SettingsFilterCutController settings;
    settings.intervals = {{0, 10 * ms, NoTime, false}, {10 * ms, MAX_DURATION, NoTime, false}};
    EXPECT_TRUE(FilterCutController::Create(settings, nullptr)->CutsAreAbsent());
    const auto controller = Cutter({{0, 10}, {20, 30}});
    EXPECT_FALSE(controller->CutsAreAbsent());
    controller->KeepWhole(8 * ms, 25 * ms);
    EXPECT_EQ(controller->GetCut(), Keep({{0, 30}}));
    EXPECT_FALSE(Cutter({})->CutsAreAbsent());
}

TEST(FilterCutController, CutsFrames)
{
    const struct
    {
        const char* what;
        Ranges kept;
        const char* item;
        const char* cut;
    } rows[] = {
        {"kept", {{10, 90}}, "10:80", "0:80 E"},
        {"deleted", {{90, 99}}, "10:80", "null"},
        {"tail", {{0, 50}}, "20:80", "20:30 E"},
        {"head", {{50, 200}}, "20:80", "0:50 E"},
        {"tail and head: the tail alone", {{50, 70}}, "20:80", "0:50 E"},
        {"tail behind a seam", {{0, 10}, {30, 70}}, "40:80", "20:30 E"},
        {"no duration", {{0, 100}}, "20:0", "null"},
        {"no time", {{0, 100}}, "?:20", "null"},
        {"unknown duration", {{10, 100}}, "20:?", "10:? E"},
        {"unknown duration, deleted", {{50, 100}}, "20:?", "null"},
        {"fixed and whole", {{10, 100}}, "20:40x", "10 E"},
        {"fixed and cut", {{0, 50}}, "20:80x", "null"},
        {"a part in the middle", {{0, 40}, {60, 100}}, "20:80", "null"},
    };
    for (const auto& row : rows)
    {
        const auto cut = Cutter(row.kept)->CutDataTemplate(CreateFrame(ParseScript(row.item).front()));
        EXPECT_EQ(cut ? PrintScript({DescribeItem(*cut)}) : "null", row.cut) << row.what;
    }
}

TEST(FilterCutController, TakesOnePartOutOfTheMiddleOfABlock)
{
    const Conf::SampleInfo info(Conf::SampleFormats::S16, 1000, Conf::ChannelLayout::Mono);
    const SP<DataAudioFF> block = DataAudioFF::CreateBySampleCount(info, 80);
    const AudioRef samples = block->GetAudioRef();
    for (int i = 0; i < 80; ++i)
        reinterpret_cast<int16_t*>(samples.data)[i] = static_cast<int16_t>(i);
    block->SetPTS(20 * ms);

    // of two deleted intervals the later one goes, and the time is that of the whole item's start
    const auto controller = Cutter({{5, 30}, {35, 50}, {60, 200}});
    const SP<IDataAudio> cut = controller->CutDataTemplate(SP<IDataAudio>(block));
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->GetPTS(), 15 * ms);
    EXPECT_EQ(cut->GetDuration(), 70 * ms);
    ASSERT_EQ(cut->GetSampleCount(), 70);
    const auto* const left = reinterpret_cast<const int16_t*>(cut->GetAudioRef().data);
    EXPECT_EQ(left[29], 29);
    EXPECT_EQ(left[30], 40);
    EXPECT_EQ(left[69], 79);
    EXPECT_EQ(block->GetSampleCount(), 80) << "the source's item is another's";
}

TEST(FilterCutController, MovesPackets)
{
    const std::pair<const char*, const char*> rows[] = {
        {"40:10d30", "30:10d20 E"}, {"40:10", "30:10 E"},        {"?:10d40", "?:10d30 E"},
        {"5:10d40", "null"},        {"115:10d95", "65:10d45 E"}, {"12:10d-8", "2:10d-18 E"},
    };
    const auto controller = Cutter({{10, 60}, {100, 200}});
    for (const auto& [packet, result] : rows)
    {
        const SP<IDataPacket> source = CreateFakePacket(ParseScript(packet).front(), MediaType::Video);
        const SP<IDataPacket> cut = controller->CutData(source);
        EXPECT_EQ(cut ? PrintScript({DescribeItem(*cut)}) : "null", result) << packet;
        EXPECT_NE(cut, source);
    }
    const SP<IDataPacket> timeless = CreateFakePacket(ParseScript("?:10").front(), MediaType::Video);
    EXPECT_EQ(controller->CutData(timeless), timeless);
}

TEST(FilterCutController, KnowsWhereNothingFollows)
{
    const auto controller = Cutter({{10, 20}, {30, 40}});
    const auto known = ScriptedVideo::Create("0");
    known->SetDuration(40 * ms);
    const auto unknown = ScriptedVideo::Create("0");
    unknown->SetDuration(NoTime);
    const std::tuple<int, bool, bool> rows[] = {
        {0, false, false}, {25, false, false}, {35, true, false}, {40, true, true}, {90, true, true}};
    for (const auto& [position, withKnown, withUnknown] : rows)
    {
        EXPECT_EQ(controller->CheckPositionForEOF(position * ms), withUnknown) << "no streams";
        for (const auto& [source, expected] : {std::pair(known, withKnown), std::pair(unknown, withUnknown)})
        {
            const auto cut = controller->AddStream(SP<IStreamVideo>(source));
            EXPECT_EQ(controller->CheckPositionForEOF(position * ms), expected) << position;
            EXPECT_FALSE(controller->CheckPositionForEOF(NoTime));
        }
    }
}

TEST(FilterCutController, JumpsOverLongDeletedStretchesOnly)
{
    const struct
    {
        const char* what;
        Ranges kept;
        avTime position;
        const char* log;
    } rows[] = {
        {"4.9 s", {{0, 1000}, {5900, 10000}}, 1000 * ms, ""},
        {"5 s", {{0, 1000}, {6000, 10000}}, 1000 * ms, "v.RequestSeek(6000) a.RequestSeek(6000) v.DoSeek a.DoSeek"},
        {"kept", {{0, 6000}, {8000, 10000}}, 1000 * ms, ""},
        {"no time", {{6000, 10000}}, NoTime, ""},
    };
    for (const auto& row : rows)
    {
        const auto log = std::make_shared<CallLog>();
        const auto controller = Cutter(row.kept);
        const auto videoSource = ScriptedVideo::Create(Regular(10, 1000));
        const auto audioSource = ScriptedAudio::Create(Regular(10, 1000));
        videoSource->SetLog(log, "v");
        audioSource->SetLog(log, "a");
        const auto video = controller->AddStream(SP<IStreamVideo>(videoSource));
        const auto audio = controller->AddStream(SP<IStreamAudio>(audioSource));
        const uint64_t before = controller->GetJumpCount();
        controller->SeekToNextPosition(row.position);
        EXPECT_EQ(log->Take(), row.log) << row.what;
        // whoever read what he read before that jump has been moved by it, wherever the others stand by now
        Seek(videoSource, 2000 * ms);
        log->Take();
        if (controller->GetJumpCount() != before)
            controller->SeekToNextPosition(row.position, before);
        EXPECT_EQ(log->Take(), "") << row.what;
        // all stand in kept time now: nobody needs the same jump again
        Seek(videoSource, 8000 * ms);
        log->Take();
        controller->SeekToNextPosition(row.position);
        EXPECT_EQ(log->Take(), "") << row.what;
    }
}

// ---- with a compressed stream that starts on key frames only

struct KeyFrameRig
{
    KeyFrameRig(const Ranges& kept, const std::string& script)
        : source(ScriptedRaw::Create(script, MediaType::Video, "h265")), controller(Cutter(kept, FakeCodecs::Create())),
          cut(controller->AddStream(SP<IStreamRaw>(source)))
    {
        source->SetLog(log, "r");
    }

    const std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    const SP<ScriptedRaw> source;
    const SP<FilterCutController> controller;
    const SP<IStreamRaw> cut;
};

std::string Seeks(const std::vector<int>& targets)
{
    std::string log;
    for (const int target : targets)
        log += (log.empty() ? "" : " ") + ("r.RequestSeek(" + std::to_string(target)) + ") r.DoSeek";
    return log;
}

TEST(FilterCutController, MovesStartsToKeyFramesOnce)
{
    const char* groups = "0K 20 40 60 80K 100 120 140";
    const std::string none;
    const struct
    {
        const char* what;
        const char* script;
        Ranges kept;
        Ranges widened;
        std::string log;
        avTime known = NoTime; // ms, the start of a group
    } rows[] = {
        {"at 0 and at a key frame", groups, {{0, 10}, {80, 90}}, {{0, 10}, {80, 90}}, Seeks({80})},
        {"inside of a group", groups, {{100, 130}}, {{80, 130}}, Seeks({100})},
        {"into the one before", groups, {{60, 90}, {100, 130}}, {{0, 130}}, Seeks({60, 100})},
        {"behind the end", groups, {{0, 10}, {200, 300}}, {{0, 10}, {200, 300}}, none},
        {"no seek reaches it", "80K 100K 120", {{50, 60}, {100, 110}}, {{50, 60}, {100, 110}}, Seeks({50, 100})},
        {"a group that is known", groups, {{100, 130}}, {{100, 130}}, none, 100},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.what);
        const KeyFrameRig rig(row.kept, row.script);
        if (row.known != NoTime)
            rig.controller->AddGOPPoint(row.known * ms);
        rig.controller->DetectNewGOPS();
        EXPECT_EQ(rig.controller->GetCut(), Keep(row.widened));
        EXPECT_EQ(rig.log->Take(), row.log);
        rig.controller->DetectNewGOPS();
        EXPECT_EQ(rig.log->Take(), "");
    }
}

TEST(FilterCutController, ACompressedStreamAlwaysVotesForTheJump)
{
    const KeyFrameRig rig({{0, 1000}, {7500, 9000}}, Regular(10, 1000, 3));
    Seek(rig.source, 8000 * ms);
    rig.log->Take();
    rig.controller->SeekToNextPosition(2000 * ms);
    EXPECT_EQ(rig.log->Take(), "r.RequestSeek(7500) r.DoSeek r.RequestSeek(6000) r.DoSeek");
    EXPECT_EQ(rig.controller->GetCut(), Keep({{0, 1000}, {6000, 9000}}));
}

} // namespace

} // namespace Tessor::Proc
