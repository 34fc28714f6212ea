#include "jobs/cut/GroupCache.h"

#include <algorithm>
#include <limits>

namespace Tessor::Jobs
{

// A group is found in two forms, each for times of its own. From its key picture on a seek enters it there, and its
// leading pictures are left out; for the time that these show, reading begins with the group before:
//
//     decoding   K0  p  p  K1  b  b  p  p  K2 ...
//     showing    K0  p  p  b  b  K1  p  p  b ...
//     found            |-----|---------|
//                      in sequence     K2's position
//                            entered
const Group& GroupCache::FindGroup(avTime time)
{
    const auto after = groups.upper_bound(time);
    if (after != groups.begin() && time < std::prev(after)->second.until)
        return std::prev(after)->second.group;
    const Group group = Jobs::FindGroup(*stream, time);
    const bool entered = time >= group.entry;
    const avTime from = std::min(time, entered ? group.entry : group.start);
    const avTime end = group.next.position == NoTime ? std::numeric_limits<avTime>::max() : group.next.position;
    return groups.insert_or_assign(from, Known{entered ? end : std::min(end, group.entry), group}).first->second.group;
}

} // namespace Tessor::Jobs
