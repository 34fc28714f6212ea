#pragma once

#include "jobs/cut/CutSession.h"
#include "jobs/cut/GroupPlan.h"

#include <vector>

namespace Tessor::Jobs
{

/// The plan for all video tracks of the session, track by track: a row for each group of the file. Warns of what is
/// wrong with it.
std::vector<GroupPlan> MakePlan(CutSession& session, IProgress& progress, std::vector<std::string>& warnings);

} // namespace Tessor::Jobs
