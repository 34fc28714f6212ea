#pragma once

#include "Fnd/DataBitInput.h"
#include "Proc/CodecParsers/H264ParameterSets.h"

/// The syntax tables 7.3.2.1.1, 7.3.2.2, E.1.1 and E.1.2 of ITU-T H.264, read from an RBSP after its NAL header. A
/// Core::IOException of the bit reader bounds every loop, and leaves the record partly filled.
namespace Tessor::Proc::CodecParsers
{

/// Fills a fresh record. Nothing after the VUI is read.
void ReadSPS(Core::DataBitInput& input, SPS_decoded& sps);

/// Fills a fresh record, up to redundant_pic_cnt_present_flag.
void ReadPPS(Core::DataBitInput& input, PPS_decoded& pps);

} // namespace Tessor::Proc::CodecParsers
