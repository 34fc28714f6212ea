#include "ffhost/codecs/AvCodec.h"

#include "ffhost/FormatTags.h"
#include "media/IFormatCodecVideo.h"

#include <thread>

namespace Tessor::Host
{

using Conf::IFormatCodecVideo;

long long GetNumber(const Core::Property& tree, const std::string& tag, long long unset)
{
    return tree.ChildExists(tag) && tree[tag].GetType() == Core::Property::TypeInt64 ? tree[tag].GetInt64() : unset;
}

std::string GetText(const Core::Property& tree, const std::string& tag)
{
    return tree.ChildExists(tag) && tree[tag].GetType() == Core::Property::TypeString ? tree[tag].GetString() : "";
}

AVCodecID FindCodecID(const Core::Property& format)
{
    const long long number = GetNumber(format, FormatTags::CODEC_ID, AV_CODEC_ID_NONE);
    if (number != AV_CODEC_ID_NONE)
        return static_cast<AVCodecID>(number);
    const std::string name = GetText(format, Conf::IFormatCodec::TAG_CODEC_ID);
    if (name == IFormatCodecVideo::CODEC_ID_H265)
        return AV_CODEC_ID_HEVC;
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get_by_name(name.c_str());
    return descriptor ? descriptor->id : AV_CODEC_ID_NONE;
}

void ApplyPictureProperties(const Core::Property& format, AVCodecContext& context)
{
    const auto number = [&](const std::string& tag, int unset)
    { return static_cast<int>(GetNumber(format, tag, unset)); };
    context.color_range = static_cast<AVColorRange>(number(FormatTags::COLOR_RANGE, AVCOL_RANGE_UNSPECIFIED));
    context.color_primaries = static_cast<AVColorPrimaries>(number(FormatTags::COLOR_PRIMARIES, AVCOL_PRI_UNSPECIFIED));
    context.color_trc =
        static_cast<AVColorTransferCharacteristic>(number(FormatTags::COLOR_TRANSFER, AVCOL_TRC_UNSPECIFIED));
    context.colorspace = static_cast<AVColorSpace>(number(FormatTags::COLOR_SPACE, AVCOL_SPC_UNSPECIFIED));
    context.chroma_sample_location =
        static_cast<AVChromaLocation>(number(FormatTags::CHROMA_LOCATION, AVCHROMA_LOC_UNSPECIFIED));
    const auto ratio = [&](const std::string& tag)
    {
        const Core::Property::Ratio value = format[tag].GetRatio();
        return AVRational{static_cast<int>(value.numerator()), static_cast<int>(value.denominator())};
    };
    if (format.ChildExists(IFormatCodecVideo::TAG_ASPECT))
        context.sample_aspect_ratio = ratio(IFormatCodecVideo::TAG_ASPECT);
    if (format.ChildExists(IFormatCodecVideo::TAG_FPS))
        context.framerate = ratio(IFormatCodecVideo::TAG_FPS);
}

std::string AvError(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    return av_make_error_string(text, sizeof(text), code);
}

int GetThreadCount()
{
    constexpr unsigned useful = 16;
    return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, useful));
}

} // namespace Tessor::Host
