#include "jobs/repack/MuxPump.h"

#include "ffhost/streams/ReadAhead.h"
#include "jobs/IProgress.h"
#include "jobs/Times.h"

#include <algorithm>

namespace Tessor::Jobs
{

namespace
{

constexpr size_t waiting_packets = 64;

avTime TimeOf(const Proc::IDataPacket& packet)
{
    return packet.GetDTS() != NoTime ? packet.GetDTS() : packet.GetPTS();
}

} // namespace

size_t MuxPump::Add(const SP<Proc::IStreamRaw>& stream, const SP<Conf::IFormatCodec>& format,
                    const Host::TrackInfo& info)
{
    Host::FramedTrack framed(stream, format, muxer, info);
    const int number = muxer.AddTrack(info, framed.GetFormatCodec(), false);
    tracks.push_back({.number = number, .dense = std::move(framed), .index = info.index});
    return tracks.size() - 1;
}

size_t MuxPump::AddEncoded(const SP<Host::TrackEncoder>& encoder, const Host::TrackInfo& info)
{
    return Add(Host::ReadAhead<Proc::IStreamRaw>::Create(SP<Proc::IStreamRaw>(encoder), waiting_packets), info.format,
               info);
}

size_t MuxPump::AddSparse(Host::Demuxer& source, const Host::TrackInfo& info, Placement placement)
{
    const int number = muxer.AddTrack(info, info.format, true);
    // an attachment has no packets
    tracks.push_back({.number = number,
                      .dense = std::nullopt,
                      .source = info.attachment ? nullptr : &source,
                      .index = info.index,
                      .placement = info.attachedPicture ? nullptr : std::move(placement)});
    return tracks.size() - 1;
}

long long MuxPump::GetDamagedCount(size_t place) const
{
    const Track& track = tracks.at(place);
    return track.dense ? track.dense->GetDamagedCount() : 0;
}

Statistics MuxPump::GetStatistics() const
{
    Statistics statistics;
    for (const Track& track : tracks)
        if (track.dense)
            statistics.push_back({track.index, track.dense->GetStatistic()});
    return statistics;
}

void MuxPump::Run(avTime duration, IProgress& progress)
{
    for (Track& track : tracks)
    {
        if (track.dense)
            track.dense->RequestSeek(0);
    }
    for (Track& track : tracks)
    {
        if (track.dense)
            track.dense->DoSeek();
    }
    const double whole = Seconds(std::max<avTime>(duration, 1));
    avTime reached = 0;
    while (Track* track = Earliest())
    {
        ThrowIfCancelled(progress);
        WriteNext(*track);
        WriteSparse();
        if (track->lastTime != NoTime)
            reached = std::max(reached, track->lastTime);
        progress.Tell(Seconds(reached) / whole, reached);
    }
    WriteSparse();
    ThrowIfCancelled(progress); // who reads ahead may have been told so, and nobody waited for what was read
    progress.Finish(std::max<avTime>(duration, 1));
}

MuxPump::Track* MuxPump::Earliest()
{
    Track* earliest = nullptr;
    for (Track& track : tracks)
    {
        // NoTime is below every time: a track that has delivered nothing yet comes first
        if (track.dense && !track.ended && (!earliest || track.lastTime < earliest->lastTime))
            earliest = &track;
    }
    return earliest;
}

void MuxPump::WriteNext(Track& track)
{
    const SP<Proc::IDataPacket> packet = track.dense->Read();
    if (!packet)
    {
        track.ended = true;
        muxer.EndTrack(track.number);
        return;
    }
    ++track.packets;
    track.lastTime = std::max(track.lastTime, TimeOf(*packet));
    muxer.Write(track.number, packet);
}

void MuxPump::WriteSparse()
{
    for (Track& track : tracks)
    {
        if (!track.source)
            continue;
        for (const SP<Proc::IDataPacket>& packet : track.source->TakeSparse(track.index))
        {
            const auto placed = track.placement ? track.placement(packet) : std::vector<SP<Proc::IDataPacket>>{packet};
            for (const SP<Proc::IDataPacket>& piece : placed)
            {
                ++track.packets;
                muxer.Write(track.number, piece);
            }
        }
    }
}

} // namespace Tessor::Jobs
