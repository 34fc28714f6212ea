#include "jobs/detect/VolumeJob.h"

#include "Proc/Filters/Filters/Audio/IFilterVolumeDetect.h"
#include "host/ImplNames.h"
#include "jobs/sound/SoundFile.h"

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
    const OpenedSound sound = OpenSound(settings.input, progress);
    detector->Process(sound.stream);
    ThrowIfCancelled(progress);
    VolumeReport report;
    report.input = settings.input;
    report.peak = detector->GetPeakValue();
    report.lowLevel = detector->IsLowLevel();
    report.statistics.push_back({sound.track, detector->GetStatistic()});
    return report;
}

} // namespace Tessor::Jobs
