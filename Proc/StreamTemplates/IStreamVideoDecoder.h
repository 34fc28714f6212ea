#pragma once

#include "Proc/StreamTemplates/IStreamVideo.h"

namespace Tessor::Proc
{

/// A video decoder, as a DecoderCollector gathers them.
class TESSOR_API IStreamVideoDecoder : public virtual IStreamVideo
{
};

} // namespace Tessor::Proc
