#pragma once

#include "Proc/CodecParsers/Syntax/AACProgramConfig.h"
#include "media/items/IDataPacket.h"

#include <array>

/// Headers and packets of AAC: ADTS frames (ISO/IEC 13818-7, 6.2, and 14496-3, 1.A.2.2) and raw frames with an
/// AudioSpecificConfig ("ASC", 14496-3, 1.6.2.1). Functions are stateless; faults are Exceptions, and data that ends
/// within a header throws Core::IOException. A null blob counts as empty.
namespace Tessor::Proc::CodecParsers
{

/// Hz by sampling frequency index; 0 where the standard reserves the index or writes the rate out.
inline constexpr std::array<uint32_t, 16> AAC_SAMPLE_RATES{96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050,
                                                           16000, 12000, 11025, 8000,  7350,  0,     0,     0};

/// What an ADTS header says of the stream.
struct ADTSHeader
{
    uint32_t sampleRate = 0; ///< Hz
    uint8_t objectType = 0;  ///< audio object type, profile + 1
    uint8_t frequencyIndex = 0;
    uint8_t protectionAbsent = 0;
    uint8_t channelConfiguration = 0;
    SP<const IBlob> pce; ///< from CopyPCEData, with channel configuration 0; null where the first element is another
};

/// What an AudioSpecificConfig says of the stream. Where it names SBR or PS (HE-AAC), the rate is that of the extension
/// and the object type that of the coding underneath, its core.
struct TESSOR_API AudioSpecificConfig
{
    uint32_t sampleRate = 0; ///< Hz
    uint8_t objectType = 0;
    uint8_t frequencyIndex = 0; ///< 15 for a rate that the table does not hold
    uint8_t channelConfiguration = 0;
    SP<const IBlob> pce; ///< from CopyPCEData, with channel configuration 0
    // The core's own, where an extension has taken its place above; otherwise 0.
    uint32_t coreSampleRate = 0; ///< Hz
    uint8_t coreFrequencyIndex = 0;

    /// 0 for the indexes 13 to 15. Throws Exception for higher ones.
    static uint32_t SamplingIndexToSampleRate(uint8_t index);
    /// 13 for 0. Throws Exception for a rate that is not in the table.
    static uint8_t SampleRateToSamplingIndex(uint32_t rate);
};

/// Whether data begins with an ADTS header; just the first 12 bits are looked at.
TESSOR_API bool HasADTSHeader(const uint8_t* data, size_t size);

/// Bytes of the ADTS header with its error check and a PCE right after it; 0 when there is no header. The fixed part
/// may be longer than the data is.
TESSOR_API size_t GetADTSHeaderSize(const uint8_t* data, size_t size);

/// A copy of a packet's ADTS header, as GetADTSHeaderSize measures it; null when the packet does not begin with one or
/// ends within it.
TESSOR_API SP<const IBlob> ExtractADTSHeader(const AVPacket& packet);

/// Throws Exception on what is no header, and on several raw data blocks with error checks.
TESSOR_API ADTSHeader DataToADTSHeader(const uint8_t* data, size_t size);

/// The header with frame length 0, which SetADTSFrameLength sets, and with its PCE for channel configuration 0. There
/// is no error check after it: a writer that wants one supplies it. Throws Exception for a PCE that is missing.
TESSOR_API SP<const IBlob> ADTSHeaderToData(const ADTSHeader& header);

/// Reads up to the PCE. Of GASpecificConfig the PCE is all that is kept. Throws Exception on reserved values.
TESSOR_API AudioSpecificConfig DataToAudioSpecificConfig(const uint8_t* data, size_t size);

/// The config with frames of 1024 samples and no core coder. Throws Exception for a PCE that is missing.
TESSOR_API SP<const IBlob> AudioSpecificConfigToData(const AudioSpecificConfig& config);

/// Throws Exception for a PCE that is missing.
TESSOR_API AudioSpecificConfig ADTStoASC(const ADTSHeader& header);

/// A header without error check, with the rate of the core: ADTS says nothing of extensions. Throws Exception for what
/// ADTS can't say: other object types than 1 to 3, rates that are not in the table, channel configurations above 7, and
/// for a PCE that is missing.
TESSOR_API ADTSHeader ASCtoADTS(const AudioSpecificConfig& config);

/// The ADTS header as an AudioSpecificConfig; extradata without one is returned as given.
TESSOR_API SP<const IBlob> ADTSHeaderToASCExtradata(const SP<const IBlob>& extradata);

/// The AudioSpecificConfig as an ADTS header for SetADTSFrameLength.
TESSOR_API SP<const IBlob> ASCExtradataToADTSFixedHeader(const SP<const IBlob>& extradata);

/// A copy of an ADTS header with that length of the whole frame, of which 13 bits count. Throws Exception for what is
/// no header.
TESSOR_API SP<const IBlob> SetADTSFrameLength(const SP<const IBlob> header, size_t length);

/// A new audio packet without its ADTS header over the same bytes, otherwise like the packet; null for null. Throws
/// Exception when nothing is left.
TESSOR_API SP<IDataPacket> RemoveADTSHeader(const SP<IDataPacket>& packet);

/// A new audio packet with the header in front, otherwise like the packet; null for null. `first` says that no packet
/// of the stream went before; every frame gets the whole header, as decoders start at any. Throws Exception for a frame
/// that is too long and for what is no header.
TESSOR_API SP<IDataPacket> InsertADTSHeader(const SP<IDataPacket>& packet, const SP<const IBlob>& header, bool first);

/// GetAudioObjectType() of the standard.
TESSOR_API uint8_t getObjectType(Core::DataBitInput& input);

} // namespace Tessor::Proc::CodecParsers
