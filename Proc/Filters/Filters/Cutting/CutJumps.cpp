#include "Proc/Filters/Filters/Cutting/CutJumps.h"

#include "Fnd/Exception.h"

#include <algorithm>
#include <glog/logging.h>
#include <memory>
#include <set>

namespace Tessor::Proc
{

namespace
{

// A shorter stretch is read through: that is cheaper than a seek.
constexpr avTime SHORTEST_JUMP = 5 * SECOND;

} // namespace

// ---- streams

// A cut stream that is made reads its source, to find out whether it can re-encode: nobody may move that meanwhile.
void CutJumps::AddStream(const SP<IStream>& source, const std::function<IStreamCutInterval*()>& make)
{
    const Lock seekLock(seekMutex);
    const auto hold = intervals->Hold();
    CheckNewStream(source.get());
    streams.push_back({source, make()});
}

void CutJumps::CheckNewStream(const IStream* stream) const
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

void CutJumps::EraseStream(IStream* source)
{
    // Whoever jumps calls the cut streams: none of them may go while that lasts.
    const Lock seekLock(seekMutex);
    const auto hold = intervals->Hold();
    std::erase_if(streams, [&](const StreamLink& link) { return link.source.get() == source; });
}

bool CutJumps::HasRawStream() const
{
    return std::any_of(streams.begin(), streams.end(), [](const StreamLink& link) { return link.cut->IsRawStream(); });
}

bool CutJumps::CheckPositionForEOF(avTime position) const
{
    if (position == NoTime)
        return false;
    const auto hold = intervals->Hold(); // the streams stay
    const CutTimeline now = intervals->GetTimeline();
    const size_t index = now.GetIndex(position);
    const avTime duration = streams.empty() ? NoTime : streams.front().source->GetDuration();
    if (duration == NoTime) // then only the last interval is sure to have nothing after it
        return index + 1 == now.GetCount();
    return now.GetInterval(index).end >= duration;
}

// ---- seeking

// All requests come first: sources that are tracks of one file move together, at the first DoSeek.
void CutJumps::SeekSources(avTime position)
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
avTime CutJumps::FindGOPStart() const
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

bool CutJumps::SeekInputStreams(avTime position, bool seekAgain)
{
    const Lock seekLock(seekMutex);
    SeekSources(position);
    const avTime gopStart = FindGOPStart();
    if (gopStart == NoTime)
        return false;
    VLOG(30) << "FilterCutController - set cut position to start of GOP: " << T2S(gopStart) << "\n";
    intervals->AddGOPPoint(gopStart);
    if (gopStart == position)
        return true;
    intervals->Keep(gopStart, position);
    // streams that can start anywhere stand at the position, and what is kept begins before it now
    if (seekAgain)
        SeekSources(gopStart);
    return true;
}

void CutJumps::SeekToNextPosition(avTime position)
{
    SeekToNextPosition(position, moves);
}

void CutJumps::SeekToNextPosition(avTime position, uint64_t movesSeen)
{
    const Lock seekLock(seekMutex);
    if (moves != movesSeen)
        return;
    const CutTimeline now = intervals->GetTimeline();
    const CutInterval stretch = now.GetInterval(now.GetIndex(position));
    // An item without a time says nothing about where to go, and nothing is to be jumped in kept time.
    if (position == NoTime || !stretch.deleted || SubTime(stretch.end, stretch.start) < SHORTEST_JUMP)
        return;
    // The intervals are free while the helpers work: they look them up and may widen them.
    SaveBeforeSeek(stretch);
    if (jumpRefused)
        return;
    // A group across the start of the stretch was kept whole: of what is kept now, some was dropped or not saved.
    if (!intervals->IsPointDeleted(stretch.start))
        SeekSources(stretch.start);
    else if (AnyVoteForSeek())
        SeekInputStreams(stretch.end, true);
}

void CutJumps::SaveBeforeSeek(const CutInterval& stretch)
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
    catch (...) // helpers that were started already read their sources
    {
        waitForAll();
        throw;
    }
    waitForAll();
}

/// A decoded stream that stands in kept time can do without the jump.
bool CutJumps::AnyVoteForSeek() const
{
    return std::any_of(streams.begin(), streams.end(),
                       [&](const StreamLink& link)
                       {
                           const avTime position = link.cut->GetSourcePosition();
                           return position == NoTime || intervals->IsPointDeleted(position) || link.cut->IsRawStream();
                       });
}

// ---- snapping to starts of groups

void CutJumps::DetectNewGOPS()
{
    const Lock seekLock(seekMutex);
    const auto hold = intervals->Hold(); // nobody is told what is about to move
    if (intervals->AreGOPSDetected())
        return;
    if (HasRawStream())
        MoveStarts(streams.front().source->GetDuration());
    intervals->SetGOPSDetected();
}

void CutJumps::MoveStarts(avTime duration)
{
    std::set<avTime> tried; // a start that no seek reaches must not be tried for ever
    CutTimeline now = intervals->GetTimeline();
    for (size_t i = 0; i < now.GetCount(); ++i)
    {
        const CutInterval interval = now.GetInterval(i);
        const bool inside = interval.start > 0 && (duration == NoTime || interval.start < duration);
        if (interval.deleted || !inside || intervals->IsGOPPoint(interval.start) ||
            !tried.insert(interval.start).second || !SeekInputStreams(interval.start, false))
            continue;
        now = intervals->GetTimeline();
        i = static_cast<size_t>(-1); // the list may have changed: start over
    }
}

} // namespace Tessor::Proc
