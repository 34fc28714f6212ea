#pragma once

#include "jobs/cut/Groups.h"

#include <string>

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

} // namespace Tessor::Jobs
