#include "ffhost/effects/Scaler.h"

#include "Fnd/Exception.h"
#include "ffhost/Log.h"
#include "ffhost/codecs/Threads.h"

extern "C"
{
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace Tessor::Host
{

using Proc::EffectException;

namespace
{

std::string GetName(int format)
{
    const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(format));
    return name ? name : std::to_string(format);
}

/// libavutil's old names for pictures of full range, whose records often tell no range.
bool HasFullRangeOnly(int format)
{
    switch (format)
    {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ411P:
        return true;
    default:
        return false;
    }
}

} // namespace

PictureColors PictureColors::Of(const AVFrame& frame)
{
    // RGB has no matrix: what it becomes or was is taken for the default one
    const bool known = frame.colorspace != AVCOL_SPC_UNSPECIFIED && frame.colorspace != AVCOL_SPC_RGB;
    return {known ? static_cast<int>(frame.colorspace) : SWS_CS_DEFAULT,
            frame.color_range == AVCOL_RANGE_JPEG || HasFullRangeOnly(frame.format)};
}

Scaler::Side Scaler::Side::Of(const AVFrame& frame)
{
    return {frame.format, frame.width, frame.height, PictureColors::Of(frame)};
}

void Scaler::Deleter::operator()(SwsContext* context) const
{
    sws_freeContext(context);
}

void Scaler::Scale(const AVFrame& from, AVFrame& to)
{
    const Side newSource = Side::Of(from), newTarget = Side::Of(to);
    if (!context || newSource != source || newTarget != target)
    {
        source = newSource;
        target = newTarget;
        Open();
    }
    // of libswscale's calls the one that uses threads
    if (sws_scale_frame(context.get(), &to, &from) < 0)
        Throw<EffectException>(TESSOR_HERE, "Can't scale a picture of " + GetName(source.format));
}

void Scaler::Open()
{
    const FFmpegErrorCapture capture;
    context.reset();
    if (!sws_isSupportedInput(static_cast<AVPixelFormat>(source.format)) ||
        !sws_isSupportedOutput(static_cast<AVPixelFormat>(target.format)))
        Throw<EffectException>(TESSOR_HERE, "No conversion of pixels from " + GetName(source.format) + " to " +
                                                GetName(target.format));
    std::unique_ptr<SwsContext, Deleter> opened(sws_alloc_context());
    if (!opened)
        throw std::bad_alloc();
    // By options, for the functions that open a context at once know no threads.
    const std::pair<const char*, int64_t> options[] = {
        {"srcw", source.width},
        {"srch", source.height},
        {"src_format", source.format},
        {"dstw", target.width},
        {"dsth", target.height},
        {"dst_format", target.format},
        {"sws_flags", flags},
        {"threads", GetThreadCount()},
        {"src_range", source.colors.fullRange},
        {"dst_range", target.colors.fullRange},
    };
    for (const auto& [name, value] : options)
        av_opt_set_int(opened.get(), name, value, 0);
    const int result = sws_init_context(opened.get(), nullptr, nullptr);
    if (result < 0)
        Throw<EffectException>(TESSOR_HERE, "Can't scale from " + GetName(source.format) + " to " +
                                                GetName(target.format) + ": " + capture.GetText(result));
    // After the opening, which makes the contexts of the threads: this goes to all of them.
    constexpr int unity = 1 << 16; // of contrast and saturation
    sws_setColorspaceDetails(opened.get(), sws_getCoefficients(source.colors.matrix), source.colors.fullRange,
                             sws_getCoefficients(target.colors.matrix), target.colors.fullRange, 0, unity, unity);
    context = std::move(opened);
}

} // namespace Tessor::Host
