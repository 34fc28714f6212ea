#pragma once

#include "Proc/CodecParsers/H264ParameterSets.h"
#include "tests/CodecParsers/ParameterSetWriter.h"

#include <algorithm>

/// Generates H.264 parameter sets.
namespace Tessor::Test
{

/// A scaling list of one of four kinds: absent, the default one, explicit, explicit and constant from some index on.
template <size_t Size>
void DrawScalingList(ParameterSetWriter& w, std::array<uint32_t, Size>& list, const std::array<uint32_t, Size>& absent,
                     const std::array<uint32_t, Size>& defaults)
{
    const uint32_t kind = w.Draw(3);
    w.Put(1, kind > 0);
    if (kind <= 1)
    {
        list = kind == 0 ? absent : defaults;
        if (kind == 1)
            w.PutSE(-8); // 8 - 8 gives the 0 that stands for the default list
        return;
    }
    const size_t explicitEntries = kind == 2 ? Size : 1 + w.Draw(Size - 2);
    uint32_t last = 8;
    for (size_t i = 0; i < Size; ++i)
    {
        list[i] = i < explicitEntries ? 1 + w.Draw(254) : last;
        if (i <= explicitEntries)
            w.PutSE(static_cast<int8_t>((i < explicitEntries ? list[i] : 0) - last));
        last = list[i];
    }
}

inline void DrawScalingMatrix(ParameterSetWriter& w, Proc::CodecParsers::SPS_decoded& sps)
{
    // Tables 7-3 and 7-4 of the standard, run-length coded for the larger ones: value, count.
    const auto expand = [](std::initializer_list<std::pair<uint32_t, size_t>> runs)
    {
        std::array<uint32_t, 64> list{};
        size_t at = 0;
        for (const auto& [value, count] : runs)
            for (size_t i = 0; i < count; ++i)
                list.at(at++) = value;
        return list;
    };
    const std::array<uint32_t, 16> intra4{6, 13, 13, 20, 20, 20, 28, 28, 28, 28, 32, 32, 32, 37, 37, 42};
    const std::array<uint32_t, 16> inter4{10, 14, 14, 20, 20, 20, 24, 24, 24, 24, 27, 27, 27, 30, 30, 34};
    const auto intra8 = expand({{6, 1},
                                {10, 2},
                                {13, 1},
                                {11, 1},
                                {13, 1},
                                {16, 4},
                                {18, 5},
                                {23, 6},
                                {25, 7},
                                {27, 8},
                                {29, 7},
                                {31, 6},
                                {33, 5},
                                {36, 4},
                                {38, 3},
                                {40, 2},
                                {42, 1}});
    const auto inter8 = expand({{9, 1},
                                {13, 2},
                                {15, 1},
                                {13, 1},
                                {15, 1},
                                {17, 4},
                                {19, 5},
                                {21, 6},
                                {22, 7},
                                {24, 8},
                                {25, 7},
                                {27, 6},
                                {28, 5},
                                {30, 4},
                                {32, 3},
                                {33, 2},
                                {35, 1}});
    auto& a = sps.ScalingList4x4;
    DrawScalingList(w, a[0], intra4, intra4);
    DrawScalingList(w, a[1], a[0], intra4);
    DrawScalingList(w, a[2], a[1], intra4);
    DrawScalingList(w, a[3], inter4, inter4);
    DrawScalingList(w, a[4], a[3], inter4);
    DrawScalingList(w, a[5], a[4], inter4);
    auto& b = sps.ScalingList8x8;
    DrawScalingList(w, b[0], intra8, intra8);
    DrawScalingList(w, b[1], inter8, inter8);
    for (size_t i = 2; i < 6 && sps.chroma_format_idc == 3; ++i)
        DrawScalingList(w, b[i], b[i - 2], i % 2 == 0 ? intra8 : inter8);
}

inline void DrawHRD(ParameterSetWriter& w, Proc::CodecParsers::HRD_parameters_decoded& hrd)
{
    w.UE(hrd.cpb_cnt_minus1, 40);
    w.U(4, hrd.bit_rate_scale);
    w.U(4, hrd.cpb_size_scale);
    for (uint32_t i = 0; i <= hrd.cpb_cnt_minus1; ++i)
    {
        w.UE(hrd.bit_rate_value_minus1.emplace_back(), 0xFFFFFFFE);
        w.UE(hrd.cpb_size_value_minus1.emplace_back(), 0xFFFFFFFE);
        w.Flags(hrd.cbr_flag.emplace_back());
    }
    for (uint8_t* length : {&hrd.initial_cpb_removal_delay_length_minus1, &hrd.cpb_removal_delay_length_minus1,
                            &hrd.dpb_output_delay_length_minus1, &hrd.time_offset_length})
        w.U(5, *length);
}

inline void DrawVUI(ParameterSetWriter& w, Proc::CodecParsers::VUI_decoded& vui)
{
    w.Flags(vui.aspect_ratio_info_present_flag);
    if (vui.aspect_ratio_info_present_flag)
    {
        vui.aspect_ratio_idc = w.Draw(1) ? 255 : static_cast<uint8_t>(w.Draw(254));
        w.Put(8, vui.aspect_ratio_idc);
    }
    if (vui.aspect_ratio_idc == 255)
    {
        w.U(16, vui.sar_width);
        w.U(16, vui.sar_height);
    }
    w.Flags(vui.overscan_info_present_flag);
    if (vui.overscan_info_present_flag)
        w.Flags(vui.overscan_appropriate_flag);
    w.Flags(vui.video_signal_type_present_flag);
    if (vui.video_signal_type_present_flag)
    {
        w.U(3, vui.video_format);
        w.Flags(vui.video_full_range_flag, vui.colour_description_present_flag);
    }
    if (vui.colour_description_present_flag)
        for (uint8_t* code : {&vui.colour_primaries, &vui.transfer_characteristics, &vui.matrix_coefficients})
            w.U(8, *code);
    w.Flags(vui.chroma_loc_info_present_flag);
    if (vui.chroma_loc_info_present_flag)
        for (uint32_t* type : {&vui.chroma_sample_loc_type_top_field, &vui.chroma_sample_loc_type_bottom_field})
            w.UE(*type, 5);
    w.Flags(vui.timing_info_present_flag);
    if (vui.timing_info_present_flag)
    {
        w.U(32, vui.num_units_in_tick);
        w.U(32, vui.time_scale);
        w.Flags(vui.fixed_frame_rate_flag);
    }
    w.Flags(vui.nal_hrd_parameters_present_flag);
    if (vui.nal_hrd_parameters_present_flag)
        DrawHRD(w, vui.nal_hrd_parameters);
    w.Flags(vui.vcl_hrd_parameters_present_flag);
    if (vui.vcl_hrd_parameters_present_flag)
        DrawHRD(w, vui.vcl_hrd_parameters);
    if (vui.nal_hrd_parameters_present_flag || vui.vcl_hrd_parameters_present_flag)
        w.Flags(vui.low_delay_hrd_flag);
    w.Flags(vui.pic_struct_present_flag, vui.bitstream_restriction_flag);
    if (vui.bitstream_restriction_flag)
    {
        w.Flags(vui.motion_vectors_over_pic_boundaries_flag);
        for (uint32_t* value :
             {&vui.max_bytes_per_pic_denom, &vui.max_bits_per_mb_denom, &vui.log2_max_mv_length_horizontal,
              &vui.log2_max_mv_length_vertical, &vui.max_num_reorder_frames, &vui.max_dec_frame_buffering})
            w.UE(*value, 16);
    }
}

/// Fills the record and gives its unit's payload, NAL header included.
inline void DrawSPS(ParameterSetWriter& w, Proc::CodecParsers::SPS_decoded& sps)
{
    // The first row have the chroma block; 134, 135 and 139 have none here.
    static const uint8_t profiles[] = {44, 83, 86, 100, 110, 118, 122, 128, 138, 144, 244, //
                                       66, 77, 88, 134, 135, 139, 0,   255};
    const uint32_t profile = w.Draw(std::size(profiles) - 1);
    sps.profile_idc = profiles[profile];
    w.Put(8, 0x67);
    w.Put(8, sps.profile_idc);
    w.Flags(sps.constraint_set0_flag, sps.constraint_set1_flag, sps.constraint_set2_flag, sps.constraint_set3_flag);
    w.Put(4, w.Draw(15));
    w.U(8, sps.level_idc);
    w.UE(sps.seq_parameter_set_id, 31);
    if (profile < 11)
    {
        w.UE(sps.chroma_format_idc, 3);
        if (sps.chroma_format_idc == 3)
            w.Flags(sps.separate_colour_plane_flag);
        w.UE(sps.bit_depth_luma_minus8, 6);
        w.UE(sps.bit_depth_chroma_minus8, 6);
        w.Flags(sps.qpprime_y_zero_transform_bypass_flag, sps.seq_scaling_matrix_present_flag);
    }
    if (sps.seq_scaling_matrix_present_flag)
        DrawScalingMatrix(w, sps);
    else
    {
        for (auto& list : sps.ScalingList4x4)
            list.fill(16);
        for (auto& list : sps.ScalingList8x8)
            list.fill(16);
    }
    w.UE(sps.log2_max_frame_num_minus4, 12);
    w.UE(sps.pic_order_cnt_type, 2);
    if (sps.pic_order_cnt_type == 0)
        w.UE(sps.log2_max_pic_order_cnt_lsb_minus4, 12);
    if (sps.pic_order_cnt_type == 1)
    {
        w.Flags(sps.delta_pic_order_always_zero_flag);
        w.SE(sps.offset_for_non_ref_pic, 0x7FFFFFFF);
        w.SE(sps.offset_for_top_to_bottom_field, 1000);
        w.UE(sps.num_ref_frames_in_pic_order_cnt_cycle, 255);
        for (uint32_t i = 0; i < sps.num_ref_frames_in_pic_order_cnt_cycle; ++i)
            w.SE(sps.offset_for_ref_frame.emplace_back(), 100);
    }
    w.UE(sps.max_num_ref_frames, 16);
    w.Flags(sps.gaps_in_frame_num_value_allowed_flag);
    w.UE(sps.pic_width_in_mbs_minus1, 300);
    w.UE(sps.pic_height_in_map_units_minus1, 300);
    w.Flags(sps.frame_mbs_only_flag);
    if (!sps.frame_mbs_only_flag)
        w.Flags(sps.mb_adaptive_frame_field_flag);
    w.Flags(sps.direct_8x8_inference_flag, sps.frame_cropping_flag);
    if (sps.frame_cropping_flag)
        for (uint32_t* offset : {&sps.frame_crop_left_offset, &sps.frame_crop_right_offset, &sps.frame_crop_top_offset,
                                 &sps.frame_crop_bottom_offset})
            w.UE(*offset, 30);
    w.Flags(sps.vui_parameters_present_flag);
    if (sps.vui_parameters_present_flag)
        DrawVUI(w, sps.vui_parameters);
}

inline void DrawSliceGroups(ParameterSetWriter& w, Proc::CodecParsers::PPS_decoded& pps)
{
    w.UE(pps.slice_group_map_type, 8);
    const uint32_t groups = pps.num_slice_groups_minus1 + 1;
    if (pps.slice_group_map_type == 0)
        for (uint32_t i = 0; i < groups; ++i)
            w.UE(pps.run_length_minus1.emplace_back(), 99);
    if (pps.slice_group_map_type == 2)
        for (uint32_t i = 0; i < groups; ++i)
        {
            w.UE(pps.top_left.emplace_back(), 99);
            w.UE(pps.bottom_right.emplace_back(), 99);
        }
    if (pps.slice_group_map_type >= 3 && pps.slice_group_map_type <= 5)
    {
        w.Flags(pps.slice_group_change_direction_flag);
        w.UE(pps.slice_group_change_rate_minus1, 99);
    }
    if (pps.slice_group_map_type == 6)
    {
        w.UE(pps.pic_size_in_map_units_minus1, 99);
        unsigned idBits = 0;
        while (1u << idBits < groups)
            ++idBits;
        for (uint32_t i = 0; i <= pps.pic_size_in_map_units_minus1; ++i)
            w.U(idBits, pps.slice_group_id.emplace_back());
    }
}

inline void DrawPPS(ParameterSetWriter& w, Proc::CodecParsers::PPS_decoded& pps)
{
    w.Put(8, 0x68);
    w.UE(pps.pic_parameter_set_id, 255);
    w.UE(pps.seq_parameter_set_id, 31);
    w.Flags(pps.entropy_coding_mode_flag, pps.bottom_field_pic_order_in_frame_present_flag);
    w.UE(pps.num_slice_groups_minus1, 7);
    if (pps.num_slice_groups_minus1 > 0)
        DrawSliceGroups(w, pps);
    w.UE(pps.num_ref_idx_l0_default_active_minus1, 31);
    w.UE(pps.num_ref_idx_l1_default_active_minus1, 31);
    w.Flags(pps.weighted_pred_flag);
    w.U(2, pps.weighted_bipred_idc);
    w.SE(pps.pic_init_qp_minus26, 26);
    w.SE(pps.pic_init_qs_minus26, 26);
    w.SE(pps.chroma_qp_index_offset, 12);
    w.Flags(pps.deblocking_filter_control_present_flag, pps.constrained_intra_pred_flag,
            pps.redundant_pic_cnt_present_flag);
}

} // namespace Tessor::Test
