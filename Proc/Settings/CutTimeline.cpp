#include "Proc/Settings/CutTimeline.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <map>

namespace Tessor::Proc
{

namespace
{

using Interval = CutTimeline::Interval;

/// Goes on with a piece of time, which makes one interval with a neighbour of like state.
void Append(std::deque<Interval>& flat, const Interval& piece)
{
    if (piece.start >= piece.end)
        return;
    if (!flat.empty() && flat.back().deleted == piece.deleted)
        flat.back().end = piece.end;
    else
        flat.push_back(piece);
}

/// A line of time on which intervals are laid, each over what lies there already.
class Layers
{
public:
    void Lay(const Interval& interval)
    {
        const auto to = Split(interval.end);
        const auto from = Split(interval.start);
        from->second = interval;
        pieces.erase(std::next(from), to);
    }

    /// What is seen from above, from the first start to the last end.
    std::deque<Interval> Flatten() const
    {
        std::deque<Interval> flat;
        // the first and the last piece are always the open ends
        for (auto piece = std::next(pieces.begin()); piece != pieces.end() && std::next(piece) != pieces.end(); ++piece)
        {
            Interval seen = piece->second.value_or(Interval());
            seen.start = piece->first;
            seen.end = std::next(piece)->first;
            Append(flat, seen);
        }
        return flat;
    }

private:
    using Pieces = std::map<avTime, std::optional<Interval>>;

    /// The piece that starts at `t`, cut off the one that holds it.
    Pieces::iterator Split(avTime t)
    {
        const auto after = pieces.upper_bound(t);
        const auto holding = std::prev(after);
        return holding->first == t ? holding : pieces.emplace_hint(after, t, holding->second);
    }

    // By their start; a piece ends where the next one starts. Nothing lies on those without an interval.
    Pieces pieces{{NoTime, std::nullopt}};
};

/// A list as flattening leaves it. Most are: who changes one brings it into that form.
bool IsFlat(const std::deque<Interval>& intervals)
{
    const auto isProper = [](const Interval& i) { return i.start != NoTime && i.start < i.end; };
    const auto isSeam = [](const Interval& a, const Interval& b) { return a.end == b.start && a.deleted != b.deleted; };
    return !intervals.empty() && std::all_of(intervals.begin(), intervals.end(), isProper) &&
           std::adjacent_find(intervals.begin(), intervals.end(), std::not_fn(isSeam)) == intervals.end();
}

std::deque<Interval> Flatten(const std::deque<Interval>& intervals)
{
    if (IsFlat(intervals))
        return intervals;
    Layers layers;
    for (const Interval& interval : intervals)
        if (interval.start != NoTime && interval.start < interval.end)
            layers.Lay(interval);
    std::deque<Interval> flat = layers.Flatten();
    if (flat.empty())
        flat.push_back({0, MAX_DURATION, NoTime, false});
    return flat;
}

} // namespace

CutTimeline::CutTimeline(const std::deque<Interval>& intervals)
{
    const std::deque<Interval> flat = Flatten(intervals);
    Segments compiled;
    compiled.reserve(flat.size());
    // A kept first interval keeps its times, also those before the list; after a deleted one the result starts at 0.
    avTime removed = flat.front().deleted ? flat.front().start : 0;
    for (const Interval& interval : flat)
    {
        compiled.push_back({interval, SubTime(interval.start, removed)});
        if (interval.deleted)
            removed = AddTime(removed, SubTime(interval.end, interval.start));
    }
    segments = std::make_shared<const Segments>(std::move(compiled));
}

CutTimeline CutTimeline::With(const Interval& laid) const
{
    if (laid.start == NoTime || laid.start >= laid.end)
        return *this;
    std::deque<Interval> below = GetIntervals();
    below.front().start = std::min(below.front().start, laid.start);
    below.back().end = std::max(below.back().end, laid.end);
    std::deque<Interval> flat;
    for (const Interval& piece : below)
        Append(flat, {piece.start, std::min(piece.end, laid.start), piece.shift, piece.deleted});
    Append(flat, laid);
    for (const Interval& piece : below)
        Append(flat, {std::max(piece.start, laid.end), piece.end, piece.shift, piece.deleted});
    return CutTimeline(flat);
}

std::deque<Interval> CutTimeline::GetIntervals() const
{
    std::deque<Interval> intervals;
    for (const Segment& segment : *segments)
        intervals.push_back(segment.interval);
    return intervals;
}

size_t CutTimeline::GetIndex(avTime t) const
{
    const auto after = std::upper_bound(segments->begin(), segments->end(), t,
                                        [](avTime time, const Segment& s) { return time < s.interval.start; });
    return after == segments->begin() ? 0 : static_cast<size_t>(after - segments->begin()) - 1;
}

avTime CutTimeline::Source2Result(avTime t) const
{
    if (t == NoTime)
        return NoTime;
    const Segment& holder = (*segments)[GetIndex(t)];
    return holder.interval.deleted ? holder.resultStart
                                   : SubTime(t, SubTime(holder.interval.start, holder.resultStart));
}

avTime CutTimeline::Result2Source(avTime t) const
{
    if (t == NoTime)
        return NoTime;
    // A deleted segment and the kept one after it share their result start, so the last one at or before `t` is kept,
    // but for the two ends of the list.
    const auto after = std::upper_bound(segments->begin(), segments->end(), t,
                                        [](avTime time, const Segment& s) { return time < s.resultStart; });
    auto holder = after == segments->begin() ? after : std::prev(after);
    if (holder->interval.deleted)
    {
        if (holder != segments->begin())
            return holder->interval.start;
        if (++holder == segments->end())
            return segments->front().interval.start; // nothing is kept at all
        return holder->interval.start;
    }
    return std::min(holder->interval.end, AddTime(t, SubTime(holder->interval.start, holder->resultStart)));
}

avTime CutTimeline::GetResultDuration(avTime start, avTime end) const
{
    return start == end ? 0 : SubTime(Source2Result(end), Source2Result(start));
}

std::optional<CutTimeline::Interval> CutTimeline::FindStretch(avTime t) const
{
    const size_t index = GetIndex(t);
    Interval stretch = GetInterval(index);
    if (index == 0)
        stretch.start = NoTime + 1;
    if (index + 1 == GetCount())
        stretch.end = std::numeric_limits<avTime>::max();
    return stretch.deleted && t >= stretch.start && t < stretch.end ? std::optional(stretch) : std::nullopt;
}

bool CutTimeline::IsKeptStart(avTime t) const
{
    const size_t index = GetIndex(t);
    return index > 0 && GetInterval(index).start == t && !GetInterval(index).deleted;
}

bool CutTimeline::IsDeleted(avTime start, avTime end) const
{
    const auto stretch = FindStretch(start);
    return start >= end || (stretch && stretch->end >= end);
}

// Neighbours differ in state: what begins and ends in different intervals has some of both.
bool CutTimeline::IsPartlyKept(avTime start, avTime end) const
{
    return start < end && GetIndex(start) != GetIndex(end - 1);
}

} // namespace Tessor::Proc
