#pragma once

#include "Fnd/Export.h"

#include <cstdint>

namespace Tessor::Conf
{

/// Our own numbering of speaker layouts.
enum class ChannelLayout : int
{
    None = 0,
    Mono = 1,
    Stereo = 2,
    L2_1 = 3,
    Quad = 4,
    L5_0 = 5,
    L5_1 = 6,
    L6_1 = 7,
    L7_1 = 8,
};

/// Channels of a layout; 0 for None.
TESSOR_API int GetChannelCount(ChannelLayout layout);

/// FFmpeg's channel mask of a layout; 0 for None.
TESSOR_API uint64_t ToFFChannelMask(ChannelLayout layout);

/// The layout of an FFmpeg mask; an unknown mask takes the default layout of its channel count, None when there is
/// none.
TESSOR_API ChannelLayout FromFFChannelMask(uint64_t mask, int channels);

} // namespace Tessor::Conf
