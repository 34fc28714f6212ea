#include "Proc/Filters/Filters/Cutting/FilterCutController.h"

#include "Proc/Filters/Filters/Cutting/FilterCutControllerStreamImpl.h"
#include "Proc/Filters/Filters/Cutting/FilterCutControllerStreamRawImpl.h"
#include "Proc/Filters/Filters/Cutting/RemovePart.h"

#include <algorithm>
#include <glog/logging.h>
#include <memory>
#include <set>
#include <stdexcept>

namespace Tessor::Proc
{

namespace
{

// A shorter stretch is read through: that is cheaper than a seek.
constexpr avTime SHORTEST_JUMP = 5000000;

} // namespace

SP<FilterCutController> FilterCutController::Create(const Settings& settings, SP<ICodecFactory> codecFactory)
{
    if (!dynamic_cast<const SettingsFilterCutController*>(&settings))
        Throw<FilterException>(TESSOR_HERE, "Wrong settings!");
    SP<FilterCutController> controller(new FilterCutController);
    controller->codecFactory = codecFactory;
    controller->Initialize(settings);
    return controller;
}

void FilterCutController::Initialize(const Core::Property& property)
{
    if (property.GetName() != SettingsFilterCutController::CLASS_ID)
        Throw<std::invalid_argument>(TESSOR_HERE, "incorrect controller name");
    Initialize(Property2SettingsCutController(property));
}

void FilterCutController::Initialize(const Settings& newSettings)
{
    const auto* const own = dynamic_cast<const SettingsFilterCutController*>(&newSettings);
    if (!own)
        Throw<std::invalid_argument>(TESSOR_HERE, "wrong settings");
    const Lock lock(settingsMutex);
    gopsDetected = false;
    SetIntervals(*own);
}

void FilterCutController::SetIntervals(const SettingsFilterCutController& newSettings)
{
    settings = newSettings;
    settings.UpdateOptimizedList();
    timeline = CutTimeline(settings.intervals);
}

void FilterCutController::KeepInterval(avTime start, avTime end)
{
    settings.AddInterval(start, end, NoTime, false);
    timeline = CutTimeline(settings.intervals);
}

avTime FilterCutController::KeepWhole(avTime start, avTime end)
{
    const Lock lock(settingsMutex);
    SettingsFilterCutController wider = settings;
    wider.AddInterval(start, end, NoTime, false);
    Initialize(wider);
    AddGOPPoint(start); // no seek has to find it out, which would move streams that nobody seeks
    return GetResultDuration(start, end);
}

// ---- streams

SP<IStreamRaw> FilterCutController::AddStream(const SP<IStreamRaw>& stream)
{
    const Lock seekLock(seekMutex);
    const Lock lock(settingsMutex);
    CheckNewStream(stream.get());
    if (!codecFactory)
        Throw<FilterException>(TESSOR_HERE, "Codec factory is not provided to FilterCutController. Call "
                                            "FilterCutController::SetCodecFacory(..) before.");
    return Add<FilterCutControllerStreamRawImpl>(stream, codecFactory);
}

SP<IStreamAudio> FilterCutController::AddStream(const SP<IStreamAudio>& stream)
{
    return Add<FilterCutControllerStreamImpl<IStreamAudio>>(stream);
}

SP<IStreamVideo> FilterCutController::AddStream(const SP<IStreamVideo>& stream)
{
    return Add<FilterCutControllerStreamImpl<IStreamVideo>>(stream);
}

SP<IStreamSubtitle> FilterCutController::AddStream(const SP<IStreamSubtitle>& stream)
{
    return Add<FilterCutControllerStreamImpl<IStreamSubtitle>>(stream);
}

template <class Cut, class Stream, class... More>
SP<Stream> FilterCutController::Add(const SP<Stream>& stream, const More&... more)
{
    const Lock seekLock(seekMutex);
    const Lock lock(settingsMutex);
    CheckNewStream(stream.get());
    const SP<Cut> cut(new Cut(stream, SP<FilterCutController>(this), more...));
    streams.push_back({stream, cut.get()});
    return cut;
}

void FilterCutController::CheckNewStream(const IStream* stream) const
{
    if (!stream || streams.empty())
        return; // the cut stream refuses a null one
    for (const StreamLink& link : streams)
        if (link.source.get() == stream)
            Throw<FilterException>(TESSOR_HERE, "This stream is already added into current FilterCutController object");
    const avTime duration = stream->GetDuration();
    for (const StreamLink& link : streams)
        if (link.source->GetDuration() != duration)
            Throw<FilterException>(TESSOR_HERE, "Duration of new stream differs from duration of other streams already "
                                                "registered in FilterCutController.");
}

void FilterCutController::EraseStream(IStream* source)
{
    // Whoever jumps calls the cut streams: none of them may go while that lasts.
    const Lock seekLock(seekMutex);
    const Lock lock(settingsMutex);
    std::erase_if(streams, [&](const StreamLink& link) { return link.source.get() == source; });
}

bool FilterCutController::HasRawStream() const
{
    return std::any_of(streams.begin(), streams.end(), [](const StreamLink& link) { return link.cut->IsRawStream(); });
}

// ---- lookups: each takes the lock anew, for the list may change between any two

SettingsFilterCutController FilterCutController::GetCut() const
{
    const Lock lock(settingsMutex);
    return settings;
}

bool FilterCutController::CutsAreAbsent() const
{
    const Lock lock(settingsMutex);
    return timeline.GetCount() == 1 && !timeline.GetInterval(0).deleted;
}

avTime FilterCutController::Source2Result(avTime t) const
{
    const Lock lock(settingsMutex);
    return timeline.Source2Result(t);
}

avTime FilterCutController::Result2Source(avTime t) const
{
    const Lock lock(settingsMutex);
    return timeline.Result2Source(t);
}

CutTimeline::Interval FilterCutController::GetInterval(avTime t) const
{
    const Lock lock(settingsMutex);
    return timeline.GetInterval(timeline.GetIndex(t));
}

avTime FilterCutController::GetResultDuration(avTime start, avTime end) const
{
    const Lock lock(settingsMutex);
    return start == end ? 0 : SubTime(timeline.Source2Result(end), timeline.Source2Result(start));
}

avTime FilterCutController::GetIntervalEndTime(avTime t) const
{
    return GetInterval(t).end;
}

bool FilterCutController::IsPointDeleted(avTime t) const
{
    return GetInterval(t).deleted;
}

bool FilterCutController::CheckPositionForEOF(avTime position) const
{
    const Lock lock(settingsMutex);
    if (position == NoTime)
        return false;
    const size_t index = timeline.GetIndex(position);
    const avTime duration = streams.empty() ? NoTime : streams.front().source->GetDuration();
    if (duration == NoTime)
        return index + 1 == timeline.GetCount();
    return timeline.GetInterval(index).end >= duration;
}

// ---- cutting of single items

SP<IDataPacket> FilterCutController::CutData(const SP<IDataPacket>& packet) const
{
    const avTime pts = packet->GetPTS();
    const avTime dts = packet->GetDTS();
    const avTime t = pts != NoTime ? pts : dts;
    if (t == NoTime)
        return packet;
    const Lock lock(settingsMutex);
    if (IsPointDeleted(t))
        return nullptr;
    const avTime removed = SubTime(t, timeline.Source2Result(t));
    SP<IDataPacket> cut = packet->Clone();
    if (pts != NoTime)
        cut->SetPTS(SubTime(pts, removed));
    if (dts != NoTime)
        cut->SetDTS(SubTime(dts, removed));
    return cut;
}

template <class T>
SP<T> FilterCutController::CutDataTemplate(const SP<T>& item) const
{
    const avTime start = item->GetPTS();
    const avTime end = AddTime(start, item->GetDuration());
    const Lock lock(settingsMutex);
    const avTime resultStart = timeline.Source2Result(start);
    const avTime resultEnd = timeline.Source2Result(end);
    // an unknown duration leaves the start alone to decide
    if (resultStart == resultEnd || (end == NoTime && IsPointDeleted(start)))
        return nullptr;
    SP<T> clone = item->Clone(0);
    if (SubTime(resultEnd, resultStart) != item->GetDuration())
    {
        try
        {
            RemoveDeleted(*clone, start, end);
        }
        catch (const Exception&)
        {
            return nullptr;
        }
    }
    clone->SetPTS(resultStart);
    return clone;
}

template SP<IDataVideo> FilterCutController::CutDataTemplate(const SP<IDataVideo>&) const;
template SP<IDataAudio> FilterCutController::CutDataTemplate(const SP<IDataAudio>&) const;
template SP<IDataSubtitle> FilterCutController::CutDataTemplate(const SP<IDataSubtitle>&) const;

/// Takes one deleted interval out of the item, which holds [start, end) of the source.
template <class T>
void FilterCutController::RemoveDeleted(T& clone, avTime start, avTime end) const
{
    const size_t first = timeline.GetIndex(start);
    const size_t last = timeline.GetIndex(end);
    const CutTimeline::Interval& firstInterval = timeline.GetInterval(first);
    if (last - first == 1)
    {
        if (firstInterval.deleted)
            clone.TrimStart(SubTime(firstInterval.end, start));
        else
            clone.TrimEnd(SubTime(end, firstInterval.end));
        return;
    }
    for (size_t i = last + 1; i-- > first;)
    {
        const CutTimeline::Interval& interval = timeline.GetInterval(i);
        if (!interval.deleted)
            continue;
        const avTime from = std::max(start, interval.start);
        RemovePart(clone, SubTime(from, start), SubTime(std::min(interval.end, end), from));
        return;
    }
}

// ---- seeking

void FilterCutController::SeekSources(avTime position)
{
    const boost::lock_guard<boost::shared_mutex> lock(sourceMutex);
    // counted at the end, and also when one of them fails: others may have been moved
    const std::shared_ptr<void> counted(nullptr, [this](void*) { ++moves; });
    for (const StreamLink& link : streams)
        link.source->RequestSeek(position, nullptr);
    for (const StreamLink& link : streams)
        link.source->DoSeek();
}

/// Where the first stream that can only start on key frames stands; NoTime when there is none.
avTime FilterCutController::FindGOPStart() const
{
    for (const StreamLink& link : streams)
    {
        if (!link.cut->KeyframeSeek())
            continue;
        const avTime position = link.cut->GetSourcePosition();
        if (position != NoTime)
            return position;
    }
    return NoTime;
}

bool FilterCutController::SeekInputStreams(avTime position, bool seekAgain)
{
    const Lock seekLock(seekMutex);
    SeekSources(position);
    const avTime gopStart = FindGOPStart();
    if (gopStart == NoTime)
        return false;
    VLOG(30) << "FilterCutController - set cut position to start of GOP: " << T2S(gopStart) << "\n";
    AddGOPPoint(gopStart);
    if (gopStart == position)
        return true;
    {
        const Lock lock(settingsMutex);
        KeepInterval(gopStart, position);
    }
    if (seekAgain)
        SeekSources(gopStart);
    return true;
}

void FilterCutController::SeekToNextPosition(avTime position)
{
    SeekToNextPosition(position, moves);
}

void FilterCutController::SeekToNextPosition(avTime position, uint64_t movesSeen)
{
    const Lock seekLock(seekMutex);
    if (moves != movesSeen)
        return;
    // The settings are free while the helpers work: they look intervals up and may widen them.
    if (!JumpsFrom(position))
        return;
    const CutTimeline::Interval stretch = GetInterval(position);
    SaveBeforeSeek(stretch);
    if (jumpRefused)
        return;
    // A group across the start of the stretch was kept whole: of what is kept now, some was dropped or not saved.
    if (!IsPointDeleted(stretch.start))
        SeekSources(stretch.start);
    else if (AnyVoteForSeek())
        SeekInputStreams(stretch.end, true);
}

bool FilterCutController::JumpsFrom(avTime position) const
{
    const CutTimeline::Interval interval = GetInterval(position);
    // An item without a time says nothing about where to go, and nothing is to be jumped in kept time.
    return position != NoTime && interval.deleted && SubTime(interval.end, interval.start) >= SHORTEST_JUMP;
}

void FilterCutController::SaveBeforeSeek(const CutTimeline::Interval& stretch)
{
    const auto waitForAll = [this]
    {
        for (const StreamLink& link : streams)
            link.cut->WaitForSeek();
    };
    jumpRefused = false;
    try
    {
        for (const StreamLink& link : streams)
            link.cut->SavePacketsBeforeSeek(stretch.start, stretch.end);
    }
    catch (...)
    {
        waitForAll();
        throw;
    }
    waitForAll();
}

/// A decoded stream that stands in kept time can do without the jump.
bool FilterCutController::AnyVoteForSeek() const
{
    return std::any_of(streams.begin(), streams.end(),
                       [&](const StreamLink& link)
                       {
                           const avTime position = link.cut->GetSourcePosition();
                           return position == NoTime || IsPointDeleted(position) || link.cut->IsRawStream();
                       });
}

// ---- snapping to starts of groups

void FilterCutController::AddGOPPoint(avTime t)
{
    const Lock lock(settingsMutex);
    if (t != 0 && !IsGOPPoint(t))
        gopPoints.push_back(t);
}

bool FilterCutController::IsGOPPoint(avTime t) const
{
    return std::find(gopPoints.begin(), gopPoints.end(), t) != gopPoints.end();
}

void FilterCutController::DetectNewGOPS()
{
    const Lock seekLock(seekMutex);
    const Lock lock(settingsMutex);
    if (gopsDetected)
        return;
    if (HasRawStream())
    {
        const avTime duration = streams.front().source->GetDuration();
        std::set<avTime> tried; // a start that no seek reaches must not be tried for ever
        for (size_t i = 0; i < timeline.GetCount(); ++i)
        {
            const CutTimeline::Interval interval = timeline.GetInterval(i);
            const bool inside = interval.start > 0 && (duration == NoTime || interval.start < duration);
            if (interval.deleted || !inside || !tried.insert(interval.start).second || IsGOPPoint(interval.start))
                continue;
            if (SeekInputStreams(interval.start, false))
                i = static_cast<size_t>(-1); // the list may have changed: start over
        }
    }
    gopsDetected = true;
}

} // namespace Tessor::Proc
