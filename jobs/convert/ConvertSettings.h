#pragma once

#include "ffhost/GapLimit.h"
#include "ffhost/codecs/TrackEncoding.h"
#include "ffhost/io/reading/DemuxerSettings.h"
#include "ffhost/io/writing/MuxerSettings.h"
#include "jobs/MediaChanges.h"
#include "jobs/Times.h"

#include <string>

namespace Tessor::Jobs
{

struct ConvertSettings
{
    std::string input, output;
    RangeList keep, remove;             ///< of the source's time; at most one of the two is given
    std::string videoChain, audioChain; ///< in the grammar of filter chains; they come after the cut
    Host::EncoderOptions video, audio;
    bool noVideo = false, noAudio = false;
    bool copyVideo = false, copyAudio = false; ///< as they are: neither filtered nor encoded; copied video is not cut
    Host::DemuxerSettings reading = {};        ///< of the input
    Host::MuxerSettings writing = {};          ///< of the output
    std::string tracks = {};                   ///< those to take, in the form of TrackPattern; empty: all
    MediaChanges changes = {};
    avTime maxGap = Host::GapLimit().longest; ///< longer gaps are not filled

    bool Cuts() const { return !keep.IsEmpty() || !remove.IsEmpty(); }
};

} // namespace Tessor::Jobs
