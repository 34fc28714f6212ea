#include "jobs/repack/MuxPump.h"

#include "Fnd/Plural.h"
#include "ffhost/streams/ReadAhead.h"
#include "jobs/IProgress.h"
#include "jobs/InputDamage.h"
#include "jobs/JobError.h"
#include "jobs/Times.h"
#include "jobs/TrackSelection.h"
#include "jobs/sound/Pcm.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Jobs
{

namespace
{

// Enough to even out pictures that take an encoder long.
constexpr size_t waiting_packets = 64;

} // namespace

size_t MuxPump::Add(const SP<Proc::IStreamRaw>& stream, const SP<Conf::IFormatCodec>& format,
                    const Host::TrackInfo& info)
{
    // first the framing, whose conversion makes the header that the container is told
    Host::FramedTrack framed(stream, format, muxer, info);
    const int number = muxer.AddTrack(info, framed.GetFormatCodec(), false);
    order.Add();
    tracks.push_back({.number = number, .dense = std::move(framed), .index = info.index});
    return tracks.size() - 1;
}

size_t MuxPump::AddEncoded(const SP<Host::TrackEncoder>& encoder, const Host::TrackInfo& info)
{
    SP<Proc::IStreamRaw> stream(encoder);
    if (!IsPcm(encoder->GetEncoderName()))
        stream = Host::ReadAhead<Proc::IStreamRaw>::Create(stream, waiting_packets);
    return Add(stream, info.format, info);
}

size_t MuxPump::AddSparse(Host::Demuxer& source, const Host::TrackInfo& info, Placement placement)
{
    const int number = muxer.AddTrack(info, info.format, true);
    order.Add();
    order.Reach(tracks.size(), nullptr); // it is met while others are read
    // an attachment has no packets
    tracks.push_back({.number = number,
                      .dense = std::nullopt,
                      .source = info.attachment ? nullptr : &source,
                      .index = info.index,
                      .placement = info.attachedPicture ? nullptr : std::move(placement)});
    return tracks.size() - 1;
}

std::vector<std::string> MuxPump::GetWarnings(const Host::Demuxer& source, const Host::Damage& elsewhere) const
{
    std::vector<std::string> warnings;
    for (const std::string& loss : muxer.GetLosses())
        warnings.push_back("not carried over: " + loss);
    for (const Track& track : tracks)
        if (const long long damaged = track.dense ? track.dense->GetDamagedCount() : 0)
            warnings.push_back(
                fmt::format("not carried over: {} of track {}", Count(damaged, "damaged packet"), track.index));
    AddLateStreams(source, warnings);
    Host::Damage damage = source.GetDamage();
    damage.Join(elsewhere);
    AddDamage(source.GetInfo().path, damage, warnings);
    return warnings;
}

Statistics MuxPump::GetStatistics() const
{
    Statistics statistics;
    for (const Track& track : tracks)
        if (track.dense)
            statistics.push_back({track.index, track.dense->GetStatistic()});
    return statistics;
}

// All seeks are requested before the first is done, for a demuxer moves its tracks together.
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
    while (const auto place = order.FindNext())
    {
        ThrowIfCancelled(progress);
        WriteNext(*place);
        WriteSparse();
        reached = std::max(reached, order.GetReached(*place));
        // the duration may be an estimate
        progress.Tell(std::min(Seconds(reached) / whole, 1.0), reached);
    }
    WriteSparse();
    EndSparse();
    CheckContent();
    ThrowIfCancelled(progress); // who reads ahead may have been told so, and nobody waited for what was read
    progress.Finish(std::max<avTime>(duration, 1));
}

/// Pictures and sound are what a file is for, where the result has tracks of these at all.
void MuxPump::CheckContent() const
{
    const bool anyDense =
        std::any_of(tracks.begin(), tracks.end(), [](const Track& track) { return track.dense.has_value(); });
    const auto counts = [&](const Track& track) { return track.packets > 0 && (track.dense.has_value() || !anyDense); };
    if (std::none_of(tracks.begin(), tracks.end(), counts))
        throw JobError(JobError::Failed, muxer.GetPath() + ": is not written: not one packet of " +
                                             (anyDense ? "picture or sound" : "subtitles") + " came from the input");
}

void MuxPump::WriteNext(size_t place)
{
    Track& track = tracks[place];
    const SP<Proc::IDataPacket> packet = track.dense->Read();
    order.Reach(place, packet);
    if (!packet)
    {
        muxer.EndTrack(track.number);
        return;
    }
    ++track.packets;
    muxer.Write(track.number, packet);
}

// After each packet that was read, since reading it may have met items.
void MuxPump::WriteSparse()
{
    for (Track& track : tracks)
    {
        if (!track.source)
            continue;
        for (const SP<Proc::IDataPacket>& packet : track.source->TakeSparse(track.index))
            WritePieces(track, track.placement ? track.placement(packet) : std::vector{packet});
    }
}

void MuxPump::EndSparse()
{
    for (Track& track : tracks)
        if (track.source && track.placement)
            WritePieces(track, track.placement(nullptr));
}

void MuxPump::WritePieces(Track& track, const std::vector<SP<Proc::IDataPacket>>& pieces)
{
    for (const SP<Proc::IDataPacket>& piece : pieces)
    {
        ++track.packets;
        muxer.Write(track.number, piece);
    }
}

} // namespace Tessor::Jobs
