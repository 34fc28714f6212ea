#pragma once

#include "cli/CutSession.h"
#include "cli/MuxPump.h"
#include "ffhost/io/Muxer.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Tessor::Cli
{

/// What a cut did to a track.
struct TrackReport
{
    int index = 0;
    std::string kind, codec;
    long long copiedPackets = 0;
    long long recodedPackets = 0;
    double recodeSeconds = 0; ///< of work on what was re-encoded, decoding included
    std::string encoder;      ///< empty when nothing was re-encoded
    bool cutAnywhere = true;
    std::string obstacle; ///< why cuts fall to key frames
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
    CutReport Run(Progress& progress);

private:
    struct Output
    {
        CutTrack* track;
        size_t place; // in the pump
        TrackReport report;
    };

    void AddTracks();
    TrackReport MakeReport(const CutTrack& track) const;
    void CarryMetadata();
    void CollectStatistics();

    CutSession& session;
    std::unique_ptr<Host::Muxer> muxer;
    MuxPump pump;
    std::vector<Output> outputs;
    std::vector<std::string> warnings;
};

} // namespace Tessor::Cli
