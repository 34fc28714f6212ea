#include "Proc/CodecParsers/TheoraCodecParser.h"

#include "Fnd/DataBitInput.h"
#include "Fnd/DataInputMemory.h"
#include "Fnd/Exception.h"

#include <utility>

namespace Tessor::Proc::CodecParsers
{

namespace
{

constexpr uint32_t versionAlpha3 = 0x30200; // VMAJ, VMIN and VREV as one number
constexpr uint8_t identificationHeader = 0x80;
constexpr uint8_t setupHeader = 0x82;
constexpr size_t headSize = 7; // the type and "theora"

/// PICW, PICH, PICX and PICY, which the alpha versions do not have.
void ReadPicture(Core::DataBitInput& input, Theora_Config& config)
{
    config.pictureWidth = config.frameWidth;
    config.pictureHeight = config.frameHeight;
    if (config.beforeAlpha3)
        return;
    config.pictureWidth = input.ReadBits(24);
    config.pictureHeight = input.ReadBits(24);
    config.offsetX = input.ReadBits(8);
    config.offsetY = input.ReadBits(8);
}

/// The identification header of Theora I, 6.2, from VMAJ to PF.
void ReadIdentification(Core::DataBitInput& input, Theora_Config& config)
{
    config.version = input.ReadBits(24);
    config.beforeAlpha3 = config.version < versionAlpha3;
    config.frameWidth = input.ReadBits(16) * 16; // FMBW and FMBH count macroblocks
    config.frameHeight = input.ReadBits(16) * 16;
    ReadPicture(input, config);
    config.frameRateNum = input.ReadBits(32);
    config.frameRateDen = input.ReadBits(32);
    config.pixelAspectNum = input.ReadBits(24);
    config.pixelAspectDen = input.ReadBits(24);
    if (config.beforeAlpha3)
        config.keyframeGranuleShift = input.ReadBits(5);
    config.colourSpace = input.ReadBits(8);
    config.nominalBitrate = input.ReadBits(24);
    config.quality = input.ReadBits(6);
    if (config.beforeAlpha3)
        return;
    config.keyframeGranuleShift = input.ReadBits(5);
    config.pixelFormat = input.ReadBits(2);
}

// The packet's bytes after its head.
std::pair<const uint8_t*, size_t> GetBody(const uint8_t* packet, size_t size)
{
    if (size < headSize)
        Throw<Exception>(TESSOR_HERE, "Theora config has a packet without its head");
    return {packet + headSize, size - headSize};
}

// The size of the packet after the length field that the data begins with.
size_t GetPacketSize(const uint8_t* data, size_t size)
{
    if (size < 2)
        Throw<Exception>(TESSOR_HERE, "Theora config ends within the length of a packet");
    const size_t length = static_cast<size_t>(data[0]) << 8 | data[1];
    if (length == 0)
        Throw<Exception>(TESSOR_HERE, "Theora config has an empty packet");
    if (length > size - 2)
        Throw<Exception>(TESSOR_HERE, "Theora config has a packet that leaves the data");
    return length;
}

} // namespace

bool Theora_Config::EqualTo(const Theora_Config& other) const
{
    return beforeAlpha3 == other.beforeAlpha3 && frameWidth == other.frameWidth && frameHeight == other.frameHeight &&
           pictureWidth == other.pictureWidth && pictureHeight == other.pictureHeight &&
           colourSpace == other.colourSpace && pixelFormat == other.pixelFormat && setup == other.setup;
}

void DecodeTheoraConfig(const uint8_t* data, size_t size, Theora_Config& config)
{
    config = Theora_Config{};
    bool identified = false;
    while (size > 0)
    {
        const size_t length = GetPacketSize(data, size);
        const uint8_t* packet = data + 2;
        if (packet[0] == identificationHeader)
        {
            const auto [body, bodySize] = GetBody(packet, length);
            Core::DataBitInput input(Core::DataInputMemory::Create(body, bodySize));
            ReadIdentification(input, config);
            identified = true;
        }
        else if (packet[0] == setupHeader)
        {
            const auto [body, bodySize] = GetBody(packet, length);
            config.setup.assign(body, body + bodySize);
        }
        // others, such as the comment header, say nothing of the pictures
        data = packet + length;
        size -= length + 2;
    }
    if (!identified)
        Throw<Exception>(TESSOR_HERE, "Theora config has no identification header");
}

} // namespace Tessor::Proc::CodecParsers
