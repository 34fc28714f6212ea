#pragma once

#include "Fnd/Property/Property.h"

#include <vector>

namespace Tessor::Jobs
{

/// What the filters of one track of a file have counted, the source's side first.
struct TrackStatistics
{
    int track = 0;
    Core::Property filters = {};
};

using Statistics = std::vector<TrackStatistics>;

} // namespace Tessor::Jobs
