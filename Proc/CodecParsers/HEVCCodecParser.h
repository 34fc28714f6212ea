#pragma once

#include "Proc/CodecParsers/HEVCParameterSets.h"
#include "Proc/CodecParsers/Nal/Nalu.h"
#include "media/items/IBlob.h"
#include "media/items/IDataPacket.h"

/// Headers and packets of ITU-T H.265. A header comes in Annex B form or as the HEVCDecoderConfigurationRecord of
/// ISO/IEC 14496-15, 8.3.3.1 ("hvcC"), which some writers damage by zeros in front of it. Functions are stateless;
/// faults are Exceptions, those of H264_HEVC_Common.h pass through. A null header counts as empty, and every question
/// to an empty one fails.
namespace Tessor::Proc::CodecParsers
{

/// nal_unit_type, Table 7-1. Only what the parsers tell apart has a name of its own.
enum HEVC_NALU_Types : uint32_t
{
    HEVC_NALU_TRAIL_N = 0,
    HEVC_NALU_TRAIL_R = 1,
    HEVC_NALU_TSA_N = 2,
    HEVC_NALU_TSA_R = 3,
    HEVC_NALU_STSA_N = 4,
    HEVC_NALU_STSA_R = 5,
    HEVC_NALU_RADL_N = 6,
    HEVC_NALU_RADL_R = 7,
    HEVC_NALU_RASL_N = 8,
    HEVC_NALU_RASL_R = 9,
    HEVC_NALU_BLA_W_LP = 16,
    HEVC_NALU_BLA_W_RADL = 17,
    HEVC_NALU_BLA_N_LP = 18,
    HEVC_NALU_IDR_W_RADL = 19,
    HEVC_NALU_IDR_N_LP = 20,
    HEVC_NALU_CRA = 21,
    HEVC_NALU_VPS = 32,
    HEVC_NALU_SPS = 33,
    HEVC_NALU_PPS = 34,
    HEVC_NALU_AUD = 35,
    HEVC_NALU_EOS = 36,
    HEVC_NALU_EOB = 37,
    HEVC_NALU_FD = 38,
    HEVC_NALU_SEI_PREFIX = 39,
    HEVC_NALU_SEI_SUFFIX = 40,
    HEVC_NALU_INVALID = 64, ///< reserved, unspecified or without a header
};

/// Whether a header is an hvcC, sound or broken. Throws Exception on an empty one and where FindBrokenHVCCHeader does.
TESSOR_API bool IsHvcCHeader(const uint8_t* data, size_t size);

/// Whether a header is an hvcC after zeros: neither a start code nor the version byte comes first, and the first byte
/// that is not 0 is the version, or there is none. Throws Exception below 4 bytes.
TESSOR_API bool FindBrokenHVCCHeader(const uint8_t* data, size_t size);

/// Mends a broken hvcC with a single zero in front as far as readers need: its version byte comes back to the front.
/// Only bytes 0 and 1 change. True when the header is sound, now or before; false for null. Throws as
/// FindBrokenHVCCHeader.
TESSOR_API bool RecoverHVCCHeader(uint8_t* data, size_t size);

/// Bytes of each length in the packets that go with the header, 1 to 4; 0 when it is no hvcC.
TESSOR_API size_t GetHvccNALULengthSize(const uint8_t* data, size_t size);

/// Appends all units of a sound hvcC, array by array. Throws Exception where they leave the data; what was found ahead
/// of that has been appended by then.
TESSOR_API void FindHvccHeaderNalus(const uint8_t* data, size_t size, std::vector<Nalu>& out);

/// Type of a unit; HEVC_NALU_INVALID for reserved and unspecified types, null, and units without a whole NAL header.
TESSOR_API HEVC_NALU_Types GetHEVCType(const uint8_t* data, size_t size);

/// Whether a unit holds a slice of a picture.
TESSOR_API bool IsVclNalu(const std::pair<const uint8_t*, size_t>& unit);

/// Decodes the first VPS of an Annex B header. Throws Exception without one and on an hvcC; a Core::IOException of the
/// bit reader leaves the record partly filled.
TESSOR_API void HEVCDecodeVPS(const uint8_t* data, size_t size, HEVC_VPS& out);

/// The same for the first SPS.
TESSOR_API void HEVCDecodeSPS(const uint8_t* data, size_t size, HEVC_SPS& out);

/// An hvcC of length size 4 from an Annex B header with VPS and SPS: its parameter sets and SEI messages, in one array
/// each. Throws as HEVCDecodeVPS, and Exception for units that the record can't count or measure.
TESSOR_API SP<const IBlob> HEVC_Extradata_AnnexBtoHvcC(const SP<const IBlob>& extradata);

/// The units of an hvcC, sound or broken, after 4-byte start codes; the blob itself when it is no hvcC. Throws as
/// IsHvcCHeader and FindHvccHeaderNalus.
TESSOR_API SP<const IBlob> HEVC_Extradata_hvcCtoAnnexB(const SP<const IBlob>& extradata);

/// A packet that a decoder can start from: Annex B extradata in front of a key packet that carries no parameter sets of
/// its own. Everything else is returned as given, null too. Throws Exception on an hvcC.
TESSOR_API SP<IDataPacket> InsertHEVCExtradata(const SP<IDataPacket>& packet, const SP<const IBlob>& extradata);

} // namespace Tessor::Proc::CodecParsers
