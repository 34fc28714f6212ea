#include "cli/MuxPump.h"

#include "cli/Interrupt.h"
#include "cli/Times.h"

#include <algorithm>

namespace Tessor::Cli
{

namespace
{

avTime TimeOf(const Proc::IDataPacket& packet)
{
    return packet.GetDTS() != NoTime ? packet.GetDTS() : packet.GetPTS();
}

} // namespace

const char* KindName(const Host::TrackInfo& info)
{
    switch (info.type)
    {
    case MediaType::Video:
        return info.attachedPicture ? "cover" : "video";
    case MediaType::Audio:
        return "audio";
    case MediaType::Subtitle:
        return "subtitle";
    default:
        return "attachment";
    }
}

size_t MuxPump::Add(const SP<Proc::IStreamRaw>& stream, int number)
{
    tracks.push_back({.stream = stream, .number = number});
    return tracks.size() - 1;
}

size_t MuxPump::AddSparse(const SP<Host::Demuxer>& source, const Host::TrackInfo& info, int number,
                          const CutSource& cut)
{
    tracks.push_back({.stream = nullptr,
                      .number = number,
                      .ended = true,
                      .source = source,
                      .index = info.index,
                      .cover = info.attachedPicture,
                      .cut = cut});
    return tracks.size() - 1;
}

void MuxPump::Run(avTime duration, Progress& progress)
{
    for (Track& track : tracks)
    {
        if (track.stream)
            track.stream->RequestSeek(0, nullptr);
    }
    for (Track& track : tracks)
    {
        if (track.stream)
            track.stream->DoSeek();
    }
    const double whole = Seconds(std::max<avTime>(duration, 1));
    avTime reached = 0;
    while (Track* track = Earliest())
    {
        ThrowIfInterrupted();
        WriteNext(*track);
        WriteSparse();
        if (track->lastTime != NoTime)
            reached = std::max(reached, track->lastTime);
        progress.Tell(Seconds(reached) / whole, Seconds(reached));
    }
    WriteSparse();
    progress.Finish(whole);
}

MuxPump::Track* MuxPump::Earliest()
{
    Track* earliest = nullptr;
    for (Track& track : tracks)
    {
        // NoTime is below every time: a track that has delivered nothing yet comes first
        if (!track.ended && (!earliest || track.lastTime < earliest->lastTime))
            earliest = &track;
    }
    return earliest;
}

void MuxPump::WriteNext(Track& track)
{
    const SP<Proc::IDataPacket> packet = track.stream->Read();
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
        if (track.stream)
            continue;
        for (const SP<Proc::IDataPacket>& packet : track.source->TakeSparse(track.index))
        {
            const auto placed =
                track.cover ? std::vector<SP<Proc::IDataPacket>>{packet} : track.sparse.Push(packet, track.cut());
            for (const SP<Proc::IDataPacket>& piece : placed)
            {
                ++track.packets;
                muxer.Write(track.number, piece);
            }
        }
    }
}

} // namespace Tessor::Cli
