#include "Proc/CodecParsers/Syntax/HEVCParameterSetSyntax.h"

#include "Proc/CodecParsers/Syntax/SyntaxFields.h"

#include <algorithm>

namespace Tessor::Proc::CodecParsers
{

namespace
{

/// Passes over the sub-layers' own profiles and levels, of which nothing is kept.
void SkipSubLayers(SyntaxFields& in, size_t maxSubLayersMinus1)
{
    constexpr size_t profileBits = 88; // from sub_layer_profile_space up to the level
    constexpr size_t levelBits = 8;
    size_t bits = 0;
    for (size_t i = 0; i < maxSubLayersMinus1; ++i)
    {
        bool hasProfile = false;
        bool hasLevel = false;
        in.Flags(hasProfile, hasLevel);
        bits += (hasProfile ? profileBits : 0) + (hasLevel ? levelBits : 0);
    }
    // the flags are filled up to those of eight sub-layers, once there are any
    if (maxSubLayersMinus1 > 0)
        in.Skip(16 - 2 * maxSubLayersMinus1); // alignment
    in.Skip(bits);
}

void ReadProfileTiersLevel(SyntaxFields& in, size_t maxSubLayersMinus1, HEVC_PTL& ptl)
{
    in.U(2, ptl.general_profile_space);
    in.Flags(ptl.general_tier_flag);
    in.U(5, ptl.general_profile_idc);
    for (uint8_t& flags : ptl.general_profile_compatibility_flags)
        in.U(8, flags);
    for (uint8_t& flags : ptl.general_constraint_indicator_flags)
        in.U(8, flags);
    in.U(8, ptl.general_level_idc);
    SkipSubLayers(in, maxSubLayersMinus1);
}

/// The three values of each sub-layer. Where only the highest one's are written they hold for the lower ones too.
void ReadSubLayerOrdering(SyntaxFields& in, size_t max, HEVC_SubLayers& decPicBuffering, HEVC_SubLayers& reorderPics,
                          HEVC_SubLayers& latencyIncrease)
{
    bool infoPresent = false;
    in.Flags(infoPresent);
    for (size_t i = infoPresent ? 0 : max; i <= max; ++i)
        for (HEVC_SubLayers* values : {&decPicBuffering, &reorderPics, &latencyIncrease})
        {
            uint8_t value = 0;
            in.UE(value);
            // An eighth sub-layer is read, because more follows it, but there is no place to keep it.
            const auto begin = values->begin() + std::min(infoPresent ? i : 0, values->size());
            const auto end = values->begin() + std::min(i + 1, values->size());
            std::fill(begin, end, value);
        }
}

} // namespace

void ReadVPS(Core::DataBitInput& input, HEVC_VPS& vps)
{
    SyntaxFields in(input);
    in.U(4, vps.vps_video_parameter_set_id);
    in.Skip(8); // base layer flags, layers
    in.U(3, vps.vps_max_sub_layers_minus1);
    in.Flags(vps.vps_temporal_id_nesting_flag);
    in.Skip(16); // reserved
    ReadProfileTiersLevel(in, vps.vps_max_sub_layers_minus1, vps.profile_tier_level);
    ReadSubLayerOrdering(in, vps.vps_max_sub_layers_minus1, vps.vps_max_dec_pic_buffering_minus1,
                         vps.vps_max_num_reorder_pics, vps.vps_max_latency_increase_plus1);
    in.U(6, vps.vps_max_layer_id);
    in.UE(vps.vps_num_layer_sets_minus1);
}

void ReadSPS(Core::DataBitInput& input, HEVC_SPS& sps)
{
    SyntaxFields in(input);
    in.U(4, sps.sps_video_parameter_set_id);
    in.U(3, sps.sps_max_sub_layers_minus1);
    in.Flags(sps.sps_temporal_id_nesting_flag);
    ReadProfileTiersLevel(in, sps.sps_max_sub_layers_minus1, sps.profile_tier_level);
    in.UE(sps.sps_seq_parameter_set_id, sps.chroma_format_idc);
    if (sps.chroma_format_idc == 3)
        in.Flags(sps.separate_colour_plane_flag);
    in.UE(sps.pic_width_in_luma_samples, sps.pic_height_in_luma_samples);
    bool hasWindow = false;
    in.Flags(hasWindow);
    if (hasWindow)
        in.UE(sps.conf_win_left_offset, sps.conf_win_right_offset, sps.conf_win_top_offset, sps.conf_win_bottom_offset);
    in.UE(sps.bit_depth_luma_minus8, sps.bit_depth_chroma_minus8, sps.log2_max_pic_order_cnt_lsb_minus4);
    ReadSubLayerOrdering(in, sps.sps_max_sub_layers_minus1, sps.sps_max_dec_pic_buffering_minus1,
                         sps.sps_max_num_reorder_pics, sps.sps_max_latency_increase_plus1);
}

} // namespace Tessor::Proc::CodecParsers
