#pragma once

#include "Fnd/Time.h"

#include <functional>

namespace Tessor::Host
{

/// How long a gap in the times of a track may be, so that it is filled.
struct GapLimit
{
    avTime longest = 10 * SECOND;
    /// Told of each that is longer, and is closed: where it begins and how long it is. On the thread that reads.
    std::function<void(avTime start, avTime length)> closed = nullptr;
};

} // namespace Tessor::Host
