#include "Proc/Filters/Filters/Cutting/FilterBitStream.h"

#include "Fnd/TimerSimple.h"
#include "Proc/CodecParsers/AACCodecParser.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/Filters/Filters/FilterHelpers.h"
#include "host/IEncoder.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/formats/IFormatCodecVideo.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <glog/logging.h>

namespace Tessor::Proc
{

using namespace CodecParsers;

namespace
{

/// Indexes of the table.
enum ConversionType : uint32_t
{
    H264_ANNEX_B_TO_MP4 = 0,
    H264_MP4_TO_ANNEX_B = 1,
    HEVC_ANNEX_B_TO_MP4 = 2,
    HEVC_MP4_TO_ANNEX_B = 3,
    ADTS_TO_RAW = 4,
    RAW_TO_ADTS = 5,
    H264_ANNEX_B = 6, // both sides
    HEVC_ANNEX_B = 7,
    UNCHANGED = 8,
};

SP<const IBlob> HeaderOf(const IStreamRaw& stream)
{
    const SP<const IBlob> header = stream.GetFormatCodec()->GetExtradata();
    return header && header->Size() > 0 ? header : nullptr;
}

bool IsADTS(const SP<const IBlob>& extradata)
{
    return extradata && HasADTSHeader(extradata->Data(), extradata->Size());
}

} // namespace

/// What becomes of header and packets; null functions leave them as they are.
struct FilterBitStream::Conversion
{
    SP<const IBlob> (*convertExtradata)(const SP<const IBlob>&);
    /// Of the header in MP4 form, where one side has that.
    size_t (*getLengthSize)(const uint8_t* data, size_t size);
    /// The MP4 form is that of the parent, and packets may be malformed.
    bool fromMp4;
    SP<IDataPacket> (*convertPacket)(const FilterBitStream& filter, const SP<IDataPacket>& packet);
};

const FilterBitStream::Conversion FilterBitStream::conversions[] = {
    {H264_Extradata_AnnexBtoMp4, GetAvccNALULengthSize, false,
     [](const FilterBitStream& f, const SP<IDataPacket>& packet) { return AnnexBtoMp4(packet, f.naluLengthSize); }},
    {H264_Extradata_Mp4toAnnexB, GetAvccNALULengthSize, true,
     [](const FilterBitStream& f, const SP<IDataPacket>& packet)
     { return Mp4toAnnexB(packet, f.naluLengthSize, f.extradata, f.codecId); }},
    {HEVC_Extradata_AnnexBtoHvcC, GetHvccNALULengthSize, false,
     [](const FilterBitStream& f, const SP<IDataPacket>& packet) { return AnnexBtoMp4(packet, f.naluLengthSize); }},
    {HEVC_Extradata_hvcCtoAnnexB, GetHvccNALULengthSize, true,
     [](const FilterBitStream& f, const SP<IDataPacket>& packet)
     { return Mp4toAnnexB(packet, f.naluLengthSize, f.extradata, f.codecId); }},
    {ADTSHeaderToASCExtradata, nullptr, false,
     [](const FilterBitStream&, const SP<IDataPacket>& packet) { return RemoveADTSHeader(packet); }},
    {ASCExtradataToADTSFixedHeader, nullptr, false,
     [](const FilterBitStream& f, const SP<IDataPacket>& packet)
     { return InsertADTSHeader(packet, f.extradata, !f.firstPacketDone); }},
    {nullptr, nullptr, false,
     [](const FilterBitStream& f, const SP<IDataPacket>& packet) { return InsertH264Extradata(packet, f.extradata); }},
    {nullptr, nullptr, false,
     [](const FilterBitStream& f, const SP<IDataPacket>& packet) { return InsertHEVCExtradata(packet, f.extradata); }},
    {nullptr, nullptr, false, [](const FilterBitStream&, const SP<IDataPacket>& packet) { return packet; }},
};

SP<IStreamRawEx> FilterBitStream::Create(const SP<IStreamRaw>& parent, const Settings& settings)
{
    return SP<IStreamRawEx>(new FilterBitStream(parent, settings));
}

FilterBitStream::FilterBitStream(const SP<IStreamRaw>& parent, const Settings& settings)
    : PassThrough(parent, "FilterBitStream", FRAME_ALLOC_NONE), codecId(GetCodecID())
{
    Initialize(settings);
}

void FilterBitStream::Initialize(const Core::Property&)
{
    Throw<FilterException>(TESSOR_HERE, "Deprecated method");
}

void FilterBitStream::Initialize(const Settings& settings)
{
    const StreamFormat format = SettingsCast<SettingsFilterBitStream>(settings).GetStreamFormatNeeded();
    extradata = HeaderOf(*parentStream);
    conversion = GetConversionType(format);
    naluLengthSize = 0;
    if (extradata)
        ConvertExtradata();
    firstPacketDone = false;
    if (conversions[conversion].getLengthSize && naluLengthSize == 0)
        Throw<FilterException>(TESSOR_HERE, "Bad extra data provided! Can not determine header size.");
}

Core::Property FilterBitStream::GetSettings() const
{
    Throw<FilterException>(TESSOR_HERE, "Deprecated method");
}

Core::Property FilterBitStream::GetStatistic() const
{
    return AddStatistics(parentStream->GetStatistic(), Core::StatisticsTag("FilterBitStream"), statisticsTime,
                         statisticsCount);
}

SP<Conf::IFormatCodec> FilterBitStream::GetFormatCodec() const
{
    SP<Conf::IFormatCodec> format = parentStream->GetFormatCodec();
    // A lossless encoder writes its own header where a muxer looks for it.
    const bool isLosslessAudio = dynamic_cast<const IEncoderLossless*>(parentStream.get()) != nullptr &&
                                 parentStream->GetMediaType() == MediaType::Audio;
    if (!isLosslessAudio)
        format = format->Clone();
    format->SetExtradata(IsADTS(extradata) ? nullptr : extradata);
    return format;
}

SP<IDataPacket> FilterBitStream::ReadInternal()
{
    const SP<IDataPacket> packet = parentStream->Read();
    if (!packet)
        return nullptr;
    const Core::TimerSimple timer(statisticsTime);
    const bool isKey = packet->IsKeyFrame();
    const SP<IDataPacket> result = Convert(packet);
    if (!result)
        return nullptr;
    // conversions that build a new packet do not know its flags
    if (isKey && !result->IsKeyFrame())
        result->GetAVPacket()->flags |= AV_PKT_FLAG_KEY;
    ++statisticsCount;
    firstPacketDone = true;
    return result;
}

void FilterBitStream::RequestSeekInternal(avTime time, SP<IStream> requester)
{
    if (time == 0)
        firstPacketDone = false;
    parentStream->RequestSeek(time, requester);
}

uint32_t FilterBitStream::GetConversionType(StreamFormat format) const
{
    using Conf::IFormatCodecAudio, Conf::IFormatCodecVideo;
    // the header is in the form that the packets are in; without one they are taken for Annex B
    const auto choose = [&](auto isMp4Header, ConversionType toMp4, ConversionType toAnnexB, ConversionType annexB)
    {
        const bool isMp4 = extradata && isMp4Header(extradata->Data(), extradata->Size());
        if (format == SettingsFilterBitStream::STREAM_FORMAT_ANNEX_B)
            return isMp4 ? toAnnexB : annexB;
        return format == SettingsFilterBitStream::STREAM_FORMAT_MP4 && !isMp4 ? toMp4 : UNCHANGED;
    };
    if (format == SettingsFilterBitStream::STREAM_FORMAT_UNCHANGED)
        return UNCHANGED;
    if (codecId == IFormatCodecVideo::CODEC_ID_H264)
        return choose(IsAvcCHeader, H264_ANNEX_B_TO_MP4, H264_MP4_TO_ANNEX_B, H264_ANNEX_B);
    if (codecId == IFormatCodecVideo::CODEC_ID_H265)
        return choose(IsHvcCHeader, HEVC_ANNEX_B_TO_MP4, HEVC_MP4_TO_ANNEX_B, HEVC_ANNEX_B);
    if (codecId == IFormatCodecAudio::CODEC_ID_AAC || codecId == IFormatCodecAudio::CODEC_ID_AAC_LATM)
        return GetAACConversionType(format);
    return UNCHANGED;
}

uint32_t FilterBitStream::GetAACConversionType(StreamFormat format) const
{
    if (!extradata)
    {
        LOG(WARNING) << "AAC has no extradata, can't setup FilterBitStream correctly, output can be undecodable";
        return UNCHANGED;
    }
    // Nobody asks for RAW_TO_ADTS: writers of ADTS put the headers in front themselves.
    return format == SettingsFilterBitStream::STREAM_FORMAT_RAW_AAC && IsADTS(extradata) ? ADTS_TO_RAW : UNCHANGED;
}

// The size of lengths stands in the header in MP4 form: the parent's, before it is converted, or the one that comes
// out.
void FilterBitStream::ConvertExtradata()
{
    const Conversion& row = conversions[conversion];
    const auto learnLengths = [&] { naluLengthSize = row.getLengthSize(extradata->Data(), extradata->Size()); };
    if (row.fromMp4)
        learnLengths();
    if (row.convertExtradata)
        extradata = row.convertExtradata(extradata);
    if (row.getLengthSize && !row.fromMp4)
        learnLengths();
}

SP<IDataPacket> FilterBitStream::Convert(const SP<IDataPacket>& packet) const
{
    const Conversion& row = conversions[conversion];
    if (!row.fromMp4)
        return row.convertPacket(*this, packet);
    try
    {
        return row.convertPacket(*this, packet);
    }
    catch (const std::logic_error&) // lengths that lead out of the packet; start codes can't
    {
        LOG(WARNING) << "Dropping bad packet.";
        return nullptr;
    }
}

} // namespace Tessor::Proc
