#pragma once

#include "Proc/Settings/SettingsFilterBitStream.h"
#include "Proc/StreamTemplates/IStreamRawEx.h"
#include "Proc/StreamTemplates/PassThrough.h"

namespace Tessor::Proc
{

/// Changes the framing of a compressed stream, header and packets, without touching what is coded: H.264 and HEVC
/// between lengths (MP4) and start codes (Annex B), AAC from ADTS to raw frames. In Annex B, key packets begin with the
/// parameter sets.
///
/// A packet of lengths that is malformed is dropped: that one read gives null, though the stream goes on. A reader who
/// gets null asks the source whether it stands at its end, or reads on.
///
/// Packets without parameter sets in front and with lengths of 3 or 4 bytes are converted in place, their bytes copied
/// only where somebody else shares them: a parent that keeps the packets it gives out gives out clones.
class TESSOR_API FilterBitStream final : public PassThrough<IStreamRaw, IStreamRawEx>, public RefCountImpl
{
public:
    /// Takes SettingsFilterBitStream; others throw std::bad_cast. Throws FilterException where the stream's header does
    /// not say how packets are framed, and what the header conversions of Proc/CodecParsers throw.
    static SP<IStreamRawEx> Create(const SP<IStreamRaw>& parent, const Settings& settings);

private:
    using StreamFormat = SettingsFilterBitStream::StreamFormat;
    struct Conversion;

    FilterBitStream(const SP<IStreamRaw>& parent, const Settings& settings);

    void Initialize(const Core::Property& settings) override;
    /// Starts from the parent's header again, whatever the settings before made of it.
    void Initialize(const Settings& settings) override;
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    MediaType GetMediaType() const override { return parentStream->GetMediaType(); }
    /// The parent's format with the converted header, in a clone; without one where that would be an ADTS header. A
    /// lossless encoder of audio gets the header into its own format, which is returned.
    SP<Conf::IFormatCodec> GetFormatCodec() const override;

    SP<IDataPacket> ReadInternal() override;
    void RequestSeekInternal(avTime time, SP<IStream> requester) override;

    /// Index of the conversion to the form; asks `extradata` as the parent has it.
    uint32_t GetConversionType(StreamFormat format) const;
    uint32_t GetAACConversionType(StreamFormat format) const;
    /// Brings `extradata`, which is there, in the new form and learns the size of lengths from it.
    void ConvertExtradata();
    /// The packet in its new form; null for a malformed one of a conversion that drops those.
    SP<IDataPacket> Convert(const SP<IDataPacket>& packet) const;

    static const Conversion conversions[9];

    SP<const IBlob> extradata;    // the header in the wanted form from Initialize on, null when there is none
    uint32_t conversion = 8;      // index of what Initialize chose
    size_t naluLengthSize = 0;    // of packets in MP4 form, on either side
    const std::string codecId;    // the parent's
    bool firstPacketDone = false; // since Initialize or the last seek to the start
    long long statisticsTime = 0; // spent on converting, in microseconds
    uint64_t statisticsCount = 0; // packets delivered
};

} // namespace Tessor::Proc
