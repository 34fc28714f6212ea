#include "jobs/cut/CutWriter.h"

#include "jobs/InputDamage.h"
#include "jobs/JobError.h"
#include "jobs/Stopwatch.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/cut/SparseTrack.h"

#include <algorithm>

namespace Tessor::Jobs
{

CutWriter::CutWriter(CutSession& session, const std::string& output, const Host::MuxerSettings& settings,
                     const MediaChanges& changes)
    : session(session), copier(session.GetDemuxer(), output, settings, changes)
{
    AddTracks();
    copier.Open(MapChapters(copier.GetInfo(), session.GetCut()));
}

void CutWriter::AddTracks()
{
    bool any = false;
    for (const CutTrack& track : session.GetTracks())
    {
        if (!track.stream)
        {
            // asked anew for each packet, since the cut may widen while others are read
            copier.AddSparse(track.index, [this, sparse = SparseTrack()](const SP<Proc::IDataPacket>& packet) mutable
                             { return sparse.Push(packet, session.GetCut()); });
            continue;
        }
        const SP<Conf::IFormatCodec> format = track.stream->GetFormatCodec();
        // parameter sets that no packet uses would keep the result from being cut again
        if (track.untouched)
            format->SetExtradata(track.header);
        any = copier.AddStream(track.index, track.stream, format) || any;
    }
    if (!any)
        throw JobError(JobError::Failed,
                       session.GetInfo().path + ": the output's container can carry neither its picture nor its sound");
}

// The cut is asked when all is read: it may have widened on the way.
CutReport CutWriter::Run(IProgress& progress)
{
    const Stopwatch watch;
    const avTime duration = session.GetInfo().duration;
    copier.Copy(progress, session.GetCut().Source2Result(duration));

    CutReport report;
    for (const CopiedTrack& copied : copier.GetTracks())
        report.tracks.push_back(MakeReport(copied));
    copier.Finish();
    report.sourceDuration = duration;
    report.intervals = GetKeptRanges(session.GetCut(), duration);
    report.moved = session.GetMoved();
    report.keepsLead = session.KeepsLead();
    report.resultDuration = session.GetCut().Source2Result(duration);
    report.warnings = session.GetWarnings();
    report.warnings.insert(report.warnings.end(), copier.GetWarnings().begin(), copier.GetWarnings().end());
    AddUndecodable(session.GetInfo().path + ": of what is encoded anew", session.GetDamagedCount(), report.warnings);
    report.statistics = GetStatistics();
    report.wallSeconds = watch.GetSeconds();
    return report;
}

TrackReport CutWriter::MakeReport(const CopiedTrack& copied) const
{
    const auto track = std::find_if(session.GetTracks().begin(), session.GetTracks().end(),
                                    [&](const CutTrack& candidate) { return candidate.index == copied.index; });
    TrackReport report;
    static_cast<CopiedTrack&>(report) = copied;
    report.cutAnywhere = track->cutAnywhere;
    report.obstacle = track->obstacle;
    // other kinds are never encoded: what the cut counts there are packets that were cut one by one
    if (track->stream && track->stream->GetMediaType() == MediaType::Video)
        AddRecoding(report, *track);
    return report;
}

void CutWriter::AddRecoding(TrackReport& report, const CutTrack& track) const
{
    const Core::Property statistics = track.stream->GetStatistic();
    for (const Core::Property& record : statistics)
    {
        // the name that the filter gives its count
        if (record.ChildExists("Recoded pakets"))
            report.recodedPackets = record["Recoded pakets"].GetInt64();
    }
    if (report.recodedPackets == 0)
        return;
    // the header of the file, which is written, has no parameter sets for such groups
    if (track.untouched)
        throw JobError(JobError::Failed, "groups were re-encoded that had to stay whole");
    report.encoder = session.GetEncoderUse().encoder;
    report.recodeSeconds = Seconds(session.GetEncoderUse().time);
}

Statistics CutWriter::GetStatistics() const
{
    Statistics statistics;
    for (const CutTrack& track : session.GetTracks())
        if (track.stream)
            statistics.push_back({track.index, track.stream->GetStatistic()});
    return statistics;
}

} // namespace Tessor::Jobs
