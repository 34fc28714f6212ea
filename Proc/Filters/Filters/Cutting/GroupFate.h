#pragma once

#include "Proc/Settings/CutTimeline.h"

namespace Tessor::Proc
{

/// What a cut makes of a group of pictures, by the time that the group shows.
enum class GroupFate
{
    Pass,    ///< it is kept, and only moved in time
    Part,    ///< a cut runs through it
    Drop,    ///< nothing of it is kept
    Discard, ///< it ends before it starts, or nobody knows where, and can't be placed
};

TESSOR_API GroupFate FindGroupFate(const CutTimeline& cut, avTime start, avTime end);

} // namespace Tessor::Proc
