#include "ffhost/codecs/TrackVideoSetup.h"

#include "Fnd/Exception.h"
#include "ffhost/FormatTags.h"
#include "ffhost/Log.h"
#include "ffhost/codecs/EncoderTable.h"
#include "ffhost/codecs/PictureTraits.h"
#include "ffhost/codecs/Threads.h"

#include <algorithm>

namespace Tessor::Host
{

using namespace Proc;

namespace
{

/// What libavcodec sets for all encoders that don't object: 200 kbit/s, of pictures that were usual once.
constexpr int64_t LIBRARY_BIT_RATE = 200000;

/// 12 Mbit/s for 1080p30: such encoders are old ones.
constexpr int PIXELS_PER_BIT = 5;

std::string Join(const std::vector<std::string>& names)
{
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list;
}

CodecContextPtr MakeContext(const std::string& encoder)
{
    const AVCodec* codec = avcodec_find_encoder_by_name(encoder.c_str());
    CodecContextPtr context(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!context)
        Throw<CodecFactoryException>(TESSOR_HERE, "The encoder " + encoder + " is missing");
    return context;
}

} // namespace

TrackVideoSetup::TrackVideoSetup(const SP<Conf::IFormatCodecVideo>& source, const EncoderOptions& options)
    : source(source), options(options)
{
}

void TrackVideoSetup::Check(const EncoderOptions& options)
{
    SetQuality(*MakeContext(options.name), options);
}

CodecContextPtr TrackVideoSetup::Open() const
{
    CodecContextPtr context = MakeContext(options.name);
    const AVCodec* codec = context->codec;
    const Conf::FrameInfo info = source->GetFrameInfo();
    context->width = info.width;
    context->height = info.height;
    context->pix_fmt = static_cast<AVPixelFormat>(source->GetPixelFormat());
    ApplyPictureProperties(source->GetProperties(), *context);
    SetFrameRate(*context, source->GetProperties());
    SetFields(*context);
    // Without a limit the encoder knows how many threads are best.
    context->thread_count = GetThreadLimit();
    // Parameter sets of H.264 are put where a container wants them when they are written.
    if (options.header || codec->id == AV_CODEC_ID_H264)
        context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    // The name under which all players know HEVC whose header stands in front.
    if (options.header && codec->id == AV_CODEC_ID_HEVC)
        context->codec_tag = MKTAG('h', 'v', 'c', '1');
    SetQuality(*context, options);
    // libvpx does not encode transparency together with hidden pictures.
    if (context->codec_id == AV_CODEC_ID_VP8 && PixFmtDescription::Find(source->GetPixelFormat()).HasAlpha())
        SetOption(*context, "auto-alt-ref", "0");
    const FFmpegErrorCapture capture;
    const int result = avcodec_open2(context.get(), codec, nullptr);
    if (result < 0)
        Throw<EncoderException>(TESSOR_HERE, "Can't open the encoder " + options.name + ": " + capture.GetText(result));
    return context;
}

void TrackVideoSetup::SetFields(AVCodecContext& context) const
{
    const long long order = GetNumber(source->GetProperties(), FormatTags::FIELD_ORDER, AV_FIELD_UNKNOWN);
    context.field_order = IsInterlaced(order) ? static_cast<AVFieldOrder>(order) : AV_FIELD_PROGRESSIVE;
    if (IsInterlaced(order) && FindEncoder(options.name).fields)
        context.flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
}

/// Where the encoder has nothing of its own that decides. 0 leaves it to the quality.
int64_t TrackVideoSetup::GetUsualBitRate(const AVCodecContext& context, const EncoderOptions& options)
{
    const EncoderRow& row = FindEncoder(options.name);
    const bool unknown = !*row.name && context.bit_rate == LIBRARY_BIT_RATE && options.crf < 0;
    if (!row.needsBitRate && !unknown)
        return 0;
    // with a quality the rate is a bound only
    const int pixels = options.crf >= 0 ? 1 : PIXELS_PER_BIT;
    return av_rescale(int64_t{context.width} * context.height / pixels, context.framerate.num, context.framerate.den);
}

void TrackVideoSetup::SetQuality(AVCodecContext& context, const EncoderOptions& options)
{
    // A bit rate or a quality that was asked for leaves no room for the usual one; a preset goes with either.
    const EncoderRow& row = FindEncoder(options.name);
    for (const auto& [option, value] : row.options)
        SetOption(context, option, value);
    if (!options.preset.empty())
    {
        // The encoder would find it out when it is opened, and say so on standard error itself.
        if (!row.presets.empty() && !std::count(row.presets.begin(), row.presets.end(), options.preset))
            Throw<EncoderException>(TESSOR_HERE, options.name + " knows no preset \"" + options.preset +
                                                     "\"; it knows " + Join(row.presets));
        SetOption(context, "preset", options.preset);
    }
    if (row.worstCrf > 0 && options.crf > row.worstCrf)
        Throw<EncoderException>(TESSOR_HERE, options.name + " takes crf from 0 to " + std::to_string(row.worstCrf));
    if (options.crf >= 0)
        SetOption(context, "crf", std::to_string(options.crf));
    context.bit_rate = options.bitRate > 0 ? options.bitRate : GetUsualBitRate(context, options);
    if (options.bitRate > 0 || options.crf >= 0)
        return;
    if (row.crf >= 0)
        SetOption(context, "crf", std::to_string(row.crf));
    if (row.quantiser > 0)
    {
        context.flags |= AV_CODEC_FLAG_QSCALE;
        context.global_quality = row.quantiser * FF_QP2LAMBDA;
    }
}

} // namespace Tessor::Host
