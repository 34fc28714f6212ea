#include "media/formats/ChannelLayout.h"

extern "C"
{
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <iterator>

namespace Tessor::Conf
{

namespace
{

struct Row
{
    ChannelLayout layout;
    int channels;
    uint64_t mask;
};

// Surrounds of 5.0 and 5.1 stand at the back, as in what FFmpeg calls "5.0" and "5.1".
constexpr Row rows[] = {
    {ChannelLayout::None, 0, 0},
    {ChannelLayout::Mono, 1, AV_CH_LAYOUT_MONO},
    {ChannelLayout::Stereo, 2, AV_CH_LAYOUT_STEREO},
    {ChannelLayout::L2_1, 3, AV_CH_LAYOUT_2POINT1},
    {ChannelLayout::Quad, 4, AV_CH_LAYOUT_QUAD},
    {ChannelLayout::L5_0, 5, AV_CH_LAYOUT_5POINT0_BACK},
    {ChannelLayout::L5_1, 6, AV_CH_LAYOUT_5POINT1_BACK},
    {ChannelLayout::L6_1, 7, AV_CH_LAYOUT_6POINT1_BACK},
    {ChannelLayout::L7_1, 8, AV_CH_LAYOUT_7POINT1},
};

template <class Predicate>
const Row& FindRow(Predicate predicate)
{
    const auto found = std::find_if(std::begin(rows), std::end(rows), predicate);
    return found == std::end(rows) ? rows[0] : *found;
}

} // namespace

int GetChannelCount(ChannelLayout layout)
{
    return FindRow([=](const Row& row) { return row.layout == layout; }).channels;
}

uint64_t ToFFChannelMask(ChannelLayout layout)
{
    return FindRow([=](const Row& row) { return row.layout == layout; }).mask;
}

ChannelLayout FromFFChannelMask(uint64_t mask, int channels)
{
    const Row& exact = FindRow([=](const Row& row) { return mask != 0 && row.mask == mask; });
    if (exact.layout != ChannelLayout::None)
        return exact.layout;
    return FindRow([=](const Row& row) { return row.channels == channels; }).layout;
}

} // namespace Tessor::Conf
