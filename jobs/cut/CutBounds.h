#pragma once

#include "ffhost/io/MediaInfo.h"
#include "jobs/Times.h"
#include "jobs/cut/GroupCache.h"

#include <vector>

namespace Tessor::Jobs
{

/// Brings the bounds of ranges to pictures: a bound inside of a video is the time of a picture, as the stream tells it,
/// and so the same number for all who compare it with packets. Only a picture that stands for long is parted, at the
/// end of a range, and after whole ticks of its track, so that what follows stays on them; one that stands where a
/// range starts is kept from its own start, so that no piece begins with nothing to show.
class CutBounds
{
public:
    /// `duration` is the file's: bounds at its ends stay where they are.
    CutBounds(GroupCache& video, const Host::TrackInfo& track, avTime duration)
        : video(video), track(track), duration(duration)
    {
    }

    /// The ranges, which are in order; those that meet become one. Moves the stream.
    std::vector<Range> Snap(const std::vector<Range>& ranges) const;

private:
    avTime SnapStart(const Range& range) const;
    avTime SnapEnd(avTime end) const;
    avTime PartPicture(avTime standing, avTime time) const;

    GroupCache& video;
    const Host::TrackInfo& track;
    const avTime duration;
};

} // namespace Tessor::Jobs
