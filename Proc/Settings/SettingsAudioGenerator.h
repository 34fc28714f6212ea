#pragma once

#include "Fnd/Time.h"
#include "Proc/Settings/Settings.h"
#include "media/formats/SampleInfo.h"

namespace Tessor::Proc
{

/// Of a source of sound. A function has no form in a tree: these are only made in code.
class TESSOR_API SettingsAudioGenerator final : public Settings
{
public:
    inline static const std::string CLASS_ID = "SettingsAudioGenerator";

    const std::string& GetClassId() const override { return CLASS_ID; }
    SettingsAudioGenerator* Clone() const override { return new SettingsAudioGenerator(*this); }

    avTime duration = 10 * SECOND;
    uint32_t samplesPerBlock = 0;       ///< per channel; a stream of 0 has its duration and no data
    double (*generator)(int) = nullptr; ///< of the index within a block, in [-1, 1]; null for silence
    int sampleRate = 44100;             ///< Hz
    Conf::SampleFormats sampleFormat = Conf::SampleFormats::S16;
    Conf::ChannelLayout channelLayout = Conf::ChannelLayout::Stereo;
};

} // namespace Tessor::Proc
