#pragma once

#include "jobs/IProgress.h"
#include "jobs/cut/CutReport.h"
#include "jobs/cut/CutSession.h"
#include "jobs/repack/TrackCopier.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Pulls a session's streams, writes them to a file, and tells what became of them.
class CutWriter
{
public:
    CutWriter(CutSession& session, const std::string& output, const Host::MuxerSettings& settings,
              const MediaChanges& changes);
    CutReport Run(IProgress& progress);

private:
    void AddTracks();
    TrackReport MakeReport(const CopiedTrack& copied) const;
    void AddRecoding(TrackReport& report, const CutTrack& track) const;
    Statistics GetStatistics() const;

    CutSession& session;
    TrackCopier copier;
};

} // namespace Tessor::Jobs
