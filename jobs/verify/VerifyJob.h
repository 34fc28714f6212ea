#pragma once

#include "ffhost/io/reading/DemuxerSettings.h"
#include "jobs/IProgress.h"
#include "jobs/cut/CutReport.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// A cut file and what it is said to be.
struct TESSOR_API VerifySettings
{
    std::string source, output;
    std::vector<Range> intervals;       ///< of the source's time, as kept; the report of the cut tells them
    avTime duration = NoTime;           ///< of the source; NoTime: as it says itself
    bool keepsLead = true;              ///< with a first one from 0 on what comes earlier is kept
    std::vector<int> tracks;            ///< of the source, that the output is said to carry
    ExposedPictures exposed = {};       ///< what the source hides and the output shows
    Host::DemuxerSettings reading = {}; ///< of the source

    static VerifySettings Of(const CutReport& report);
};

/// Decodes a cut file and its source, and holds them against each other. A verdict that is not good is no error.
class TESSOR_API VerifyJob
{
public:
    explicit VerifyJob(VerifySettings settings) : settings(std::move(settings)) {}
    VerifyReport Run(IProgress& progress) const;

private:
    const VerifySettings settings;
};

} // namespace Tessor::Jobs
