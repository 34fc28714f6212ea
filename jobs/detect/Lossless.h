#pragma once

#include "ffhost/io/reading/Demuxer.h"
#include "jobs/ReadProgress.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What Proc::FilterLosslessDetect finds out about a track of picture or sound.
struct LosslessFinding
{
    int track = 0; ///< in the file
    std::string kind, codec;
    long long packets = 0, bytes = 0;
    std::string fault = {};        ///< of the first packet that could not be examined; empty where all could
    bool copying = true;           ///< packets can be copied as they are
    bool cutting = true;           ///< and cut at key frames
    long long copyingEnd = 0;      ///< number of the packet, from 1, that ended the possibility; 0: no single one did
    long long cuttingEnd = 0;      ///< the same for cutting
    Core::Property statistic = {}; ///< of the filters that looked

    bool IsLossless() const { return copying && cutting && fault.empty(); }
};

/// Reads a file once from start to end.
std::vector<LosslessFinding> DetectLossless(Host::Demuxer& demuxer, ReadProgress& reading);

} // namespace Tessor::Jobs
