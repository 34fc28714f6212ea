#pragma once

#include "jobs/Times.h"
#include "jobs/cut/GroupPlan.h"
#include "jobs/repack/CopiedTrack.h"
#include "jobs/reports/JobReport.h"
#include "jobs/verify/VerifyReport.h"

#include <optional>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// A bound of a range that could not be where it was asked for.
struct MovedBound
{
    avTime asked, kept; ///< source time
};

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

struct CutReport : JobReport
{
    std::string input, output;
    avTime sourceDuration = 0;
    std::vector<Range> intervals;  ///< as really kept, source time
    bool keepsLead = true;         ///< what lies before 0 is kept along with what begins there
    std::vector<MovedBound> moved; ///< by key frames
    avTime resultDuration = 0;
    std::vector<TrackReport> tracks;
    std::optional<VerifyReport> verdict; ///< where it was asked for
    double wallSeconds = 0;              ///< of writing
};

/// How a track of video will be cut.
struct PlannedTrack
{
    int index = 0; ///< in the file
    bool cutAnywhere = true;
    std::string obstacle; ///< why cuts fall to key frames
};

/// What a cut will do.
struct PlanReport : JobReport
{
    std::string input;
    std::vector<MovedBound> moved;    ///< by key frames
    std::vector<Range> intervals;     ///< as they will be kept, source time
    std::vector<PlannedTrack> tracks; ///< of video
    std::vector<GroupPlan> groups;    ///< of these, track by track
};

} // namespace Tessor::Jobs
