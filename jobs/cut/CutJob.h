#pragma once

#include "jobs/IProgress.h"
#include "jobs/cut/CutSession.h"
#include "jobs/repack/TrackCopier.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What a cut did to a track.
struct TrackReport : CopiedTrack
{
    long long recodedPackets = 0; ///< of all its packets
    double recodeSeconds = 0;     ///< of work on what was re-encoded, decoding included
    std::string encoder;          ///< empty when nothing was re-encoded
    bool cutAnywhere = true;
    std::string obstacle; ///< why cuts fall to key frames

    long long GetCopiedPackets() const { return packets - recodedPackets; }
};

struct CutReport
{
    std::vector<Range> intervals; ///< as really kept, source time
    avTime resultDuration = 0;
    std::vector<TrackReport> tracks;
    std::vector<std::string> warnings;
    double wallSeconds = 0;
};

/// The kept intervals of a cut, those that reach the end closed at the duration.
std::vector<Range> GetKeptRanges(const Proc::SettingsFilterCutController& cut, avTime duration);

/// Pulls a session's streams and writes them to a file.
class CutJob
{
public:
    CutJob(CutSession& session, const std::string& output);
    CutReport Run(IProgress& progress);

private:
    void AddTracks();
    std::vector<Host::ChapterInfo> MapChapters() const;
    TrackReport MakeReport(const CopiedTrack& copied);
    void AddStatistics(TrackReport& report, const CutTrack& track) const;

    CutSession& session;
    TrackCopier copier;
};

} // namespace Tessor::Jobs
