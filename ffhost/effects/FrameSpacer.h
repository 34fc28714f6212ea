#pragma once

#include "ffhost/codecs/AvCodec.h"

namespace Tessor::Host
{

/// Gives frames whose times were changed the durations that go with them: each lasts to the next one. One frame
/// therefore waits for its successor.
class FrameSpacer
{
public:
    /// Takes the next frame, null at the end, and gives the one before it; null where there is none.
    FramePtr Exchange(FramePtr next);
    void Reset();

private:
    FramePtr waiting; // for its successor; null before the first frame and after the end
    // what the frame before the waiting one said that it lasts, and how long it does; the last frame, which has no
    // successor, is stretched alike
    int64_t told = 1;
    int64_t found = 1;
};

} // namespace Tessor::Host
