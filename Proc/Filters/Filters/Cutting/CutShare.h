#pragma once

#include "Proc/Filters/Filters/Cutting/CutIntervals.h"
#include "Proc/Filters/Filters/Cutting/CutJumps.h"

namespace Tessor::Proc
{

/// How far a compressed cut stream may go ahead of its reader while groups are encoded anew.
struct EncodeAhead
{
    size_t groups = 1; ///< encoded at a time, on threads of their own; 1: one by one, on the reader's
    size_t bytes = 0;  ///< of the packets that may wait for them
};

/// What the cut streams of a file share.
struct CutShare
{
    SP<IRefCountable> controller; ///< which hosts may let go of while its streams live
    SP<CutIntervals> intervals;
    SP<CutJumps> jumps;
    EncodeAhead ahead;
};

} // namespace Tessor::Proc
