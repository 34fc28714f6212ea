#include "Proc/CodecParsers/Syntax/H264ParameterSetSyntax.h"

#include "Proc/CodecParsers/Syntax/SyntaxFields.h"

#include <algorithm>
#include <bit>

namespace Tessor::Proc::CodecParsers
{

namespace
{

constexpr uint8_t ExtendedSAR = 255; // Extended_SAR of Table E-1: the aspect is written out
// Default lists, Tables 7-3 and 7-4, in the order of the stream (zigzag).

constexpr std::array<uint32_t, 16> Default_4x4_Intra{6, 13, 13, 20, 20, 20, 28, 28, 28, 28, 32, 32, 32, 37, 37, 42};
constexpr std::array<uint32_t, 16> Default_4x4_Inter{10, 14, 14, 20, 20, 20, 24, 24, 24, 24, 27, 27, 27, 30, 30, 34};
constexpr std::array<uint32_t, 64> Default_8x8_Intra{6,  10, 10, 13, 11, 13, 16, 16, 16, 16, 18, 18, 18, 18, 18, 23,
                                                     23, 23, 23, 23, 23, 25, 25, 25, 25, 25, 25, 25, 27, 27, 27, 27,
                                                     27, 27, 27, 27, 29, 29, 29, 29, 29, 29, 29, 31, 31, 31, 31, 31,
                                                     31, 33, 33, 33, 33, 33, 36, 36, 36, 36, 38, 38, 38, 40, 40, 42};
constexpr std::array<uint32_t, 64> Default_8x8_Inter{9,  13, 13, 15, 13, 15, 17, 17, 17, 17, 19, 19, 19, 19, 19, 21,
                                                     21, 21, 21, 21, 21, 22, 22, 22, 22, 22, 22, 22, 24, 24, 24, 24,
                                                     24, 24, 24, 24, 25, 25, 25, 25, 25, 25, 25, 27, 27, 27, 27, 27,
                                                     27, 28, 28, 28, 28, 28, 30, 30, 30, 30, 32, 32, 32, 33, 33, 35};

/// Grows an array by `count` entries that `read` delivers. The count comes from the stream: nothing is reserved by it.
template <class T, class Read>
void Append(std::vector<T>& out, uint64_t count, Read&& read)
{
    for (uint64_t i = 0; i < count; ++i)
        out.push_back(static_cast<T>(read()));
}

/// Profiles whose SPS has the block from chroma_format_idc to the scaling matrix, 7.3.2.1.1. Later editions add more,
/// which are read as if they had none.
bool HasChromaBlock(uint8_t profile)
{
    constexpr uint8_t profiles[] = {44, 83, 86, 100, 110, 118, 122, 128, 138, 144, 244};
    return std::find(std::begin(profiles), std::end(profiles), profile) != std::end(profiles);
}

/// scaling_list(), 7.3.2.1.1.1. False when the list is to be the default one.
template <size_t Size>
bool ReadScalingList(Core::DataBitInput& input, std::array<uint32_t, Size>& list)
{
    uint8_t lastScale = 8;
    uint8_t nextScale = 8;
    for (size_t j = 0; j < Size; ++j)
    {
        if (nextScale != 0)
        {
            // modulo 256; from a 0 on the last value holds for the rest of the list
            nextScale = static_cast<uint8_t>(lastScale + read_se(input));
            if (j == 0 && nextScale == 0)
                return false;
        }
        list[j] = nextScale == 0 ? lastScale : nextScale;
        lastScale = static_cast<uint8_t>(list[j]);
    }
    return true;
}

/// A list with fall-back rule A, Table 7-2: an absent one is that of `fallBack`.
template <size_t Size>
void ReadListOrFallBack(Core::DataBitInput& input, std::array<uint32_t, Size>& list,
                        const std::array<uint32_t, Size>& defaults, const std::array<uint32_t, Size>& fallBack)
{
    if (input.ReadBits(1) == 0)
        list = fallBack;
    else if (!ReadScalingList(input, list))
        list = defaults;
}

void ReadScalingMatrix(Core::DataBitInput& input, SPS_decoded& sps)
{
    // Three lists for intra blocks (Y, Cb, Cr), then three for inter blocks.
    for (size_t i = 0; i < 6; ++i)
    {
        const auto& defaults = i < 3 ? Default_4x4_Intra : Default_4x4_Inter;
        ReadListOrFallBack(input, sps.ScalingList4x4[i], defaults, i % 3 == 0 ? defaults : sps.ScalingList4x4[i - 1]);
    }
    // Intra and inter alternate, for Y, then for Cb and Cr.
    const size_t count = sps.chroma_format_idc == 3 ? 6 : 2;
    for (size_t i = 0; i < count; ++i)
    {
        const auto& defaults = i % 2 == 0 ? Default_8x8_Intra : Default_8x8_Inter;
        ReadListOrFallBack(input, sps.ScalingList8x8[i], defaults, i < 2 ? defaults : sps.ScalingList8x8[i - 2]);
    }
}

void FillFlat(SPS_decoded& sps)
{
    for (auto& list : sps.ScalingList4x4)
        list.fill(16);
    for (auto& list : sps.ScalingList8x8)
        list.fill(16);
}

void ReadChromaBlock(SyntaxFields& in, SPS_decoded& sps)
{
    in.UE(sps.chroma_format_idc);
    if (sps.chroma_format_idc == 3)
        in.Flags(sps.separate_colour_plane_flag);
    in.UE(sps.bit_depth_luma_minus8, sps.bit_depth_chroma_minus8);
    in.Flags(sps.qpprime_y_zero_transform_bypass_flag, sps.seq_scaling_matrix_present_flag);
}

void ReadPicOrderCount(SyntaxFields& in, SPS_decoded& sps)
{
    in.UE(sps.pic_order_cnt_type);
    if (sps.pic_order_cnt_type == 0)
    {
        in.UE(sps.log2_max_pic_order_cnt_lsb_minus4);
    }
    else if (sps.pic_order_cnt_type == 1)
    {
        in.Flags(sps.delta_pic_order_always_zero_flag);
        in.SE(sps.offset_for_non_ref_pic, sps.offset_for_top_to_bottom_field);
        in.UE(sps.num_ref_frames_in_pic_order_cnt_cycle);
        Append(sps.offset_for_ref_frame, sps.num_ref_frames_in_pic_order_cnt_cycle,
               [&in] { return read_se(in.input); });
    }
}

void ReadFrameLayout(SyntaxFields& in, SPS_decoded& sps)
{
    in.UE(sps.pic_width_in_mbs_minus1, sps.pic_height_in_map_units_minus1);
    in.Flags(sps.frame_mbs_only_flag);
    if (!sps.frame_mbs_only_flag)
        in.Flags(sps.mb_adaptive_frame_field_flag);
    in.Flags(sps.direct_8x8_inference_flag, sps.frame_cropping_flag);
    if (sps.frame_cropping_flag)
        in.UE(sps.frame_crop_left_offset, sps.frame_crop_right_offset, sps.frame_crop_top_offset,
              sps.frame_crop_bottom_offset);
}

/// hrd_parameters(), E.1.2. The claimed count is not bounded here: the end of the data bounds it.
void Decode_HRD_parameters(SyntaxFields& in, HRD_parameters_decoded& hrd)
{
    in.UE(hrd.cpb_cnt_minus1);
    in.U(4, hrd.bit_rate_scale, hrd.cpb_size_scale);
    for (uint64_t i = 0; i <= hrd.cpb_cnt_minus1; ++i)
    {
        hrd.bit_rate_value_minus1.push_back(read_ue(in.input));
        hrd.cpb_size_value_minus1.push_back(read_ue(in.input));
        hrd.cbr_flag.push_back(static_cast<uint8_t>(in.input.ReadBits(1)));
    }
    in.U(5, hrd.initial_cpb_removal_delay_length_minus1, hrd.cpb_removal_delay_length_minus1,
         hrd.dpb_output_delay_length_minus1, hrd.time_offset_length);
}

/// vui_parameters(), E.1.1, up to the colour description.
void ReadVideoSignal(SyntaxFields& in, VUI_decoded& vui)
{
    in.Flags(vui.aspect_ratio_info_present_flag);
    if (vui.aspect_ratio_info_present_flag)
    {
        in.U(8, vui.aspect_ratio_idc);
        if (vui.aspect_ratio_idc == ExtendedSAR)
            in.U(16, vui.sar_width, vui.sar_height);
    }
    in.Flags(vui.overscan_info_present_flag);
    if (vui.overscan_info_present_flag)
        in.Flags(vui.overscan_appropriate_flag);
    in.Flags(vui.video_signal_type_present_flag);
    if (!vui.video_signal_type_present_flag)
        return;
    in.U(3, vui.video_format);
    in.Flags(vui.video_full_range_flag, vui.colour_description_present_flag);
    if (vui.colour_description_present_flag)
        in.U(8, vui.colour_primaries, vui.transfer_characteristics, vui.matrix_coefficients);
}

void ReadTimingAndHRD(SyntaxFields& in, VUI_decoded& vui)
{
    in.Flags(vui.timing_info_present_flag);
    if (vui.timing_info_present_flag)
    {
        in.U(32, vui.num_units_in_tick, vui.time_scale);
        in.Flags(vui.fixed_frame_rate_flag);
    }
    in.Flags(vui.nal_hrd_parameters_present_flag);
    if (vui.nal_hrd_parameters_present_flag)
        Decode_HRD_parameters(in, vui.nal_hrd_parameters);
    in.Flags(vui.vcl_hrd_parameters_present_flag);
    if (vui.vcl_hrd_parameters_present_flag)
        Decode_HRD_parameters(in, vui.vcl_hrd_parameters);
    if (vui.nal_hrd_parameters_present_flag || vui.vcl_hrd_parameters_present_flag)
        in.Flags(vui.low_delay_hrd_flag);
}

void ReadVUI(SyntaxFields& in, VUI_decoded& vui)
{
    ReadVideoSignal(in, vui);
    in.Flags(vui.chroma_loc_info_present_flag);
    if (vui.chroma_loc_info_present_flag)
        in.UE(vui.chroma_sample_loc_type_top_field, vui.chroma_sample_loc_type_bottom_field);
    ReadTimingAndHRD(in, vui);
    in.Flags(vui.pic_struct_present_flag, vui.bitstream_restriction_flag);
    if (!vui.bitstream_restriction_flag)
        return;
    in.Flags(vui.motion_vectors_over_pic_boundaries_flag);
    in.UE(vui.max_bytes_per_pic_denom, vui.max_bits_per_mb_denom, vui.log2_max_mv_length_horizontal,
          vui.log2_max_mv_length_vertical, vui.max_num_reorder_frames, vui.max_dec_frame_buffering);
}

/// The slice groups of 7.3.2.2. Type 1, dispersed groups, has no fields.
void ReadSliceGroups(SyntaxFields& in, PPS_decoded& pps)
{
    const uint64_t groups = uint64_t{pps.num_slice_groups_minus1} + 1;
    const auto readUE = [&in] { return read_ue(in.input); };
    in.UE(pps.slice_group_map_type);
    switch (pps.slice_group_map_type)
    {
    case 0:
        Append(pps.run_length_minus1, groups, readUE);
        break;
    case 2:
        // The last group is the background and has no rectangle in the standard; here it has.
        for (uint64_t i = 0; i < groups; ++i)
        {
            pps.top_left.push_back(readUE());
            pps.bottom_right.push_back(readUE());
        }
        break;
    case 3:
    case 4:
    case 5:
        in.Flags(pps.slice_group_change_direction_flag);
        in.UE(pps.slice_group_change_rate_minus1);
        break;
    case 6:
        in.UE(pps.pic_size_in_map_units_minus1);
        // bit_width(n) is ceil(log2(n + 1)).
        Append(pps.slice_group_id, uint64_t{pps.pic_size_in_map_units_minus1} + 1,
               [&] { return in.input.ReadBits(static_cast<unsigned>(std::bit_width(pps.num_slice_groups_minus1))); });
        break;
    default:
        break;
    }
}

} // namespace

void ReadSPS(Core::DataBitInput& input, SPS_decoded& sps)
{
    SyntaxFields in(input);
    in.U(8, sps.profile_idc);
    in.Flags(sps.constraint_set0_flag, sps.constraint_set1_flag, sps.constraint_set2_flag, sps.constraint_set3_flag);
    input.ReadBits(4); // two more constraint flags and reserved bits
    in.U(8, sps.level_idc);
    in.UE(sps.seq_parameter_set_id);
    if (HasChromaBlock(sps.profile_idc))
        ReadChromaBlock(in, sps);
    if (sps.seq_scaling_matrix_present_flag)
        ReadScalingMatrix(input, sps);
    else
        FillFlat(sps);
    in.UE(sps.log2_max_frame_num_minus4);
    ReadPicOrderCount(in, sps);
    in.UE(sps.max_num_ref_frames);
    in.Flags(sps.gaps_in_frame_num_value_allowed_flag);
    ReadFrameLayout(in, sps);
    in.Flags(sps.vui_parameters_present_flag);
    if (sps.vui_parameters_present_flag)
        ReadVUI(in, sps.vui_parameters);
}

void ReadPPS(Core::DataBitInput& input, PPS_decoded& pps)
{
    SyntaxFields in(input);
    in.UE(pps.pic_parameter_set_id, pps.seq_parameter_set_id);
    in.Flags(pps.entropy_coding_mode_flag, pps.bottom_field_pic_order_in_frame_present_flag);
    in.UE(pps.num_slice_groups_minus1);
    if (pps.num_slice_groups_minus1 > 0)
        ReadSliceGroups(in, pps);
    in.UE(pps.num_ref_idx_l0_default_active_minus1, pps.num_ref_idx_l1_default_active_minus1);
    in.Flags(pps.weighted_pred_flag);
    in.U(2, pps.weighted_bipred_idc);
    in.SE(pps.pic_init_qp_minus26, pps.pic_init_qs_minus26, pps.chroma_qp_index_offset);
    in.Flags(pps.deblocking_filter_control_present_flag, pps.constrained_intra_pred_flag,
             pps.redundant_pic_cnt_present_flag);
}

} // namespace Tessor::Proc::CodecParsers
