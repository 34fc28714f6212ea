#pragma once

#include "ffhost/codecs/AvCodec.h"

namespace Tessor::Host
{

/// Opens video encoders, each like the one before. The time base is one frame, or a fraction of one.
class VideoSetup
{
public:
    virtual ~VideoSetup() = default;
    virtual CodecContextPtr Open() const = 0;
    /// One for pictures like this, which the encoder was not opened for; null where they can't be told from damage.
    virtual std::unique_ptr<const VideoSetup> ForPicture(const AVFrame&) const { return nullptr; }
    /// Whether its encoders leave the fields of a picture like this what they are, as far as the codec can.
    virtual bool KeepsFields(const AVFrame&) const { return true; }
    /// libavcodec's name.
    virtual const std::string& GetEncoderName() const = 0;
};

} // namespace Tessor::Host
