#include "Proc/CodecParsers/MPEG4CodecParser.h"

#include "Fnd/DataBitInput.h"
#include "Fnd/DataInputMemory.h"
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/Nal/StartCode.h"
#include "Proc/CodecParsers/PacketTools.h"
#include "media/items/BlobFF.h"

#include <algorithm>
#include <bit>
#include <string>

namespace Tessor::Proc::CodecParsers
{

namespace
{

// Whole start codes, prefix included, and the last byte where packets are searched.
constexpr uint32_t videoObjectLast = 0x0000011F; // from 0x00000100
constexpr uint32_t videoObjectLayerFirst = 0x00000120;
constexpr uint32_t videoObjectLayerLast = 0x0000012F;
constexpr uint32_t visualObjectSequence = 0x000001B0;
constexpr uint32_t userDataCode = 0x000001B2;
constexpr uint32_t visualObject = 0x000001B5;
constexpr uint8_t visualObjectSequenceByte = 0xB0;
constexpr uint8_t vopByte = 0xB6;

constexpr uint8_t visualObjectTypeVideo = 1;
constexpr uint8_t visualObjectTypeStillTexture = 2;
constexpr uint8_t extendedPar = 15;

enum Shape : uint8_t
{
    Rectangular = 0,
    Binary = 1,
    BinaryOnly = 2,
    Grayscale = 3,
};

/// A marker bit is always 1, so that fields can't make up a start code. One that is 0 does no harm here.
void SkipMarker(Core::DataBitInput& input)
{
    input.ReadBits(1);
}

void ReadVideoSignalType(Core::DataBitInput& input, MPEG4_Config& config)
{
    config.video_signal_type = input.ReadBits(1);
    if (!config.video_signal_type)
        return;
    config.video_format = input.ReadBits(3);
    config.video_range = input.ReadBits(1);
    config.colour_description = input.ReadBits(1);
    if (!config.colour_description)
        return;
    config.colour_primaries = input.ReadBits(8);
    config.transfer_characteristics = input.ReadBits(8);
    config.matrix_coefficients = input.ReadBits(8);
}

/// VisualObject() of ISO/IEC 14496-2.
void ReadVisualObject(Core::DataBitInput& input, MPEG4_Config& config)
{
    if (input.ReadBits(1)) // is_visual_object_identifier
    {
        config.visual_object_verid = input.ReadBits(4);
        config.visual_object_priority = input.ReadBits(3);
    }
    config.visual_object_type = input.ReadBits(4);
    if (config.visual_object_type == visualObjectTypeVideo || config.visual_object_type == visualObjectTypeStillTexture)
        ReadVideoSignalType(input, config);
    input.SkipBitsToNextByte(); // next_start_code()
}

void ReadVbvParameters(Core::DataBitInput& input, MPEG4_Config& config)
{
    config.first_half_bit_rate = input.ReadBits(15);
    SkipMarker(input);
    config.latter_half_bit_rate = input.ReadBits(15);
    SkipMarker(input);
    config.first_half_vbv_buffer_size = input.ReadBits(15);
    SkipMarker(input);
    config.latter_half_vbv_buffer_size = input.ReadBits(3);
    config.first_half_vbv_occupancy = input.ReadBits(11);
    SkipMarker(input);
    config.latter_half_vbv_occupancy = input.ReadBits(15);
    SkipMarker(input);
}

void ReadVolControlParameters(Core::DataBitInput& input, MPEG4_Config& config)
{
    config.chroma_format = input.ReadBits(2);
    config.low_delay = input.ReadBits(1);
    config.vbv_parameters = input.ReadBits(1);
    if (config.vbv_parameters)
        ReadVbvParameters(input, config);
}

void ReadTimeIncrement(Core::DataBitInput& input, MPEG4_Config& config)
{
    SkipMarker(input);
    config.vop_time_increment_resolution = input.ReadBits(16);
    SkipMarker(input);
    config.fixed_vop_rate = input.ReadBits(1);
    if (!config.fixed_vop_rate)
        return;
    // As many bits as the values 0 to resolution - 1 take, and at least one. The forbidden resolution 0 counts as 1.
    const unsigned resolution = std::max<unsigned>(config.vop_time_increment_resolution, 1);
    config.fixed_vop_time_increment = input.ReadBits(std::max(std::bit_width(resolution - 1), 1u));
}

/// VideoObjectLayer() up to the time increment.
void ReadLayerHead(Core::DataBitInput& input, MPEG4_Config& config)
{
    config.random_accessible_vol = input.ReadBits(1);
    config.video_object_type_indication = input.ReadBits(8);
    // A layer without a version of its own has that of its object.
    config.video_object_layer_verid = config.visual_object_verid;
    config.is_object_layer_identifier = input.ReadBits(1);
    if (config.is_object_layer_identifier)
    {
        config.video_object_layer_verid = input.ReadBits(4);
        config.video_object_layer_priority = input.ReadBits(3);
    }
    config.aspect_ratio_info = input.ReadBits(4);
    if (config.aspect_ratio_info == extendedPar)
    {
        config.par_width = input.ReadBits(8);
        config.par_height = input.ReadBits(8);
    }
    config.vol_control_parameters = input.ReadBits(1);
    if (config.vol_control_parameters)
        ReadVolControlParameters(input, config);
    config.video_object_layer_shape = input.ReadBits(2);
    if (config.video_object_layer_shape == Grayscale && config.video_object_layer_verid != 1)
        config.video_object_layer_shape_extension = input.ReadBits(4);
    ReadTimeIncrement(input, config);
}

void ReadLayerSize(Core::DataBitInput& input, MPEG4_Config& config)
{
    SkipMarker(input);
    config.video_object_layer_width = input.ReadBits(13);
    SkipMarker(input);
    config.video_object_layer_height = input.ReadBits(13);
    SkipMarker(input);
}

// The part of the layer that says how textures are coded.
void ReadLayerCoding(Core::DataBitInput& input, MPEG4_Config& config)
{
    const bool firstVersion = config.video_object_layer_verid == 1;
    const uint8_t shape = config.video_object_layer_shape;
    config.interlaced = input.ReadBits(1);
    config.obmc_disable = input.ReadBits(1);
    // Where a field opens a block that is not read, decoding ends: all that follows would be taken from a wrong place.
    config.sprite_enable = input.ReadBits(firstVersion ? 1 : 2);
    if (config.sprite_enable)
        Throw<Exception>(TESSOR_HERE, "MPEG-4 sprite parameters in Video Object Layer are not implemented!");
    if (!firstVersion && shape != Rectangular)
        config.sadct_disable = input.ReadBits(1);
    config.not_8_bit = input.ReadBits(1);
    if (config.not_8_bit)
    {
        config.quant_precision = input.ReadBits(4);
        config.bits_per_pixel = input.ReadBits(4);
    }
    if (shape == Grayscale)
        input.ReadBits(3); // no_gray_quant_update, composition_method, linear_composition
    config.quant_type = input.ReadBits(1);
    if (config.quant_type)
        Throw<Exception>(TESSOR_HERE, "MPEG-4 quantization parameters in Video Object Layer are not implemented!");
    if (!firstVersion)
        config.quarter_sample = input.ReadBits(1);
    config.complexity_estimation_disable = input.ReadBits(1);
    if (!config.complexity_estimation_disable)
        Throw<Exception>(TESSOR_HERE, "MPEG-4 complexity estimation header in Video Object Layer are not implemented!");
}

void ReadLayerResilience(Core::DataBitInput& input, MPEG4_Config& config)
{
    config.resync_marker_disable = input.ReadBits(1);
    config.data_partitioned = input.ReadBits(1);
    if (config.data_partitioned)
        config.reversible_vlc = input.ReadBits(1);
    if (config.video_object_layer_verid != 1)
    {
        if (input.ReadBits(1)) // newpred_enable
            input.ReadBits(3); // requested_upstream_message_type, newpred_segment_type
        input.ReadBits(1);     // reduced_resolution_vop_enable
    }
    config.scalability = input.ReadBits(1);
}

void ReadVideoObjectLayer(Core::DataBitInput& input, MPEG4_Config& config)
{
    ReadLayerHead(input, config);
    // A mask alone has no texture, and nothing more that is of use here.
    if (config.video_object_layer_shape == BinaryOnly)
        return;
    if (config.video_object_layer_shape == Rectangular)
        ReadLayerSize(input, config);
    ReadLayerCoding(input, config);
    ReadLayerResilience(input, config);
}

} // namespace

void DecodeMPEG4Config(const uint8_t* data, size_t size, MPEG4_Config& config)
{
    config = MPEG4_Config{};
    Core::DataBitInput input(Core::DataInputMemory::Create(data, size));
    const uint32_t first = input.ReadBits(32);
    if (first != visualObjectSequence)
        Throw<Exception>(TESSOR_HERE, "MPEG-4 config is not begining with VOS Start Code: " + std::to_string(first));
    config.profile = input.ReadBits(4);
    config.level = input.ReadBits(4);
    // all that comes before the layer ends at a whole byte, so that codes follow each other directly; data without a
    // layer ends the walk by a fault of the bit reader
    for (;;)
    {
        const uint32_t code = input.ReadBits(32);
        if (code == visualObject)
            ReadVisualObject(input, config);
        else if (code >= videoObjectLayerFirst && code <= videoObjectLayerLast)
            return ReadVideoObjectLayer(input, config);
        else if (code == userDataCode)
            Throw<Exception>(TESSOR_HERE, "MPEG-4 user data not implemented!");
        else if (code < 0x00000100 || code > videoObjectLast) // a video object is its code alone
            Throw<Exception>(TESSOR_HERE, "MPEG-4 config has wrong start code: " + std::to_string(code));
    }
}

SP<IDataPacket> MPEG4_AddPacketHeader(const SP<IDataPacket>& packet, const SP<const IBlob>& extradata)
{
    return AddPacketHeader(packet, extradata, visualObjectSequenceByte);
}

SP<const IBlob> MPEG4_GetPacketHeaders(const SP<IDataPacket>& packet)
{
    if (!packet)
        return nullptr;
    const uint8_t* data = packet->GetData();
    return BlobFF::Create(data, FindStartCodeOf(data, static_cast<size_t>(packet->GetSize()), vopByte));
}

} // namespace Tessor::Proc::CodecParsers
