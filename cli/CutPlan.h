#pragma once

#include "cli/CutSession.h"
#include "cli/Groups.h"

#include <string>
#include <vector>

namespace Tessor::Cli
{

/// What a cut will do with a group of pictures, and why.
struct GroupPlan
{
    enum class Action
    {
        Copy,
        Recode,
        Drop,
    };

    Group group;
    Action action = Action::Copy;
    std::string reason;
};

const char* ActionName(GroupPlan::Action action);

/// The plan for the session's video track, group by group; empty when there is no video.
std::vector<GroupPlan> MakePlan(CutSession& session);

} // namespace Tessor::Cli
