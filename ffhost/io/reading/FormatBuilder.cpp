#include "ffhost/io/reading/FormatBuilder.h"

#include "Fnd/DataBitInput.h"
#include "Fnd/DataInputMemory.h"
#include "Fnd/Exception.h"
#include "ffhost/FormatTags.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/formats/IFormatCodecSubtitle.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/BlobFF.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

namespace Tessor::Host
{

namespace
{

constexpr size_t NAL_TYPE_SPS = 7, NAL_TYPE_PPS = 8;

/// What a header of H.264 has.
struct ParameterSets
{
    std::vector<uint32_t> sps, pps; // identifiers
};

uint32_t ReadUE(Core::DataBitInput& input)
{
    unsigned zeros = 0;
    while (input.ReadBits(1) == 0)
        if (++zeros > 31)
            Throw<Core::IOException>(TESSOR_HERE, "Exp-Golomb code is too long");
    return zeros == 0 ? 0 : (1u << zeros) - 1 + input.ReadBits(zeros);
}

// The bytes are read as they are: no emulation prevention stands so early, where profile and level are above 0.
void AddUnit(const uint8_t* unit, size_t size, ParameterSets& sets)
{
    const size_t type = size > 0 ? unit[0] & 31 : 0;
    if (type != NAL_TYPE_SPS && type != NAL_TYPE_PPS)
        return;
    Core::DataBitInput input(Core::DataInputMemory::Create(unit, size));
    input.ReadBits(8);
    if (type == NAL_TYPE_SPS)
        input.ReadBits(24); // profile, constraints, level
    (type == NAL_TYPE_SPS ? sets.sps : sets.pps).push_back(ReadUE(input));
}

// ISO/IEC 14496-15, AVCDecoderConfigurationRecord
ParameterSets ReadConfiguration(const uint8_t* data, size_t size)
{
    ParameterSets sets;
    size_t at = 5; // numOfSequenceParameterSets, in its lower 5 bits; numOfPictureParameterSets has all 8
    for (const unsigned mask : {31u, 255u})
    {
        for (unsigned count = at < size ? data[at++] & mask : 0; count > 0 && at + 2 <= size; --count)
        {
            const size_t length = static_cast<size_t>(data[at] << 8 | data[at + 1]);
            at += 2;
            AddUnit(data + at, std::min(length, size - at), sets);
            at += std::min(length, size - at);
        }
    }
    return sets;
}

ParameterSets ReadStartCodes(const uint8_t* data, size_t size)
{
    ParameterSets sets;
    for (size_t at = 0; at + 3 < size; ++at)
        if (data[at] == 0 && data[at + 1] == 0 && data[at + 2] == 1)
            // to the end of all: only the first bytes of a unit are looked at
            AddUnit(data + at + 3, size - at - 3, sets);
    return sets;
}

template <class Format>
void SetNumber(Format& format, const std::string& tag, long long value)
{
    format.GetProperties().template SetChildT<long long>(tag, value);
}

void SetColours(Conf::IFormatCodecVideo& format, const AVCodecParameters& parameters)
{
    SetNumber(format, FormatTags::COLOR_RANGE, parameters.color_range);
    SetNumber(format, FormatTags::COLOR_PRIMARIES, parameters.color_primaries);
    SetNumber(format, FormatTags::COLOR_TRANSFER, parameters.color_trc);
    SetNumber(format, FormatTags::COLOR_SPACE, parameters.color_space);
    SetNumber(format, FormatTags::CHROMA_LOCATION, parameters.chroma_location);
    // All that VP8 knows, which libavformat reads from no header.
    if (parameters.codec_id != AV_CODEC_ID_VP8)
        return;
    SetNumber(format, FormatTags::COLOR_RANGE, AVCOL_RANGE_MPEG);
    SetNumber(format, FormatTags::COLOR_SPACE, AVCOL_SPC_BT470BG);
}

bool IsKnown(AVRational aspect)
{
    return aspect.num > 0 && aspect.den > 0;
}

void SetGeometry(Conf::IFormatCodecVideo& format, const AVStream& stream)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    const bool container = IsKnown(stream.sample_aspect_ratio);
    const AVRational told = container ? stream.sample_aspect_ratio : parameters.sample_aspect_ratio;
    const AVRational aspect = IsKnown(told) ? told : AVRational{1, 1};
    format.InitByPixelAspect(static_cast<unsigned>(parameters.width), static_cast<unsigned>(parameters.height),
                             static_cast<unsigned>(aspect.num), static_cast<unsigned>(aspect.den));
    SetNumber(format, FormatTags::CONTAINER_ASPECT, container);
}

SP<Conf::IFormatCodec> BuildVideo(const AVStream& stream, const TrackInfo& track)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    const SP<Conf::IFormatCodecVideo> format = Conf::IFormatCodecVideo::Create();
    SetGeometry(*format, stream);
    format->SetPixelFormat(static_cast<PixFmt>(parameters.format));
    const bool known = track.frameRateNum > 0 && track.frameRateDen > 0;
    // a format must have one; 25 as good as any where the container has none
    format->SetFrameRate(known ? static_cast<unsigned>(track.frameRateNum) : 25,
                         known ? static_cast<unsigned>(track.frameRateDen) : 1);
    SetNumber(*format, FormatTags::REORDER_DEPTH, parameters.video_delay);
    SetNumber(*format, FormatTags::FIELD_ORDER, parameters.field_order);
    SetColours(*format, parameters);
    if (parameters.codec_id == AV_CODEC_ID_H264 && parameters.extradata_size > 0)
        format->GetProperties().SetChildT<std::string>(
            FormatTags::REFUSE_RECODE,
            FindRecodeObstacle(parameters.extradata, static_cast<size_t>(parameters.extradata_size)));
    else if (!track.headerFault.empty() && parameters.extradata_size <= 0)
        format->GetProperties().SetChildT<std::string>(FormatTags::REFUSE_RECODE,
                                                       "the header is unusable: " + track.headerFault);
    return format;
}

SP<Conf::IFormatCodec> BuildAudio(const AVCodecParameters& parameters)
{
    const SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
    // orders that name their channels one by one have no mask, and take the usual layout of that many
    const uint64_t mask = parameters.ch_layout.order == AV_CHANNEL_ORDER_NATIVE ? parameters.ch_layout.u.mask : 0;
    const auto sample = parameters.format >= 0 && parameters.format <= AV_SAMPLE_FMT_DBLP
                            ? static_cast<Conf::SampleFormats>(parameters.format)
                            : Conf::SampleFormats::None;
    format->SetSampleInfo(Conf::SampleInfo(sample, parameters.sample_rate,
                                           Conf::FromFFChannelMask(mask, parameters.ch_layout.nb_channels)));
    SetNumber(*format, FormatTags::BLOCK_ALIGN, parameters.block_align);
    return format;
}

SP<Conf::IFormatCodec> BuildSubtitle(const AVCodecParameters& parameters)
{
    const SP<Conf::IFormatCodecSubtitle> format = Conf::IFormatCodecSubtitle::Create();
    if (parameters.codec_id == AV_CODEC_ID_ASS && parameters.extradata_size > 0)
        format->GetProperties().SetChildT<std::string>(Conf::IFormatCodecSubtitle::TAG_SUBTITLE_HEADER,
                                                       std::string(reinterpret_cast<const char*>(parameters.extradata),
                                                                   static_cast<size_t>(parameters.extradata_size)));
    return format;
}

std::string CodecIdOf(const AVCodecParameters& parameters)
{
    if (parameters.codec_id == AV_CODEC_ID_NONE)
        return Conf::IFormatCodec::CODEC_ID_NONE;
    // The other codecs that the library knows go by FFmpeg's names.
    return parameters.codec_id == AV_CODEC_ID_HEVC ? Conf::IFormatCodecVideo::CODEC_ID_H265
                                                   : avcodec_get_name(parameters.codec_id);
}

SP<Conf::IFormatCodec> BuildKind(const AVStream& stream, const TrackInfo& track)
{
    switch (track.type)
    {
    case MediaType::Video:
        return BuildVideo(stream, track);
    case MediaType::Audio:
        return BuildAudio(*stream.codecpar);
    case MediaType::Subtitle:
        return BuildSubtitle(*stream.codecpar);
    default:
        return nullptr;
    }
}

} // namespace

SP<Conf::IFormatCodec> BuildFormat(const AVStream& stream, const TrackInfo& track)
{
    const SP<Conf::IFormatCodec> format = BuildKind(stream, track);
    if (!format)
        return nullptr;
    const AVCodecParameters& parameters = *stream.codecpar;
    format->GetProperties().SetChildT<std::string>(Conf::IFormatCodec::TAG_CODEC_ID, CodecIdOf(parameters));
    SetNumber(*format, FormatTags::CODEC_ID, parameters.codec_id);
    SetNumber(*format, FormatTags::LEVEL, parameters.level);
    SetNumber(*format, FormatTags::CODEC_TAG, parameters.codec_tag);
    SetNumber(*format, FormatTags::BITS_PER_CODED_SAMPLE, parameters.bits_per_coded_sample);
    if (parameters.bit_rate > 0)
        SetNumber(*format, Conf::IFormatCodec::TAG_BITRATE, parameters.bit_rate);
    if (parameters.extradata_size > 0)
        format->SetExtradata(
            Proc::BlobFF::Create(parameters.extradata, static_cast<size_t>(parameters.extradata_size)));
    return format;
}

// Encoded groups bring sets with identifier 1 beside the source's, so that copied slices, which name theirs by number,
// go on finding their own.
std::string FindRecodeObstacle(const uint8_t* extradata, size_t size)
{
    ParameterSets sets;
    try
    {
        sets = size > 0 && extradata[0] == 1 ? ReadConfiguration(extradata, size) : ReadStartCodes(extradata, size);
    }
    catch (const Exception&)
    {
        return {};
    }
    if (sets.sps.size() > 1)
        return "the header has several SPS, as an earlier cut with re-encoding leaves it";
    if (sets.pps.size() > 1)
        return "the header has several PPS";
    for (const auto* ids : {&sets.sps, &sets.pps})
        for (const uint32_t id : *ids)
            if (id == 1)
                return "identifier 1 is taken";
    return {};
}

} // namespace Tessor::Host
