#include "jobs/cut/KeyFrameBounds.h"

#include "jobs/JobError.h"

#include <fmt/format.h>

namespace Tessor::Jobs
{

Range KeyFrameBounds::Bring(const Range& range, Snap snap) const
{
    const Sides starts = FindStarts(range.start), ends = FindEnds(range.end);
    return {Choose(range.start, starts, snap, starts.after), Choose(range.end, ends, snap, ends.before)};
}

KeyFrameBounds::Sides KeyFrameBounds::FindStarts(avTime time) const
{
    const avTime entry = time > 0 ? groups.FindEntry(time) : time;
    if (entry >= time || !staysWhole(time))
        return {time, time};
    const Group& group = groups.FindGroup(time);
    // what the time shows may be leading pictures of the next key picture
    const avTime next = group.entry > time ? group.entry : group.next.entry;
    return {entry, next == NoTime ? duration : next};
}

KeyFrameBounds::Sides KeyFrameBounds::FindEnds(avTime time) const
{
    if (time >= duration || !staysWhole(time - 1))
        return {time, time};
    const avTime entry = groups.FindGroup(time - 1).entry, next = groups.FindGroup(time - 1).next.position;
    if (next == time)
        return {time, time};
    // entered by a seek a group lacks its leading pictures: in sequence it may begin earlier
    const Group& before = groups.FindGroup(entry - 1);
    return {before.entry == entry ? before.start : before.next.position, next == NoTime ? duration : next};
}

avTime KeyFrameBounds::Choose(avTime time, const Sides& sides, Snap snap, avTime inward) const
{
    if (snap == Snap::Outward || sides.before == sides.after)
        return time;
    if (snap == Snap::Inward)
        return inward;
    if (snap == Snap::Nearest)
        return time - sides.before <= sides.after - time ? sides.before : sides.after;
    throw JobError(JobError::Failed, fmt::format("{} can't be cut at {}, between the key frames at {} and {}", track,
                                                 T2S(time), T2S(sides.before), T2S(sides.after)));
}

} // namespace Tessor::Jobs
