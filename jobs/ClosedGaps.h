#pragma once

#include "Fnd/Time.h"

#include <mutex>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Counts the gaps of a track that were not filled, for its report. Threads: any.
class ClosedGaps
{
public:
    void Add(avTime start, avTime length);
    /// Warns of what was counted, in a line that begins with `track`; of nothing where there were none. `limit`: what
    /// they are longer than.
    void Warn(const std::string& track, avTime limit, std::vector<std::string>& warnings) const;

private:
    mutable std::mutex mutex;
    long long count = 0;
    avTime first = NoTime; // where the first one begins
    avTime longest = 0;
};

} // namespace Tessor::Jobs
