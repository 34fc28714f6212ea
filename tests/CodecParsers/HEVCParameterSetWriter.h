#pragma once

#include "Proc/CodecParsers/HEVCParameterSets.h"
#include "tests/CodecParsers/ParameterSetWriter.h"

/// Generates HEVC parameter sets.
namespace Tessor::Test
{

/// Which values are drawn: any that can be written, or those of a stream that a decoder takes.
enum class HEVCRange
{
    Any,
    Playable,
};

inline void DrawPTL(ParameterSetWriter& w, uint8_t maxSubLayersMinus1, Proc::CodecParsers::HEVC_PTL& ptl)
{
    w.U(2, ptl.general_profile_space);
    w.Flags(ptl.general_tier_flag);
    w.U(5, ptl.general_profile_idc);
    for (uint8_t& flags : ptl.general_profile_compatibility_flags)
        w.U(8, flags);
    for (uint8_t& flags : ptl.general_constraint_indicator_flags)
        w.U(8, flags);
    w.U(8, ptl.general_level_idc);
    std::vector<unsigned> sizes;
    for (unsigned i = 0; i < maxSubLayersMinus1; ++i)
        for (const unsigned size : {88u, 8u})
        {
            const bool present = w.Draw(1) == 1;
            w.Put(1, present);
            sizes.push_back(present ? size : 0);
        }
    for (unsigned i = maxSubLayersMinus1; i > 0 && i < 8; ++i)
        w.Put(2, 0); // reserved
    for (const unsigned size : sizes)
        for (unsigned bits = 0; bits < size; bits += 8)
            w.Put(8, w.Draw(255));
}

/// The sub-layer ordering block. Values of an eighth sub-layer are written and kept nowhere.
inline void DrawOrdering(ParameterSetWriter& w, uint8_t maxSubLayersMinus1, HEVCRange range,
                         Proc::CodecParsers::HEVC_SubLayers& buffering, Proc::CodecParsers::HEVC_SubLayers& reorder,
                         Proc::CodecParsers::HEVC_SubLayers& latency)
{
    const bool each = w.Draw(1) == 1;
    w.Put(1, each);
    for (size_t i = each ? 0 : maxSubLayersMinus1; i <= maxSubLayersMinus1; ++i)
    {
        const uint32_t pictures = range == HEVCRange::Any ? 255 : 15;
        uint8_t values[3] = {};
        w.UE(values[0], pictures);
        w.UE(values[1], range == HEVCRange::Any ? pictures : values[0]);
        w.UE(values[2], 255);
        for (size_t to = each ? i : 0; to <= i && to < buffering.size(); ++to)
        {
            buffering[to] = values[0];
            reorder[to] = values[1];
            latency[to] = values[2];
        }
    }
}

/// Fills the record and gives its unit's payload, NAL header included.
inline void DrawVPS(ParameterSetWriter& w, Proc::CodecParsers::HEVC_VPS& vps, HEVCRange range)
{
    const bool any = range == HEVCRange::Any;
    w.Put(16, 0x4001);
    w.U(4, vps.vps_video_parameter_set_id);
    w.Put(8, any ? w.Draw(255) : 0xC0);
    w.Put(3, vps.vps_max_sub_layers_minus1 = static_cast<uint8_t>(w.Draw(any ? 7 : 6)));
    w.Flags(vps.vps_temporal_id_nesting_flag);
    w.Put(16, 0xFFFF);
    DrawPTL(w, vps.vps_max_sub_layers_minus1, vps.profile_tier_level);
    DrawOrdering(w, vps.vps_max_sub_layers_minus1, range, vps.vps_max_dec_pic_buffering_minus1,
                 vps.vps_max_num_reorder_pics, vps.vps_max_latency_increase_plus1);
    w.U(6, vps.vps_max_layer_id);
    w.UE(vps.vps_num_layer_sets_minus1, any ? 0xFFFFFFFE : 0);
}

/// The same for an SPS that refers to VPS `vpsId`.
inline void DrawSPS(ParameterSetWriter& w, Proc::CodecParsers::HEVC_SPS& sps, HEVCRange range, uint8_t vpsId)
{
    const bool any = range == HEVCRange::Any;
    w.Put(16, 0x4201);
    w.Put(4, sps.sps_video_parameter_set_id = vpsId);
    w.Put(3, sps.sps_max_sub_layers_minus1 = static_cast<uint8_t>(w.Draw(any ? 7 : 6)));
    w.Flags(sps.sps_temporal_id_nesting_flag);
    DrawPTL(w, sps.sps_max_sub_layers_minus1, sps.profile_tier_level);
    w.UE(sps.sps_seq_parameter_set_id, 15);
    w.UE(sps.chroma_format_idc, 3);
    if (sps.chroma_format_idc == 3)
        w.Flags(sps.separate_colour_plane_flag);
    for (uint32_t* length : {&sps.pic_width_in_luma_samples, &sps.pic_height_in_luma_samples})
        w.PutUE(*length = any ? w.Draw(0xFFFFFFFE) : 8 * (8 + w.Draw(1000)));
    const bool window = w.Draw(1) == 1;
    w.Put(1, window);
    if (window)
        for (uint32_t* offset : {&sps.conf_win_left_offset, &sps.conf_win_right_offset, &sps.conf_win_top_offset,
                                 &sps.conf_win_bottom_offset})
            w.UE(*offset, any ? 0xFFFFFFFE : 15);
    static const uint8_t playableDepths[] = {0, 1, 2, 4};
    w.PutUE(sps.bit_depth_luma_minus8 = static_cast<uint8_t>(any ? w.Draw(8) : playableDepths[w.Draw(3)]));
    w.PutUE(sps.bit_depth_chroma_minus8 = any ? static_cast<uint8_t>(w.Draw(8)) : sps.bit_depth_luma_minus8);
    w.UE(sps.log2_max_pic_order_cnt_lsb_minus4, 12);
    DrawOrdering(w, sps.sps_max_sub_layers_minus1, range, sps.sps_max_dec_pic_buffering_minus1,
                 sps.sps_max_num_reorder_pics, sps.sps_max_latency_increase_plus1);
}

/// What follows the part of an SPS that is read here, in its plainest form: coding blocks of 8 to 16 samples, no tools,
/// no reference picture sets, no VUI.
inline void PutRestOfSPS(ParameterSetWriter& w)
{
    for (const uint32_t value : {0u, 1u, 0u, 1u, 0u, 0u}) // block sizes and depths
        w.PutUE(value);
    w.Put(4, 0);
    w.PutUE(0); // num_short_term_ref_pic_sets
    w.Put(5, 0);
}

} // namespace Tessor::Test
