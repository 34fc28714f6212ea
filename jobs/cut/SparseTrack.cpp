#include "jobs/cut/SparseTrack.h"

namespace Tessor::Jobs
{

namespace
{

SP<Proc::IDataPacket> Placed(const Proc::IDataPacket& packet, avTime start, avTime duration)
{
    SP<Proc::IDataPacket> placed = packet.Clone();
    placed->SetPTS(start);
    placed->SetDTS(start);
    placed->SetDuration(duration);
    return placed;
}

} // namespace

std::vector<SP<Proc::IDataPacket>> SparseTrack::Push(const SP<Proc::IDataPacket>& packet, const Proc::CutTimeline& cut)
{
    const avTime pts = !packet ? MAX_DURATION : packet->GetPTS() != NoTime ? packet->GetPTS() : packet->GetDTS();
    if (pts == NoTime)
        return {};
    std::vector<SP<Proc::IDataPacket>> result;
    // it stood until now: has kept time begun in between?
    if (standing && cut.Source2Result(standing->GetPTS()) < cut.Source2Result(pts))
        result.push_back(Placed(*standing, cut.Source2Result(standing->GetPTS()), 0));
    standing.reset();
    if (!packet)
        return result;

    const avTime duration = packet->GetDuration();
    const avTime start = cut.Source2Result(pts);
    if (duration > 0)
    {
        const avTime left = cut.Source2Result(AddTime(pts, duration)) - start;
        if (left > 0)
            result.push_back(Placed(*packet, start, left));
    }
    else if (!cut.IsPointDeleted(pts))
        result.push_back(Placed(*packet, start, 0));
    else
        standing = packet;
    return result;
}

} // namespace Tessor::Jobs
