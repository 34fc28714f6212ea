#pragma once

#include "Fnd/Export.h"

#include <cstddef>
#include <cstdint>

namespace Tessor::Proc::CodecParsers
{

/// The four bytes of WMV2 extradata, under the names that FFmpeg's decoder gives the fields.
struct WMV2_Config
{
    uint8_t frameRate = 0; ///< frames a second
    uint16_t bitRate = 0;  ///< in units of 1024 bit/s
    uint8_t mspel_bit = 0;
    uint8_t loop_filter = 0;
    uint8_t abt_flag = 0;
    uint8_t j_type_bit = 0;
    uint8_t top_left_mv_flag = 0;
    uint8_t per_mb_rl_bit = 0;
    uint8_t code = 0; ///< 3 bits, which derive the slices of a picture

    /// Every field.
    bool operator==(const WMV2_Config&) const = default;
};

/// Throws Core::IOException for truncated data.
TESSOR_API void DecodeWMV2Config(const uint8_t* data, size_t size, WMV2_Config& config);

} // namespace Tessor::Proc::CodecParsers
