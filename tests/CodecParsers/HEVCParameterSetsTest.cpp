#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "tests/CodecParsers/HEVCParameterSetWriter.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

#include <memory>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// An Annex B header with its records.
struct Header
{
    HEVC_VPS vps;
    HEVC_SPS sps;
    size_t vpsBits = 0; // without the stop bit
    size_t spsBits = 0;
    Bytes vpsUnit;
    Bytes spsUnit;
};

Header DrawHeader(std::mt19937& random, HEVCRange range)
{
    Header header;
    ParameterSetWriter vps(random);
    DrawVPS(vps, header.vps, range);
    header.vpsBits = vps.Bits();
    vps.Put(2, 0); // no timing, no extension
    header.vpsUnit = Escape(vps.Finish());
    ParameterSetWriter sps(random);
    DrawSPS(sps, header.sps, range, header.vps.vps_video_parameter_set_id);
    header.spsBits = sps.Bits();
    PutRestOfSPS(sps);
    header.spsUnit = Escape(sps.Finish());
    return header;
}

// A unit of that type and random content.
Bytes DrawUnit(std::mt19937& random, uint8_t type)
{
    Bytes rbsp{static_cast<uint8_t>(type << 1), 1};
    for (uint32_t left = random() % 40; left > 0; --left)
        rbsp.push_back(random() % 2 ? static_cast<uint8_t>(random()) : 0);
    rbsp.push_back(0x80);
    return Escape(rbsp);
}

// What libavcodec's decoder learns from extradata.
std::shared_ptr<AVCodecContext> OpenReference(const Bytes& extradata)
{
    const std::shared_ptr<AVCodecContext> context(avcodec_alloc_context3(nullptr),
                                                  [](AVCodecContext* c) { avcodec_free_context(&c); });
    context->extradata = static_cast<uint8_t*>(av_mallocz(extradata.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::copy(extradata.begin(), extradata.end(), context->extradata);
    context->extradata_size = static_cast<int>(extradata.size());
    context->thread_count = 1;
    EXPECT_EQ(avcodec_open2(context.get(), avcodec_find_decoder(AV_CODEC_ID_HEVC), nullptr), 0);
    return context;
}

void CheckAgainstLibavcodec(const Header& header)
{
    const auto reference = OpenReference(WithStartCode(header.vpsUnit) + WithStartCode(header.spsUnit));
    const HEVC_SPS& sps = header.sps;
    const int profile = sps.profile_tier_level.general_profile_idc;
    EXPECT_TRUE(reference->profile == profile || profile == 0); // libavcodec looks for another one in place of 0
    EXPECT_EQ(reference->level, sps.profile_tier_level.general_level_idc);
    EXPECT_EQ(reference->width, static_cast<int>(sps.GetVisibleSize().first));
    EXPECT_EQ(reference->height, static_cast<int>(sps.GetVisibleSize().second));
    EXPECT_EQ(reference->has_b_frames, static_cast<int>(sps.ComputeReorderWindow()));
    const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(reference->pix_fmt);
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->comp[0].depth, sps.bit_depth_luma_minus8 + 8);
    const uint8_t chroma = sps.separate_colour_plane_flag ? 0 : sps.chroma_format_idc;
    const bool isGrey = pixels->nb_components == 1;
    EXPECT_EQ(isGrey, chroma == 0);
    EXPECT_EQ(pixels->log2_chroma_w, chroma == 1 || chroma == 2);
    EXPECT_EQ(pixels->log2_chroma_h, chroma == 1);
}

// Units of any number and order become an hvcC, sorted, and come back as they were.
void CheckRoundTrip(std::mt19937& random, const Header& header)
{
    std::vector<Bytes> units{header.vpsUnit, header.spsUnit};
    for (uint32_t left = random() % 6; left > 0; --left)
        units.push_back(DrawUnit(random, static_cast<uint8_t>(32 + random() % 9)));
    // The records are of the first VPS and SPS: others stay behind them.
    std::rotate(units.begin(), units.begin() + 1, units.begin() + 1 + (units.size() > 2 && units[2][0] != 0x40));
    Bytes annexB;
    for (const Bytes& unit : units)
        annexB = annexB + (random() % 2 ? NALU_START_CODE_3_BYTE : NALU_START_CODE_4_BYTE) + unit;
    Bytes expected;
    for (const int type : {32, 33, 34, 39, 40})
        for (const Bytes& unit : units)
            if (unit[0] >> 1 == type)
                expected = expected + WithStartCode(unit);

    const SP<const IBlob> hvcc = HEVC_Extradata_AnnexBtoHvcC(BlobFF::Create(annexB.data(), annexB.size()));
    EXPECT_EQ(GetHvccNALULengthSize(hvcc->Data(), hvcc->Size()), 4u);
    ASSERT_EQ(Payload(*HEVC_Extradata_hvcCtoAnnexB(hvcc)), expected);
}

} // namespace

// 10,000 headers; every 25th one is such that libavcodec takes it.
TEST(HEVCParameterSets, RandomHeaders)
{
    av_log_set_level(AV_LOG_QUIET);
    std::mt19937 random(21);
    HEVC_VPS vps; // kept over the rounds: each one has to reset them
    HEVC_SPS sps;
    for (int round = 0; round < 10000 && !testing::Test::HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const bool playable = round % 25 == 0;
        const Header header = DrawHeader(random, playable ? HEVCRange::Playable : HEVCRange::Any);
        const Bytes annexB = WithStartCode(header.vpsUnit) + WithStartCode(header.spsUnit);
        HEVCDecodeVPS(annexB.data(), annexB.size(), vps);
        HEVCDecodeSPS(annexB.data(), annexB.size(), sps);
        ASSERT_TRUE(vps == header.vps) << ToHex(header.vpsUnit);
        ASSERT_TRUE(sps == header.sps) << ToHex(header.spsUnit);
        CheckRoundTrip(random, header);
        if (playable)
            CheckAgainstLibavcodec(header);
        if (round % 250 == 1)
        {
            CheckTruncations(header.vpsUnit, header.vpsBits, HEVCDecodeVPS);
            CheckTruncations(header.spsUnit, header.spsBits, HEVCDecodeSPS);
        }
    }
}

TEST(HEVCParameterSets, ReorderWindow)
{
    const struct
    {
        uint8_t maxSubLayersMinus1;
        uint32_t window;
    } rows[] = {{0, 1}, {1, 0}, {5, 16}, {6, 16}, {7, 16}}; // an eighth sub-layer counts as the seventh
    HEVC_VPS vps;
    HEVC_SPS sps;
    vps.vps_max_num_reorder_pics = sps.sps_max_num_reorder_pics = {1, 0, 3, 4, 5, 16, 255};
    for (const auto& row : rows)
    {
        vps.vps_max_sub_layers_minus1 = sps.sps_max_sub_layers_minus1 = row.maxSubLayersMinus1;
        EXPECT_EQ(vps.ComputeReorderWindow(), row.window);
        EXPECT_EQ(sps.ComputeReorderWindow(), row.window);
    }
}

TEST(HEVCParameterSets, VisibleSize)
{
    using Size = std::pair<uint32_t, uint32_t>;
    const struct
    {
        uint8_t chroma;
        uint32_t left, right, top, bottom;
        Size size;
    } rows[] = {
        {1, 0, 0, 0, 4, {1920, 1080}},
        {0, 1, 2, 3, 4, {1917, 1081}},
        {1, 1, 2, 3, 4, {1914, 1074}},
        {2, 1, 2, 3, 4, {1914, 1081}},
        {3, 1, 2, 3, 4, {1917, 1081}},
        {3, 1920, 1, 0, 1089, {0xFFFFFFFF, 0xFFFFFFFF}}, // a window bigger than the picture wraps
    };
    for (const auto& row : rows)
    {
        HEVC_SPS sps;
        sps.chroma_format_idc = row.chroma;
        sps.pic_width_in_luma_samples = 1920;
        sps.pic_height_in_luma_samples = 1088;
        sps.conf_win_left_offset = row.left;
        sps.conf_win_right_offset = row.right;
        sps.conf_win_top_offset = row.top;
        sps.conf_win_bottom_offset = row.bottom;
        EXPECT_EQ(sps.GetVisibleSize(), row.size) << int{row.chroma};
    }
}

TEST(HEVCParameterSets, MissingUnits)
{
    const struct
    {
        const char* header;
        const char* vpsFailure;
        const char* spsFailure;
    } rows[] = {
        {"", "Not enougth data to determine HEVC header type", "Not enougth data to determine HEVC header type"},
        {"00 00 01", "Not enougth data to determine h264 format type",
         "Not enougth data to determine h264 format type"},
        {"00 00 01 40 00 00 01 4e 01", "Can't find nalu of type 32", "Can't find nalu of type 33"}, // a byte is no unit
        {"00 00 01 40 01 00 00 01 42 01", "Reading of bits past the end of the data",
         "Reading of bits past the end of the data"},
        {"01 01 60 00", "Finding HEVC NALUs in hvcC is not implemented yet",
         "Finding HEVC NALUs in hvcC is not implemented yet"},
        {"00 01 60 00", "Finding HEVC NALUs in hvcC is not implemented yet",
         "Finding HEVC NALUs in hvcC is not implemented yet"},
    };
    for (const auto& row : rows)
    {
        const Bytes header = Hex(row.header);
        HEVC_VPS vps;
        HEVC_SPS sps;
        EXPECT_EQ(Failure([&] { HEVCDecodeVPS(header.data(), header.size(), vps); }), row.vpsFailure);
        EXPECT_EQ(Failure([&] { HEVCDecodeSPS(header.data(), header.size(), sps); }), row.spsFailure);
    }
}
