#include "ffhost/codecs/SampleConverter.h"

#include "Fnd/Exception.h"
#include "ffhost/ErrorText.h"

extern "C"
{
#include <libswresample/swresample.h>
}

namespace Tessor::Host
{

using namespace Proc;

namespace
{

AVChannelLayout ToLayout(Conf::ChannelLayout layout)
{
    AVChannelLayout result = {};
    av_channel_layout_from_mask(&result, Conf::ToFFChannelMask(layout));
    return result;
}

/// Frames without a layout of known speakers take the default one, as the formats do.
AVChannelLayout LayoutOf(const AVFrame& frame)
{
    const bool native = frame.ch_layout.order == AV_CHANNEL_ORDER_NATIVE;
    return ToLayout(Conf::FromFFChannelMask(native ? frame.ch_layout.u.mask : 0, frame.ch_layout.nb_channels));
}

} // namespace

void SampleConverter::Deleter::operator()(SwrContext* context) const
{
    swr_free(&context);
}

bool SampleConverter::Fits(const AVFrame& frame) const
{
    return frame.sample_rate == output.GetSampleRate() && frame.format == static_cast<int>(output.GetFormat().format) &&
           frame.ch_layout.nb_channels == output.GetChannelCount() &&
           LayoutOf(frame).u.mask == Conf::ToFFChannelMask(output.GetChannelLayout());
}

void SampleConverter::Open(const AVFrame& frame)
{
    AVChannelLayout from = LayoutOf(frame), to = ToLayout(output.GetChannelLayout());
    SwrContext* opened = nullptr;
    int result = swr_alloc_set_opts2(&opened, &to, static_cast<AVSampleFormat>(output.GetFormat().format),
                                     output.GetSampleRate(), &from, static_cast<AVSampleFormat>(frame.format),
                                     frame.sample_rate, 0, nullptr);
    context.reset(opened);
    result = result < 0 ? result : swr_init(context.get());
    if (result < 0)
        Throw<FilterException>(TESSOR_HERE, "Can't convert the format of samples: " + DescribeError(result));
    input.reset(av_frame_alloc());
    if (!input)
        throw std::bad_alloc();
    input->format = frame.format;
    input->sample_rate = frame.sample_rate;
    input->ch_layout = from;
}

FramePtr SampleConverter::Convert(const AVFrame& frame)
{
    if (Fits(frame))
        return nullptr;
    const bool known = context && input->format == frame.format && input->sample_rate == frame.sample_rate &&
                       input->ch_layout.u.mask == LayoutOf(frame).u.mask;
    if (!known)
        Open(frame);
    FramePtr result(av_frame_alloc());
    if (!result)
        throw std::bad_alloc();
    result->format = static_cast<int>(output.GetFormat().format);
    result->sample_rate = output.GetSampleRate();
    result->ch_layout = ToLayout(output.GetChannelLayout());
    // an upper bound; a buffer needs room for one sample at least
    result->nb_samples = std::max(swr_get_out_samples(context.get(), frame.nb_samples), 1);
    if (av_frame_get_buffer(result.get(), 0) < 0)
        throw std::bad_alloc();
    const int count = swr_convert(context.get(), result->extended_data, result->nb_samples,
                                  const_cast<const uint8_t**>(frame.extended_data), frame.nb_samples);
    if (count < 0)
        Throw<FilterException>(TESSOR_HERE, "Can't convert samples: " + DescribeError(count));
    result->nb_samples = count;
    return result;
}

} // namespace Tessor::Host
