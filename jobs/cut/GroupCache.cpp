#include "jobs/cut/GroupCache.h"

#include <algorithm>
#include <limits>

namespace Tessor::Jobs
{

const Group& GroupCache::FindGroup(avTime time)
{
    const Group* const known = Recall(time);
    return known ? *known : Remember(time, GroupReader(stream).Find(time));
}

void GroupCache::Gather(std::vector<avTime> times)
{
    std::sort(times.begin(), times.end());
    GroupReader reader(stream);
    for (const avTime time : times)
        if (!Recall(time))
            Remember(time, reader.FindOnward(time));
}

const Group* GroupCache::Recall(avTime time) const
{
    const auto after = groups.upper_bound(time);
    return after != groups.begin() && time < std::prev(after)->second.until ? &std::prev(after)->second.group : nullptr;
}

// A group is found in two forms, each for times of its own. From its key picture on a seek enters it there, and its
// leading pictures are left out; for the time that these show, reading begins with the group before:
//
//     decoding   K0  p  p  K1  b  b  p  p  K2 ...
//     showing    K0  p  p  b  b  K1  p  p  b ...
//     found                |----|------|
//                      in sequence   entered, up to K2's position
//
// A seek to 0 or before gives the file from its first packet on, and says nothing about later times.
const Group& GroupCache::Remember(avTime time, const Group& group)
{
    const bool entered = time >= group.entry;
    avTime from = std::min(time, entered ? group.entry : group.start);
    avTime until = group.next.position == NoTime ? std::numeric_limits<avTime>::max() : group.next.position;
    if (!entered)
        until = std::min(until, group.entry);
    if (time > 0)
        from = std::max<avTime>(from, 1);
    else
        until = std::min<avTime>(until, 1);
    return groups.insert_or_assign(from, Known{until, group}).first->second.group;
}

avTime GroupCache::FindEntry(avTime time)
{
    const avTime entry = FindGroup(time).entry;
    // what the time shows may be leading pictures of a later key picture
    return entry <= time ? entry : Jobs::FindEntry(*stream, time);
}

PicturesAround GroupCache::FindPictures(avTime time)
{
    const Group& group = FindGroup(time);
    PicturesAround found{.end = group.end};
    for (const avTime start : group.pictures)
    {
        if (start != NoTime && start <= time)
            found.standing = std::max(found.standing, start);
        if (start > time && (found.next == NoTime || start < found.next))
            found.next = start;
    }
    // the pictures of a group are shown before those of the next one
    if (found.next == NoTime)
        found.next = group.next.position;
    return found;
}

} // namespace Tessor::Jobs
