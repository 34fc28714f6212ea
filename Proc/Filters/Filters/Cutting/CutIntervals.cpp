#include "Proc/Filters/Filters/Cutting/CutIntervals.h"

#include "Fnd/Exception.h"
#include "Proc/Filters/Filters/Cutting/RemovePart.h"

#include <algorithm>

namespace Tessor::Proc
{

namespace
{

/// Takes one deleted interval out of the item, which holds [start, end) of the source.
template <class T>
void RemoveDeleted(T& clone, const CutTimeline& timeline, avTime start, avTime end)
{
    const size_t first = timeline.GetIndex(start);
    const size_t last = timeline.GetIndex(end);
    const CutInterval& firstInterval = timeline.GetInterval(first);
    if (last - first == 1) // one bound lies in the item, and what is deleted reaches to one of its ends
    {
        if (firstInterval.deleted)
            clone.TrimStart(SubTime(firstInterval.end, start));
        else
            clone.TrimEnd(SubTime(end, firstInterval.end));
        return;
    }
    // Of several deleted intervals only the last is taken out. Who needs more parts items at the bounds beforehand.
    for (size_t i = last + 1; i-- > first;)
    {
        const CutInterval& interval = timeline.GetInterval(i);
        if (!interval.deleted)
            continue;
        const avTime from = std::max(start, interval.start);
        RemovePart(clone, SubTime(from, start), SubTime(std::min(interval.end, end), from));
        return;
    }
}

} // namespace

CutTimeline CutIntervals::GetTimeline() const
{
    const Lock lock(mutex);
    return timeline;
}

SettingsFilterCutController CutIntervals::GetSettings() const
{
    const Lock lock(mutex);
    SettingsFilterCutController settings;
    settings.intervals = timeline.GetIntervals();
    settings.streamIndex = streamIndex;
    return settings;
}

// ---- cutting of single items

SP<IDataPacket> CutIntervals::CutData(const SP<IDataPacket>& packet) const
{
    const avTime pts = packet->GetPTS();
    const avTime dts = packet->GetDTS();
    const avTime t = pts != NoTime ? pts : dts;
    if (t == NoTime)
        return packet;
    const CutTimeline now = GetTimeline(); // one for all questions: the list may widen between two
    if (now.IsPointDeleted(t))
        return nullptr;
    const avTime removed = SubTime(t, now.Source2Result(t));
    SP<IDataPacket> cut = packet->Clone();
    // both by the same amount, so that the order of decoding stays as it was
    if (pts != NoTime)
        cut->SetPTS(SubTime(pts, removed));
    if (dts != NoTime)
        cut->SetDTS(SubTime(dts, removed));
    return cut;
}

template <class T>
SP<T> CutIntervals::CutDataTemplate(const SP<T>& item) const
{
    const avTime start = item->GetPTS();
    const avTime end = AddTime(start, item->GetDuration());
    const CutTimeline now = GetTimeline();
    const avTime resultStart = now.Source2Result(start);
    const avTime resultEnd = now.Source2Result(end);
    // an unknown duration leaves the start alone to decide
    if (resultStart == resultEnd || (end == NoTime && now.IsPointDeleted(start)))
        return nullptr;
    SP<T> clone = item->Clone(0);
    if (SubTime(resultEnd, resultStart) != item->GetDuration())
    {
        try
        {
            RemoveDeleted(*clone, now, start, end);
        }
        catch (const Exception&) // what can't be trimmed goes whole
        {
            return nullptr;
        }
    }
    clone->SetPTS(resultStart);
    return clone;
}

template TESSOR_API SP<IDataVideo> CutIntervals::CutDataTemplate(const SP<IDataVideo>&) const;
template TESSOR_API SP<IDataAudio> CutIntervals::CutDataTemplate(const SP<IDataAudio>&) const;
template TESSOR_API SP<IDataSubtitle> CutIntervals::CutDataTemplate(const SP<IDataSubtitle>&) const;

// ---- changes: each publishes another timeline

void CutIntervals::Set(const CutTimeline& newTimeline, int32_t newStreamIndex)
{
    const Lock lock(mutex);
    timeline = newTimeline;
    streamIndex = newStreamIndex;
    gopsDetected = false;
}

void CutIntervals::Keep(avTime start, avTime end)
{
    const Lock lock(mutex);
    timeline = timeline.With({start, end, NoTime, false});
}

avTime CutIntervals::KeepWhole(avTime start, avTime end)
{
    const Lock lock(mutex);
    Keep(start, end);
    gopsDetected = false;
    AddGOPPoint(start); // no seek has to find it out, which would move streams that nobody seeks
    return timeline.GetResultDuration(start, end);
}

// ---- starts of groups

void CutIntervals::AddGOPPoint(avTime t)
{
    const Lock lock(mutex);
    const auto place = std::lower_bound(gopPoints.begin(), gopPoints.end(), t);
    // 0 is looked up by nobody: what starts with the file is never moved
    if (t != 0 && (place == gopPoints.end() || *place != t))
        gopPoints.insert(place, t);
}

bool CutIntervals::IsGOPPoint(avTime t) const
{
    const Lock lock(mutex);
    return std::binary_search(gopPoints.begin(), gopPoints.end(), t);
}

bool CutIntervals::AreGOPSDetected() const
{
    const Lock lock(mutex);
    return gopsDetected;
}

void CutIntervals::SetGOPSDetected()
{
    const Lock lock(mutex);
    gopsDetected = true;
}

} // namespace Tessor::Proc
