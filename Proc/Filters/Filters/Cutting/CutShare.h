#pragma once

#include "Proc/Filters/Filters/Cutting/CutIntervals.h"
#include "Proc/Filters/Filters/Cutting/CutJumps.h"

namespace Tessor::Proc
{

/// What the cut streams of a file share.
struct CutShare
{
    SP<IRefCountable> controller; ///< which hosts may let go of while its streams live
    SP<CutIntervals> intervals;
    SP<CutJumps> jumps;
};

} // namespace Tessor::Proc
