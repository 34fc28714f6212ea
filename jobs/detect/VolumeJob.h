#pragma once

#include "ffhost/GapLimit.h"
#include "ffhost/io/reading/DemuxerSettings.h"
#include "jobs/IProgress.h"
#include "jobs/reports/JobReport.h"

#include <optional>
#include <string>

namespace Tessor::Jobs
{

struct VolumeSettings
{
    std::string input;
    Host::DemuxerSettings reading = {};       ///< of the input
    avTime maxGap = Host::GapLimit().longest; ///< longer gaps are not filled
};

struct TESSOR_API VolumeReport : JobReport
{
    std::string input;
    double peak = 0;       ///< the highest sample, 1 for full scale
    bool lowLevel = false; ///< the sound is quiet

    /// The peak against full scale; nothing for silence.
    std::optional<double> GetDecibels() const;
};

/// Tells how loud the beginning of a file's first track of sound is.
class TESSOR_API VolumeJob
{
public:
    explicit VolumeJob(VolumeSettings settings) : settings(std::move(settings)) {}
    VolumeReport Run(IProgress& progress) const;

private:
    const VolumeSettings settings;
};

} // namespace Tessor::Jobs
