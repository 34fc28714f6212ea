#include "jobs/cut/KeptContent.h"

#include "jobs/SeekTo.h"
#include "jobs/cut/Groups.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/cut/SparseTrack.h"

#include <algorithm>
#include <map>

namespace Tessor::Jobs
{

namespace
{

bool IsSubtitle(const Host::TrackInfo& track)
{
    return track.type == MediaType::Subtitle && !track.attachment && !track.attachedPicture;
}

/// The track that others are met along with: video, or else sound; null when there is neither.
SP<Proc::IStreamRaw> OpenGuide(Host::Demuxer& demuxer)
{
    int guide = -1;
    for (const Host::TrackInfo& track : demuxer.GetInfo().tracks)
    {
        const bool video = track.type == MediaType::Video && !track.attachedPicture;
        if (video || (track.type == MediaType::Audio && guide < 0))
            guide = track.index;
        if (video)
            break;
    }
    return guide < 0 ? nullptr : demuxer.GetStream(guide);
}

/// The sparse tracks of a file, as far as they have shown nothing that is kept.
class Search
{
public:
    Search(const SP<Host::Demuxer>& demuxer, const std::vector<Range>& kept)
        : demuxer(demuxer), kept(kept), cut(KeepRanges(kept, MAX_DURATION))
    {
        for (const Host::TrackInfo& track : demuxer->GetInfo().tracks)
        {
            if (!IsSubtitle(track))
                continue;
            demuxer->SelectSparse(track.index);
            missing[track.index] = {};
        }
    }

    std::set<int> Run()
    {
        const SP<Proc::IStreamRaw> guide = OpenGuide(*demuxer);
        for (const Range& range : kept)
        {
            if (!guide)
                break;
            SeekTo(*guide, range.start);
            while (const SP<Proc::IDataPacket> packet = guide->Read())
            {
                Look();
                // items lie beside what is decoded at their time
                if (missing.empty() || packet->GetDTS() >= range.end)
                    break;
            }
        }
        Look();
        for (auto& [track, items] : missing)
            if (!items.Push(nullptr, cut).empty())
                found.insert(track);
        return found;
    }

private:
    void Look()
    {
        for (auto entry = missing.begin(); entry != missing.end();)
        {
            bool any = false;
            for (const SP<Proc::IDataPacket>& packet : demuxer->TakeSparse(entry->first))
                // each packet has to be pushed: an item without a duration stands until the next one
                any = !entry->second.Push(packet, cut).empty() || any;
            if (any)
                found.insert(entry->first);
            entry = any ? missing.erase(entry) : std::next(entry);
        }
    }

    const SP<Host::Demuxer> demuxer;
    const std::vector<Range> kept;
    const Proc::CutTimeline cut;
    std::map<int, SparseTrack> missing;
    std::set<int> found;
};

} // namespace

bool KeptContent::Holds(const Host::TrackInfo& track, const SP<Proc::IStreamRaw>& stream)
{
    if (stream)
        return std::any_of(kept.begin(), kept.end(),
                           [&](const Range& range) { return HasPacketIn(*stream, range.start, range.end); });
    if (!IsSubtitle(track))
        return true;
    if (!items)
        items = FindItems();
    return items->contains(track.index);
}

// A file of its own: each demuxer hands an item out once only, and those that are met here are still to be written.
std::set<int> KeptContent::FindItems() const
{
    return Search(demuxer->OpenAgain(), kept).Run();
}

} // namespace Tessor::Jobs
