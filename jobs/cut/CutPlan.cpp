#include "jobs/cut/CutPlan.h"

#include "Proc/Filters/Filters/Cutting/GroupFate.h"
#include "ffhost/streams/FieldJoiner.h"
#include "jobs/InputDamage.h"
#include "jobs/ReadJointly.h"
#include "jobs/ReadProgress.h"

#include <algorithm>
#include <fmt/format.h>
#include <map>
#include <utility>

namespace Tessor::Jobs
{

namespace
{

using Cut = Proc::CutTimeline;
using Fates = std::map<avTime, GroupPlan::Action>; // of pictures that are kept, by their times

std::string SeamsIn(const Group& group, const Cut& cut)
{
    std::string seams;
    for (size_t i = cut.GetIndex(group.start); i < cut.GetCount() && cut.GetInterval(i).start < group.end; ++i)
    {
        const avTime seam = cut.GetInterval(i).start;
        if (seam > group.start)
            seams += (seams.empty() ? "" : ", ") + T2S(seam);
    }
    return seams;
}

std::string ReasonFor(const GroupPlan& row, const Cut& cut, const CutTrack& track)
{
    const Group& group = row.group;
    const auto& large = track.largeGroups;
    switch (row.action)
    {
    case GroupPlan::Action::Copy:
        if (std::find(large.begin(), large.end(), group.entry) != large.end())
            return "kept whole: it is too large to be re-encoded";
        // what is shown before an entry at the key picture has lost its reference
        if (row.recoded > 0)
            return fmt::format("kept from its key picture on, {} before it re-encoded with the group before",
                               row.recoded);
        return row.copied == static_cast<long long>(group.pictures.size()) ? "wholly kept"
                                                                           : "kept from its key picture on";
    case GroupPlan::Action::Recode:
    {
        const std::string seams = SeamsIn(group, cut);
        return seams.empty() ? "the group that it leans on is cut" : "cut at " + seams;
    }
    case GroupPlan::Action::Drop:
        break;
    }
    return "wholly removed";
}

/// What the cut streams do with a group that reading has brought into the form that they get.
GroupPlan::Action ActionFor(const Group& group, const Cut& cut, bool cutAnywhere)
{
    switch (Proc::FindGroupFate(cut, group.start, group.end))
    {
    case Proc::GroupFate::Pass:
        return GroupPlan::Action::Copy;
    case Proc::GroupFate::Part:
        return cutAnywhere ? GroupPlan::Action::Recode : GroupPlan::Action::Copy;
    case Proc::GroupFate::Drop:
    case Proc::GroupFate::Discard:
        break;
    }
    return GroupPlan::Action::Drop;
}

Fates FindFates(const std::vector<Group>& groups, const Cut& cut, bool cutAnywhere)
{
    Fates fates;
    for (const Group& group : groups)
    {
        const GroupPlan::Action action = ActionFor(group, cut, cutAnywhere);
        for (const avTime time : group.pictures)
        {
            const bool encodedUnseen = action == GroupPlan::Action::Recode &&
                                       std::find(group.hidden.begin(), group.hidden.end(), time) != group.hidden.end();
            if (action != GroupPlan::Action::Drop && !encodedUnseen && !cut.IsPointDeleted(time))
                fates[time] = action;
        }
    }
    return fates;
}

GroupPlan PlanGroup(Group group, const Fates& fates, const Cut& cut, const CutTrack& track)
{
    GroupPlan row{.track = track.index, .group = std::move(group)};
    for (const avTime time : row.group.pictures)
    {
        const auto fate = fates.find(time);
        row.copied += fate != fates.end() && fate->second == GroupPlan::Action::Copy;
        row.recoded += fate != fates.end() && fate->second == GroupPlan::Action::Recode;
    }
    row.action = row.copied > 0    ? GroupPlan::Action::Copy
                 : row.recoded > 0 ? GroupPlan::Action::Recode
                                   : GroupPlan::Action::Drop;
    row.reason = ReasonFor(row, cut, track);
    return row;
}

std::vector<std::vector<Group>> ReadGroups(const std::vector<SP<Proc::IStreamRaw>>& streams, ReadProgress& reading)
{
    std::vector<std::vector<Group>> groups(streams.size());
    ReadJointly(streams,
                [&](size_t place, const SP<Proc::IDataPacket>& packet)
                {
                    AddToGroups(groups[place], *packet);
                    reading.Reach(packet->GetPTS());
                });
    return groups;
}

} // namespace

// The file is read twice: whole, for what is in it, and as the cut reads it, told what is deleted. That leaves out much
// of it, and brings the rest into the form in which the cut decides.
std::vector<GroupPlan> MakePlan(CutSession& session, IProgress& progress, std::vector<std::string>& warnings)
{
    ReadProgress reading(progress, session.GetInfo().duration);
    const SP<Host::Demuxer> demuxer = session.GetDemuxer().OpenAgain();
    demuxer->KeepLeadIns(false);
    std::vector<const CutTrack*> tracks;
    std::vector<SP<Proc::IStreamRaw>> streams;
    for (const CutTrack& track : session.GetTracks())
    {
        if (!track.IsVideo())
            continue;
        tracks.push_back(&track);
        streams.push_back(
            Host::FieldJoiner::Create(demuxer->GetStream(track.index), demuxer->GetInfo().tracks[track.index]));
    }
    reading.BeginPass(0.5);
    std::vector<std::vector<Group>> whole = ReadGroups(streams, reading);
    AddDamage(session.GetInfo().path, demuxer->GetDamage(), warnings);
    const Cut cut = session.GetCut();
    demuxer->SetCut(cut);
    reading.BeginPass(1);
    const std::vector<std::vector<Group>> told = ReadGroups(streams, reading);
    std::vector<GroupPlan> plan;
    for (size_t i = 0; i < tracks.size(); ++i)
    {
        const Fates fates = FindFates(told[i], cut, tracks[i]->cutAnywhere);
        for (Group& group : whole[i])
            plan.push_back(PlanGroup(std::move(group), fates, cut, *tracks[i]));
    }
    return plan;
}

} // namespace Tessor::Jobs
