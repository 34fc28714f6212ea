#include "jobs/detect/LosslessJob.h"

#include "ffhost/io/StandardStreams.h"
#include "jobs/InputDamage.h"
#include "jobs/InputFile.h"

#include <algorithm>

namespace Tessor::Jobs
{

bool LosslessReport::IsLossless() const
{
    return std::all_of(tracks.begin(), tracks.end(), [](const LosslessFinding& track) { return track.IsLossless(); });
}

LosslessReport LosslessJob::Run(IProgress& progress) const
{
    LosslessReport report;
    report.input = Host::NameInput(settings.input);
    const SP<Host::Demuxer> demuxer = OpenInput({settings.input, settings.reading}, progress);
    const avTime duration = demuxer->GetInfo().duration;
    ReadProgress reading(progress, duration);
    reading.BeginPass(1);
    report.tracks = DetectLossless(*demuxer, reading);
    progress.Finish(duration);
    AddDamage(report.input, demuxer->GetDamage(), report.warnings);
    for (const LosslessFinding& track : report.tracks)
        report.statistics.push_back({track.track, track.statistic});
    return report;
}

} // namespace Tessor::Jobs
