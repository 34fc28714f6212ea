#include "ffhost/io/reading/CutPlan.h"

#include <algorithm>
#include <limits>

namespace Tessor::Host
{

CutPlan::CutPlan(const Proc::SettingsFilterCutController& cut)
{
    Proc::SettingsFilterCutController sorted = cut;
    sorted.UpdateOptimizedList();
    for (const auto& interval : sorted.intervals)
        if (interval.deleted)
            stretches.push_back({interval.start, interval.end});
    if (!stretches.empty() && sorted.intervals.front().deleted)
        stretches.front().start = std::numeric_limits<avTime>::min() + 1;
    if (!stretches.empty() && sorted.intervals.back().deleted)
        stretches.back().end = std::numeric_limits<avTime>::max();
}

std::optional<CutPlan::Stretch> CutPlan::FindStretch(avTime time) const
{
    for (const Stretch& stretch : stretches)
        if (time >= stretch.start && time < stretch.end)
            return stretch;
    return std::nullopt;
}

bool CutPlan::IsKeptStart(avTime time) const
{
    return std::any_of(stretches.begin(), stretches.end(), [=](const Stretch& s) { return s.end == time; });
}

bool CutPlan::IsDeleted(avTime start, avTime end) const
{
    const auto stretch = FindStretch(start);
    return start >= end || (stretch && stretch->end >= end);
}

bool CutPlan::IsPartlyKept(avTime start, avTime end) const
{
    return std::any_of(stretches.begin(), stretches.end(),
                       [=](const Stretch& s)
                       { return s.start < end && s.end > start && !(s.start <= start && s.end >= end); });
}

} // namespace Tessor::Host
