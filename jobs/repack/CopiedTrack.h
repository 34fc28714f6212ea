#pragma once

#include "Fnd/Time.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// A track in a report.
struct CopiedTrack
{
    int index = 0; ///< in the source
    std::string kind, codec;
    long long packets = 0; ///< written
    /// Times of pictures that the source hides, and the output does not.
    std::vector<avTime> exposed = {};
};

} // namespace Tessor::Jobs
