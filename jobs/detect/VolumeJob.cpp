#include "jobs/detect/VolumeJob.h"

#include "Proc/Filters/Filters/Audio/FilterVolumeDetect.h"
#include "ffhost/io/StandardStreams.h"
#include "ffhost/streams/Tap.h"
#include "host/ImplNames.h"
#include "jobs/ReadProgress.h"
#include "jobs/sound/SoundFile.h"

#include <algorithm>
#include <cmath>

namespace Tessor::Jobs
{

std::optional<double> VolumeReport::GetDecibels() const
{
    return peak > 0 ? std::optional(20 * std::log10(peak)) : std::nullopt;
}

VolumeReport VolumeJob::Run(IProgress& progress) const
{
    const SP<Proc::IFilterVolumeDetect> detector =
        Factories::Make().filters->CreateVolumeDetect(Proc::ImplNames::DEFAULT);
    const OpenedSound sound = OpenSound({settings.input, settings.reading}, "", settings.maxGap, progress);
    const avTime duration = std::min(sound.stream->GetDuration(), Proc::FilterVolumeDetect::LAST_START);
    ReadProgress reading(progress, duration);
    reading.BeginPass(1);
    detector->Process(Host::Tap<Proc::IStreamAudio>::Create(sound.stream, [&](const SP<Proc::IDataAudio>& block)
                                                            { reading.Reach(block->GetPTS()); }));
    ThrowIfCancelled(progress);
    progress.Finish(duration);
    VolumeReport report;
    report.input = Host::NameInput(settings.input);
    report.peak = detector->GetPeakValue();
    report.lowLevel = detector->IsLowLevel();
    sound.Warn(settings.maxGap, report.warnings);
    report.statistics.push_back({sound.track, detector->GetStatistic()});
    return report;
}

} // namespace Tessor::Jobs
