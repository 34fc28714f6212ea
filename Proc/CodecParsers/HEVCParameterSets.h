#pragma once

#include "Fnd/Export.h"

#include <array>
#include <cstdint>
#include <utility>

/// The parameter sets of ITU-T H.265 as plain records, as far as they are read. Fields carry the standard's names and
/// stand in its order; values are cut to the width that they are kept in.
namespace Tessor::Proc::CodecParsers
{

/// One value for each temporal sub-layer, the lowest first. A stream that claims an eighth one has no place for it.
using HEVC_SubLayers = std::array<uint8_t, 7>;

/// The general part of profile_tier_level(), 7.3.3.
struct HEVC_PTL
{
    uint8_t general_profile_space = 0;
    uint8_t general_tier_flag = 0;
    uint8_t general_profile_idc = 0;
    std::array<uint8_t, 4> general_profile_compatibility_flags{}; ///< flag 0 is the highest bit of the first byte
    std::array<uint8_t, 6> general_constraint_indicator_flags{};  ///< from general_progressive_source_flag on
    uint8_t general_level_idc = 0;

    bool operator==(const HEVC_PTL&) const = default;
};

/// video_parameter_set_rbsp(), 7.3.2.1, up to vps_num_layer_sets_minus1.
struct TESSOR_API HEVC_VPS
{
    uint8_t vps_video_parameter_set_id = 0;
    uint8_t vps_max_sub_layers_minus1 = 0;
    uint8_t vps_temporal_id_nesting_flag = 0;
    HEVC_PTL profile_tier_level;
    HEVC_SubLayers vps_max_dec_pic_buffering_minus1{};
    HEVC_SubLayers vps_max_num_reorder_pics{};
    HEVC_SubLayers vps_max_latency_increase_plus1{};
    uint8_t vps_max_layer_id = 0;
    uint32_t vps_num_layer_sets_minus1 = 0;

    /// Every field.
    bool operator==(const HEVC_VPS&) const = default;
    /// Pictures by which the output order may lag behind the decoding order, at most 16.
    uint32_t ComputeReorderWindow() const;
};

/// seq_parameter_set_rbsp(), 7.3.2.2, up to the sub-layer ordering block.
struct TESSOR_API HEVC_SPS
{
    uint8_t sps_video_parameter_set_id = 0;
    uint8_t sps_max_sub_layers_minus1 = 0;
    uint8_t sps_temporal_id_nesting_flag = 0;
    HEVC_PTL profile_tier_level;
    uint8_t sps_seq_parameter_set_id = 0;
    uint8_t chroma_format_idc = 0;
    uint8_t separate_colour_plane_flag = 0;
    uint32_t pic_width_in_luma_samples = 0;
    uint32_t pic_height_in_luma_samples = 0;
    uint32_t conf_win_left_offset = 0;
    uint32_t conf_win_right_offset = 0;
    uint32_t conf_win_top_offset = 0;
    uint32_t conf_win_bottom_offset = 0;
    uint8_t bit_depth_luma_minus8 = 0;
    uint8_t bit_depth_chroma_minus8 = 0;
    uint8_t log2_max_pic_order_cnt_lsb_minus4 = 0;
    HEVC_SubLayers sps_max_dec_pic_buffering_minus1{};
    HEVC_SubLayers sps_max_num_reorder_pics{};
    HEVC_SubLayers sps_max_latency_increase_plus1{};

    /// Every field.
    bool operator==(const HEVC_SPS&) const = default;
    /// Pictures by which the output order may lag behind the decoding order, at most 16.
    uint32_t ComputeReorderWindow() const;
    /// Width and height in pixels within the conformance window. A window bigger than the picture is not caught: the
    /// difference wraps.
    std::pair<uint32_t, uint32_t> GetVisibleSize() const;
};

} // namespace Tessor::Proc::CodecParsers
