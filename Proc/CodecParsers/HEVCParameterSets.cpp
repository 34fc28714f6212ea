#include "Proc/CodecParsers/HEVCParameterSets.h"

#include <algorithm>

namespace Tessor::Proc::CodecParsers
{

namespace
{

uint32_t ReorderWindow(const HEVC_SubLayers& reorderPics, size_t highestSubLayer)
{
    constexpr uint8_t limit = 16; // MaxDpbSize is never more
    return std::min(reorderPics[std::min(highestSubLayer, reorderPics.size() - 1)], limit);
}

} // namespace

uint32_t HEVC_VPS::ComputeReorderWindow() const
{
    return ReorderWindow(vps_max_num_reorder_pics, vps_max_sub_layers_minus1);
}

uint32_t HEVC_SPS::ComputeReorderWindow() const
{
    return ReorderWindow(sps_max_num_reorder_pics, sps_max_sub_layers_minus1);
}

std::pair<uint32_t, uint32_t> HEVC_SPS::GetVisibleSize() const
{
    // SubWidthC and SubHeightC, Table 6-1.
    const uint32_t subWidth = chroma_format_idc == 1 || chroma_format_idc == 2 ? 2 : 1;
    const uint32_t subHeight = chroma_format_idc == 1 ? 2 : 1;
    return {pic_width_in_luma_samples - (conf_win_left_offset + conf_win_right_offset) * subWidth,
            pic_height_in_luma_samples - (conf_win_top_offset + conf_win_bottom_offset) * subHeight};
}

} // namespace Tessor::Proc::CodecParsers
