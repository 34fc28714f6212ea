#include "Proc/CodecParsers/Syntax/H264Levels.h"

namespace Tessor::Proc::CodecParsers
{

LevelLimits LevelToLevelLimits(uint8_t level)
{
    switch (level)
    {
    case 9:
        return {1485, 99, 396, 128};
    case 10:
        return {1485, 99, 396, 64};
    case 11:
        return {3000, 396, 900, 192};
    case 12:
        return {6000, 396, 2376, 384};
    case 13:
        return {11800, 396, 2376, 768}; // 80 less than published, as hosts have always seen it
    case 20:
        return {11880, 396, 2376, 2000};
    case 21:
        return {19800, 792, 4752, 4000};
    case 22:
        return {20250, 1620, 8100, 4000};
    case 30:
        return {40500, 1620, 8100, 10000};
    case 31:
        return {108000, 3600, 18000, 14000};
    case 32:
        return {216000, 5120, 20480, 20000};
    case 40:
        return {245760, 8192, 32768, 20000};
    case 41:
        return {245760, 8192, 32768, 50000};
    case 42:
        return {522240, 8704, 34816, 50000};
    case 50:
        return {589824, 22080, 110400, 135000};
    case 51:
        return {983040, 36864, 184320, 240000};
    case 52:
        return {2073600, 36864, 184320, 240000};
    case 60:
        return {4177920, 139264, 696320, 240000};
    case 61:
        return {8355840, 139264, 696320, 480000};
    case 62:
        return {16711680, 139264, 696320, 800000};
    default:
        return {};
    }
}

} // namespace Tessor::Proc::CodecParsers
