#pragma once

#include "Fnd/Export.h"

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The parameter sets of ITU-T H.264 as plain records. Fields carry the standard's names and stand in its order.
namespace Tessor::Proc::CodecParsers
{

/// hrd_parameters(), E.1.2.
struct HRD_parameters_decoded
{
    uint32_t cpb_cnt_minus1 = 0;
    uint8_t bit_rate_scale = 0;
    uint8_t cpb_size_scale = 0;
    std::vector<uint32_t> bit_rate_value_minus1;
    std::vector<uint32_t> cpb_size_value_minus1;
    std::vector<uint8_t> cbr_flag;
    uint8_t initial_cpb_removal_delay_length_minus1 = 0;
    uint8_t cpb_removal_delay_length_minus1 = 0;
    uint8_t dpb_output_delay_length_minus1 = 0;
    uint8_t time_offset_length = 0;

    bool operator==(const HRD_parameters_decoded&) const = default;
};

/// vui_parameters(), E.1.1.
struct VUI_decoded
{
    uint8_t aspect_ratio_info_present_flag = 0;
    uint8_t aspect_ratio_idc = 0;
    uint16_t sar_width = 0;
    uint16_t sar_height = 0;
    uint8_t overscan_info_present_flag = 0;
    uint8_t overscan_appropriate_flag = 0;
    uint8_t video_signal_type_present_flag = 0;
    uint8_t video_format = 0;
    uint8_t video_full_range_flag = 0;
    uint8_t colour_description_present_flag = 0;
    uint8_t colour_primaries = 0;
    uint8_t transfer_characteristics = 0;
    uint8_t matrix_coefficients = 0;
    uint8_t chroma_loc_info_present_flag = 0;
    uint32_t chroma_sample_loc_type_top_field = 0;
    uint32_t chroma_sample_loc_type_bottom_field = 0;
    uint8_t timing_info_present_flag = 0;
    uint32_t num_units_in_tick = 0;
    uint32_t time_scale = 0;
    uint8_t fixed_frame_rate_flag = 0;
    uint8_t nal_hrd_parameters_present_flag = 0;
    HRD_parameters_decoded nal_hrd_parameters;
    uint8_t vcl_hrd_parameters_present_flag = 0;
    HRD_parameters_decoded vcl_hrd_parameters;
    uint8_t low_delay_hrd_flag = 0;
    uint8_t pic_struct_present_flag = 0;
    uint8_t bitstream_restriction_flag = 0;
    uint8_t motion_vectors_over_pic_boundaries_flag = 0;
    uint32_t max_bytes_per_pic_denom = 0;
    uint32_t max_bits_per_mb_denom = 0;
    uint32_t log2_max_mv_length_horizontal = 0;
    uint32_t log2_max_mv_length_vertical = 0;
    uint32_t max_num_reorder_frames = 0;
    uint32_t max_dec_frame_buffering = 0;

    bool operator==(const VUI_decoded&) const = default;
};

/// seq_parameter_set_data(), 7.3.2.1.1, with its VUI.
struct TESSOR_API SPS_decoded
{
    uint8_t profile_idc = 0;
    uint8_t constraint_set0_flag = 0;
    uint8_t constraint_set1_flag = 0;
    uint8_t constraint_set2_flag = 0;
    uint8_t constraint_set3_flag = 0;
    uint8_t level_idc = 0;
    uint32_t seq_parameter_set_id = 0;
    uint8_t chroma_format_idc = 1;
    uint8_t separate_colour_plane_flag = 0;
    uint8_t bit_depth_luma_minus8 = 0;
    uint8_t bit_depth_chroma_minus8 = 0;
    uint8_t qpprime_y_zero_transform_bypass_flag = 0;
    uint8_t seq_scaling_matrix_present_flag = 0;
    std::array<std::array<uint32_t, 16>, 6> ScalingList4x4{}; ///< in zigzag order
    std::array<std::array<uint32_t, 64>, 6> ScalingList8x8{}; ///< in zigzag order
    uint32_t log2_max_frame_num_minus4 = 0;
    uint32_t pic_order_cnt_type = 0;
    uint32_t log2_max_pic_order_cnt_lsb_minus4 = 0;
    uint8_t delta_pic_order_always_zero_flag = 0;
    int32_t offset_for_non_ref_pic = 0;
    int32_t offset_for_top_to_bottom_field = 0;
    uint32_t num_ref_frames_in_pic_order_cnt_cycle = 0;
    std::vector<int32_t> offset_for_ref_frame;
    uint32_t max_num_ref_frames = 0;
    uint8_t gaps_in_frame_num_value_allowed_flag = 0;
    uint32_t pic_width_in_mbs_minus1 = 0;
    uint32_t pic_height_in_map_units_minus1 = 0;
    uint8_t frame_mbs_only_flag = 0;
    uint8_t mb_adaptive_frame_field_flag = 0;
    uint8_t direct_8x8_inference_flag = 0;
    uint8_t frame_cropping_flag = 0;
    uint32_t frame_crop_left_offset = 0;
    uint32_t frame_crop_right_offset = 0;
    uint32_t frame_crop_top_offset = 0;
    uint32_t frame_crop_bottom_offset = 0;
    uint8_t vui_parameters_present_flag = 0;
    VUI_decoded vui_parameters;

    /// Every field.
    bool operator==(const SPS_decoded&) const = default;
    /// True when slices of one stream can be decoded by the other's set: profile, identifier, size, field coding,
    /// direct inference and cropping agree.
    bool EqualTo(const SPS_decoded& other) const;
    /// level_idc, and 9 for level 1b.
    uint8_t GetIndicatedLevel() const;
    uint32_t GetMaxMBPS() const;
    uint32_t GetMaxFS() const;
    uint32_t GetMaxDpbMbs() const;
    /// The bit rate limit of the indicated level in kbit/s for a Conf::IFormatCodecVideo::TAG_X264_PROFILE_... name;
    /// 0 for an unknown one.
    uint32_t GetMaxBR(const std::string& profile) const;
    /// Frames by which the output order may lag behind the decoding order, at most 16.
    uint32_t ComputeReorderWindow() const;
    /// Width and height in pixels after cropping; uncropped where the cropping would leave nothing.
    std::pair<uint32_t, uint32_t> GetVisibleSize() const;
};

/// pic_parameter_set_rbsp(), 7.3.2.2, up to redundant_pic_cnt_present_flag.
struct TESSOR_API PPS_decoded
{
    uint32_t pic_parameter_set_id = 0;
    uint32_t seq_parameter_set_id = 0;
    uint8_t entropy_coding_mode_flag = 0;
    uint8_t bottom_field_pic_order_in_frame_present_flag = 0;
    uint32_t num_slice_groups_minus1 = 0;
    uint32_t slice_group_map_type = 0;
    std::vector<uint32_t> run_length_minus1;
    std::vector<uint32_t> top_left;
    std::vector<uint32_t> bottom_right;
    uint8_t slice_group_change_direction_flag = 0;
    uint32_t slice_group_change_rate_minus1 = 0;
    uint32_t pic_size_in_map_units_minus1 = 0;
    std::vector<uint32_t> slice_group_id;
    uint32_t num_ref_idx_l0_default_active_minus1 = 0;
    uint32_t num_ref_idx_l1_default_active_minus1 = 0;
    uint8_t weighted_pred_flag = 0;
    uint8_t weighted_bipred_idc = 0;
    int32_t pic_init_qp_minus26 = 0;
    int32_t pic_init_qs_minus26 = 0;
    int32_t chroma_qp_index_offset = 0;
    uint8_t deblocking_filter_control_present_flag = 0;
    uint8_t constrained_intra_pred_flag = 0;
    uint8_t redundant_pic_cnt_present_flag = 0;

    /// Every field.
    bool operator==(const PPS_decoded&) const = default;
    /// True when both identifiers and the entropy coding agree.
    bool EqualTo(const PPS_decoded& other) const;
};

} // namespace Tessor::Proc::CodecParsers
