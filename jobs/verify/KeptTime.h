#pragma once

#include "Proc/Settings/CutTimeline.h"
#include "jobs/Times.h"

#include <optional>

namespace Tessor::Jobs
{

/// Where a cut puts what lies in a file, for those who judge it.
class KeptTime
{
public:
    KeptTime(const Proc::CutTimeline& cut, avTime duration);
    /// The cut that KeepRanges makes.
    KeptTime(const std::vector<Range>& kept, avTime duration, bool keepsLead = true);

    const std::vector<Range>& GetRanges() const { return ranges; }
    /// Where the pieces meet in the result, its start and its end.
    std::vector<avTime> GetSeams() const;
    /// The end of the stretch, kept or not, that holds a time.
    avTime GetEnd(avTime time) const { return timeline.GetIntervalEndTime(time); }
    /// The place in the result; nothing for a time that is not kept.
    std::optional<avTime> Find(avTime time) const;
    /// The same for an item that stands: without a duration until the next one, and without that to the end.
    std::optional<avTime> FindItem(avTime time, avTime duration, avTime next) const;

private:
    const std::vector<Range> ranges;
    const Proc::CutTimeline timeline;
};

} // namespace Tessor::Jobs
