#include "cli/CutPlan.h"

#include <fmt/format.h>

namespace Tessor::Cli
{

namespace
{

std::string SeamsIn(const Group& group, const Proc::SettingsFilterCutController& cut)
{
    std::string seams;
    for (const auto& interval : cut.intervals)
    {
        if (interval.start > group.start && interval.start < group.end)
            seams += (seams.empty() ? "" : ", ") + T2S(interval.start);
    }
    return seams;
}

GroupPlan PlanGroup(const Group& group, const Proc::SettingsFilterCutController& cut)
{
    const avTime kept = cut.Source2Result(group.end) - cut.Source2Result(group.start);
    if (kept == 0)
        return {group, GroupPlan::Action::Drop, "wholly removed"};
    if (kept == group.end - group.start)
        return {group, GroupPlan::Action::Copy, "wholly kept"};
    // what is shown before an entry at the key picture has lost its reference and is left out
    if (group.IsOpen() && cut.IsPointDeleted(group.start) && kept == group.end - group.entry &&
        cut.Source2Result(group.end) - cut.Source2Result(group.entry) == kept)
        return {group, GroupPlan::Action::Copy, "kept from its key picture on"};
    return {group, GroupPlan::Action::Recode, "cut at " + SeamsIn(group, cut)};
}

} // namespace

const char* ActionName(GroupPlan::Action action)
{
    switch (action)
    {
    case GroupPlan::Action::Copy:
        return "copy";
    case GroupPlan::Action::Recode:
        return "re-encode";
    case GroupPlan::Action::Drop:
        break;
    }
    return "drop";
}

std::vector<GroupPlan> MakePlan(CutSession& session)
{
    std::vector<GroupPlan> plan;
    CutTrack* video = session.GetVideo();
    if (!video)
        return plan;
    const Proc::SettingsFilterCutController cut = session.GetCut();
    for (const Group& group : ScanGroups(*video->source))
        plan.push_back(PlanGroup(group, cut));
    return plan;
}

} // namespace Tessor::Cli
