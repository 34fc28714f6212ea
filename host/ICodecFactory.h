#pragma once

#include "Proc/StreamTemplates/IStreamVideo.h"
#include "host/IEncoder.h"

#include <string>
#include <vector>

namespace Tessor::Proc
{

/// Makes decoders and encoders.
class TESSOR_API ICodecFactory : public virtual IRefCountable
{
public:
    /// A decoder that reads packets from `source`, seeks to the start of its packets, and delivers one frame a picture
    /// with PTS and duration. An empty name means the default implementation.
    virtual SP<IStreamVideo> CreateDecoder(const SP<IStreamRaw>& source, const std::string& implName) = 0;

    /// Names of the implementations that encode a codec, best first. `forVideo`: video codecs; `available`: only what
    /// can run on this machine.
    virtual std::vector<std::string> ListEncoders(const std::string& codecId, bool forVideo, bool available) const = 0;

    /// An encoder, or null. A null resource lets the implementation allocate its own. Throws EncoderException,
    /// CodecFactoryException or Core::NotEnoughResource.
    virtual SP<IEncoder> CreateEncoder(const SP<IStreamVideo>& source, const Core::Property& format,
                                       const std::string& implName, const SP<Core::IComputingResource>& resource) = 0;
};

} // namespace Tessor::Proc
