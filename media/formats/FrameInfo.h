#pragma once

#include "Fnd/Export.h"

namespace Tessor::Conf
{

/// The geometry of a frame. The sample aspect is reduced, and 1:1 when it is unknown.
class TESSOR_API FrameInfo
{
public:
    FrameInfo() = default;
    FrameInfo(int width, int height, unsigned aspectNum = 1, unsigned aspectDen = 1);

    int width = 0;
    int height = 0;
    unsigned aspectNum = 1;
    unsigned aspectDen = 1;

    bool operator==(const FrameInfo&) const = default;
};

} // namespace Tessor::Conf
