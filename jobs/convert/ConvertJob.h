#pragma once

#include "ffhost/codecs/TrackEncoding.h"
#include "jobs/IProgress.h"
#include "jobs/Times.h"
#include "jobs/reports/JobReport.h"

#include <string>
#include <vector>

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
};

/// What a conversion did to a track.
struct ConvertTrack
{
    int index = 0;
    std::string kind, codec;               ///< of the source
    std::string encoder;                   ///< empty: copied
    double sourceRate = 0, resultRate = 0; ///< frames per second of pictures; 0 when unknown
    // Items are pictures, blocks of sound or packets; those that a cut leaves out are not among them.
    long long itemsIn = 0, itemsOut = 0;
    long long doubled = 0, dropped = 0; ///< pictures, by changes of the frame rate
};

struct ConvertReport : JobReport
{
    std::string input, output;
    std::vector<Range> intervals; ///< kept ones, of the source's time; empty where nothing was cut
    avTime duration = 0;          ///< of the result
    std::vector<ConvertTrack> tracks;
    double wallSeconds = 0;
};

/// Demuxes, decodes, cuts, filters, encodes and muxes all tracks of a file. Tracks that are neither picture nor sound
/// are copied where the container carries them.
class TESSOR_API ConvertJob
{
public:
    explicit ConvertJob(const ConvertSettings& settings) : settings(settings) {}

    /// Throws JobError and the system's exceptions; what can't be done is found out before anything is written.
    ConvertReport Run(IProgress& progress) const;

private:
    const ConvertSettings settings;
};

} // namespace Tessor::Jobs
