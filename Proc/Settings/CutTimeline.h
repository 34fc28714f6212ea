#pragma once

#include "Fnd/Export.h"
#include "Proc/Settings/CutInterval.h"

#include <deque>
#include <vector>

namespace Tessor::Proc
{

/// The lookups of a list of intervals, each O(log n): what the list means, compiled once. Any list will do: a later
/// interval wins over what it covers, gaps are kept, an empty list keeps everything.
class TESSOR_API CutTimeline
{
public:
    using Interval = CutInterval;

    explicit CutTimeline(const std::deque<Interval>& intervals);

    size_t GetCount() const { return segments.size(); }
    /// Throws std::out_of_range.
    const Interval& GetInterval(size_t index) const { return segments.at(index).interval; }
    size_t GetIndex(avTime t) const;
    avTime Source2Result(avTime t) const;
    avTime Result2Source(avTime t) const;

private:
    struct Segment
    {
        Interval interval;
        avTime resultStart; // the result time of the interval's start
    };

    std::vector<Segment> segments; // in order, contiguous, alternating in state, never empty
};

} // namespace Tessor::Proc
