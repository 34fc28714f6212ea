#include "Proc/CodecParsers/H264CodecParser.h"
#include "media/IFormatCodecVideo.h"
#include "tests/CodecParsers/H264ParameterSetWriter.h"

using namespace Tessor;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

SPS_decoded Picture(uint32_t widthMbs, uint32_t heightMapUnits)
{
    SPS_decoded sps;
    sps.profile_idc = 100;
    sps.level_idc = 40;
    sps.frame_mbs_only_flag = 1;
    sps.pic_width_in_mbs_minus1 = widthMbs - 1;
    sps.pic_height_in_map_units_minus1 = heightMapUnits - 1;
    return sps;
}

} // namespace

TEST(ParameterSets, RandomSPS)
{
    CheckRandomSets<SPS_decoded>(11, 4000, DrawSPS, DecodeSPS);
}

TEST(ParameterSets, RandomPPS)
{
    CheckRandomSets<PPS_decoded>(12, 4000, DrawPPS, DecodePPS);
}

// Counts that the data does not bear out end with the data, not with memory.
TEST(ParameterSets, ClaimedCountsAreBounded)
{
    std::mt19937 random(13);
    ParameterSetWriter cycle(random);
    cycle.Put(8, 0x67);
    cycle.Put(24, 66 << 16 | 30);
    for (const uint32_t value : {0u, 0u, 1u}) // id, frame number, picture order count type
        cycle.PutUE(value);
    cycle.Put(3, 3);
    cycle.PutUE(0xFFFFFFFE); // cycle length
    const Bytes sps = WithStartCode(Escape(cycle.Finish()));
    SPS_decoded decodedSPS;
    EXPECT_THROW(DecodeSPS(sps.data(), sps.size(), decodedSPS), Core::IOException);
    EXPECT_EQ(decodedSPS.num_ref_frames_in_pic_order_cnt_cycle, 0xFFFFFFFE);

    for (const uint32_t mapType : {0u, 2u, 6u})
    {
        ParameterSetWriter groups(random);
        groups.Put(8, 0x68);
        groups.Put(4, 0xC);
        groups.Put(32, 0);
        groups.Put(32, 0xFFFFFFFF); // slice groups
        groups.PutUE(mapType);
        groups.Put(32, 0);
        groups.Put(32, 0xFFFFFFFF); // picture size for type 6
        const Bytes pps = WithStartCode(Escape(groups.Finish()));
        PPS_decoded decodedPPS;
        EXPECT_THROW(DecodePPS(pps.data(), pps.size(), decodedPPS), Core::IOException) << mapType;
    }
}

TEST(ParameterSets, MissingUnits)
{
    SPS_decoded sps;
    PPS_decoded pps;
    const Bytes noUnit = Hex("00 00 00 01 67 00 00 01 09 f0"); // an SPS of one byte counts as none
    EXPECT_EQ(Failure([&] { DecodeSPS(noUnit.data(), noUnit.size(), sps); }), "Can't find nalu of type 7");
    EXPECT_EQ(Failure([&] { DecodePPS(noUnit.data(), noUnit.size(), pps); }), "Can't find nalu of type 8");
    EXPECT_EQ(Failure([&] { DecodeSPS(nullptr, 0, sps); }), "Not enougth data to determine h264 header type");
}

TEST(ParameterSets, EqualToComparesWhatDecodingNeeds)
{
    const SPS_decoded base = Picture(10, 10);
    std::vector<std::pair<SPS_decoded, bool>> rows(17, {base, false});
    size_t row = 0;
    rows[row++].first.profile_idc++;
    rows[row++].first.seq_parameter_set_id++;
    rows[row++].first.pic_width_in_mbs_minus1++;
    rows[row++].first.pic_height_in_map_units_minus1++;
    rows[row++].first.frame_mbs_only_flag ^= 1;
    rows[row++].first.direct_8x8_inference_flag ^= 1;
    rows[row++].first.frame_cropping_flag ^= 1;
    rows[row++].first.frame_crop_left_offset++;
    rows[row++].first.frame_crop_right_offset++;
    rows[row++].first.frame_crop_top_offset++;
    rows[row++].first.frame_crop_bottom_offset++;
    const size_t compared = row;
    rows[row++].first.level_idc++;
    rows[row++].first.chroma_format_idc++;
    rows[row++].first.bit_depth_luma_minus8++;
    rows[row++].first.mb_adaptive_frame_field_flag++;
    rows[row++].first.vui_parameters_present_flag++;
    rows[row++].first.max_num_ref_frames++;
    for (size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].first.EqualTo(base), i >= compared) << i;

    PPS_decoded pps;
    for (auto field : {&PPS_decoded::pic_parameter_set_id, &PPS_decoded::seq_parameter_set_id})
    {
        PPS_decoded other;
        other.*field = 1;
        EXPECT_FALSE(pps.EqualTo(other));
    }
    PPS_decoded other;
    other.weighted_pred_flag = 1;
    EXPECT_TRUE(pps.EqualTo(other));
    other.entropy_coding_mode_flag = 1;
    EXPECT_FALSE(pps.EqualTo(other));
}

TEST(Levels, TableKeepsItsOrder)
{
    // Limits never fall from level to level, and there are no others; level 13 is 80 lower than published.
    const uint8_t levels[] = {10, 9, 11, 12, 13, 20, 21, 22, 30, 31, 32, 40, 41, 42, 50, 51, 52, 60, 61, 62};
    LevelLimits last;
    for (const uint8_t level : levels)
    {
        const LevelLimits limits = LevelToLevelLimits(level);
        EXPECT_GE(limits.MaxMBPS, last.MaxMBPS) << int{level};
        EXPECT_GE(limits.MaxFS, last.MaxFS) << int{level};
        EXPECT_GE(limits.MaxDpbMbs, last.MaxDpbMbs) << int{level};
        EXPECT_GE(limits.MaxBR, last.MaxBR) << int{level};
        EXPECT_GT(limits.MaxMBPS, 0u) << int{level};
        last = limits;
    }
    size_t known = 0;
    for (int level = 0; level < 256; ++level)
        known += LevelToLevelLimits(static_cast<uint8_t>(level)).MaxMBPS > 0;
    EXPECT_EQ(known, std::size(levels));
    EXPECT_EQ(LevelToLevelLimits(13).MaxMBPS, 11800u);
}

TEST(Levels, Indicated)
{
    const struct
    {
        uint8_t profile, level, constraint3;
        uint8_t indicated;
        uint32_t maxBR;
    } rows[] = {
        {66, 11, 1, 9, 128},  {77, 11, 1, 9, 128}, {88, 11, 1, 11, 192},    {100, 11, 1, 11, 192}, {66, 11, 0, 11, 192},
        {66, 12, 1, 12, 384}, {66, 9, 0, 9, 128},  {66, 62, 0, 62, 800000}, {66, 14, 0, 14, 0},
    };
    for (const auto& row : rows)
    {
        SPS_decoded sps;
        sps.profile_idc = row.profile;
        sps.level_idc = row.level;
        sps.constraint_set3_flag = row.constraint3;
        EXPECT_EQ(sps.GetIndicatedLevel(), row.indicated);
        EXPECT_EQ(sps.GetMaxBR("main"), row.maxBR);
    }
    SPS_decoded sps;
    sps.level_idc = 11;
    const std::pair<const char*, uint32_t> profiles[] = {{"baseline", 192}, {"extended", 192}, {"high", 240},
                                                         {"high10", 576},   {"high422", 768},  {"high444", 768},
                                                         {"simple", 0}};
    for (const auto& [profile, limit] : profiles)
        EXPECT_EQ(sps.GetMaxBR(profile), limit) << profile;
    EXPECT_EQ(sps.GetMaxMBPS(), 3000u);
    EXPECT_EQ(sps.GetMaxFS(), 396u);
    EXPECT_EQ(sps.GetMaxDpbMbs(), 900u);
}

TEST(ReorderWindow, Table)
{
    const auto window = [](SPS_decoded sps, auto&& edit)
    {
        edit(sps);
        return sps.ComputeReorderWindow();
    };
    const auto restrict = [](SPS_decoded& sps, uint32_t frames)
    {
        sps.vui_parameters_present_flag = 1;
        sps.vui_parameters.bitstream_restriction_flag = 1;
        sps.vui_parameters.max_num_reorder_frames = frames;
    };
    const SPS_decoded hd = Picture(120, 68); // 32768 / 8160 = 4
    EXPECT_EQ(window(hd, [](auto&) {}), 4u);
    EXPECT_EQ(window(Picture(11, 9), [](auto&) {}), 16u);
    EXPECT_EQ(window(hd, [&](auto& sps) { restrict(sps, 2); }), 2u);
    EXPECT_EQ(window(hd, [&](auto& sps) { restrict(sps, 9); }), 4u);
    // Fields: the map units count as they are.
    EXPECT_EQ(window(Picture(120, 34), [](auto& sps) { sps.frame_mbs_only_flag = 0; }), 8u);
    EXPECT_EQ(window(hd, [&](auto& sps) { restrict(sps, 2), sps.pic_order_cnt_type = 2; }), 0u);
    EXPECT_EQ(window(hd, [](auto& sps) { sps.constraint_set3_flag = 1; }), 0u);
    EXPECT_EQ(window(hd, [](auto& sps) { sps.constraint_set3_flag = 1, sps.profile_idc = 77; }), 4u);
    EXPECT_EQ(window(hd, [&](auto& sps) { restrict(sps, 3), sps.constraint_set3_flag = 1; }), 3u);
    EXPECT_EQ(window(hd, [](auto& sps) { sps.level_idc = 14; }), 0u);
    EXPECT_EQ(Picture(0, 0).ComputeReorderWindow(), 0u); // 2^64 macroblocks
}

TEST(VisibleSize, Table)
{
    using Size = std::pair<uint32_t, uint32_t>;
    const struct
    {
        uint8_t chroma, separate, frameMbsOnly;
        uint32_t left, right, top, bottom;
        Size size;
    } rows[] = {
        // 120 x 68 macroblocks, or 68 pairs of them
        {1, 0, 1, 0, 0, 0, 4, {1920, 1080}},          {1, 0, 0, 0, 0, 0, 2, {1920, 2168}},
        {2, 0, 1, 1, 2, 3, 4, {1914, 1081}},          {3, 0, 1, 1, 2, 3, 4, {1917, 1081}},
        {3, 1, 1, 1, 2, 3, 4, {1917, 1081}},          {0, 0, 1, 1, 2, 3, 4, {1917, 1081}},
        {0, 0, 0, 0, 0, 0, 4, {1920, 2168}},          {1, 0, 1, 0, 0, 0, 543, {1920, 2}},
        {1, 0, 1, 0, 0, 0, 544, {1920, 1088}},        {1, 0, 1, 960, 0, 0, 4, {1920, 1088}},
        {1, 0, 1, 0xFFFFFFFF, 1, 0, 0, {1920, 1088}},
    };
    for (const auto& row : rows)
    {
        SPS_decoded sps = Picture(120, 68);
        sps.chroma_format_idc = row.chroma;
        sps.separate_colour_plane_flag = row.separate;
        sps.frame_mbs_only_flag = row.frameMbsOnly;
        sps.frame_crop_left_offset = row.left;
        sps.frame_crop_right_offset = row.right;
        sps.frame_crop_top_offset = row.top;
        sps.frame_crop_bottom_offset = row.bottom;
        EXPECT_EQ(sps.GetVisibleSize(), Size(1920, row.frameMbsOnly ? 1088 : 2176));
        sps.frame_cropping_flag = 1;
        EXPECT_EQ(sps.GetVisibleSize(), row.size) << row.left << ' ' << row.bottom;
    }
}
