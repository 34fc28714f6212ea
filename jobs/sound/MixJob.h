#pragma once

#include "ffhost/GapLimit.h"
#include "ffhost/io/reading/DemuxerSettings.h"
#include "jobs/sound/SoundFile.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

struct MixSettings
{
    struct Input
    {
        std::string path;
        int volume = 100; ///< percent, up to 10000 to either side; below 0 the sound is turned over
    };

    std::vector<Input> inputs;
    std::string output; ///< its name tells the container
    Host::EncoderOptions encoder = {};
    Host::DemuxerSettings reading = {};       ///< of all inputs
    Host::MuxerSettings writing = {};         ///< of the output
    avTime maxGap = Host::GapLimit().longest; ///< longer gaps are not filled
    /// Whose first one of sound is taken of each input, in the form of TrackPattern; empty: all.
    std::string tracks = {};
};

/// Adds up the sound of several files, a track of each.
class TESSOR_API MixJob
{
public:
    explicit MixJob(MixSettings settings) : settings(std::move(settings)) {}
    SoundReport Run(IProgress& progress) const;

private:
    void Check() const;

    const MixSettings settings;
};

} // namespace Tessor::Jobs
