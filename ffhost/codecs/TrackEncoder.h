#pragma once

#include "Fnd/Export.h"
#include "host/IEncoder.h"

#include <memory>
#include <string>

struct AVCodecParameters;

namespace Tessor::Host
{

/// An encoder that says all that a container has to know of its packets.
class TESSOR_API TrackEncoder : public virtual Proc::IEncoder
{
public:
    /// libavcodec's name.
    virtual const std::string& GetEncoderName() const = 0;
    /// Codec, header, geometry, delay: what a muxer is told.
    virtual std::shared_ptr<const AVCodecParameters> GetParameters() const = 0;
};

/// What a track is encoded with.
struct EncoderOptions
{
    std::string name;      ///< libavcodec's name of the encoder; empty: the container's usual one
    int crf = -1;          ///< constant quality on the encoder's own scale; -1: the encoder's usual one
    std::string preset;    ///< speed against size, in the encoder's own words; empty: its usual one
    long long bitRate = 0; ///< bits per second; 0: by quality for pictures, by the channels for sound
    bool runIn = true;     ///< what an encoder puts before the first sample may be written; otherwise it is left out
    bool header = true;    ///< the header stands in front of the packets, not among them
};

} // namespace Tessor::Host
