#pragma once

#include "media/IBlob.h"

namespace Tessor::Proc::CodecParsers
{

/// The parameter sets of an HEVCDecoderConfigurationRecord (ISO/IEC 14496-15, "hvcC") behind 4-byte start codes, or the
/// blob itself when it is no hvcC. Throws Exception where they leave the data.
TESSOR_API SP<const IBlob> HEVC_Extradata_hvcCtoAnnexB(const SP<const IBlob>& extradata);

} // namespace Tessor::Proc::CodecParsers
