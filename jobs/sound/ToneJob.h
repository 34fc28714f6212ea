#pragma once

#include "jobs/sound/SoundFile.h"

#include <string>

namespace Tessor::Jobs
{

struct ToneSettings
{
    std::string output;  ///< its name tells the container
    int frequency = 440; ///< Hz, up to half the rate
    int rate = 48000;    ///< samples per second, 1000 to 768000
    double level = 0.5;  ///< 0 to 1, 1 for full scale
    avTime duration = 10000000;
    Conf::ChannelLayout layout = Conf::ChannelLayout::Stereo; ///< all channels sound alike
    Host::EncoderOptions encoder = {};
    Host::MuxerSettings writing = {};
};

/// Makes a file with a sine tone.
class TESSOR_API ToneJob
{
public:
    explicit ToneJob(ToneSettings settings) : settings(std::move(settings)) {}
    SoundReport Run(IProgress& progress) const;

private:
    void Check() const;
    SP<Proc::IStreamAudio> MakeStream(const Factories& factories) const;

    const ToneSettings settings;
};

} // namespace Tessor::Jobs
