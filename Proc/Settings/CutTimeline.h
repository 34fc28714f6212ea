#pragma once

#include "Fnd/Export.h"
#include "Proc/Settings/CutInterval.h"

#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace Tessor::Proc
{

/// What a list of intervals means, compiled once: every lookup is O(log n). Any list will do: a later interval wins
/// over what it covers, gaps are kept, an empty list keeps everything.
///
/// A timeline never changes, and its copies share what was compiled: whoever needs one holds a copy, in any thread.
class TESSOR_API CutTimeline
{
public:
    using Interval = CutInterval;

    explicit CutTimeline(const std::deque<Interval>& intervals);

    /// This one with an interval laid over it, which wins over what it covers. Times beyond the ends count to them, and
    /// go on doing so between them and the new interval. An empty interval changes nothing. O(n).
    CutTimeline With(const Interval& laid) const;

    /// In order, contiguous, alternating in state; never empty.
    std::deque<Interval> GetIntervals() const;
    size_t GetCount() const { return segments->size(); }
    /// Throws std::out_of_range.
    const Interval& GetInterval(size_t index) const { return segments->at(index).interval; }
    size_t GetIndex(avTime t) const;
    avTime GetIntervalEndTime(avTime t) const { return Find(t).end; }
    bool IsPointDeleted(avTime t) const { return Find(t).deleted; }
    avTime Source2Result(avTime t) const;
    avTime Result2Source(avTime t) const;
    /// How much of [start, end) stays; 0 for times that are equal, known or not.
    avTime GetResultDuration(avTime start, avTime end) const;
    /// One interval, and it is kept.
    bool KeepsAll() const { return GetCount() == 1 && !GetInterval(0).deleted; }

    // ---- for who leaves out what is not used: the first and the last stretch reach as far as time does

    /// The deleted stretch that holds `t`.
    std::optional<Interval> FindStretch(avTime t) const;
    /// Whether deleted time ends exactly there.
    bool IsKeptStart(avTime t) const;
    /// Whether all of [start, end) is deleted.
    bool IsDeleted(avTime start, avTime end) const;
    /// Whether some of [start, end) is deleted, and some is not.
    bool IsPartlyKept(avTime start, avTime end) const;

private:
    struct Segment
    {
        Interval interval;
        avTime resultStart; // the result time of the interval's start
    };
    using Segments = std::vector<Segment>;

    const Interval& Find(avTime t) const { return (*segments)[GetIndex(t)].interval; }

    std::shared_ptr<const Segments> segments; // in order, contiguous, alternating in state, never empty
};

} // namespace Tessor::Proc
