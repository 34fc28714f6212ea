#include "ffhost/effects/FrameSpacer.h"

extern "C"
{
#include <libavutil/mathematics.h>
}

#include <utility>

namespace Tessor::Host
{

FramePtr FrameSpacer::Exchange(FramePtr next)
{
    FramePtr frame = std::exchange(waiting, std::move(next));
    if (!frame)
        return nullptr;
    const bool timed = waiting && waiting->pts != AV_NOPTS_VALUE && frame->pts != AV_NOPTS_VALUE;
    // Frames that run back in time are left to themselves.
    if (timed && waiting->pts > frame->pts)
    {
        found = waiting->pts - frame->pts;
        told = frame->pkt_duration > 0 ? frame->pkt_duration : found;
        frame->pkt_duration = found;
    }
    else if (!waiting)
        frame->pkt_duration = frame->pkt_duration > 0 ? av_rescale(frame->pkt_duration, found, told) : found;
    return frame;
}

void FrameSpacer::Reset()
{
    waiting.reset();
    told = found = 1;
}

} // namespace Tessor::Host
