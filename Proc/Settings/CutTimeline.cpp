#include "Proc/Settings/CutTimeline.h"

#include <algorithm>
#include <map>
#include <optional>

namespace Tessor::Proc
{

namespace
{

using Interval = CutTimeline::Interval;

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
    std::vector<Interval> Flatten() const
    {
        std::vector<Interval> flat;
        // the first and the last piece are always the open ends
        for (auto piece = std::next(pieces.begin()); piece != pieces.end() && std::next(piece) != pieces.end(); ++piece)
        {
            Interval seen = piece->second.value_or(Interval());
            seen.start = piece->first;
            seen.end = std::next(piece)->first;
            if (!flat.empty() && flat.back().deleted == seen.deleted)
                flat.back().end = seen.end;
            else
                flat.push_back(seen);
        }
        return flat;
    }

private:
    using Pieces = std::map<avTime, std::optional<Interval>>;

    /// The piece that starts at `t`, cut off the one that holds it.
    Pieces::iterator Split(avTime t)
    {
        const auto behind = pieces.upper_bound(t);
        const auto holding = std::prev(behind);
        return holding->first == t ? holding : pieces.emplace_hint(behind, t, holding->second);
    }

    // By their start; a piece ends where the next one starts. Nothing lies on those without an interval.
    Pieces pieces{{NoTime, std::nullopt}};
};

std::vector<Interval> Flatten(const std::deque<Interval>& intervals)
{
    Layers layers;
    for (const Interval& interval : intervals)
        if (interval.start != NoTime && interval.start < interval.end)
            layers.Lay(interval);
    std::vector<Interval> flat = layers.Flatten();
    if (flat.empty())
        flat.push_back({0, MAX_DURATION, NoTime, false});
    return flat;
}

} // namespace

CutTimeline::CutTimeline(const std::deque<Interval>& intervals)
{
    const std::vector<Interval> flat = Flatten(intervals);
    segments.reserve(flat.size());
    // A kept first interval keeps its times, also those before the list; behind a deleted one the result starts at 0.
    avTime removed = flat.front().deleted ? flat.front().start : 0;
    for (const Interval& interval : flat)
    {
        segments.push_back({interval, SubTime(interval.start, removed)});
        if (interval.deleted)
            removed = AddTime(removed, SubTime(interval.end, interval.start));
    }
}

size_t CutTimeline::GetIndex(avTime t) const
{
    const auto behind = std::upper_bound(segments.begin(), segments.end(), t,
                                         [](avTime time, const Segment& s) { return time < s.interval.start; });
    return behind == segments.begin() ? 0 : static_cast<size_t>(behind - segments.begin()) - 1;
}

avTime CutTimeline::Source2Result(avTime t) const
{
    if (t == NoTime)
        return NoTime;
    const Segment& holder = segments[GetIndex(t)];
    return holder.interval.deleted ? holder.resultStart
                                   : SubTime(t, SubTime(holder.interval.start, holder.resultStart));
}

avTime CutTimeline::Result2Source(avTime t) const
{
    if (t == NoTime)
        return NoTime;
    // A deleted segment and the kept one behind it share their result start, so the last one at or before `t` is kept,
    // but for the two ends of the list.
    const auto behind = std::upper_bound(segments.begin(), segments.end(), t,
                                         [](avTime time, const Segment& s) { return time < s.resultStart; });
    auto holder = behind == segments.begin() ? behind : std::prev(behind);
    if (holder->interval.deleted)
    {
        if (holder != segments.begin())
            return holder->interval.start;
        if (++holder == segments.end())
            return segments.front().interval.start; // nothing is kept at all
        return holder->interval.start;
    }
    return std::min(holder->interval.end, AddTime(t, SubTime(holder->interval.start, holder->resultStart)));
}

} // namespace Tessor::Proc
