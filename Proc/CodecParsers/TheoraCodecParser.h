#pragma once

#include "Fnd/Export.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tessor::Proc::CodecParsers
{

/// Identification and setup header of the Theora specification. Sizes and offsets are in pixels.
struct TESSOR_API Theora_Config
{
    uint32_t version = 0;      ///< major, minor and revision, 8 bits each
    bool beforeAlpha3 = false; ///< version below 3.2.0: shorter header, picture upside down
    uint32_t frameWidth = 0;   ///< coded size, a multiple of 16
    uint32_t frameHeight = 0;
    uint32_t pictureWidth = 0; ///< shown size
    uint32_t pictureHeight = 0;
    uint8_t offsetX = 0;
    uint8_t offsetY = 0;
    uint32_t frameRateNum = 0;
    uint32_t frameRateDen = 0;
    uint32_t pixelAspectNum = 0;
    uint32_t pixelAspectDen = 0;
    uint8_t keyframeGranuleShift = 0;
    uint8_t colourSpace = 0;
    uint32_t nominalBitrate = 0; ///< bits a second, 0 unknown
    uint8_t quality = 0;
    uint8_t pixelFormat = 0;    ///< 0 is 4:2:0, 2 4:2:2, 3 4:4:4
    std::vector<uint8_t> setup; ///< loop filter limits, quantisers and codebooks, undecoded

    /// Every field.
    bool operator==(const Theora_Config&) const = default;
    /// Whether packets of both decode with one header: version flag, frame size, picture size, colour space, pixel
    /// format and setup are the same.
    bool EqualTo(const Theora_Config& other) const;
};

/// Decodes extradata of packets that each have a 16-bit big-endian length in front. Throws Exception for packets that
/// leave the data, are empty or too short for their head, and without an identification header; Core::IOException when
/// that header is truncated.
TESSOR_API void DecodeTheoraConfig(const uint8_t* data, size_t size, Theora_Config& config);

} // namespace Tessor::Proc::CodecParsers
