#include "jobs/ClosedGaps.h"

#include "Fnd/Plural.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Jobs
{

void ClosedGaps::Add(avTime start, avTime length)
{
    const std::lock_guard lock(mutex);
    first = count++ == 0 ? start : first;
    longest = std::max(longest, length);
}

void ClosedGaps::Warn(const std::string& track, avTime limit, std::vector<std::string>& warnings) const
{
    const std::lock_guard lock(mutex);
    if (count > 0)
        warnings.push_back(fmt::format("{}: {} of more than {} closed, the first one at {}, the longest one of {}",
                                       track, Count(count, "gap"), T2S(limit), T2S(first), T2S(longest)));
}

} // namespace Tessor::Jobs
