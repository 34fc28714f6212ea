#pragma once

#include "jobs/cut/CutSession.h"
#include "jobs/cut/Groups.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What a cut will do with a group of pictures of the file, and why.
struct GroupPlan
{
    enum class Action
    {
        Copy,
        Recode,
        Drop,
    };

    int track = 0; ///< in the file
    Group group;
    Action action = Action::Drop;
    long long copied = 0;  ///< pictures of the group
    long long recoded = 0; ///< the others are dropped
    std::string reason = {};
};

TESSOR_API const char* ActionName(GroupPlan::Action action);

/// The plan for all video tracks of the session, track by track: a row for each group of the file.
std::vector<GroupPlan> MakePlan(CutSession& session);

} // namespace Tessor::Jobs
