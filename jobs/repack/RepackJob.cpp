#include "jobs/repack/RepackJob.h"

#include "ffhost/io/StandardStreams.h"
#include "jobs/InputFile.h"
#include "jobs/OutputFile.h"
#include "jobs/Stopwatch.h"
#include "jobs/TrackSelection.h"
#include "jobs/repack/TrackCopier.h"

namespace Tessor::Jobs
{

namespace
{

void AddTracks(TrackCopier& copier, Host::Demuxer& demuxer, const std::string& wanted,
               std::vector<std::string>& warnings)
{
    for (const SelectedTrack& track : SelectTracks(demuxer, wanted, warnings))
    {
        if (track.stream)
            copier.AddStream(track.index, track.stream, track.stream->GetFormatCodec());
        else
            copier.AddSparse(track.index);
    }
}

} // namespace

RepackReport RepackJob::Run(IProgress& progress) const
{
    CheckOutput(settings.output, {settings.input}, settings.writing);
    const Stopwatch watch;
    const SP<Host::Demuxer> demuxer = OpenInput({settings.input, settings.reading}, progress);
    // nothing is decoded, and packets that nobody else holds are converted where they lie
    demuxer->KeepLeadIns(false);
    RepackReport report;
    report.input = Host::NameInput(settings.input);
    report.output = Host::NameOutput(settings.output);
    report.duration = demuxer->GetInfo().duration;
    TrackCopier copier(*demuxer, settings.output, Cancellable(settings.writing, progress), settings.changes);
    AddTracks(copier, *demuxer, settings.tracks, report.warnings);
    copier.Open(copier.GetInfo().chapters);
    copier.Copy(progress, report.duration);
    copier.Finish();
    report.tracks = copier.GetTracks();
    report.statistics = copier.GetStatistics();
    report.warnings.insert(report.warnings.end(), copier.GetWarnings().begin(), copier.GetWarnings().end());
    report.wallSeconds = watch.GetSeconds();
    return report;
}

} // namespace Tessor::Jobs
