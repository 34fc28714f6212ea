#include "cli/TrackCopier.h"

#include "Fnd/Exception.h"
#include "cli/Interrupt.h"
#include "cli/Times.h"
#include "cli/TrackSelection.h"
#include "cli/UserError.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Cli
{

namespace
{

avTime TimeOf(const Proc::IDataPacket& packet)
{
    return packet.GetDTS() != NoTime ? packet.GetDTS() : packet.GetPTS();
}

} // namespace

TrackCopier::TrackCopier(Host::Demuxer& source, const std::string& output)
    : source(source), muxer(Host::Muxer::Create(output))
{
}

bool TrackCopier::AddStream(int track, const SP<Proc::IStreamRaw>& stream, const SP<Conf::IFormatCodec>& format)
{
    const Host::TrackInfo& info = InfoOf(track);
    if (!CanCarry(info))
        return false;
    try
    {
        Host::FramedTrack framed(stream, format, *muxer, info);
        const int number = muxer->AddTrack(info, framed.GetFormatCodec(), false);
        tracks.push_back({{track, KindName(info), info.codecName}, number, std::move(framed), nullptr});
        return true;
    }
    catch (const Exception& e)
    {
        LeaveOut(info, "its header can't be brought into the output's form: " + Describe(e));
        return false;
    }
}

bool TrackCopier::AddSparse(int track, Placement placement)
{
    const Host::TrackInfo& info = InfoOf(track);
    if (!CanCarry(info))
        return false;
    const int number = muxer->AddTrack(info, info.format, true);
    tracks.push_back({{track, KindName(info), info.codecName}, number, std::nullopt, std::move(placement)});
    return true;
}

bool TrackCopier::CanCarry(const Host::TrackInfo& info)
{
    const bool carried = muxer->CanCarry(info);
    if (!carried)
        LeaveOut(info, "the output's container can't carry it");
    return carried;
}

void TrackCopier::LeaveOut(const Host::TrackInfo& info, const std::string& cause)
{
    warnings.push_back(
        fmt::format("track {} ({}, {}) is left out: {}", info.index, KindName(info), info.codecName, cause));
}

void TrackCopier::Open(const std::vector<Host::ChapterInfo>& chapters)
{
    if (tracks.empty())
        throw UserError(ExitCode::Failed,
                        source.GetInfo().path + ": the output's container can carry none of the tracks");
    muxer->SetTags(source.GetInfo().tags);
    muxer->SetChapters(chapters);
    muxer->Open();
}

void TrackCopier::Copy(Progress& progress, avTime duration)
{
    for (Track& track : tracks)
        if (track.dense)
            track.dense->RequestSeek(0);
    for (Track& track : tracks)
        if (track.dense)
            track.dense->DoSeek();
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

TrackCopier::Track* TrackCopier::Earliest()
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

void TrackCopier::WriteNext(Track& track)
{
    const SP<Proc::IDataPacket> packet = track.dense->Read();
    if (!packet)
    {
        track.ended = true;
        muxer->EndTrack(track.number);
        return;
    }
    ++track.report.packets;
    track.lastTime = std::max(track.lastTime, TimeOf(*packet));
    muxer->Write(track.number, packet);
}

void TrackCopier::WriteSparse()
{
    for (Track& track : tracks)
    {
        const Host::TrackInfo& info = InfoOf(track.report.index);
        // an attachment has no packets
        if (track.dense || info.attachment)
            continue;
        for (const SP<Proc::IDataPacket>& packet : source.TakeSparse(info.index))
        {
            // a cover stands for the whole file
            const auto placed = track.placement && !info.attachedPicture ? track.placement(packet)
                                                                         : std::vector<SP<Proc::IDataPacket>>{packet};
            for (const SP<Proc::IDataPacket>& piece : placed)
            {
                ++track.report.packets;
                muxer->Write(track.number, piece);
            }
        }
    }
}

void TrackCopier::Finish()
{
    muxer->Finish();
    for (const std::string& loss : muxer->GetLosses())
        warnings.push_back("not carried over: " + loss);
    for (const Track& track : tracks)
        if (const long long damaged = track.dense ? track.dense->GetDamagedCount() : 0)
            warnings.push_back(
                fmt::format("not carried over: {} damaged packets of track {}", damaged, track.report.index));
    if (const long long damaged = source.GetDamagedCount())
        warnings.push_back(fmt::format("{} damaged packets in {}", damaged, source.GetInfo().path));
}

std::vector<CopiedTrack> TrackCopier::GetTracks() const
{
    std::vector<CopiedTrack> reports;
    for (const Track& track : tracks)
        reports.push_back(track.report);
    return reports;
}

} // namespace Tessor::Cli
