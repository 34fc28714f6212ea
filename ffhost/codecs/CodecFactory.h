#pragma once

#include "host/ICodecFactory.h"

namespace Tessor::Host
{

/// Decoders and encoders of libavcodec under the name ImplNames::FFMPEG.
class TESSOR_API CodecFactory
{
public:
    static SP<Proc::ICodecFactory> Create();
};

} // namespace Tessor::Host
