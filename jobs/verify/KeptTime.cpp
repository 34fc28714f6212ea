#include "jobs/verify/KeptTime.h"

#include "jobs/cut/KeptRanges.h"

namespace Tessor::Jobs
{

KeptTime::KeptTime(const Proc::CutTimeline& cut, avTime duration) : ranges(GetKeptRanges(cut, duration)), timeline(cut)
{
}

KeptTime::KeptTime(const std::vector<Range>& kept, avTime duration, bool keepsLead)
    : ranges(kept), timeline(KeepRanges(kept, duration, keepsLead))
{
}

std::vector<avTime> KeptTime::GetSeams() const
{
    std::vector<avTime> seams{0};
    for (const Range& range : ranges)
        seams.push_back(seams.back() + range.end - range.start);
    return seams;
}

std::optional<avTime> KeptTime::Find(avTime time) const
{
    if (time == NoTime || timeline.IsPointDeleted(time))
        return std::nullopt;
    return timeline.Source2Result(time);
}

std::optional<avTime> KeptTime::FindItem(avTime time, avTime duration, avTime next) const
{
    if (const std::optional<avTime> place = Find(time))
        return place;
    // Deleted time has no length in the result: two times that differ there have kept time between them.
    const avTime end = duration > 0 ? AddTime(time, duration) : next != NoTime ? next : MAX_DURATION;
    if (time == NoTime || timeline.Source2Result(end) <= timeline.Source2Result(time))
        return std::nullopt;
    return timeline.Source2Result(time);
}

} // namespace Tessor::Jobs
