#pragma once

#include "Proc/CodecParsers/H264ParameterSets.h"
#include "Proc/CodecParsers/Nal/Nalu.h"
#include "Proc/CodecParsers/Syntax/H264Levels.h"
#include "media/items/IBlob.h"
#include "media/items/IDataPacket.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

/// Headers and packets of ITU-T H.264. A header comes in Annex B form or as the AVCDecoderConfigurationRecord of
/// ISO/IEC 14496-15 ("avcC"). Functions are stateless; faults are Exceptions, those of H264_HEVC_Common.h pass through.
/// A null header counts as empty.
namespace Tessor::Proc::CodecParsers
{

/// nal_unit_type, Table 7-1.
enum NALUTypes : uint32_t
{
    H264_NALU_UNKNOWN = 0,
    H264_NALU_SLICE = 1,
    H264_NALU_PARTITION_A = 2,
    H264_NALU_PARTITION_B = 3,
    H264_NALU_PARTITION_C = 4,
    H264_NALU_IDR = 5,
    H264_NALU_SEI = 6,
    H264_NALU_SPS = 7,
    H264_NALU_PPS = 8,
    H264_NALU_AUD = 9,
};

/// slice_type modulo 5, Table 7-6.
enum H264_Slice_Type : int32_t
{
    H264_SLICE_UNKNOWN = -1,
    H264_SLICE_P = 0,
    H264_SLICE_B = 1,
    H264_SLICE_I = 2,
    H264_SLICE_SP = 3,
    H264_SLICE_SI = 4,
};

/// Indexed by slice type + 1.
inline constexpr std::array<const char*, 6> SLICE_TYPE_STRS{"U", "P", "B", "I", "SP", "SI"};
/// Indexed by nal_unit_type.
inline constexpr std::array<const char*, 10> NALU_TYPE_STRS{"U",   "Non-IDR", "Part. A", "Part. B", "Part. C",
                                                            "IDR", "SEI",     "SPS",     "PPS",     "AUD"};

/// Whether a header is an avcC. Throws Exception on an empty one.
TESSOR_API bool IsAvcCHeader(const uint8_t* data, size_t size);

/// Bytes of each length in the packets that go with the header, 1 to 4; 0 when it is no avcC.
TESSOR_API size_t GetAvccNALULengthSize(const uint8_t* data, size_t size);

/// Appends all SPS, then all PPS of an avcC. Throws Exception where they leave the data.
TESSOR_API void FindAvccHeaderNalus(const uint8_t* data, size_t size, std::vector<Nalu>& out);

/// The header in Annex B form, or the blob itself when it has it already.
TESSOR_API SP<const IBlob> H264_Extradata_Mp4toAnnexB(const SP<const IBlob>& extradata);

/// The header as an avcC of length size 4, or the blob itself when it is one already. Throws Exception without SPS or
/// PPS, and for sets that an avcC can't count or measure.
TESSOR_API SP<const IBlob> H264_Extradata_AnnexBtoMp4(const SP<const IBlob>& extradata);

/// Decodes the first SPS of a header of either form. Throws Exception without one; a Core::IOException of the bit
/// reader leaves the record partly filled.
TESSOR_API void DecodeSPS(const uint8_t* data, size_t size, SPS_decoded& out);

/// The same for the first PPS.
TESSOR_API void DecodePPS(const uint8_t* data, size_t size, PPS_decoded& out);

/// Type of the first slice unit of a packet and of its slice; type 0 and slice type -1 when it has none. Reads just the
/// beginning of that unit. A slice too short for its type throws Core::IOException.
TESSOR_API std::pair<NALUTypes, H264_Slice_Type> GetH264Type(const SP<const IDataPacket>& packet, bool isMp4,
                                                             size_t lengthSize);

/// "nalu: IDR, slice: I", for logs.
TESSOR_API std::string TypeToString(const std::pair<NALUTypes, H264_Slice_Type>& type);

/// A packet that a decoder can start from: Annex B extradata in front of a key packet that carries no parameter sets of
/// its own. Everything else is returned as given.
TESSOR_API SP<IDataPacket> InsertH264Extradata(const SP<IDataPacket>& packet, const SP<const IBlob>& extradata);

/// One header with the parameter sets of both, in the form of the first. As an avcC it holds the first SPS and the
/// first PPS of each.
TESSOR_API SP<const IBlob> H264_AddPSsToHeader(const SP<const IBlob>& first, const SP<const IBlob>& second);

/// A key packet (Annex B) with the parameter sets of the header in place of its own. Other packets are returned as
/// given.
TESSOR_API SP<IDataPacket> H264_ReplacePSs(const SP<IDataPacket>& packet, const uint8_t* header, size_t headerSize);

/// The identifier that parameter sets added to a header may take. Always 1: hosts refuse to add where 1 is taken.
/// Throws on a malformed header.
TESSOR_API uint32_t GetFirstEmptyPSId(const SP<const IBlob>& header);

} // namespace Tessor::Proc::CodecParsers
