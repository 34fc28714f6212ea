#include "jobs/cut/CutBounds.h"

extern "C"
{
#include <libavutil/avutil.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>

namespace Tessor::Jobs
{

namespace
{

/// A picture that begins this little before a bound is the one that is meant: times on the command line are not exact
/// to the microsecond.
constexpr avTime snap_tolerance = 100;

/// The longest way forward to a picture: a slow frame. Pictures that stand for longer are cut where it was asked for.
constexpr avTime longest_snap = 100 * MILLISECOND;

/// Ranges that have come together when their bounds moved are one: a seam between them would cut through nothing.
std::vector<Range> Merged(const std::vector<Range>& ranges)
{
    std::vector<Range> merged;
    for (const Range& range : ranges)
    {
        if (!merged.empty() && range.start <= merged.back().end)
            merged.back().end = std::max(merged.back().end, range.end);
        else
            merged.push_back(range);
    }
    return merged;
}

} // namespace

std::vector<Range> CutBounds::Snap(const std::vector<Range>& ranges) const
{
    std::vector<Range> snapped;
    for (const Range& range : ranges)
    {
        // what lies before 0 is kept along with a range from the file's start (KeepRanges)
        const avTime start = range.start > 0 ? SnapStart(range) : range.start;
        // a range that is as short as the tolerance still means the picture that it starts with
        const avTime end = std::max(range.end, start + snap_tolerance + 1);
        snapped.push_back({start, end < duration ? SnapEnd(end) : range.end});
    }
    return Merged(snapped);
}

avTime CutBounds::SnapStart(const Range& range) const
{
    const PicturesAround around = video.FindPictures(range.start);
    const avTime standing = around.standing, next = around.next;
    // before the first picture and after the last one there is nothing to cut through
    if (standing == NoTime || (next == NoTime && around.end <= range.start))
        return range.start;
    if (standing >= range.start - snap_tolerance)
        return standing;
    // the picture that stands at the start began before the piece; where it stands for long the piece begins with it
    // The next picture has to leave something of the range.
    const bool near = next != NoTime && next <= range.start + longest_snap && next < range.end - snap_tolerance;
    return near ? next : standing;
}

avTime CutBounds::SnapEnd(avTime end) const
{
    const PicturesAround around = video.FindPictures(end);
    if (around.standing == NoTime)
        return end;
    if (around.standing >= end - snap_tolerance)
        return around.standing;
    // the last picture is kept to its end
    const avTime next = around.next != NoTime ? around.next : std::min(around.end, duration);
    if (next <= end)
        return end;
    return next <= end + longest_snap ? next : PartPicture(around.standing, end);
}

/// The tick of the track nearest to the time, counted from the start of the picture that stands there; not that one.
avTime CutBounds::PartPicture(avTime standing, avTime time) const
{
    const AVRational tick{track.timeBaseNum, track.timeBaseDen}, microsecond{1, AV_TIME_BASE};
    const int64_t ticks = std::max<int64_t>(av_rescale_q(time - standing, microsecond, tick), 1);
    return standing + av_rescale_q(ticks, tick, microsecond);
}

} // namespace Tessor::Jobs
