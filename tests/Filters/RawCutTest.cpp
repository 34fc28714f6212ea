#include "Proc/Filters/Filters/Cutting/FilterCutControllerStreamRawImpl.h"
#include "tests/Filters/CutTestTools.h"

#include <future>
#include <thread>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

const std::string VP8 = Video::CODEC_ID_VP8, H264 = Video::CODEC_ID_H264, H265 = Video::CODEC_ID_H265;
const std::string MPEG1 = Video::CODEC_ID_MPEG1VIDEO, MPEG2 = Video::CODEC_ID_MPEG2VIDEO, MPEG4 = Video::CODEC_ID_MPEG4;

const std::string gops = "0K 40 80 120K 160 200 240K 280 320 360Kp360";
const std::string longer = "0K 40 80 120K 160 200 240K 280 320 360K 400 440 480K";
const std::string seconds = Regular(20, 1000, 2); // a key frame every 2 s

std::string PrintKept(const FilterCutController& controller)
{
    std::string text;
    for (const auto& interval : controller.GetCut().intervals)
        if (!interval.deleted)
            text += (text.empty() ? "" : " ") + PrintMs(interval.start) + "-" + PrintMs(interval.end);
    return text;
}

TEST(RawCut, DeliversWhatIsKept)
{
    const std::string three = "0K 1000 2000K 3000 4000K 5000 E";
    // the kept intervals before and afterwards, and the times that the source was sought to
    const MediaType video = MediaType::Video;
    const std::tuple<Ranges, std::string, std::string, std::string, std::vector<int>, MediaType> rows[] = {
        {{{40, 80}}, "0 40 80 120 160", "0 40 80 120 E", "0-160", {}, video}, // no key frames
        {{{0, 80}}, "?K:40 ?:40 ?K:40", "E", "0-80", {}, video},
        {{{0, 2000}, {12000, 16000}}, seconds, three, "0-2000 12000-16000", {12000}, video},
        {{{0, 2000}, {13500, 16000}}, seconds, three, "0-2000 12000-16000", {13500, 12000}, video},     // into a group
        {{{0, 2000}, {6000, 8000}}, seconds, "0K 1000 2000K 3000 E", "0-2000 6000-8000", {}, video},    // too near
        {{{0, 1000}, {9000, 10000}}, seconds, "0K 1000K E", "0-1000 9000-10000", {}, MediaType::Audio}, // no jump
    };
    for (const auto& [kept, script, result, widened, seeks, type] : rows)
    {
        const RawRig rig(kept, script, type);
        SCOPED_TRACE(PrintKept(*rig.controller) + " of " + script);
        EXPECT_EQ(rig.CutsAnywhere(), type == MediaType::Audio);
        EXPECT_EQ(ReadAll(rig.cut), result);
        EXPECT_EQ(PrintKept(*rig.controller), widened);
        EXPECT_EQ(rig.source->TakeLog(), Seeks(seeks));
    }
}

TEST(RawCut, PutsMPEGHeadersInFrontOfKeyFrames)
{
    for (const auto& [codec, headed] : {std::pair(MPEG4, true), {MPEG2, true}, {H265, false}})
    {
        const Bytes header{0, 0, 1, 0xB3, 0x2D, 0x02, 0x40, 0x33, 0xFF, 0xFF, 0xE0, 0x18};
        const RawRig rig({{0, 80}}, "0K 40 80K 120", FakeCodecs::Create(), codec, header);
        Seek(rig.cut, 0); // back from where the search ended
        EXPECT_EQ(rig.cut->Read()->GetSize(), headed ? 16 : 4) << codec;
        EXPECT_EQ(rig.cut->Read()->GetSize(), 4) << codec;
    }
}

TEST(RawCut, SeeksInTimesOfTheResult)
{
    const RawRig rig({{2000, 4000}, {10000, 14000}}, seconds);
    EXPECT_EQ(rig.cut->GetDuration(), 6000 * ms);
    EXPECT_EQ(ReadSome(rig.cut, 1), "0K:1000");
    Seek(rig.cut, 2500 * ms);
    EXPECT_EQ(rig.source->TakeLog(), Seeks({2000, 10000, 10500}));
    EXPECT_EQ(ReadAll(rig.cut), "1000 2000K 3000 4000K 5000 E") << "finished packets come all the same";
}

TEST(RawCut, AGroupTooLargeForTheQueueIsKeptWhole)
{
    for (const auto& [kept, result, widened] :
         {std::tuple(Ranges{{80, 160}}, "0K 40 80 120K E", "0-160"), // known only from its second piece on
          {Ranges{{0, 40}, {160, 1000}}, "0K 40 80 120K 160 E", "0-120 160-1000"},
          {Ranges{{160, 1000}}, "0K 40 E", "160-1000"}})
    {
        const RawRig rig(kept, "0K 40 80 120K 160K 200", FakeCodecs::Create({{"X", {}}}));
        rig.source->SetPayload(0, Bytes(PacketQueue::maxBytes + 1));
        Seek(rig.cut, 0);
        EXPECT_EQ(ReadAll(rig.cut), result);
        EXPECT_EQ(PrintKept(*rig.controller), widened);
    }
}

/// Two streams of one file, each read by a thread of its own over several jumps.
TEST(RawCut, StreamsJumpTogether)
{
    const Ranges kept = {{0, 2000}, {12000, 16000}, {25000, 27000}, {36000, 40000}};
    const RawRig video(kept, Regular(40, 1000, 2));
    const SP<IStreamRaw> audio =
        video.controller->AddStream(SP<IStreamRaw>(ScriptedRaw::Create(Regular(160, 250), MediaType::Audio, "aac")));
    std::string readVideo, readAudio;
    std::thread videoThread([&] { readVideo = ReadAll(video.cut); });
    std::thread audioThread([&] { readAudio = ReadAll(audio); });
    videoThread.join();
    audioThread.join();
    // 25 s and 27 s lie inside of groups, which are kept whole
    EXPECT_EQ(readVideo, "0K 1000 2000K 3000 4000K 5000 6000K 7000 8000K 9000 10000K 11000 12000K 13000 E");
    EXPECT_EQ(readAudio.substr(0, 3), "0K ");
    EXPECT_EQ(readAudio.back(), 'E');
}

// ---- groups that are encoded anew

constexpr EncodeAhead oneByOne = {}, ahead = {.groups = 2, .bytes = 16};

/// A rig of video in VP8.
RawRig MakeRig(const Ranges& kept, const std::string& script, const FakeEncoding& encoding, const EncodeAhead& limits)
{
    return RawRig(kept, script, FakeCodecs::Create({{"X", encoding}}), VP8, {}, MediaType::Video, limits);
}

/// All from the start, as a muxer reads.
std::string ReadFromStart(const RawRig& rig)
{
    Seek(rig.cut, 0);
    return ReadAll(rig.cut);
}

TEST(Recode, FitsBetweenTheUntouchedPackets)
{
    const std::string shifted = // key frames have DTS = PTS - 40
        "0Kd-40 80d0 40d40 120Kd80 200d120 160d160 240Kd200 320d240 280d280 360Kd320 440d360 400d400 480Kd440";
    const std::tuple<Ranges, std::string, std::string, int, FakeEncoding> rows[] = {
        {{{0, 200}, {360, 1000}}, longer, "0K 40 80 120Kd120 160d160 200K 240 280 320K E", 2, {}}, // a tail
        {{{0, 160}, {200, 1000}}, longer, "0K 40 80 120Kd120 160d160 200K 240 280 320K 360 400 440K E", 2, {}},
        {{{0, 170}, {360, 1000}}, longer, "0K 40 80 120Kd120 160d160 170K 210 250 290K E", 2, {}}, // frames in part
        {{{0, 120}, {160, 1000}},
         shifted,
         "0Kd-40 80d0 40d40 120Kd80 160d120 200Kd160 280d200 240d240 320Kd280 400d320 360d360 440Kd400 E",
         2,
         FakeEncoding{.reorders = true}},
        {{{0, 200}, {201, 202}, {360, 1000}}, longer, "0K 40 80 120Kd120 160d160 200:2d200 201K 241 281 321K E", 3, {}},
        // repeats come in one packet
        {{{0, 200}, {360, 1000}},
         "0K 40 80 120K=7 160=7 200 240K 280 320 360K 400",
         "0K 40 80 120Kd120 200K 240 E",
         1,
         {}},
    };
    for (const EncodeAhead& limits : {oneByOne, ahead})
        for (const auto& [kept, script, result, recoded, encoding] : rows)
        {
            SCOPED_TRACE(result);
            const RawRig rig = MakeRig(kept, script, encoding, limits);
            EXPECT_EQ(ReadFromStart(rig), result);
            ASSERT_TRUE(rig.CutsAnywhere());
            const Core::Property statistic = rig.cut->GetStatistic();
            EXPECT_EQ((*(statistic.end() - 1))["Recoded pakets"].GetInt64(), recoded);
        }
}

TEST(Recode, SeveralGroupsAtATime)
{
    std::atomic<int> created{0}; // the first by the search
    std::promise<void> third;
    const auto arrived = third.get_future().share();
    const auto meet = [&created, &third, &arrived]
    {
        const int number = ++created;
        if (number == 3)
            third.set_value();
        if (number != 2)
            return;
        EXPECT_EQ(arrived.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    };
    EXPECT_EQ(ReadFromStart(MakeRig({{0, 200}, {280, 1000}}, longer, {meet}, ahead)),
              "0K 40 80 120Kd120 160d160 200Kd200 240d240 280K 320 360 400K E");
}

TEST(Recode, EncodersThatFail)
{
    for (const EncodeAhead& limits : {oneByOne, ahead})
    {
        const RawRig loses = MakeRig({{0, 200}, {360, 1000}}, longer, {.lost = 1}, limits);
        EXPECT_EQ(ReadFromStart(loses), "0K 40 80 !(Count of original and encoded packts are not equal!)");
        EXPECT_EQ(ReadAll(loses.cut), "200K 240 280 320K E") << "the stream goes on after the group";
    }
    // the search is the first that creates one; where it is gone afterwards, packets are cut
    const auto failsLater = [created = 0]() mutable
    {
        if (created++ > 0)
            FakeCodecs::Fail<EncoderException>();
    };
    const RawRig gone({{0, 200}, {360, 1000}}, longer, FakeCodecs::Create({{"X", {failsLater}}}));
    EXPECT_EQ(ReadFromStart(gone), "0K 40 80 120K 160 200K 240 280 320K E");
    EXPECT_TRUE(gone.CutsAnywhere());

    const auto busy = Cutter({{0, 200}}, FakeCodecs::Create({{"A", {FakeCodecs::Fail<Core::NotEnoughResource>}}}));
    const SP<IStreamRaw> source = ScriptedRaw::Create(longer, MediaType::Video, VP8);
    EXPECT_THROW(busy->AddStream(source), Core::NotEnoughResource);
    EXPECT_THROW(busy->AddStream(source), Core::NotEnoughResource) << "it may be tried again";
}

TEST(Recode, KeepsTheFramingOfTheSource)
{
    const H264Fields fields;
    for (const auto& [header, payload] :
         {std::pair(fields.AvcC(), Bytes{0, 0, 0, 1, 3}), {fields.AnnexB(), {0, 0, 1, 3}}})
    {
        const RawRig rig({{0, 160}}, longer, FakeCodecs::Create({{"X", {.extradata = fields.AnnexB()}}}), H264, header);
        Seek(rig.cut, 0);
        SP<IDataPacket> packet; // the last one: the picture at 120
        while (const SP<IDataPacket> next = rig.cut->Read())
            packet = next;
        ASSERT_TRUE(packet);
        EXPECT_EQ(Bytes(packet->GetData(), packet->GetData() + packet->GetSize()), payload);
    }
}

TEST(RecodeSearch, TriesOneByOne)
{
    const std::string open = "0K 40 120K 80 160K";
    const FakeEncoding works, null{.isNull = true};
    const std::tuple<std::string, std::string, FakeCodecs::Encoders, std::string, bool> rows[] = {
        {Video::CODEC_ID_VP9, gops, {{"A", works}, {"B", works}}, "A", true},
        {VP8,
         gops,
         {{"A", {FakeCodecs::Fail<EncoderException>}},
          {"B", {FakeCodecs::Fail<CodecFactoryException>}},
          {"C", null},
          {"D", works}},
         "A B C D",
         true},
        // FFmpeg changes places with the first
        {Video::CODEC_ID_H263, gops, {{"A", null}, {"B", works}, {ImplNames::FFMPEG, null}}, "FFmpeg+ B", true},
        // pairs that are known to be bad
        {Video::CODEC_ID_WMV2, gops, {{ImplNames::MEDIA_FOUNDATION, works}}, "", false},
        {MPEG2, gops, {{ImplNames::INTEL_MEDIA_HW, works}, {"A", works}}, "A", true},
        {H265, gops, {{"A", works}}, "", false},
        {H264, gops, {{ImplNames::FFMPEG, works}}, "FFmpeg+", false}, // no headers
        {VP8, open, {{"A", works}}, "", false},
        {MPEG1, open, {{"A", works}}, "A", true},
        {VP8, "0K 40 ?:40d80 120K", {{"A", works}}, "", false}, // a PTS is missing where the search looks
        {VP8, "0K 40K 80K ?:40d80 120K", {{"A", works}}, "A", true},
    };
    for (const auto& [codec, script, encoders, tried, found] : rows)
    {
        const SP<FakeCodecs> codecs = FakeCodecs::Create(encoders);
        const RawRig rig({{0, 200}}, script, codecs, codec);
        EXPECT_EQ(codecs->tried, tried) << codec << " " << script;
        EXPECT_EQ(rig.CutsAnywhere(), found) << codec << " " << script;
    }
}

TEST(RecodeSearch, JoinsTheHeadersOfH264)
{
    const std::tuple<std::string, H264Fields, bool, bool> rows[] = {{ImplNames::FFMPEG, {.id = 1}, true, true},
                                                                    {ImplNames::FFMPEG, {}, true, true},
                                                                    {"A", {}, true, false},
                                                                    {"A", {.id = 1}, false, false}};
    for (const auto& [name, encoder, found, joined] : rows)
    {
        const Bytes header = H264Fields().AvcC();
        const auto codecs = FakeCodecs::Create({{name, {.extradata = encoder.AnnexB()}}});
        const RawRig rig({{0, 200}}, gops, codecs, H264, header);
        EXPECT_EQ(rig.CutsAnywhere(), found);
        const size_t size = rig.cut->GetFormatCodec()->GetExtradata()->Size();
        EXPECT_EQ(size > header.size(), joined);
        EXPECT_EQ(rig.source->GetFormatCodec()->GetExtradata()->Size(), size);
    }
}

/// What the first encoder of a search is asked for.
Core::Property Asked(const std::string& codec, const Bytes& header, const std::string& script = gops)
{
    const SP<FakeCodecs> codecs = FakeCodecs::Create({{"A", {}}});
    const RawRig rig({{0, 200}}, script, codecs, codec, header);
    return codecs->lastFormat;
}

TEST(RecodeSettings, FollowTheHeaders)
{
    const std::tuple<H264Fields, std::string, std::string> h264[] = {
        {H264Fields{}, "main", "ref=4:qp=26:chroma-qp-offset=3:weightp=0"},
        {H264Fields{66, 0, 0, 0, false}, "baseline", "qp=26:chroma-qp-offset=3:no-cabac:weightp=0"},
        {H264Fields{100, 0, 0, 1, true, true, -3, -2}, "high", "ref=1:qp=23:chroma-qp-offset=1:weightp=2"},
        {H264Fields{88}, "extended", "ref=4:qp=26:chroma-qp-offset=3:weightp=0"},
        {H264Fields{99, 0x60}, "main", "ref=4:qp=26:chroma-qp-offset=3:weightp=0"},
        {H264Fields{99, 0x10}, "high", "ref=4:qp=26:chroma-qp-offset=3:weightp=0"},
    };
    for (const auto& [fields, profile, options] : h264)
    {
        const Core::Property asked = Asked(H264, fields.AvcC())[Video::TAG_CODEC_OPTIONS_ENCODE];
        EXPECT_EQ(asked[Video::TAG_PROFILE].GetString(), profile);
        EXPECT_EQ(asked[Video::TAG_FF_SPECIAL_OPTS].GetString(), "x264opts;sps-id=1:" + options);
        EXPECT_EQ(asked[Video::TAG_H264_ENTROPY_MODE].GetString(), fields.cabac ? "CABAC" : "CAVLC");
    }

    const Bytes sequence = {0, 0, 1, 0xB3, 0x2D, 0x02, 0x40, 0x33, 0xFF, 0xFF, 0xE0, 0x18, 0, 0, 1, 0xB5};
    const auto visual = [](uint8_t profileAndLevel)
    {
        return Bytes{0, 0, 1, 0xB0, profileAndLevel} + Bytes{0, 0, 1, 0xB5, 0x89, 0x13, 0, 0, 1, 0} +
               Bytes{0, 0, 1, 0x20, 0, 0xC4, 0x8D, 0x88, 0, 0xF5, 0x14, 0x04, 0x2E, 0x14, 0x63};
    };
    for (const auto& [codec, header, profile, level] :
         {std::tuple(MPEG4, visual(0xF5), "mpeg4_advanced_simple", 5),
          {MPEG4, visual(0x01), "mpeg4_simple", 1},
          {MPEG2, sequence + Bytes{0x14, 0x8A, 0, 0x01, 0, 0}, "mpeg2_main", 8},
          {MPEG2, sequence + Bytes{0x14, 0x8A, 0, 0x03, 0, 0}, "mpeg2_422", 8},
          {MPEG2, sequence + Bytes{0x14, 0x8A, 0, 0x01, 0, 0, 0, 0, 1, 0xB5, 0x23, 5, 5}, "mpeg2_main", 8}})
    {
        const Core::Property options = Asked(codec, header)[Video::TAG_CODEC_OPTIONS_ENCODE];
        EXPECT_EQ(options[Video::TAG_PROFILE].GetString(), profile);
        EXPECT_EQ(options[Video::TAG_PROFILE_LEVEL].GetInt64(), level);
    }

    for (const std::string& codec : {H264, MPEG4, MPEG2, Video::CODEC_ID_WMV2, Video::CODEC_ID_THEORA})
        for (const Bytes& broken : {Bytes{0}, {0, 0, 1, 0xB3, 1}, {1, 2, 3}, {0, 0, 1, 0x67}})
        {
            const auto codecs = FakeCodecs::Create({{ImplNames::FFMPEG, {.extradata = broken}}});
            if (codec == MPEG2)
                EXPECT_THROW(RawRig({{0, 200}}, gops, codecs, codec, broken), Exception) << broken.size();
            else
                EXPECT_NO_THROW(RawRig({{0, 200}}, gops, codecs, codec, broken)) << codec << " " << broken.size();
        }
}

TEST(RecodeSettings, MultiplyTheBitRate)
{
    for (const auto& [codec, script, bitRate] :
         {std::tuple(VP8, "0K 40 80K", 8000000), {VP8, "0Kd-40 80d0 40d40 120Kd80", 12000000}, {MPEG1, "0K", 12000000}})
        EXPECT_EQ(Asked(codec, {}, script)[Video::TAG_BITRATE].GetInt64(), bitRate);
}

} // namespace
} // namespace Tessor::Test
