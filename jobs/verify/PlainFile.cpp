#include "jobs/verify/PlainFile.h"

#include "ffhost/streams/SampleParts.h"
#include "jobs/InputFile.h"
#include "jobs/ReadJointly.h"
#include "jobs/TrackSelection.h"

#include <algorithm>

namespace Tessor::Jobs
{

namespace
{

using Host::PacketForm;
using Host::PacketPrint;

/// An attachment is its bytes.
PacketPrint PrintAttachment(const Host::TrackInfo& info)
{
    const SP<const Proc::IBlob> bytes = info.format ? info.format->GetExtradata() : nullptr;
    const std::string_view text =
        bytes ? std::string_view(reinterpret_cast<const char*>(bytes->Data()), bytes->Size()) : std::string_view();
    return {std::hash<std::string_view>()(text), NoTime, 0};
}

/// Prints the packets of all tracks in one read of the file. Items of sparse tracks are kept until the end, as one
/// without a duration is placed by the next.
class Reading
{
public:
    Reading(const SP<Host::Demuxer>& demuxer, ReadProgress& progress, const KeptTime* kept)
        : demuxer(demuxer), progress(progress), kept(kept)
    {
        // nobody decodes here
        demuxer->KeepLeadIns(false);
        std::vector<std::string> ignored;
        for (const SelectedTrack& selected : SelectTracks(*demuxer, "", ignored))
        {
            const Host::TrackInfo& info = demuxer->GetInfo().tracks[static_cast<size_t>(selected.index)];
            forms.emplace_back(info);
            tracks.push_back({info, forms.back().IsLinear(), 0, {}});
            if (!selected.stream)
                sparse.push_back({tracks.size() - 1, {}});
            else
            {
                dense.push_back(tracks.size() - 1);
                streams.push_back(kept ? Host::SampleParts::Create(selected.stream, info,
                                                                   [kept](avTime time) { return kept->GetEnd(time); })
                                       : selected.stream);
            }
        }
    }

    PlainFile Run()
    {
        ReadJointly(streams,
                    [&](size_t place, const SP<Proc::IDataPacket>& packet)
                    {
                        Add(dense[place], *packet);
                        progress.Reach(packet->GetPTS());
                        CollectItems();
                    });
        CollectItems();
        for (const size_t track : dense)
            Finish(track);
        for (const SparseItems& items : sparse)
            AddItems(items);
        return {demuxer->GetInfo(), std::move(tracks)};
    }

private:
    struct SparseItems
    {
        size_t track;
        std::vector<SP<Proc::IDataPacket>> packets;
    };

    void Add(size_t track, const Proc::IDataPacket& packet)
    {
        const avTime time = packet.GetPTS() != NoTime ? packet.GetPTS() : packet.GetDTS();
        const std::optional<avTime> place = kept ? kept->Find(time) : time;
        if (!place)
            return;
        forms[track].Add(packet, *place, tracks[track].packets);
        tracks[track].longest = std::max(tracks[track].longest, packet.GetDuration());
    }

    void Finish(size_t track)
    {
        std::vector<PacketPrint>& packets = tracks[track].packets;
        forms[track].Finish(packets);
        for (const PacketPrint& print : packets)
            tracks[track].longest = std::max(tracks[track].longest, print.length);
        if (!kept && packets.size() > 1 && PacketForm::BeginsUntold(demuxer->GetInfo(), tracks[track].info))
            packets[0].time = packets[1].time - packets[0].length;
    }

    void CollectItems()
    {
        for (SparseItems& items : sparse)
        {
            const Host::TrackInfo& info = tracks[items.track].info;
            if (info.attachment)
                continue;
            for (const SP<Proc::IDataPacket>& packet : demuxer->TakeSparse(info.index))
                items.packets.push_back(packet);
        }
    }

    void AddItems(const SparseItems& items)
    {
        PlainTrack& track = tracks[items.track];
        if (track.info.attachment)
            track.packets.push_back(PrintAttachment(track.info));
        for (size_t i = 0; i < items.packets.size(); ++i)
        {
            const Proc::IDataPacket& packet = *items.packets[i];
            const avTime next = i + 1 < items.packets.size() ? items.packets[i + 1]->GetPTS() : NoTime;
            const std::optional<avTime> place =
                kept ? kept->FindItem(packet.GetPTS(), packet.GetDuration(), next) : packet.GetPTS();
            if (track.info.attachedPicture || place)
                forms[items.track].Add(packet, track.info.attachedPicture ? NoTime : *place, track.packets);
        }
    }

    const SP<Host::Demuxer> demuxer;
    ReadProgress& progress;
    const KeptTime* const kept; // null: all of it
    std::vector<PlainTrack> tracks;
    std::vector<PacketForm> forms; // of `tracks`
    std::vector<size_t> dense;     // places in `tracks`
    std::vector<SP<Proc::IStreamRaw>> streams;
    std::vector<SparseItems> sparse;
};

} // namespace

PlainFile ReadPlainFile(const Input& input, const IProgress& progress, ReadProgress& reading, const KeptTime* kept)
{
    return Reading(OpenInput(input, progress), reading, kept).Run();
}

} // namespace Tessor::Jobs
