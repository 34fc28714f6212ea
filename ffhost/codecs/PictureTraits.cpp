#include "ffhost/codecs/PictureTraits.h"

#include "ffhost/FormatTags.h"
#include "media/FFmpegCompat.h"
#include "media/formats/IFormatCodecVideo.h"

#include <algorithm>

namespace Tessor::Host
{

using Conf::IFormatCodecVideo;

namespace
{

/// Whether pictures of the codec say themselves that they are interlaced, or libavcodec says so for them: what is
/// not called interlaced there is progressive.
bool TellsFields(AVCodecID codec)
{
    constexpr AVCodecID known[] = {AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_H264,  AV_CODEC_ID_HEVC, AV_CODEC_ID_MPEG4,
                                   AV_CODEC_ID_VC1,        AV_CODEC_ID_WMV3,  AV_CODEC_ID_CAVS, AV_CODEC_ID_DVVIDEO,
                                   AV_CODEC_ID_PRORES,     AV_CODEC_ID_DNXHD, AV_CODEC_ID_FFV1, AV_CODEC_ID_MJPEG};
    return std::count(std::begin(known), std::end(known), codec) > 0;
}

bool IsKnown(AVRational ratio)
{
    return ratio.num > 0 && ratio.den > 0;
}

/// Takes the format's word where the picture has none.
template <class T>
void Complete(T& own, T formats, T unset)
{
    if (own == unset)
        own = formats;
}

} // namespace

PictureTraits PictureTraits::Of(const Core::Property& format)
{
    const auto number = [&](const std::string& tag, int unset)
    { return static_cast<int>(GetNumber(format, tag, unset)); };
    PictureTraits traits;
    traits.range = static_cast<AVColorRange>(number(FormatTags::COLOR_RANGE, traits.range));
    traits.primaries = static_cast<AVColorPrimaries>(number(FormatTags::COLOR_PRIMARIES, traits.primaries));
    traits.transfer = static_cast<AVColorTransferCharacteristic>(number(FormatTags::COLOR_TRANSFER, traits.transfer));
    traits.matrix = static_cast<AVColorSpace>(number(FormatTags::COLOR_SPACE, traits.matrix));
    traits.chroma = static_cast<AVChromaLocation>(number(FormatTags::CHROMA_LOCATION, traits.chroma));
    traits.fields = static_cast<AVFieldOrder>(number(FormatTags::FIELD_ORDER, traits.fields));
    traits.containerFields = !TellsFields(FindCodecID(format));
    traits.containerAspect = number(FormatTags::CONTAINER_ASPECT, 0) != 0;
    if (format.ChildExists(IFormatCodecVideo::TAG_ASPECT))
    {
        const Core::Property::Ratio aspect = format[IFormatCodecVideo::TAG_ASPECT].GetRatio();
        traits.aspect = {static_cast<int>(aspect.numerator()), static_cast<int>(aspect.denominator())};
    }
    return traits;
}

void PictureTraits::ApplyTo(AVCodecContext& context) const
{
    context.color_range = range;
    context.color_primaries = primaries;
    context.color_trc = transfer;
    context.colorspace = matrix;
    context.chroma_sample_location = chroma;
    context.sample_aspect_ratio = aspect;
}

void PictureTraits::Settle(AVFrame& picture) const
{
    if (containerAspect || !IsKnown(picture.sample_aspect_ratio))
        picture.sample_aspect_ratio = aspect;
    Complete(picture.color_range, range, AVCOL_RANGE_UNSPECIFIED);
    Complete(picture.color_primaries, primaries, AVCOL_PRI_UNSPECIFIED);
    Complete(picture.color_trc, transfer, AVCOL_TRC_UNSPECIFIED);
    Complete(picture.colorspace, matrix, AVCOL_SPC_UNSPECIFIED);
    Complete(picture.chroma_location, chroma, AVCHROMA_LOC_UNSPECIFIED);
    if (!containerFields || !IsInterlaced(fields))
        return;
    FFmpeg::SetInterlaced(picture, true);
    FFmpeg::SetTopFieldFirst(picture, fields == AV_FIELD_TT || fields == AV_FIELD_BT);
}

void ApplyPictureProperties(const Core::Property& format, AVCodecContext& context)
{
    PictureTraits::Of(format).ApplyTo(context);
    if (!format.ChildExists(IFormatCodecVideo::TAG_FPS))
        return;
    const Core::Property::Ratio rate = format[IFormatCodecVideo::TAG_FPS].GetRatio();
    context.framerate = {static_cast<int>(rate.numerator()), static_cast<int>(rate.denominator())};
}

} // namespace Tessor::Host
