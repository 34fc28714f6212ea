#include "jobs/repack/TrackCopier.h"

#include "Fnd/Exception.h"
#include "jobs/JobError.h"
#include "jobs/OutputFile.h"
#include "jobs/TrackSelection.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Jobs
{

TrackCopier::TrackCopier(Host::Demuxer& source, const std::string& output, const Host::MuxerSettings& settings,
                         const MediaChanges& changes)
    : source(source), info(ApplyChanges(source.GetInfo(), changes)), muxer(Host::Muxer::Create(output, settings)),
      pump(*muxer), warnings(FindLosses(changes, output, settings.format))
{
}

bool TrackCopier::AddStream(int track, const SP<Proc::IStreamRaw>& stream, const SP<Conf::IFormatCodec>& format)
{
    const Host::TrackInfo& described = InfoOf(track);
    if (!CanCarry(described))
        return false;
    try
    {
        tracks.push_back({track, pump.Add(stream, format, described)});
        return true;
    }
    // a header that no conversion takes is no reason to lose the other tracks
    catch (const Exception& e)
    {
        LeaveOut(described, "its header can't be brought into the output's form: " + Describe(e));
        return false;
    }
}

bool TrackCopier::AddSparse(int track, MuxPump::Placement placement)
{
    const Host::TrackInfo& described = InfoOf(track);
    if (!CanCarry(described))
        return false;
    tracks.push_back({track, pump.AddSparse(source, described, std::move(placement))});
    return true;
}

bool TrackCopier::CanCarry(const Host::TrackInfo& track)
{
    const bool carried = muxer->CanCarry(track);
    if (!carried)
        LeaveOut(track, "the output's container can't carry it");
    return carried;
}

void TrackCopier::LeaveOut(const Host::TrackInfo& track, const std::string& cause)
{
    warnings.push_back(
        fmt::format("track {} ({}, {}) is left out: {}", track.index, KindName(track), track.codecName, cause));
}

void TrackCopier::Open(const std::vector<Host::ChapterInfo>& chapters)
{
    const bool any = std::any_of(tracks.begin(), tracks.end(),
                                 [&](const Track& track)
                                 { return !InfoOf(track.index).attachedPicture && !InfoOf(track.index).attachment; });
    if (!any)
        throw JobError(JobError::Failed,
                       info.path + (tracks.empty() ? ": the output's container can carry none of the tracks"
                                                   : ": covers and attachments alone make no file"));
    muxer->SetTags(info.tags);
    muxer->SetChapters(chapters);
    muxer->Open();
}

void TrackCopier::Copy(IProgress& progress, avTime duration)
{
    pump.Run(duration, progress);
}

void TrackCopier::Finish()
{
    FinishOutput(*muxer);
    for (std::string& warning : pump.GetWarnings(source))
        warnings.push_back(std::move(warning));
}

std::vector<CopiedTrack> TrackCopier::GetTracks() const
{
    std::vector<CopiedTrack> reports;
    for (const Track& track : tracks)
    {
        const Host::TrackInfo& described = InfoOf(track.index);
        reports.push_back({track.index, KindName(described), described.codecName, pump.GetPacketCount(track.place),
                           pump.GetExposed(track.place)});
    }
    return reports;
}

} // namespace Tessor::Jobs
