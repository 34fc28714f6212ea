#include "ffhost/codecs/AvCodec.h"

#include "Fnd/Exception.h"
#include "ffhost/FormatTags.h"
#include "media/FFmpegCompat.h"
#include "media/formats/IFormatCodecVideo.h"
#include "media/items/BlobFF.h"

extern "C"
{
#include <libavutil/opt.h>
}

#include <algorithm>

namespace Tessor::Host
{

using Conf::IFormatCodecVideo;

namespace
{

/// 16 bits hold what the headers can.
constexpr int HIGHEST_RATE_TERM = 65535;

} // namespace

long long GetNumber(const Core::Property& tree, const std::string& tag, long long unset)
{
    return tree.ChildExists(tag) && tree[tag].GetType() == Core::Property::TypeInt64 ? tree[tag].GetInt64() : unset;
}

avTime GetTrackDuration(const Core::Property& format, avTime sourceDuration)
{
    return std::min<avTime>(sourceDuration,
                            GetNumber(format, Conf::IFormatCodec::TAG_ORIGINAL_DURATION, sourceDuration));
}

std::string GetText(const Core::Property& tree, const std::string& tag)
{
    return tree.ChildExists(tag) && tree[tag].GetType() == Core::Property::TypeString ? tree[tag].GetString() : "";
}

AVCodecID FindCodecID(const Core::Property& format)
{
    // The demuxer's number is exact. Formats from elsewhere have a name alone, which is libavcodec's but for HEVC.
    const long long number = GetNumber(format, FormatTags::CODEC_ID, AV_CODEC_ID_NONE);
    if (number != AV_CODEC_ID_NONE)
        return static_cast<AVCodecID>(number);
    const std::string name = GetText(format, Conf::IFormatCodec::TAG_CODEC_ID);
    if (name == IFormatCodecVideo::CODEC_ID_H265)
        return AV_CODEC_ID_HEVC;
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get_by_name(name.c_str());
    return descriptor ? descriptor->id : AV_CODEC_ID_NONE;
}

void SetFrameRate(AVCodecContext& context, const Core::Property& format)
{
    AVRational rate = {25, 1};
    if (format.ChildExists(IFormatCodecVideo::TAG_FPS) && format[IFormatCodecVideo::TAG_FPS].GetRatio() > 0)
    {
        const Core::Property::Ratio wanted = format[IFormatCodecVideo::TAG_FPS].GetRatio();
        av_reduce(&rate.num, &rate.den, wanted.numerator(), wanted.denominator(), HIGHEST_RATE_TERM);
        if (rate.num == 0) // a picture that stands for longer than they can tell
            rate = {1, HIGHEST_RATE_TERM};
    }
    if (const AVRational* known = FFmpeg::ListFrameRates(*context.codec))
        rate = known[av_find_nearest_q_idx(rate, known)];
    context.framerate = rate;
    context.time_base = av_inv_q(rate);
}

bool IsInterlaced(long long order)
{
    return order == AV_FIELD_TT || order == AV_FIELD_BB || order == AV_FIELD_TB || order == AV_FIELD_BT;
}

std::shared_ptr<const AVCodecParameters> MakeParameters(const AVCodecContext& context)
{
    const std::shared_ptr<AVCodecParameters> parameters(avcodec_parameters_alloc(),
                                                        [](AVCodecParameters* p) { avcodec_parameters_free(&p); });
    if (!parameters || avcodec_parameters_from_context(parameters.get(), &context) < 0)
        throw std::bad_alloc();
    return parameters;
}

SP<const Proc::IBlob> CopyExtradata(const AVCodecContext& context)
{
    if (context.extradata_size <= 0)
        return nullptr;
    return Proc::BlobFF::Create(context.extradata, static_cast<size_t>(context.extradata_size));
}

void SetOption(AVCodecContext& context, const char* option, const std::string& value)
{
    // the encoder's own options hang below those of the context
    if (av_opt_set(&context, option, value.c_str(), AV_OPT_SEARCH_CHILDREN) < 0)
        Throw<Proc::EncoderException>(TESSOR_HERE,
                                      std::string(context.codec->name) + " does not take " + option + "=" + value);
}

} // namespace Tessor::Host
