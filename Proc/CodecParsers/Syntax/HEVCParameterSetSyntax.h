#pragma once

#include "Fnd/DataBitInput.h"
#include "Proc/CodecParsers/HEVCParameterSets.h"

/// The syntax tables 7.3.2.1, 7.3.2.2 and 7.3.3 of ITU-T H.265, read from an RBSP after its NAL header. A
/// Core::IOException of the bit reader bounds them, and leaves the record partly filled.
namespace Tessor::Proc::CodecParsers
{

/// Fills a fresh record, up to vps_num_layer_sets_minus1.
void ReadVPS(Core::DataBitInput& input, HEVC_VPS& vps);

/// Fills a fresh record, up to the sub-layer ordering block.
void ReadSPS(Core::DataBitInput& input, HEVC_SPS& sps);

} // namespace Tessor::Proc::CodecParsers
