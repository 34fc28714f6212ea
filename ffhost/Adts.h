#pragma once

#include "media/IBlob.h"

namespace Tessor::Host
{

/// Whether bytes begin with the header of an ADTS frame (ISO/IEC 14496-3): as extradata it is no decoder's
/// configuration, for that is found in every packet.
inline bool IsAdtsHeader(const Proc::IBlob& blob)
{
    return blob.Size() >= 2 && blob.Data()[0] == 0xFF && (blob.Data()[1] & 0xF6) == 0xF0;
}

} // namespace Tessor::Host
