#pragma once

#include "Fnd/DataBitInput.h"

#include <utility>
#include <vector>

/// The byte-level framing that H.264 and HEVC share: NAL units after start codes (Annex B of ITU-T H.264 and H.265) or
/// after big-endian lengths of 1 to 4 bytes (ISO/IEC 14496-15, "MP4 form"). All functions are stateless and may be
/// called from any thread.
namespace Tessor::Proc::CodecParsers
{

inline const std::vector<uint8_t> NALU_START_CODE_4_BYTE{0, 0, 0, 1};
inline const std::vector<uint8_t> NALU_START_CODE_3_BYTE{0, 0, 1};

/// A NAL unit within the caller's bytes, after its start code or length: the first byte is the NAL header.
using Nalu = std::pair<const uint8_t*, size_t>;

/// Appends the units of length-prefixed data. T is `unsigned char` or `const unsigned char`.
/// Throws std::logic_error "bad naluSize" on an empty unit or a length size that is not 1 to 4, "out of range" where a
/// prefix or a unit leaves the data. The unit that leaves it has been appended by then: drop the list on failure.
template <class T>
void FindMP4Nalus(T* data, size_t size, std::vector<std::pair<T*, size_t>>& out, size_t lengthSize);

/// Appends the units of start-coded data. One zero byte in front of a start code belongs to that code; further ones
/// stay with the unit, as do all at the end of the data. Two adjacent start codes give a unit of size 0. Bytes before
/// the first start code are ignored.
TESSOR_API void FindAnnexBNalus(const uint8_t* data, size_t size, std::vector<Nalu>& out);

/// Overwrites each length with a start code of the same size; the length size is 3 or 4. Nothing is written and
/// nothing allocated unless the whole data is well formed. Throws what FindMP4Nalus throws.
TESSOR_API void InplaceConvertMP4ToAnnexB(uint8_t* data, size_t size, size_t lengthSize);

/// ue(v) of H.264, 9.1. After 32 zeros the next 32 bits are the value as they stand.
TESSOR_API uint32_t read_ue(Core::DataBitInput& input);
/// se(v) of H.264, 9.1.1.
TESSOR_API int64_t read_se(Core::DataBitInput& input);

/// The RBSP of a unit: without its emulation prevention bytes, except one at the very end, which stays.
TESSOR_API std::vector<uint8_t> RemoveEmulationByte(const uint8_t* data, size_t size);

} // namespace Tessor::Proc::CodecParsers
