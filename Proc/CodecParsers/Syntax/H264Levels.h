#pragma once

#include "Fnd/Export.h"

#include <cstdint>

namespace Tessor::Proc::CodecParsers
{

/// A row of Table A-1 of ITU-T H.264: macroblocks a second, macroblocks a frame, macroblocks of the decoded picture
/// buffer, and the bit rate in units of the profile's factor (1000 bits/s for Baseline and Main).
struct LevelLimits
{
    uint32_t MaxMBPS = 0;
    uint32_t MaxFS = 0;
    uint32_t MaxDpbMbs = 0;
    uint32_t MaxBR = 0;
};

/// The limits for a level_idc; 9 stands for level 1b. All zero for a level that does not exist.
TESSOR_API LevelLimits LevelToLevelLimits(uint8_t level);

} // namespace Tessor::Proc::CodecParsers
