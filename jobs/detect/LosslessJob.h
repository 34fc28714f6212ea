#pragma once

#include "ffhost/io/reading/DemuxerSettings.h"
#include "jobs/IProgress.h"
#include "jobs/detect/Lossless.h"
#include "jobs/reports/JobReport.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

struct LosslessSettings
{
    std::string input;
    Host::DemuxerSettings reading = {}; ///< of the input
};

struct TESSOR_API LosslessReport : JobReport
{
    std::string input;
    std::vector<LosslessFinding> tracks; ///< of picture and sound

    /// All of them can be copied, and cut at key frames.
    bool IsLossless() const;
};

/// Tells whether the tracks of a file can be copied, and cut at key frames.
class TESSOR_API LosslessJob
{
public:
    explicit LosslessJob(LosslessSettings settings) : settings(std::move(settings)) {}
    LosslessReport Run(IProgress& progress) const;

private:
    const LosslessSettings settings;
};

} // namespace Tessor::Jobs
