#pragma once

#include "Proc/Settings/CutTimeline.h"
#include "jobs/Times.h"

#include <vector>

namespace Tessor::Jobs
{

/// The cut that keeps these ranges of a file and deletes the rest. Ranges that reach the duration hold all that comes
/// later, for there is no seam at their end, and with `keepsLead` a first one from 0 on all that comes earlier.
Proc::CutTimeline KeepRanges(const std::vector<Range>& kept, avTime duration, bool keepsLead = true);

/// What a cut keeps of a file of that duration.
std::vector<Range> GetKeptRanges(const Proc::CutTimeline& cut, avTime duration);

} // namespace Tessor::Jobs
