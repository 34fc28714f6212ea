#pragma once

#include "ffhost/codecs/RecodeOptions.h"
#include "ffhost/io/reading/DemuxerSettings.h"
#include "ffhost/io/writing/MuxerSettings.h"
#include "jobs/MediaChanges.h"
#include "jobs/Times.h"

#include <string>

namespace Tessor::Jobs
{

/// Which key frame a bound falls to where it lies in a group of pictures that can't be re-encoded.
enum class Snap
{
    Outward, ///< nothing that was asked for is lost
    Inward,  ///< nothing is kept that was not asked for
    Nearest,
    Fail, ///< none: the job ends
};

/// What is to be cut; exactly one of `keep` and `remove` is not empty.
struct CutSettings
{
    std::string input;
    std::string output; ///< its name tells the container; a plan can do without
    RangeList keep, remove;
    bool verify = false; ///< the result is decoded and held against the source
    Snap snap = Snap::Outward;
    /// A file to write what is kept to, as a cut list; empty: none. Its name tells the format, unless `listFormat`
    /// does.
    std::string listOutput = {};
    std::string listFormat = {};
    Host::RecodeOptions recode; ///< of groups that a cut runs through; refused where one of the tracks can't have it
    Host::DemuxerSettings reading = {}; ///< of the input
    Host::MuxerSettings writing = {};   ///< of the output
    std::string tracks = {};            ///< those to take, in the form of TrackPattern; empty: all
    MediaChanges changes = {};
};

} // namespace Tessor::Jobs
