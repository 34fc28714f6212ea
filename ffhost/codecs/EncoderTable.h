#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Tessor::Host
{

/// What has to be known about an encoder of libavcodec beyond its own defaults.
struct EncoderRow
{
    const char* name;
    int worstCrf = 0;          ///< end of the scale of constant quality; 0 where the encoder checks it
    int crf = -1;              ///< the usual constant quality where the encoder's own default is none
    int quantiser = 0;         ///< the usual constant quantiser, for encoders that know no other quality; 0 for others
    bool fields = false;       ///< pictures can be coded as fields
    bool wholeChroma = false;  ///< takes no picture that cuts through a sample of its chroma
    bool needsBitRate = false; ///< of pictures: spends as much as the bit rate lets it, whatever the quality
    int channelBitRate = 0;    ///< of sound: bits per second and channel; 0 where it has no meaning
    int mostBitRate = 0;       ///< of sound: the highest; 0 for none
    int mostLowBitRate = 0;    ///< the highest at less than 32 kHz; 0 for the same
    int highestRate = 0;       ///< of samples, where the encoder lists none
    int quality =
        -1; ///< of sound: the usual constant quality at rates for which the bit rate is none; -1: there are none
    std::vector<std::pair<const char*, const char*>> options = {};
    std::vector<std::string> presets = {}; ///< where the encoder itself doesn't list them
};

/// The row of an encoder; an empty one where it is not in the table.
const EncoderRow& FindEncoder(const std::string& name);

/// The usual encoders of a container by libavformat's name of it. Null where it has none of a kind.
struct ContainerRow
{
    const char* muxer;
    const char* video;
    const char* audio;
};

/// Null for a container that is not in the table.
const ContainerRow* FindContainer(const std::string& muxer);

} // namespace Tessor::Host
