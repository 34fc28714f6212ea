#pragma once

#include "ffhost/codecs/TrackEncoding.h"
#include "ffhost/io/reading/DemuxerSettings.h"
#include "jobs/Times.h"

#include <string>

namespace Tessor::Jobs
{

struct ConvertSettings
{
    std::string input, output;
    bool overwrite = false;
    RangeList keep, remove;             ///< of the source's time; at most one of the two is given
    std::string videoChain, audioChain; ///< in the grammar of filter chains; they come after the cut
    Host::EncoderOptions video, audio;
    bool noVideo = false, noAudio = false;
    Host::DemuxerSettings reading = {}; ///< of the input
};

} // namespace Tessor::Jobs
