#pragma once

#include "Fnd/Time.h"

namespace Tessor::Proc::Details
{

/// The trims of items that have a time but no samples to cut: frames and subtitles. They throw Exception when the
/// amount is negative or reaches the duration, or a time is unknown.
TESSOR_API void TrimTimeStart(avTime& pts, avTime& duration, avTime amount);
TESSOR_API void TrimTimeEnd(avTime pts, avTime& duration, avTime amount);

} // namespace Tessor::Proc::Details
