#include "Proc/CodecParsers/H264CodecParser.h"
#include "tests/CodecParsers/HeaderTools.h"

namespace Tessor::Test
{

namespace
{

// Tables 7-3 and 7-4 of the standard: for intra blocks, then for inter blocks.
const std::array<uint32_t, 16> Default4x4[] = {{6, 13, 13, 20, 20, 20, 28, 28, 28, 28, 32, 32, 32, 37, 37, 42},
                                               {10, 14, 14, 20, 20, 20, 24, 24, 24, 24, 27, 27, 27, 30, 30, 34}};
const std::array<uint32_t, 64> Default8x8[] = {
    {6,  10, 10, 13, 11, 13, 16, 16, 16, 16, 18, 18, 18, 18, 18, 23, 23, 23, 23, 23, 23, 25,
     25, 25, 25, 25, 25, 25, 27, 27, 27, 27, 27, 27, 27, 27, 29, 29, 29, 29, 29, 29, 29, 31,
     31, 31, 31, 31, 31, 33, 33, 33, 33, 33, 36, 36, 36, 36, 38, 38, 38, 40, 40, 42},
    {9,  13, 13, 15, 13, 15, 17, 17, 17, 17, 19, 19, 19, 19, 19, 21, 21, 21, 21, 21, 21, 22,
     22, 22, 22, 22, 22, 22, 24, 24, 24, 24, 24, 24, 24, 24, 25, 25, 25, 25, 25, 25, 25, 27,
     27, 27, 27, 27, 27, 28, 28, 28, 28, 28, 30, 30, 30, 30, 32, 32, 32, 33, 33, 35}};

template <size_t Size>
std::array<uint32_t, Size> Constant(uint32_t value)
{
    std::array<uint32_t, Size> list;
    list.fill(value);
    return list;
}

using Lists4x4 = decltype(SPS_decoded::ScalingList4x4);
using Lists8x8 = decltype(SPS_decoded::ScalingList8x8);

/// Of 120 x 68 macroblocks at High and level 4.
const std::string HighSPS = "00 00 01 67 64 00 28 ac ce 50 1e 00 89 f9 50";

} // namespace

// Every branch of the syntax; values stand in its order and tell fields apart.
TEST(H264ParameterSets, KnownSPS)
{
    const auto &intra4 = Default4x4[0], &inter4 = Default4x4[1], ten4 = Constant<16>(10), flat4 = Constant<16>(16);
    const auto &intra8 = Default8x8[0], &inter8 = Default8x8[1], twenty8 = Constant<64>(20), flat8 = Constant<64>(16);
    const std::array<uint32_t, 16> whole4{200, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    const Lists4x4 full4{ten4, ten4, intra4, inter4, whole4, whole4},
        allFlat4{flat4, flat4, flat4, flat4, flat4, flat4}, default4{intra4, intra4, intra4, inter4, inter4, inter4};
    const Lists8x8 full8{intra8, twenty8, intra8, twenty8, intra8, inter8},
        allFlat8{flat8, flat8, flat8, flat8, flat8, flat8}, default8{intra8, inter8}; // of 4:2:0 there are only two
    const std::vector<int32_t> cycle{-3, 9}, none;

    const HRD_parameters_decoded noHRD, hrd2{1, 3, 4, {0xFFFFFFFE, 7}, {6, 8}, {1, 0}, 23, 22, 21, 24},
        hrd1{0, 1, 2, {9}, {10}, {1}, 1, 2, 3, 4};
    const VUI_decoded noVUI, vui{1, 1,  0, 0, 0,     0, 1,    2, 0, 0, 0, 0, 0, 0, 0, 0, 1,
                                 1, 60, 0, 0, noHRD, 1, hrd1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
        fullVUI{1,          255,   0x1234, 0x5678, 1,    1, 1,    5, 1, 1, 9, 16, 10, 1,  2,  3, 1,
                0xFFFFFFFF, 50000, 1,      1,      hrd2, 1, hrd1, 1, 1, 1, 1, 2,  1,  11, 12, 3, 5};
    const std::pair<const char*, SPS_decoded> rows[] = {
        {"f4 a0 33 21 2c bc 81 54 22 80 81 03 92 49 24 92 49 24 43 00 a4 84 61 13 28 00 00 03 00 0f ff ff ff f1 cc "
         "e1 22 c0 f0 08 95 32 17 ff 12 34 56 78 f7 09 10 0a b2 7f ff ff ff c0 00 30 d4 34 68 00 00 03 00 03 ff ff "
         "ff fc f1 02 57 b5 71 89 0a 17 08 86 4f 68 60 d2 1a",
         {244,         1, 0, 1,     0, 51, 3,   3,  1, 2, 4, 1, 1, full4, full8, 5, 1, 0,      1,
          -0x7FFFFFFF, 7, 2, cycle, 4, 1,  119, 33, 0, 1, 0, 1, 1, 2,     3,     4, 1, fullVUI}},
        {"42 5f 1e da 05 07 ec 05 42 00 00 03 00 02 00 00 03 00 78 62 42 85 c2 21 90 40",
         {66, 0, 1, 0,    1, 30, 0,  1,  0, 0, 0, 0, 0, allFlat4, allFlat8, 0, 2, 0,  0,
          0,  0, 0, none, 1, 0,  19, 14, 1, 0, 1, 0, 0, 0,        0,        0, 1, vui}},
        {"64 00 28 ad 00 ce 50 1e 00 89 90", // a matrix without lists
         {100, 0, 0, 0,    0, 40, 0,   1,  0, 0, 0, 0, 1, default4, default8, 0, 0, 6,    0,
          0,   0, 0, none, 4, 0,  119, 67, 1, 0, 1, 0, 0, 0,        0,        0, 0, noVUI}}};
    for (const auto& [hex, sps] : rows)
        CheckHeader(DecodeSPS, std::string("00 00 01 67 ") + hex, sps);
}

TEST(H264ParameterSets, ProfilesWithAChromaBlock)
{
    std::vector<int> profiles;
    for (int profile = 0; profile < 256; ++profile)
    {
        Bytes high = Hex(HighSPS);
        high[4] = static_cast<uint8_t>(profile);
        SPS_decoded sps;
        Failure([&] { DecodeSPS(high.data(), high.size(), sps); });
        if (sps.pic_width_in_mbs_minus1 == 119)
            profiles.push_back(profile);
    }
    EXPECT_EQ(profiles, (std::vector<int>{44, 83, 86, 100, 110, 118, 122, 128, 138, 144, 244})); // not 134, 135, 139
}

TEST(H264ParameterSets, KnownPPS)
{
    using Values = std::vector<uint32_t>;
    using U = uint32_t;
    const std::tuple<const char*, U, U, Values, Values, Values, uint8_t, U, U, Values> rows[] = {
        {"2a 78 1a 98 33 60", 0, 0, {}, {}, {}, 0, 0, 0, {}},
        {"24 93 c0 d4 c1 9b", 1, 1, {}, {}, {}, 0, 0, 0, {}},
        {"24 c8 53 1d 3c 0d 4c 19 b0", 1, 2, {}, {3, 5}, {4, 6}, 0, 0, 0, {}},
        {"24 58 84 f0 35 30 66 c0", 1, 4, {}, {}, {}, 1, 7, 0, {}},
        {"22 9d c2 d3 c0 d4 c1 9b", 4, 6, {}, {}, {}, 0, 0, 2, {4, 1, 3}}, // of three bits each
    };
    for (const auto& [bits, groups, type, runs, topLeft, bottomRight, direction, rate, size, ids] : rows)
    {
        const PPS_decoded pps{200, 31, 1, 0, groups, type, runs, topLeft, bottomRight, direction, rate, size,
                              ids, 1,  2, 1, 2,      -26,  3,    -12,     1,           0,         1};
        CheckHeader(DecodePPS, std::string("00 00 01 68 01 92 08 ") + bits, pps);
    }
}

// Counts that the data does not bear out end with the data, not with memory: a cycle of 2^32 - 2 reference frames, and
// that many slice groups of three types.
TEST(H264ParameterSets, ClaimedCountsAreBounded)
{
    SPS_decoded sps;
    const Bytes header = Hex("00 00 01 67 42 00 1e d3 00 00 03 00 01 ff ff ff ff");
    EXPECT_EQ(Failure([&] { DecodeSPS(header.data(), header.size(), sps); }), PastTheEnd);
    EXPECT_EQ(sps.num_ref_frames_in_pic_order_cnt_cycle, 0xFFFFFFFE);
    for (const char* hex : {"0f ff ff ff f8 00 00 03 00 07 ff ff ff fc", "0f ff ff ff f6 00 00 03 00 01 ff ff ff ff",
                            "0f ff ff ff f3 80 00 00 03 00 7f ff ff ff c0"})
        EXPECT_EQ(Failure([&] { Read(DecodePPS, Hex(std::string("00 00 01 68 c0 00 00 03 00 ") + hex)); }), PastTheEnd)
            << hex;
}

TEST(H264ParameterSets, EqualToComparesWhatDecodingNeeds)
{
    using S = SPS_decoded;
    using P = PPS_decoded;
    EXPECT_EQ(Compared<S>(&S::profile_idc, &S::seq_parameter_set_id, &S::pic_width_in_mbs_minus1,
                          &S::pic_height_in_map_units_minus1, &S::frame_mbs_only_flag, &S::direct_8x8_inference_flag,
                          &S::frame_cropping_flag, &S::frame_crop_left_offset, &S::frame_crop_right_offset,
                          &S::frame_crop_top_offset, &S::frame_crop_bottom_offset),
              "11111111111");
    EXPECT_EQ(Compared<S>(&S::level_idc, &S::chroma_format_idc, &S::bit_depth_luma_minus8,
                          &S::mb_adaptive_frame_field_flag, &S::max_num_ref_frames, &S::vui_parameters_present_flag),
              "000000");
    EXPECT_EQ(Compared<P>(&P::pic_parameter_set_id, &P::seq_parameter_set_id, &P::entropy_coding_mode_flag,
                          &P::weighted_pred_flag),
              "1110");
}

TEST(H264ParameterSets, LimitsOfTheIndicatedLevel)
{
    const std::tuple<uint8_t, uint8_t, uint8_t, uint8_t, const char*, uint32_t> rows[] = {
        {66, 11, 1, 9, "main", 128},
        {77, 11, 1, 9, "baseline", 128},
        {88, 11, 1, 11, "extended", 192},
        {66, 11, 0, 11, "simple", 0},
    };
    for (const auto& [profile, level, constraint3, indicated, name, maxBR] : rows)
    {
        SPS_decoded sps;
        sps.profile_idc = profile;
        sps.level_idc = level;
        sps.constraint_set3_flag = constraint3;
        EXPECT_EQ(sps.GetIndicatedLevel(), indicated) << int{profile};
        EXPECT_EQ(sps.GetMaxBR(name), maxBR) << name;
    }
    EXPECT_EQ(LevelToLevelLimits(13).MaxMBPS, 11800u); // 80 lower than published
}

TEST(H264ParameterSets, ReorderWindow)
{
    using Change = void (*)(SPS_decoded & sps, VUI_decoded & vui);
    const std::pair<uint32_t, Change> rows[] = {
        {2, [](auto&, auto& vui) { vui.bitstream_restriction_flag = 1, vui.max_num_reorder_frames = 2; }},
        {4, [](auto&, auto& vui) { vui.bitstream_restriction_flag = 1, vui.max_num_reorder_frames = 9; }},
        {4, [](auto& sps, auto&) { sps.frame_mbs_only_flag = 0; }}, // fields: the map units count as they are
        {0, [](auto& sps, auto& vui) { sps.pic_order_cnt_type = 2, vui.bitstream_restriction_flag = 1; }},
        {0, [](auto& sps, auto&) { sps.constraint_set3_flag = 1; }},             // intra only
        {0, [](auto& sps, auto&) { sps.level_idc = 14; }},                       // there is none
        {0, [](auto& sps, auto&) { sps.pic_height_in_map_units_minus1 = ~0u; }}, // 120 * 2^32 macroblocks
    };
    for (const auto& [window, change] : rows)
    {
        auto sps = Read(DecodeSPS, Hex(HighSPS));
        sps.vui_parameters_present_flag = 1;
        change(sps, sps.vui_parameters);
        EXPECT_EQ(sps.ComputeReorderWindow(), window) << "row " << &change - &rows[0].second;
    }
}

// Where cropping would leave nothing there is none.
TEST(H264ParameterSets, VisibleSize)
{
    auto sps = Read(DecodeSPS, Hex(HighSPS));
    for (const auto& [bottom, height] : {std::pair(543u, 2u), {544u, 1088u}, {0xFFFFFFFFu, 1088u}})
    {
        sps.frame_crop_bottom_offset = bottom;
        EXPECT_EQ(sps.GetVisibleSize(), std::pair(1920u, height));
    }
}

} // namespace Tessor::Test
