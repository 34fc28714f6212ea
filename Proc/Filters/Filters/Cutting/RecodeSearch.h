#pragma once

#include "Proc/StreamTemplates/IStreamRaw.h"
#include "host/ICodecFactory.h"

namespace Tessor::Proc
{

/// How the groups of a stream can be re-encoded.
struct RecodeAbility
{
    bool canRecode = false;                       ///< what follows is of use
    std::string encoderName = "Unknown encoder";  ///< the implementation
    Core::Property recodeFormat;                  ///< the format given to encoders
    SP<Core::IComputingResource> encoderResource; ///< of the accepted encoder, for the later ones
    avTime dtsShift = 0;                          ///< PTS - DTS of the source's key frames, 0 if there is none
    SP<const IBlob> joinedHeader;                 ///< H.264: the source's parameter sets and the encoder's, or null
};

/// Searches for an encoder whose packets can stand beside the source's. Reads packets from the source and does not seek
/// back. Where the encoder needs parameter sets of its own, the source's format object takes the joined header. Throws
/// Core::NotEnoughResource when an encoder is there but busy.
RecodeAbility SearchRecodeAbility(const SP<IStreamRaw>& source, const SP<ICodecFactory>& factory);

} // namespace Tessor::Proc
