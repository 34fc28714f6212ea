#include "Proc/Filters/Filters/Cutting/GroupFate.h"

namespace Tessor::Proc
{

GroupFate FindGroupFate(const CutTimeline& cut, avTime start, avTime end)
{
    // Where stamps repeat or step back a group has no length, and says nothing about what follows. It must not be lost
    // for that: it is kept or deleted by its start, as a packet is.
    if (end <= start && start != NoTime && !cut.IsPointDeleted(start))
        return GroupFate::Pass;
    // times that are equal are no distance apart, known or not
    const avTime duration = start == end ? 0 : SubTime(end, start);
    if (duration < 0)
        return GroupFate::Discard;
    const avTime kept = cut.GetResultDuration(start, end);
    if (kept == 0)
        return GroupFate::Drop;
    return kept == duration ? GroupFate::Pass : GroupFate::Part;
}

} // namespace Tessor::Proc
