#pragma once

#include "jobs/IProgress.h"
#include "jobs/convert/ConvertReport.h"
#include "jobs/convert/ConvertSettings.h"

namespace Tessor::Jobs
{

/// Demuxes, decodes, cuts, filters, encodes and muxes tracks of a file. Those that are neither picture nor sound are
/// copied where the container carries them.
class TESSOR_API ConvertJob
{
public:
    explicit ConvertJob(const ConvertSettings& settings) : settings(settings) {}

    /// Throws JobError and the system's exceptions; what can't be done is found out before anything is written.
    ConvertReport Run(IProgress& progress) const;

private:
    void Check() const;

    const ConvertSettings settings;
};

} // namespace Tessor::Jobs
