#pragma once

#include "media/items/IDataPacket.h"

#include <array>

namespace Tessor::Proc::CodecParsers
{

/// Sequence header and sequence extension of ISO/IEC 13818-2 under the standard's names. What the data does not hold
/// is zero; the matrices are in the order of the stream (zigzag), and zero unless loaded.
struct MPEG2_Config
{
    uint16_t horizontal_size_value = 0;
    uint16_t vertical_size_value = 0;
    uint8_t aspect_ratio_information = 0;
    uint8_t frame_rate_code = 0;
    uint32_t bit_rate_value = 0;
    uint16_t vbv_buffer_size_value = 0;
    uint8_t constrained_parameters_flag = 0;
    uint8_t load_intra_quantiser_matrix = 0;
    std::array<uint8_t, 64> intra_quantiser_matrix{};
    uint8_t load_non_intra_quantiser_matrix = 0;
    std::array<uint8_t, 64> non_intra_quantiser_matrix{};

    uint8_t profile_and_level_escape = 0;
    uint8_t profile = 0;
    uint8_t level = 0;
    uint8_t progressive_sequence = 0;
    uint8_t chroma_format = 0;
    uint8_t horizontal_size_extension = 0;
    uint8_t vertical_size_extension = 0;
    uint16_t bit_rate_extension = 0;
    uint8_t vbv_buffer_size_extension = 0;
    uint8_t low_delay = 0;
    uint8_t frame_rate_extension_n = 0;
    uint8_t frame_rate_extension_d = 0;

    double frameRate = 0;       ///< (n + 1) * rate of the code + (d + 1)
    uint32_t bitRate = 0;       ///< value and extension, in units of 400 bit/s
    uint32_t vbvBufferSize = 0; ///< value and extension * 1024, in units of 16384 bits

    /// Every field.
    bool operator==(const MPEG2_Config&) const = default;
};

/// `picture_coding_type` of a picture header.
enum MPEG1_2_Picture_Type : int
{
    MPEG_PICTURE_NONE = 0,
    MPEG_PICTURE_I = 1,
    MPEG_PICTURE_P = 2,
    MPEG_PICTURE_B = 3,
    MPEG_PICTURE_D = 4,
    MPEG_PICTURE_OTHER = 5,
};

/// Decodes the sequence headers of MPEG-1/2 in the data, the last of each kind where there are several. Throws
/// Exception for a frame rate code that the standard does not have (also when there is no sequence header) and an
/// extension that is no sequence extension, Core::IOException for truncated fields. After a throw the record is partly
/// filled.
TESSOR_API void DecodeMPEG2Config(const uint8_t* data, size_t size, MPEG2_Config& config);

/// Bytes up to the end of the sequence extension, for DecodeMPEG2Config: what stands there next may be an extension
/// that it does not know, such as that of the display.
TESSOR_API size_t GetMPEG2ConfigSize(const uint8_t* data, size_t size);

/// A packet with the extradata in front. The packet itself when it begins with a sequence header, is null, or there is
/// no extradata.
TESSOR_API SP<IDataPacket> MPEG2_AddPacketHeader(const SP<IDataPacket>& packet, const SP<const IBlob>& extradata);

/// Type of the first picture in the packet; MPEG_PICTURE_NONE when there is none.
TESSOR_API MPEG1_2_Picture_Type GetMPEG1_2FrameType(const SP<const IDataPacket>& packet);

} // namespace Tessor::Proc::CodecParsers
