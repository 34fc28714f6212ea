#include "Proc/Filters/Filters/FilterCutControllerStreamRawImpl.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "tests/Filters/CutTestTools.h"
#include "tests/Filters/FakeCodecs.h"
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

/// A cut stream over a scripted one, in a codec that no encoder is found for.
struct Rig
{
    Rig(const Ranges& kept, const std::string& script, MediaType type = MediaType::Video,
        const std::string& codec = "h265")
        : source(ScriptedRaw::Create(script, type, codec)), controller(Cutter(kept, FakeCodecs::Create())),
          cut(controller->AddStream(SP<IStreamRaw>(source)))
    {
    }

    std::string PrintKept() const
    {
        std::string text;
        for (const auto& interval : controller->GetCut().intervals)
            if (!interval.deleted)
                text += (text.empty() ? "" : " ") + PrintMs(interval.start) + "-" + PrintMs(interval.end);
        return text;
    }

    const SP<ScriptedRaw> source;
    const SP<FilterCutController> controller;
    const SP<IStreamRaw> cut;
};

struct RawRow
{
    const char* what;
    Ranges kept;
    std::string script;
    std::string result;
    std::string widened; // the kept intervals afterwards
    std::string log;     // of the source
    MediaType type = MediaType::Video;
};

const std::string gops = "0K 40 80 120K 160 200 240K 280 320 360Kp360";
const std::string seconds = Regular(20, 1000, 2); // a key frame every 2 s

TEST(RawCut, DeliversWhatIsKept)
{
    const RawRow rows[] = {
        {"no cuts", {{0, 2592000000}}, gops, "0K 40 80 120K 160 200 240K 280 320 360K E", "0-2592000000", ""},
        {"whole groups", {{0, 120}, {240, 1000}}, gops, "0K 40 80 120K 160 200 E", "0-120 240-1000", ""},
        {"widened at the end", {{0, 160}, {240, 1000}}, gops, "0K 40 80 120K 160 200 240K 280 320 E", "0-1000", ""},
        {"widened at the start", {{0, 120}, {320, 1000}}, gops, "0K 40 80 120K 160 200 E", "0-120 240-1000", ""},
        {"B pictures keep their DTS",
         {{0, 120}, {240, 1000}},
         "0Kd-80 80d-40 40d0 120Kd40 200d80 160d120 240Kd160 320d200 280d240 360Kd280",
         "0Kd-80 80d-40 40d0 120Kd40 200d80 160d120 E",
         "0-120 240-1000",
         ""},
        {"no key frames", {{40, 80}}, "0 40 80 120 160", "0 40 80 120 E", "0-160", ""},
        {"no times", {{0, 80}}, "?K:40 ?:40 ?K:40", "E", "0-80", ""},
        {"a jump",
         {{0, 2000}, {12000, 16000}},
         seconds,
         "0K 1000 2000K 3000 4000K 5000 E",
         "0-2000 12000-16000",
         "RequestSeek(12000) DoSeek"},
        {"a jump into a group",
         {{0, 2000}, {13500, 16000}},
         seconds,
         "0K 1000 2000K 3000 4000K 5000 E",
         "0-2000 12000-16000",
         "RequestSeek(13500) DoSeek RequestSeek(12000) DoSeek"},
        {"too short to jump", {{0, 2000}, {6000, 8000}}, seconds, "0K 1000 2000K 3000 E", "0-2000 6000-8000", ""},
        {"audio",
         {{0, 50}, {150, 1000}},
         Regular(8),
         "0K 40K:40 60K 100K 140K E",
         "0-50 150-1000",
         "",
         MediaType::Audio},
        {"audio does not jump",
         {{0, 1000}, {9000, 10000}},
         seconds,
         "0K 1000K E",
         "0-1000 9000-10000",
         "",
         MediaType::Audio},
    };
    for (const RawRow& row : rows)
    {
        SCOPED_TRACE(row.what);
        const Rig rig(row.kept, row.script, row.type);
        EXPECT_EQ(ReadAll(rig.cut), row.result);
        EXPECT_EQ(rig.PrintKept(), row.widened);
        EXPECT_EQ(rig.source->TakeLog(), row.log);
    }
}

TEST(RawCutStream, OnlyVideoWaitsForKeyFrames)
{
    for (const auto& [type, cutAnywhere] : {std::pair(MediaType::Video, false), {MediaType::Audio, true}})
    {
        const Rig rig({{0, 100}}, "0K 40 80", type);
        EXPECT_EQ(rig.cut->GetFormatCodec()->GetProperties()[Video::TAG_CUT_ANYWHERE].GetBool(), cutAnywhere);
        auto* const interval = dynamic_cast<IStreamCutInterval*>(rig.cut.get());
        ASSERT_TRUE(interval && interval->IsRawStream());
        EXPECT_EQ(interval->KeyframeSeek(), !cutAnywhere);
    }
}

TEST(RawCutStream, PutsMPEGHeadersInFrontOfKeyFrames)
{
    for (const auto& [codec, headed] :
         {std::pair(Video::CODEC_ID_MPEG4, true), {Video::CODEC_ID_MPEG2VIDEO, true}, {Video::CODEC_ID_H265, false}})
    {
        const Rig rig({{0, 80}}, "0K 40 80K 120", MediaType::Video, codec);
        rig.source->GetFormatCodec()->SetExtradata(MakeBlob({1, 2, 3}));
        Seek(rig.cut, 0); // back from where the search ended
        EXPECT_EQ(rig.cut->Read()->GetSize(), headed ? 7 : 4) << codec;
        EXPECT_EQ(rig.cut->Read()->GetSize(), 4) << codec;
    }
}

TEST(RawCutStream, SeeksInTimesOfTheResult)
{
    Rig rig({{2000, 4000}, {10000, 14000}}, seconds);
    EXPECT_EQ(rig.cut->GetDuration(), 6000 * ms);
    Seek(rig.cut, 2500 * ms);
    EXPECT_EQ(rig.source->TakeLog(), "RequestSeek(2000) DoSeek RequestSeek(10000) DoSeek RequestSeek(10500) DoSeek");
    EXPECT_EQ(ReadAll(rig.cut), "2000K 3000 4000K 5000 E");
    EXPECT_EQ(ReadAll(rig.cut), "E") << "the end stays the end";
    Seek(rig.cut, 0);
    EXPECT_EQ(ReadAll(rig.cut), "0K 1000 2000K 3000 4000K 5000 E") << "the limit of the jump is lifted";
}

TEST(RawCutStream, DeliversFinishedPacketsAfterASeek)
{
    Rig rig({{0, 4000}, {8000, 10000}}, seconds);
    EXPECT_EQ(ReadSome(rig.cut, 1), "0K:1000");
    Seek(rig.cut, 0);
    EXPECT_EQ(ReadAll(rig.cut), "1000 0K 1000 2000K 3000 4000K 5000 E");
}

TEST(RawCutStream, DrainsWhenTheCutsVanish)
{
    Rig rig({{0, 2000}}, seconds);
    EXPECT_EQ(ReadSome(rig.cut, 1), "0K:1000");
    rig.controller->Initialize(Keep({{0, 2592000000}}));
    EXPECT_EQ(ReadSome(rig.cut, 4), "1000 2000K 3000 4000K");
}

TEST(RawCutStream, GoesOnBehindAFailure)
{
    Rig rig({{0, 120}, {240, 1000}}, "0K 40 ! 80 120K 160 200 240K 280 320 360K");
    EXPECT_EQ(ReadAll(rig.cut), "! 0K 40 80 120K 160 200 E");
    Visitors::InfoCollector names;
    rig.cut->Accept(names);
    EXPECT_EQ(names.GetElements(), (std::vector<std::string>{"FilterCutControllerStreamRawImpl", "Scripted"}));
}

/// Two streams of one file, each read by a thread of its own over several jumps.
TEST(RawCutStream, StreamsJumpTogether)
{
    const Ranges kept = {{0, 2000}, {12000, 16000}, {25000, 27000}, {36000, 40000}};
    const auto video = ScriptedRaw::Create(Regular(40, 1000, 2), MediaType::Video, "h265");
    const auto audio = ScriptedRaw::Create(Regular(160, 250), MediaType::Audio, "aac");
    const auto controller = Cutter(kept, FakeCodecs::Create());
    const SP<IStreamRaw> cutVideo = controller->AddStream(SP<IStreamRaw>(video));
    const SP<IStreamRaw> cutAudio = controller->AddStream(SP<IStreamRaw>(audio));

    std::string readVideo;
    std::string readAudio;
    std::thread videoThread([&] { readVideo = ReadAll(cutVideo); });
    std::thread audioThread([&] { readAudio = ReadAll(cutAudio); });
    videoThread.join();
    audioThread.join();
    // 25 s and 27 s lie inside of groups, which are kept whole
    EXPECT_EQ(readVideo, "0K 1000 2000K 3000 4000K 5000 6000K 7000 8000K 9000 10000K 11000 12000K 13000 E");
    EXPECT_EQ(readAudio.substr(0, 3), "0K ");
    EXPECT_EQ(readAudio.back(), 'E');
}

} // namespace

} // namespace Tessor::Proc
