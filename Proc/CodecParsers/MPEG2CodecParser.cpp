#include "Proc/CodecParsers/MPEG2CodecParser.h"

#include "Fnd/DataBitInput.h"
#include "Fnd/DataInputMemory.h"
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/Nal/StartCode.h"
#include "Proc/CodecParsers/PacketTools.h"

#include <algorithm>

namespace Tessor::Proc::CodecParsers
{

namespace
{

constexpr uint8_t pictureStartCode = 0x00;
constexpr uint8_t sequenceHeaderCode = 0xB3;
constexpr uint8_t extensionStartCode = 0xB5;
constexpr uint8_t sequenceExtensionId = 1;

/// frame_rate_value, Table 6-4.
double FrameRateOfCode(uint8_t code)
{
    static constexpr std::array rates{23.976, 24.0, 25.0, 29.97, 30.0, 50.0, 59.94, 60.0};
    if (code == 0 || code > rates.size())
        Throw<Exception>(TESSOR_HERE, "MPEG-2 config has wrong frame rate code");
    return rates[code - 1];
}

void ReadMatrix(Core::DataBitInput& input, std::array<uint8_t, 64>& matrix)
{
    for (uint8_t& value : matrix)
        value = input.ReadBits(8);
}

/// sequence_header() of ISO/IEC 13818-2, 6.2.2.1, which MPEG-1 has too.
void ReadSequenceHeader(Core::DataBitInput& input, MPEG2_Config& config)
{
    config.horizontal_size_value = input.ReadBits(12);
    config.vertical_size_value = input.ReadBits(12);
    config.aspect_ratio_information = input.ReadBits(4);
    config.frame_rate_code = input.ReadBits(4);
    FrameRateOfCode(config.frame_rate_code); // throws for an unknown code
    config.bit_rate_value = input.ReadBits(18);
    input.ReadBits(1); // marker_bit
    config.vbv_buffer_size_value = input.ReadBits(10);
    config.constrained_parameters_flag = input.ReadBits(1);
    config.load_intra_quantiser_matrix = input.ReadBits(1);
    if (config.load_intra_quantiser_matrix)
        ReadMatrix(input, config.intra_quantiser_matrix);
    config.load_non_intra_quantiser_matrix = input.ReadBits(1);
    if (config.load_non_intra_quantiser_matrix)
        ReadMatrix(input, config.non_intra_quantiser_matrix);
}

/// sequence_extension(), 6.2.2.3. Other extensions share its start code and differ in the identifier.
void ReadSequenceExtension(Core::DataBitInput& input, MPEG2_Config& config)
{
    if (input.ReadBits(4) != sequenceExtensionId)
        Throw<Exception>(TESSOR_HERE, "MPEG-2 config has wrong start code id in sequence extention");
    config.profile_and_level_escape = input.ReadBits(1);
    config.profile = input.ReadBits(3);
    config.level = input.ReadBits(4);
    config.progressive_sequence = input.ReadBits(1);
    config.chroma_format = input.ReadBits(2);
    config.horizontal_size_extension = input.ReadBits(2);
    config.vertical_size_extension = input.ReadBits(2);
    config.bit_rate_extension = input.ReadBits(12);
    input.ReadBits(1); // marker_bit
    config.vbv_buffer_size_extension = input.ReadBits(8);
    config.low_delay = input.ReadBits(1);
    config.frame_rate_extension_n = input.ReadBits(2);
    config.frame_rate_extension_d = input.ReadBits(5);
}

void Derive(MPEG2_Config& config)
{
    // Deliberately a sum, where the standard has a quotient.
    config.frameRate = (config.frame_rate_extension_n + 1) * FrameRateOfCode(config.frame_rate_code) +
                       (config.frame_rate_extension_d + 1);
    config.bitRate = (static_cast<uint32_t>(config.bit_rate_extension) << 18) + config.bit_rate_value;
    config.vbvBufferSize = config.vbv_buffer_size_extension * 1024u + config.vbv_buffer_size_value;
}

} // namespace

void DecodeMPEG2Config(const uint8_t* data, size_t size, MPEG2_Config& config)
{
    config = MPEG2_Config{};
    for (size_t at = FindStartCode(data, size); at + 3 < size; at = FindStartCode(data, size, at + 3))
    {
        Core::DataBitInput input(Core::DataInputMemory::Create(data + at + 4, size - at - 4));
        if (data[at + 3] == sequenceHeaderCode)
            ReadSequenceHeader(input, config);
        else if (data[at + 3] == extensionStartCode)
            ReadSequenceExtension(input, config);
    }
    Derive(config);
}

size_t GetMPEG2ConfigSize(const uint8_t* data, size_t size)
{
    // without an extension this is the size, and so is what is found from there
    const size_t extension = FindStartCodeOf(data, size, extensionStartCode);
    return FindStartCode(data, size, std::min(extension + 3, size));
}

SP<IDataPacket> MPEG2_AddPacketHeader(const SP<IDataPacket>& packet, const SP<const IBlob>& extradata)
{
    return AddPacketHeader(packet, extradata, sequenceHeaderCode);
}

MPEG1_2_Picture_Type GetMPEG1_2FrameType(const SP<const IDataPacket>& packet)
{
    const uint8_t* data = packet->GetData();
    const auto size = static_cast<size_t>(packet->GetSize());
    const size_t at = FindStartCodeOf(data, size, pictureStartCode);
    // After the code: temporal_reference of 10 bits, then the type of 3.
    if (at + 5 >= size)
        return MPEG_PICTURE_NONE;
    const int type = data[at + 5] >> 3 & 7;
    return static_cast<MPEG1_2_Picture_Type>(std::min<int>(type, MPEG_PICTURE_OTHER));
}

} // namespace Tessor::Proc::CodecParsers
