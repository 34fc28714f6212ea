#pragma once

#include "ffhost/io/reading/DemuxerSettings.h"
#include "ffhost/io/writing/MuxerSettings.h"
#include "jobs/IProgress.h"
#include "jobs/MediaChanges.h"
#include "jobs/repack/CopiedTrack.h"
#include "jobs/reports/JobReport.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

struct RepackSettings
{
    std::string input;
    std::string output;                 ///< its name tells the container
    Host::DemuxerSettings reading = {}; ///< of the input
    Host::MuxerSettings writing = {};   ///< of the output
    std::string tracks = {};            ///< those to take, in the form of TrackPattern; empty: all
    MediaChanges changes = {};
};

struct RepackReport : JobReport
{
    std::string input, output;
    avTime duration = 0; ///< of the input
    std::vector<CopiedTrack> tracks;
    double wallSeconds = 0;
};

/// Brings a file into another container: tracks are copied, none is decoded.
class TESSOR_API RepackJob
{
public:
    explicit RepackJob(RepackSettings settings) : settings(std::move(settings)) {}
    RepackReport Run(IProgress& progress) const;

private:
    const RepackSettings settings;
};

} // namespace Tessor::Jobs
