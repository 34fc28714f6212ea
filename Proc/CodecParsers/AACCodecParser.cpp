#include "Proc/CodecParsers/AACCodecParser.h"

#include "Fnd/DataInputMemory.h"
#include "Fnd/DataOutputString.h"
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/Nal/NaluTools.h"
#include "Proc/CodecParsers/PacketTools.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <algorithm>
#include <functional>

namespace Tessor::Proc::CodecParsers
{

namespace
{

constexpr size_t headerSize = 7;     // of an ADTS header without anything after it
constexpr size_t errorCheckSize = 2; // adts_error_check
constexpr uint32_t syncWord = 0xFFF;
constexpr size_t maxFrameLength = 0x1FFF; // what 13 bits hold

constexpr uint8_t writtenOutRate = 15;     // the index that 24 bits of Hz follow
constexpr unsigned escapedObjectType = 31; // the value that 6 more bits follow
constexpr uint32_t alsMark = 0x414C53;     // "ALS"

// Audio object types.
constexpr uint8_t spectralBandReplication = 5;
constexpr uint8_t errorResilientBSAC = 22;
constexpr uint8_t parametricStereo = 29;
constexpr uint8_t audioLossless = 36;

/// Whether a GASpecificConfig follows.
bool IsGeneralAudio(uint8_t objectType)
{
    constexpr std::array<uint8_t, 12> types{1, 2, 3, 4, 6, 7, 17, 19, 20, 21, 22, 23};
    return std::find(types.begin(), types.end(), objectType) != types.end();
}

/// Values that name no loudspeakers.
bool IsReservedConfiguration(uint8_t channelConfiguration)
{
    return (channelConfiguration >= 8 && channelConfiguration <= 10) || channelConfiguration >= 15;
}

template <class Header>
void DemandPCE(const Header& header)
{
    if (header.channelConfiguration == 0 && !header.pce)
        Throw<Exception>(TESSOR_HERE, "PCE data not found");
}

/// The bits that a writer puts out, as a blob.
SP<const IBlob> CreateBlobOfBits(const std::function<void(Core::DataBitOutput&)>& write)
{
    const SP<Core::DataOutputString> bytes = Core::DataOutputString::Create();
    Core::DataBitOutput output(bytes);
    write(output);
    output.Flush();
    const std::string& text = bytes->GetString();
    const SP<BlobFF> blob = CreateBlob(text.size());
    std::copy(text.begin(), text.end(), blob->Data());
    return blob;
}

uint32_t ReadSampleRate(Core::DataBitInput& input, uint8_t& index)
{
    index = static_cast<uint8_t>(input.ReadBits(4));
    if (index == writtenOutRate)
    {
        const uint32_t rate = input.ReadBits(24);
        if (rate == 0)
            Throw<Exception>(TESSOR_HERE, "Invalid sample rate");
        return rate;
    }
    const uint32_t rate = AudioSpecificConfig::SamplingIndexToSampleRate(index);
    if (rate == 0)
        Throw<Exception>(TESSOR_HERE, "Invalid sample rate index");
    return rate;
}

/// Explicit signalling of SBR and PS: the extension's rate, then the object type of what is underneath. Both are taken
/// in place of what stood before.
void ReadExtension(Core::DataBitInput& input, AudioSpecificConfig& config)
{
    config.coreSampleRate = config.sampleRate;
    config.coreFrequencyIndex = config.frequencyIndex;
    config.sampleRate = ReadSampleRate(input, config.frequencyIndex);
    config.objectType = getObjectType(input);
    if (config.objectType == errorResilientBSAC)
        input.ReadBits(4); // extensionChannelConfiguration
}

/// ALSSpecificConfig says the rate once more, in 32 bits, and its word counts. Early writers put 24 more bits in front
/// of the mark.
void ReadLosslessRate(Core::DataBitInput& input, AudioSpecificConfig& config)
{
    // fillBits bring the mark to a byte boundary; without a mark the rate stays as it was
    input.ReadBits(5); // fillBits
    if (input.ReadBits(24) != alsMark && input.ReadBits(24) != alsMark)
        return;
    input.ReadBits(8); // the rest of als_id
    config.sampleRate = input.ReadBits(32);
    if (config.sampleRate == 0)
        Throw<Exception>(TESSOR_HERE, "Invalid sample rate");
}

/// GASpecificConfig up to the PCE.
void SkipGeneralAudioHead(Core::DataBitInput& input)
{
    input.ReadBits(1);     // frameLengthFlag
    if (input.ReadBits(1)) // dependsOnCoreCoder
        input.ReadBits(14);
    input.ReadBits(1); // extensionFlag
}

/// The first element after a header, when it is a PCE.
SP<const IBlob> ReadLeadingPCE(Core::DataBitInput& input)
{
    return input.ReadBits(3) == AAC_ID_PCE ? CopyPCEData(input) : nullptr;
}

} // namespace

uint32_t AudioSpecificConfig::SamplingIndexToSampleRate(uint8_t index)
{
    if (index >= AAC_SAMPLE_RATES.size())
        Throw<Exception>(TESSOR_HERE, "Invalid sample rate index");
    return AAC_SAMPLE_RATES[index];
}

uint8_t AudioSpecificConfig::SampleRateToSamplingIndex(uint32_t rate)
{
    const auto found = std::find(AAC_SAMPLE_RATES.begin(), AAC_SAMPLE_RATES.end(), rate);
    if (found == AAC_SAMPLE_RATES.end())
        Throw<Exception>(TESSOR_HERE, "Invalid sample rate");
    return static_cast<uint8_t>(found - AAC_SAMPLE_RATES.begin());
}

bool HasADTSHeader(const uint8_t* data, size_t size)
{
    return size >= 2 && data[0] == 0xFF && data[1] >= 0xF0;
}

size_t GetADTSHeaderSize(const uint8_t* data, size_t size)
{
    if (!HasADTSHeader(data, size))
        return 0;
    const size_t fixedSize = (data[1] & 1) != 0 ? headerSize : headerSize + errorCheckSize;
    // a PCE counts as header: the AudioSpecificConfig has it too, so that a raw frame can go without
    if (size <= fixedSize || !HasPCE(data + fixedSize, size - fixedSize))
        return fixedSize;
    Core::DataBitInput input(Core::DataInputMemory::Create(data + fixedSize, size - fixedSize));
    ReadLeadingPCE(input);
    return size - input.BitsLeft() / 8;
}

SP<const IBlob> ExtractADTSHeader(const AVPacket& packet)
{
    const auto size = static_cast<size_t>(packet.size);
    const size_t found = GetADTSHeaderSize(packet.data, size);
    return found > 0 && found <= size ? BlobFF::Create(packet.data, found) : nullptr;
}

ADTSHeader DataToADTSHeader(const uint8_t* data, size_t size)
{
    ADTSHeader header;
    Core::DataBitInput input(Core::DataInputMemory::Create(data, size));
    if (input.ReadBits(12) != syncWord)
        Throw<Exception>(TESSOR_HERE, "Invalid data - no sync word found");
    input.ReadBits(1 + 2); // ID, layer
    header.protectionAbsent = static_cast<uint8_t>(input.ReadBits(1));
    header.objectType = static_cast<uint8_t>(input.ReadBits(2) + 1); // profile_ObjectType has one less
    header.frequencyIndex = static_cast<uint8_t>(input.ReadBits(4));
    header.sampleRate = AAC_SAMPLE_RATES[header.frequencyIndex];
    if (header.sampleRate == 0)
        Throw<Exception>(TESSOR_HERE, "Invalid frequency index");
    input.ReadBits(1);                                                     // private_bit
    header.channelConfiguration = static_cast<uint8_t>(input.ReadBits(3)); // none of its values is a bad one
    input.ReadBits(4); // original_copy, home, copyright_identification_bit, copyright_identification_start
    if (input.ReadBits(13) < headerSize)
        Throw<Exception>(TESSOR_HERE, "Frame length is smaller than ADTS header size!");
    input.ReadBits(11); // adts_buffer_fullness
    // with a check, adts_header_error_check() lists the positions of the further blocks, which nothing here reads
    if (input.ReadBits(2) > 0 && !header.protectionAbsent)
        Throw<Exception>(TESSOR_HERE, "Multiple RDBs per frame with CRC");
    if (header.channelConfiguration == 0)
    {
        if (!header.protectionAbsent)
            input.ReadBits(8 * errorCheckSize);
        header.pce = ReadLeadingPCE(input);
    }
    return header;
}

SP<const IBlob> ADTSHeaderToData(const ADTSHeader& header)
{
    DemandPCE(header);
    return CreateBlobOfBits(
        [&](Core::DataBitOutput& output)
        {
            output.WriteBits(syncWord, 12);
            output.WriteBits(0, 1 + 2); // ID, layer
            output.WriteBits(header.protectionAbsent, 1);
            output.WriteBits(header.objectType - 1u, 2);
            output.WriteBits(header.frequencyIndex, 4);
            output.WriteBits(0, 1); // private_bit
            output.WriteBits(header.channelConfiguration, 3);
            output.WriteBits(0, 4);      // original_copy, home, copyright_identification_bit and _start
            output.WriteBits(0, 13);     // aac_frame_length
            output.WriteBits(0x7FF, 11); // adts_buffer_fullness: a variable rate
            output.WriteBits(0, 2);      // number_of_raw_data_blocks_in_frame
            if (header.channelConfiguration == 0)
            {
                output.WriteBits(AAC_ID_PCE, 3);
                WritePCEData(*header.pce, output);
            }
        });
}

AudioSpecificConfig DataToAudioSpecificConfig(const uint8_t* data, size_t size)
{
    AudioSpecificConfig config;
    Core::DataBitInput input(Core::DataInputMemory::Create(data, size));
    config.objectType = getObjectType(input);
    config.sampleRate = ReadSampleRate(input, config.frequencyIndex);
    config.channelConfiguration = static_cast<uint8_t>(input.ReadBits(4));
    if (IsReservedConfiguration(config.channelConfiguration))
        Throw<Exception>(TESSOR_HERE, "Invalid channel configuration");
    if (config.objectType == spectralBandReplication || config.objectType == parametricStereo)
        ReadExtension(input, config);
    if (config.objectType == audioLossless)
        ReadLosslessRate(input, config);
    // only GASpecificConfig can hold a PCE
    if (config.channelConfiguration == 0 && IsGeneralAudio(config.objectType))
    {
        SkipGeneralAudioHead(input);
        config.pce = ExtractPCEFromASCExtradata(data, size, Core::ioSize(size) * 8 - input.BitsLeft());
    }
    return config;
}

SP<const IBlob> AudioSpecificConfigToData(const AudioSpecificConfig& config)
{
    DemandPCE(config);
    return CreateBlobOfBits(
        [&](Core::DataBitOutput& output)
        {
            if (config.objectType > escapedObjectType)
            {
                output.WriteBits(escapedObjectType, 5);
                output.WriteBits(config.objectType - (escapedObjectType + 1), 6);
            }
            else
                output.WriteBits(config.objectType, 5);
            output.WriteBits(config.frequencyIndex, 4);
            if (config.frequencyIndex == writtenOutRate)
                output.WriteBits(config.sampleRate, 24);
            output.WriteBits(config.channelConfiguration, 4);
            output.WriteBits(0, 3); // frameLengthFlag, dependsOnCoreCoder, extensionFlag
            if (config.channelConfiguration == 0)
                WritePCEData(*config.pce, output);
        });
}

AudioSpecificConfig ADTStoASC(const ADTSHeader& header)
{
    if (header.frequencyIndex >= AAC_SAMPLE_RATES.size())
        Throw<Exception>(TESSOR_HERE, "Illegal sample rate index for ASC");
    DemandPCE(header);
    return {header.sampleRate, header.objectType, header.frequencyIndex, header.channelConfiguration, header.pce};
}

ADTSHeader ASCtoADTS(const AudioSpecificConfig& config)
{
    if (config.objectType >= 4)
        Throw<Exception>(TESSOR_HERE, "Given MPEG-4 AOT is not allowed in ADTS");
    // decoders find an extension in the frames by themselves
    const bool extended = config.coreSampleRate != 0;
    const uint32_t rate = extended ? config.coreSampleRate : config.sampleRate;
    const uint8_t index = extended ? config.coreFrequencyIndex : config.frequencyIndex;
    if (index >= writtenOutRate)
        Throw<Exception>(TESSOR_HERE, "Illegal sample rate index for ADTS");
    if (config.channelConfiguration > 7)
        Throw<Exception>(TESSOR_HERE, "Invalid channel configuration!");
    DemandPCE(config);
    constexpr uint8_t protectionAbsent = 1;
    return {rate, config.objectType, index, protectionAbsent, config.channelConfiguration, config.pce};
}

SP<const IBlob> ADTSHeaderToASCExtradata(const SP<const IBlob>& extradata)
{
    const auto bytes = BlobBytes(extradata);
    if (!HasADTSHeader(bytes.data(), bytes.size()))
        return extradata;
    return AudioSpecificConfigToData(ADTStoASC(DataToADTSHeader(bytes.data(), bytes.size())));
}

SP<const IBlob> ASCExtradataToADTSFixedHeader(const SP<const IBlob>& extradata)
{
    const auto bytes = BlobBytes(extradata);
    return ADTSHeaderToData(ASCtoADTS(DataToAudioSpecificConfig(bytes.data(), bytes.size())));
}

SP<const IBlob> SetADTSFrameLength(const SP<const IBlob> header, size_t length)
{
    const auto bytes = BlobBytes(header);
    if (bytes.size() < headerSize || !HasADTSHeader(bytes.data(), bytes.size()))
        Throw<Exception>(TESSOR_HERE, "Given ADTS header is not valid. Frame length cannot be set.");
    const SP<BlobFF> result = CreateBlob(bytes.size());
    uint8_t* to = result->Data();
    std::copy(bytes.begin(), bytes.end(), to);
    // aac_frame_length: 13 bits from the last two of byte 3 on
    to[3] = static_cast<uint8_t>((to[3] & 0xFC) | (length >> 11 & 3));
    to[4] = static_cast<uint8_t>(length >> 3);
    to[5] = static_cast<uint8_t>((to[5] & 0x1F) | (length & 7) << 5);
    return result;
}

SP<IDataPacket> RemoveADTSHeader(const SP<IDataPacket>& packet)
{
    if (!packet)
        return nullptr;
    const auto bytes = PacketBytes(*packet);
    const size_t size = GetADTSHeaderSize(bytes.data(), bytes.size());
    if (bytes.size() <= size)
        Throw<Exception>(TESSOR_HERE, "RemoveADTSHeader: no data behind the ADTS header");
    return DropPacketHead(packet, size, MediaType::Audio);
}

SP<IDataPacket> InsertADTSHeader(const SP<IDataPacket>& packet, const SP<const IBlob>& header, bool)
{
    if (!packet)
        return nullptr;
    const size_t frameLength = BlobBytes(header).size() + static_cast<size_t>(packet->GetSize());
    if (frameLength > maxFrameLength)
        Throw<Exception>(TESSOR_HERE, "Packet data is too large for ADTS format!");
    const SP<const IBlob> complete = SetADTSFrameLength(header, frameLength);
    return PrependToPacket(packet, complete->Data(), complete->Size(), MediaType::Audio);
}

uint8_t getObjectType(Core::DataBitInput& input)
{
    const uint32_t type = input.ReadBits(5);
    return static_cast<uint8_t>(type == escapedObjectType ? escapedObjectType + 1 + input.ReadBits(6) : type);
}

} // namespace Tessor::Proc::CodecParsers
