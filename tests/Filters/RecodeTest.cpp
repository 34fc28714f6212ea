#include "tests/Filters/CutTestTools.h"
#include "tests/Filters/FakeCodecs.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

namespace Tessor::Proc
{

namespace
{

using namespace Test;

const std::string gops = "0K 40 80 120K 160 200 240K 280 320 360K 400 440 480K";

/// A source in a codec with an encoder that the search accepts, and its cut stream.
struct Rig
{
    Rig(const Ranges& kept, const std::string& script, const SP<FakeCodecs>& codecs,
        const std::string& codec = Video::CODEC_ID_VP8, const Bytes& extradata = {})
        : source(ScriptedRaw::Create(script, MediaType::Video, codec)), controller(Cutter(kept, codecs))
    {
        const auto format = source->GetFormatCodec();
        format->GetProperties().SetChildT(Video::TAG_FPS, Core::Property::Ratio(25, 1));
        format->GetProperties().SetChildT<long long>(Video::TAG_BITRATE, 4000000);
        format->SetExtradata(MakeBlob(extradata));
    }

    void Add() { cut = controller->AddStream(SP<IStreamRaw>(source)); }
    /// All from the start, as a muxer reads.
    std::string Read(Show show = Show::Times)
    {
        Add();
        Seek(cut, 0);
        return ReadAll(cut, show);
    }
    bool CanRecode() { return cut->GetFormatCodec()->GetProperties()[Video::TAG_CUT_ANYWHERE].GetBool(); }

    const SP<ScriptedRaw> source;
    const SP<FilterCutController> controller;
    SP<IStreamRaw> cut;
};

struct RecodeRow
{
    const char* what;
    Ranges kept;
    std::string script;
    FakeEncoding encoding;
    std::string result;
    int recoded = 0;
};

const std::string shifted = // key frames have DTS = PTS - 40
    "0Kd-40 80d0 40d40 120Kd80 200d120 160d160 240Kd200 320d240 280d280 360Kd320 440d360 400d400 480Kd440";

TEST(Recode, FitsBetweenTheUntouchedPackets)
{
    const RecodeRow rows[] = {
        {"tail", {{0, 200}, {360, 1000}}, gops, {}, "0K 40 80 120Kd120 160d160 200K 240 280 E", 2},
        {"head", {{0, 120}, {280, 1000}}, gops, {}, "0K 40 80 120Kd120 160d160 200K 240 280 E", 2},
        {"middle", {{0, 160}, {200, 1000}}, gops, {}, "0K 40 80 120Kd120 160d160 200K 240 280 320K 360 400 E", 2},
        {"frames in part", {{0, 170}, {360, 1000}}, gops, {}, "0K 40 80 120Kd120 160d160 170K 210 250 E", 2},
        {"with the reordering of source and encoder",
         {{0, 120}, {160, 1000}},
         shifted,
         {.reorders = true},
         "0Kd-40 80d0 40d40 120Kd80 160d120 200Kd160 280d200 240d240 320Kd280 400d320 360d360 E",
         2},
        {"a frame across three cuts",
         {{0, 200}, {201, 202}, {360, 1000}},
         gops,
         {},
         "0K 40 80 120Kd120 160d160 200:2d200 201K 241 281 E",
         3},
    };
    for (const RecodeRow& row : rows)
    {
        SCOPED_TRACE(row.what);
        Rig rig(row.kept, row.script, FakeCodecs::Create({{"X", row.encoding}}));
        EXPECT_EQ(rig.Read(), row.result);
        ASSERT_TRUE(rig.CanRecode());
        const Core::Property statistic = rig.cut->GetStatistic();
        EXPECT_EQ((*(statistic.end() - 1))["Recoded pakets"].GetInt64(), row.recoded);
    }
}

TEST(RecodeGOP, FoldsRepeatsIntoOnePacket)
{
    Rig rig({{0, 200}, {360, 1000}}, "0K 40 80 120K=7 160=7 200 240K 280 320 360K 400",
            FakeCodecs::Create({{"X", {}}}));
    EXPECT_EQ(rig.Read(), "0K 40 80 120Kd120 200K 240 E");
}

TEST(RecodeGOP, RefusesALostPacket)
{
    Rig rig({{0, 200}, {360, 1000}}, gops, FakeCodecs::Create({{"X", {.lost = 1}}}));
    EXPECT_EQ(rig.Read(), "0K 40 80 !(Count of original and encoded packts are not equal!)");
    EXPECT_EQ(ReadAll(rig.cut), "200K 240 280 E") << "the stream goes on behind the group";
}

TEST(RecodeGOP, CutsPacketsWhenTheEncoderIsGone)
{
    // the search is the first
    Rig rig({{0, 200}, {360, 1000}}, gops, FakeCodecs::Create({{"X", {.failsFrom = 1}}}));
    EXPECT_EQ(rig.Read(), "0K 40 80 120K 160 200K 240 280 E");
    EXPECT_TRUE(rig.CanRecode());
}

TEST(RecodeGOP, KeepsTheFramingOfTheSource)
{
    const H264Fields fields;
    for (const auto& [header, payload] :
         {std::pair(fields.AvcC(), Bytes{0, 0, 0, 1, 3}), {fields.AnnexB(), {0, 0, 1, 3}}})
    {
        Rig rig({{0, 160}}, gops, FakeCodecs::Create({{"X", {.extradata = fields.AnnexB()}}}), Video::CODEC_ID_H264,
                header);
        rig.Add();
        Seek(rig.cut, 0);
        SP<IDataPacket> packet; // the last one: the picture at 120
        while (const SP<IDataPacket> next = rig.cut->Read())
            packet = next;
        ASSERT_TRUE(packet);
        EXPECT_EQ(Bytes(packet->GetData(), packet->GetData() + packet->GetSize()), payload);
    }
}

// ---- the search

TEST(RecodeSearch, TriesOneByOne)
{
    const FakeEncoding null{.isNull = true};
    const struct
    {
        const char* what;
        std::string codec;
        std::string script;
        FakeCodecs::Encoders encoders;
        std::string tried;
        bool found;
    } rows[] = {
        {"the first that works", Video::CODEC_ID_VP9, gops, {{"A", {}}, {"B", {}}}, "A", true},
        {"the next behind faults",
         Video::CODEC_ID_VP8,
         gops,
         {{"A", {FakeCodecs::Fail<EncoderException>}},
          {"B", {FakeCodecs::Fail<CodecFactoryException>}},
          {"C", null},
          {"D", {}}},
         "A B C D",
         true},
        {"FFmpeg changes places with the first",
         Video::CODEC_ID_H263,
         gops,
         {{"A", null}, {"B", {}}, {ImplNames::FFMPEG, null}},
         "FFmpeg+ B",
         true},
        {"bad for WMV2", Video::CODEC_ID_WMV2, gops, {{ImplNames::MEDIA_FOUNDATION, {}}}, "", false},
        {"bad for MPEG2",
         Video::CODEC_ID_MPEG2VIDEO,
         gops,
         {{ImplNames::INTEL_MEDIA_HW, {}}, {ImplNames::MEDIA_FOUNDATION, {}}},
         "MediaFoundation",
         true},
        {"not a codec for it", Video::CODEC_ID_H265, gops, {{"A", {}}}, "", false},
        {"no headers", Video::CODEC_ID_H264, gops, {{ImplNames::FFMPEG, {}}}, "FFmpeg+", false},
        {"open groups", Video::CODEC_ID_VP8, "0K 40 120K 80 160K", {{"A", {}}}, "", false},
        {"open groups of MPEG1", Video::CODEC_ID_MPEG1VIDEO, "0K 40 120K 80 160K", {{"A", {}}}, "A", true},
        {"a PTS is missing", Video::CODEC_ID_VP8, "0K 40 ?:40d80 120K", {{"A", {}}}, "", false},
        {"a PTS is missing later", Video::CODEC_ID_VP8, "0K 40K 80K ?:40d80 120K", {{"A", {}}}, "A", true},
    };
    for (const auto& row : rows)
    {
        const SP<FakeCodecs> codecs = FakeCodecs::Create(row.encoders);
        Rig rig({{0, 200}}, row.script, codecs, row.codec);
        rig.Add();
        EXPECT_EQ(codecs->tried, row.tried) << row.what;
        EXPECT_EQ(rig.CanRecode(), row.found) << row.what;
    }
}

TEST(RecodeSearch, PassesABusyEncoderOn)
{
    Rig rig({{0, 200}}, gops, FakeCodecs::Create({{"A", {FakeCodecs::Fail<Core::NotEnoughResource>}}}));
    EXPECT_THROW(rig.Add(), Core::NotEnoughResource);
    EXPECT_THROW(rig.Add(), Core::NotEnoughResource) << "it may be tried again";
}

TEST(RecodeSearch, JoinsTheHeadersOfH264)
{
    const struct
    {
        std::string name;
        H264Fields encoder;
        bool found;
        bool joined;
    } rows[] = {{ImplNames::FFMPEG, {.id = 1}, true, true},
                {ImplNames::FFMPEG, {}, true, true},
                {"A", {}, true, false},
                {"A", {.id = 1}, false, false}};
    for (const auto& row : rows)
    {
        const Bytes header = H264Fields().AvcC();
        Rig rig({{0, 200}}, gops, FakeCodecs::Create({{row.name, {.extradata = row.encoder.AnnexB()}}}),
                Video::CODEC_ID_H264, header);
        rig.Add();
        EXPECT_EQ(rig.CanRecode(), row.found);
        const size_t size = rig.cut->GetFormatCodec()->GetExtradata()->Size();
        EXPECT_EQ(size > header.size(), row.joined);
        EXPECT_EQ(rig.source->GetFormatCodec()->GetExtradata()->Size(), size);
    }
}

TEST(RecodeSettings, FollowTheParameterSetsOfH264)
{
    const struct
    {
        H264Fields fields;
        std::string profile;
        std::string options;
    } rows[] = {
        {{}, "main", "x264opts;sps-id=1:ref=4:qp=26:chroma-qp-offset=3:weightp=0"},
        {{66, 0, 0, 0, false}, "baseline", "x264opts;sps-id=1:qp=26:chroma-qp-offset=3:no-cabac:weightp=0"},
        {{100, 0, 0, 1, true, true, -3, -2}, "high", "x264opts;sps-id=1:ref=1:qp=23:chroma-qp-offset=1:weightp=2"},
        {{88}, "extended", "x264opts;sps-id=1:ref=4:qp=26:chroma-qp-offset=3:weightp=0"},
        {{99, 0x60}, "main", "x264opts;sps-id=1:ref=4:qp=26:chroma-qp-offset=3:weightp=0"},
        {{99, 0x10}, "high", "x264opts;sps-id=1:ref=4:qp=26:chroma-qp-offset=3:weightp=0"},
    };
    for (const auto& row : rows)
    {
        const SP<FakeCodecs> codecs = FakeCodecs::Create({{"A", {}}});
        Rig rig({{0, 200}}, gops, codecs, Video::CODEC_ID_H264, row.fields.AvcC());
        rig.Add();
        const Core::Property options = codecs->lastFormat[Video::TAG_CODEC_OPTIONS_ENCODE];
        EXPECT_EQ(options[Video::TAG_PROFILE].GetString(), row.profile);
        EXPECT_EQ(options[Video::TAG_FF_SPECIAL_OPTS].GetString(), row.options);
        EXPECT_EQ(options[Video::TAG_H264_ENTROPY_MODE].GetString(), row.fields.cabac ? "CABAC" : "CAVLC");
    }
}

TEST(RecodeSettings, SurviveBrokenHeaders)
{
    for (const std::string& codec : {Video::CODEC_ID_H264, Video::CODEC_ID_MPEG4, Video::CODEC_ID_MPEG2VIDEO,
                                     Video::CODEC_ID_WMV2, Video::CODEC_ID_THEORA})
        for (const Bytes& header : {Bytes{0}, {0, 0, 1, 0xB3, 1}, {1, 2, 3}, {0, 0, 1, 0x67}})
        {
            Rig rig({{0, 200}}, gops, FakeCodecs::Create({{ImplNames::FFMPEG, {.extradata = header}}}), codec, header);
            EXPECT_NO_THROW(rig.Add()) << codec << " " << header.size();
        }
}

TEST(RecodeSettings, MultiplyTheBitRate)
{
    const struct
    {
        std::string codec;
        std::string script;
        long long bitRate;
    } rows[] = {{Video::CODEC_ID_VP8, gops, 8000000},
                {Video::CODEC_ID_VP8, shifted, 12000000},
                {Video::CODEC_ID_MPEG1VIDEO, gops, 12000000}};
    for (const auto& row : rows)
    {
        const SP<FakeCodecs> codecs = FakeCodecs::Create({{"A", {}}});
        Rig rig({{0, 200}}, row.script, codecs, row.codec);
        rig.Add();
        EXPECT_EQ(codecs->lastFormat[Video::TAG_BITRATE].GetInt64(), row.bitRate);
    }
}

TEST(RecodeSettings, NameTheProfilesOfMPEG)
{
    const Bytes sequence = {0, 0, 1, 0xB3, 0x2D, 0x02, 0x40, 0x33, 0xFF, 0xFF, 0xE0, 0x18, 0, 0, 1, 0xB5};
    const auto visual = [](uint8_t profileAndLevel)
    {
        return Bytes{0, 0, 1, 0xB0, profileAndLevel} + Bytes{0, 0, 1, 0xB5, 0x89, 0x13, 0, 0, 1, 0} +
               Bytes{0, 0, 1, 0x20, 0, 0xC4, 0x8D, 0x88, 0, 0xF5, 0x14, 0x04, 0x2E, 0x14, 0x63};
    };
    const struct
    {
        std::string codec;
        Bytes header;
        std::string profile;
        int level;
    } rows[] = {
        {Video::CODEC_ID_MPEG4, visual(0xF5), "mpeg4_advanced_simple", 5},
        {Video::CODEC_ID_MPEG4, visual(0x01), "mpeg4_simple", 1},
        {Video::CODEC_ID_MPEG2VIDEO, sequence + Bytes{0x14, 0x8A, 0, 0x01, 0, 0}, "mpeg2_main", 8},
        {Video::CODEC_ID_MPEG2VIDEO, sequence + Bytes{0x14, 0x8A, 0, 0x03, 0, 0}, "mpeg2_422", 8},
    };
    for (const auto& row : rows)
    {
        const SP<FakeCodecs> codecs = FakeCodecs::Create({{"A", {}}});
        Rig rig({{0, 200}}, gops, codecs, row.codec, row.header);
        rig.Add();
        ASSERT_TRUE(codecs->lastFormat.ChildExists(Video::TAG_CODEC_OPTIONS_ENCODE)) << row.profile;
        const Core::Property options = codecs->lastFormat[Video::TAG_CODEC_OPTIONS_ENCODE];
        EXPECT_EQ(options[Video::TAG_PROFILE].GetString(), row.profile);
        EXPECT_EQ(options[Video::TAG_PROFILE_LEVEL].GetInt64(), row.level);
    }
}

} // namespace

} // namespace Tessor::Proc
