#pragma once

#include "host/ICodecFactory.h"

#include <functional>

namespace Tessor::Host
{

/// What the encoders of a factory have done so far.
struct EncoderUse
{
    std::string encoder; ///< libavcodec's name of the last one; empty while there was none
    long long time = 0;  ///< microseconds of work, their sources' decoding included
};

/// What decoders deliver.
struct DecoderOptions
{
    /// Tells by its time whether a picture is wanted; null: all are. What decoders leave out is never seen behind them.
    /// A cut that may fall between two pictures has to leave out those that begin before it: the filters behind would
    /// keep them with a shorter duration.
    std::function<bool(avTime)> wanted;
    /// A picture that is shown again differs from the one before in the last bit of a sample, for consumers that fold
    /// repeats, which are few: encoders do not see it.
    bool distinct = true;
};

/// Decoders and encoders of libavcodec under the name ImplNames::FFMPEG.
class TESSOR_API CodecFactory : public virtual Proc::ICodecFactory
{
public:
    static SP<CodecFactory> Create(const DecoderOptions& options = {});

    virtual EncoderUse GetEncoderUse() const = 0;
};

} // namespace Tessor::Host
