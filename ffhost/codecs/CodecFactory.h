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

/// Decoders and encoders of libavcodec under the name ImplNames::FFMPEG.
class TESSOR_API CodecFactory : public virtual Proc::ICodecFactory
{
public:
    /// Tells by its time whether a picture is wanted. What decoders leave out is never seen behind them.
    using PictureFilter = std::function<bool(avTime)>;

    /// Without a filter all pictures are wanted. A cut that may fall between two pictures has to leave out those that
    /// begin before it: the filters behind would keep them with a shorter duration.
    static SP<CodecFactory> Create(const PictureFilter& wanted = {});

    virtual EncoderUse GetEncoderUse() const = 0;
};

} // namespace Tessor::Host
