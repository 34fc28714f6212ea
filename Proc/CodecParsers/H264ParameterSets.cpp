#include "Proc/CodecParsers/H264ParameterSets.h"

#include "Proc/CodecParsers/Syntax/H264Levels.h"
#include "media/formats/IFormatCodecVideo.h"

#include <algorithm>
#include <tuple>

namespace Tessor::Proc::CodecParsers
{

namespace
{

struct CropUnit
{
    int64_t x;
    int64_t y;
};

/// CropUnitX and CropUnitY, 7.4.2.1.1. Rows of a frame that may be coded as two fields are cropped in pairs.
CropUnit GetCropUnit(const SPS_decoded& sps)
{
    const int chromaArrayType = sps.separate_colour_plane_flag ? 0 : sps.chroma_format_idc;
    const int subWidth = chromaArrayType == 1 || chromaArrayType == 2 ? 2 : 1;
    const int subHeight = chromaArrayType == 1 ? 2 : 1;
    return {subWidth, subHeight * (2 - sps.frame_mbs_only_flag)};
}

/// A profile in which constraint_set3_flag says that all pictures are intra coded.
bool HasIntraOnlyForm(uint8_t profile)
{
    constexpr uint8_t profiles[] = {44, 86, 100, 110, 122, 244};
    return std::find(std::begin(profiles), std::end(profiles), profile) != std::end(profiles);
}

// What a source and the encoder that writes packets between its own have to agree in; the rest may differ.
auto ComparedFields(const SPS_decoded& sps)
{
    return std::tie(sps.profile_idc, sps.seq_parameter_set_id, sps.pic_width_in_mbs_minus1,
                    sps.pic_height_in_map_units_minus1, sps.frame_mbs_only_flag, sps.direct_8x8_inference_flag,
                    sps.frame_cropping_flag, sps.frame_crop_left_offset, sps.frame_crop_right_offset,
                    sps.frame_crop_top_offset, sps.frame_crop_bottom_offset);
}

auto ComparedFields(const PPS_decoded& pps)
{
    return std::tie(pps.pic_parameter_set_id, pps.seq_parameter_set_id, pps.entropy_coding_mode_flag);
}

} // namespace

bool SPS_decoded::EqualTo(const SPS_decoded& other) const
{
    return ComparedFields(*this) == ComparedFields(other);
}

uint8_t SPS_decoded::GetIndicatedLevel() const
{
    // level 1b, which has no number of its own in these profiles
    const bool has1b = profile_idc == 66 || profile_idc == 77;
    return has1b && level_idc == 11 && constraint_set3_flag ? 9 : level_idc;
}

uint32_t SPS_decoded::GetMaxMBPS() const
{
    return LevelToLevelLimits(GetIndicatedLevel()).MaxMBPS;
}

uint32_t SPS_decoded::GetMaxFS() const
{
    return LevelToLevelLimits(GetIndicatedLevel()).MaxFS;
}

uint32_t SPS_decoded::GetMaxDpbMbs() const
{
    return LevelToLevelLimits(GetIndicatedLevel()).MaxDpbMbs;
}

uint32_t SPS_decoded::GetMaxBR(const std::string& profile) const
{
    // the factors of cpbBrVclFactor, over the 1000 of the profiles that came first
    using Format = Conf::IFormatCodecVideo;
    const uint32_t limit = LevelToLevelLimits(GetIndicatedLevel()).MaxBR;
    if (profile == Format::TAG_X264_PROFILE_BASELINE || profile == Format::TAG_X264_PROFILE_MAIN ||
        profile == Format::TAG_X264_PROFILE_EXTENDED)
        return limit;
    if (profile == Format::TAG_X264_PROFILE_HIGH)
        return limit * 5 / 4;
    if (profile == Format::TAG_X264_PROFILE_HIGH10)
        return limit * 3;
    if (profile == Format::TAG_X264_PROFILE_HIGH422 || profile == Format::TAG_X264_PROFILE_HIGH444)
        return limit * 4;
    return 0;
}

uint32_t SPS_decoded::ComputeReorderWindow() const
{
    // with this type the output order is the decoding order, 8.2.1.3
    if (pic_order_cnt_type == 2)
        return 0;
    // One division after the other: the product of two claimed sizes may not even fit into 64 bits.
    const uint64_t frames =
        GetMaxDpbMbs() / (uint64_t{pic_width_in_mbs_minus1} + 1) / (uint64_t{pic_height_in_map_units_minus1} + 1);
    // MaxDpbFrames: a decoder can hold back no more than it can store
    const auto window = static_cast<uint32_t>(std::min<uint64_t>(frames, 16));
    if (vui_parameters_present_flag && vui_parameters.bitstream_restriction_flag)
        return std::min(window, vui_parameters.max_num_reorder_frames);
    // max_num_reorder_frames is inferred to be 0 then
    if (constraint_set3_flag && HasIntraOnlyForm(profile_idc))
        return 0;
    return window;
}

std::pair<uint32_t, uint32_t> SPS_decoded::GetVisibleSize() const
{
    // in 64 bits, because a stream may claim any numbers; a window that leaves nothing is ignored
    const int64_t width = (int64_t{pic_width_in_mbs_minus1} + 1) * 16;
    const int64_t height = (int64_t{pic_height_in_map_units_minus1} + 1) * (frame_mbs_only_flag ? 16 : 32);
    const CropUnit unit = GetCropUnit(*this);
    const int64_t cropX = unit.x * (int64_t{frame_crop_left_offset} + frame_crop_right_offset);
    const int64_t cropY = unit.y * (int64_t{frame_crop_top_offset} + frame_crop_bottom_offset);
    const bool cropped = frame_cropping_flag && cropX < width && cropY < height;
    return {static_cast<uint32_t>(cropped ? width - cropX : width),
            static_cast<uint32_t>(cropped ? height - cropY : height)};
}

bool PPS_decoded::EqualTo(const PPS_decoded& other) const
{
    return ComparedFields(*this) == ComparedFields(other);
}

} // namespace Tessor::Proc::CodecParsers
