#include "jobs/verify/VerifyJob.h"

#include "jobs/InputFile.h"
#include "jobs/verify/Verify.h"

namespace Tessor::Jobs
{

VerifySettings VerifySettings::Of(const CutReport& report)
{
    VerifySettings settings;
    settings.source = report.input;
    settings.output = report.output;
    settings.intervals = report.intervals;
    settings.duration = report.sourceDuration;
    settings.keepsLead = report.keepsLead;
    for (const TrackReport& track : report.tracks)
    {
        settings.tracks.push_back(track.index);
        settings.exposed[track.index] = track.exposed;
    }
    return settings;
}

VerifyReport VerifyJob::Run(IProgress& progress) const
{
    const Input source(settings.source, settings.reading);
    const avTime duration =
        settings.duration != NoTime ? settings.duration : OpenInput(source, progress)->GetInfo().duration;
    const KeptTime kept(settings.intervals, duration, settings.keepsLead);
    VerifyReport report = Verify(source, settings.output, kept, settings.tracks, settings.exposed, progress,
                                 ReadProgress(progress, duration));
    // who cancels after the last packet was read wants no verdict either
    ThrowIfCancelled(progress);
    progress.Finish(duration);
    return report;
}

} // namespace Tessor::Jobs
