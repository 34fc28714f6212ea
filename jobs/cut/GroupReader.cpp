#include "jobs/cut/GroupReader.h"

#include "jobs/SeekTo.h"

#include <utility>

namespace Tessor::Jobs
{

namespace
{

// What is read through on the way costs about as much as a seek.
constexpr avTime LONGEST_WAY = 5 * SECOND;

} // namespace

Group GroupReader::Find(avTime time)
{
    ahead.reset();
    SeekTo(*stream, time);
    return ReadTo(time);
}

Group GroupReader::FindOnward(avTime time)
{
    if (IsNear(time))
    {
        const Group group = ReadTo(time);
        // where it is entered by a seek, an open group lacks the pictures that are shown before its key picture
        if (time < group.entry || !group.IsOpen())
            return group;
    }
    return Find(time);
}

bool GroupReader::IsNear(avTime time) const
{
    return ahead && ahead->GetPosition() <= time && SubTime(time, ahead->GetPosition()) < LONGEST_WAY;
}

Group GroupReader::ReadTo(avTime time)
{
    std::vector<Group> groups;
    Seam next;
    for (SP<Proc::IDataPacket> packet = ahead ? std::exchange(ahead, nullptr) : stream->Read(); packet;
         packet = stream->Read())
    {
        const bool after = packet->IsKeyFrame() && packet->GetPosition() > time;
        if (!after || groups.empty())
        {
            AddToGroups(groups, *packet);
            continue;
        }
        groups.back().end = packet->GetPosition();
        if (next.position == NoTime)
            next = {packet->GetPosition(), packet->GetPTS()};
        // the group that is entered is not after itself, though it may begin after the time
        if (groups.back().entry != packet->GetPTS())
        {
            ahead = packet;
            break;
        }
    }
    if (groups.empty())
        return {};
    groups.back().next = next;
    return groups.back();
}

} // namespace Tessor::Jobs
