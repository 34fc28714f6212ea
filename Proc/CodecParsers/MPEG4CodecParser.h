#pragma once

#include "media/items/IDataPacket.h"

#include <vector>

namespace Tessor::Proc::CodecParsers
{

/// Visual object sequence, visual object and video object layer of ISO/IEC 14496-2 under the standard's names. What
/// the data does not hold has the standard's default, or is zero where there is none.
struct MPEG4_Config
{
    uint8_t profile = 0; ///< high half of profile_and_level_indication
    uint8_t level = 0;   ///< its low half
    std::vector<uint8_t> userData;

    uint8_t visual_object_verid = 1;
    uint8_t visual_object_priority = 1;
    uint8_t visual_object_type = 0;
    uint8_t video_signal_type = 0;
    uint8_t video_format = 5;
    uint8_t video_range = 0;
    uint8_t colour_description = 0;
    uint8_t colour_primaries = 1;
    uint8_t transfer_characteristics = 1;
    uint8_t matrix_coefficients = 1;

    uint8_t random_accessible_vol = 0;
    uint8_t video_object_type_indication = 0;
    uint8_t is_object_layer_identifier = 0;
    uint8_t video_object_layer_verid = 1;
    uint8_t video_object_layer_priority = 1;
    uint8_t aspect_ratio_info = 0;
    uint8_t par_width = 0;
    uint8_t par_height = 0;
    uint8_t vol_control_parameters = 0;
    uint8_t chroma_format = 1;
    uint8_t low_delay = 0;
    uint8_t vbv_parameters = 0;
    uint16_t first_half_bit_rate = 0;
    uint16_t latter_half_bit_rate = 0;
    uint16_t first_half_vbv_buffer_size = 0;
    uint8_t latter_half_vbv_buffer_size = 0;
    uint16_t first_half_vbv_occupancy = 0;
    uint16_t latter_half_vbv_occupancy = 0;
    uint8_t video_object_layer_shape = 0;
    uint8_t video_object_layer_shape_extension = 0;
    uint16_t vop_time_increment_resolution = 0;
    uint8_t fixed_vop_rate = 0;
    uint16_t fixed_vop_time_increment = 0;

    uint16_t video_object_layer_width = 0;
    uint16_t video_object_layer_height = 0;
    uint8_t interlaced = 0;
    uint8_t obmc_disable = 0;
    uint8_t sprite_enable = 0;
    uint8_t sadct_disable = 0;
    uint8_t not_8_bit = 0;
    uint8_t quant_precision = 5;
    uint8_t bits_per_pixel = 8;
    uint8_t quant_type = 0;
    uint8_t quarter_sample = 0;
    uint8_t complexity_estimation_disable = 0;
    uint8_t resync_marker_disable = 0;
    uint8_t data_partitioned = 0;
    uint8_t reversible_vlc = 0;
    uint8_t scalability = 0;

    /// Every field.
    bool operator==(const MPEG4_Config&) const = default;
};

/// Decodes from the visual object sequence through the first video object layer; nothing after it is looked at.
/// Throws Exception for data that does not begin with the sequence's start code, for another start code that is not
/// expected, and for sprites, quantisation matrices, complexity estimation and user data; Core::IOException when the
/// data ends before the layer does. After a throw the record is filled up to the fault.
TESSOR_API void DecodeMPEG4Config(const uint8_t* data, size_t size, MPEG4_Config& config);

/// A packet with the extradata in front. The packet itself when it begins with a visual object sequence, is null, or
/// there is no extradata.
TESSOR_API SP<IDataPacket> MPEG4_AddPacketHeader(const SP<IDataPacket>& packet, const SP<const IBlob>& extradata);

/// A copy of what stands before the first picture (VOP) of the packet, the whole payload when it holds no picture.
/// Null for a null packet.
TESSOR_API SP<const IBlob> MPEG4_GetPacketHeaders(const SP<IDataPacket>& packet);

} // namespace Tessor::Proc::CodecParsers
