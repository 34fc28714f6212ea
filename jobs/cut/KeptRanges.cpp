#include "jobs/cut/KeptRanges.h"

#include <algorithm>

namespace Tessor::Jobs
{

Proc::CutTimeline KeepRanges(const std::vector<Range>& kept, avTime duration, bool keepsLead)
{
    std::deque<Proc::CutInterval> intervals{{0, std::max(duration, MAX_DURATION), NoTime, true}};
    for (const Range& range : kept)
        intervals.push_back({range.start, range.end >= duration ? MAX_DURATION : range.end, NoTime, false});
    if (!keepsLead)
        intervals.push_back({-MAX_DURATION, 0, NoTime, true});
    return Proc::CutTimeline(intervals);
}

std::vector<Range> GetKeptRanges(const Proc::CutTimeline& cut, avTime duration)
{
    std::vector<Range> ranges;
    for (const Proc::CutInterval& interval : cut.GetIntervals())
    {
        if (!interval.deleted && interval.start < duration)
            ranges.push_back({interval.start, std::min(interval.end, duration)});
    }
    return ranges;
}

} // namespace Tessor::Jobs
