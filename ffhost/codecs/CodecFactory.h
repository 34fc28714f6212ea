#pragma once

#include "ffhost/codecs/DecoderOptions.h"
#include "ffhost/codecs/RecodeOptions.h"
#include "host/ICodecFactory.h"

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
    static SP<CodecFactory> Create(const DecoderOptions& options = {}, const RecodeOptions& recode = {});
    /// Throws CodecFactoryException, with what there is, for options with which groups of that format can't be encoded.
    static void Check(const Conf::IFormatCodec& format, const RecodeOptions& recode);

    virtual EncoderUse GetEncoderUse() const = 0;
    /// Packets and pictures that its decoders could not make out; all threads may ask.
    virtual long long GetDamagedCount() const = 0;
    /// From now on, what encoders are needed for is settled: one that can't be made is no EncoderException any more,
    /// which who encodes may take for an answer, but a Core::ComputingResourceException.
    virtual void RequireEncoders() = 0;
};

} // namespace Tessor::Host
