#include "ffhost/effects/FrameSpacer.h"

#include "media/FFmpegCompat.h"

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
    // Frames that run back in time are left to themselves, and tell nothing for the last one.
    if (timed && waiting->pts > frame->pts)
    {
        found = waiting->pts - frame->pts;
        told = FFmpeg::DurationOf(*frame) > 0 ? FFmpeg::DurationOf(*frame) : found;
        FFmpeg::DurationOf(*frame) = found;
    }
    else if (!waiting)
        FFmpeg::DurationOf(*frame) =
            FFmpeg::DurationOf(*frame) > 0 ? av_rescale(FFmpeg::DurationOf(*frame), found, told) : found;
    return frame;
}

void FrameSpacer::Reset()
{
    waiting.reset();
    told = found = 1;
}

} // namespace Tessor::Host
