#include "jobs/cut/KeptTime.h"

#include "Proc/Settings/SettingsFilterCutController.h"

namespace Tessor::Jobs
{

namespace
{

std::deque<Proc::CutTimeline::Interval> MakeIntervals(const std::vector<Range>& kept, avTime duration, bool keepsLead)
{
    Proc::SettingsFilterCutController cut;
    for (const Range& range : kept)
        cut.AddInterval(range.start, range.end >= duration ? MAX_DURATION : range.end, NoTime, false);
    if (!keepsLead)
        cut.AddInterval(-MAX_DURATION, 0, NoTime, true);
    return cut.intervals;
}

} // namespace

KeptTime::KeptTime(const std::vector<Range>& kept, avTime duration, bool keepsLead)
    : ranges(kept), timeline(MakeIntervals(kept, duration, keepsLead))
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
    if (time == NoTime || timeline.GetInterval(timeline.GetIndex(time)).deleted)
        return std::nullopt;
    return timeline.Source2Result(time);
}

std::optional<avTime> KeptTime::FindItem(avTime time, avTime duration, avTime next) const
{
    if (const std::optional<avTime> place = Find(time))
        return place;
    const avTime end = duration > 0 ? AddTime(time, duration) : next;
    if (time == NoTime || end == NoTime || timeline.Source2Result(end) <= timeline.Source2Result(time))
        return std::nullopt;
    return timeline.Source2Result(time);
}

} // namespace Tessor::Jobs
