#include "ffhost/effects/AVFilterEffect.h"

#include <utility>

namespace Tessor::Host
{

using namespace Proc;
using Conf::IFormatCodecAudio;
using Conf::IFormatCodecVideo;

namespace
{

GraphFormat ToGraphFormat(const IFormatCodecVideo& format)
{
    const Conf::FrameInfo info = format.GetFrameInfo();
    GraphFormat input;
    if (info.width <= 0 || info.height <= 0 || format.GetPixelFormat() == PixFmt::None)
        return input;
    input.type = AVMEDIA_TYPE_VIDEO;
    input.format = static_cast<int>(format.GetPixelFormat());
    input.width = info.width;
    input.height = info.height;
    input.aspect = {static_cast<int>(info.aspectNum), static_cast<int>(info.aspectDen)};
    const Core::Property& tree = format.GetProperties();
    if (tree.ChildExists(IFormatCodecVideo::TAG_FPS))
    {
        const Core::Property::Ratio rate = tree[IFormatCodecVideo::TAG_FPS].GetRatio();
        av_reduce(&input.frameRate.num, &input.frameRate.den, rate.numerator(), rate.denominator(), INT32_MAX);
    }
    return input;
}

void SetFormat(IFormatCodecVideo& format, const GraphFormat& output)
{
    const auto positive = [](int value, int unset) { return static_cast<unsigned>(value > 0 ? value : unset); };
    format.InitByPixelAspect(positive(output.width, 0), positive(output.height, 0), positive(output.aspect.num, 1),
                             positive(output.aspect.den, 1));
    format.SetPixelFormat(static_cast<PixFmt>(output.format));
    if (output.frameRate.num > 0 && output.frameRate.den > 0)
        format.SetFrameRate(positive(output.frameRate.num, 0), positive(output.frameRate.den, 0));
}

GraphFormat ToGraphFormat(const IFormatCodecAudio& format)
{
    const Conf::SampleInfo info = format.GetSampleInfo();
    GraphFormat input;
    if (info.GetSampleRate() <= 0 || info.GetFormat().bits == 0 || info.GetChannelCount() == 0)
        return input;
    input.type = AVMEDIA_TYPE_AUDIO;
    input.format = static_cast<int>(info.GetFormat().format);
    input.sampleRate = info.GetSampleRate();
    input.channelMask = ToFFChannelMask(info.GetChannelLayout());
    return input;
}

void SetFormat(IFormatCodecAudio& format, const GraphFormat& output)
{
    format.SetSampleInfo(
        Conf::SampleInfo(static_cast<Conf::SampleFormats>(output.format), output.sampleRate,
                         Conf::FromFFChannelMask(output.channelMask, __builtin_popcountll(output.channelMask))));
}

} // namespace

template <class Interface, class FactoryData>
void AVFilterEffect<Interface, FactoryData>::UpdateFormat(SP<Format>& format)
{
    const GraphFormat input = ToGraphFormat(*format);
    if (!runner.GetChain().empty() && input.type != AVMEDIA_TYPE_UNKNOWN)
        SetFormat(*format, AvGraph(runner.GetChain(), input).GetOutput());
}

template <class Interface, class FactoryData>
void AVFilterEffect<Interface, FactoryData>::ReleaseInternalData()
{
    runner.Reset();
    spacer.Reset();
    passing.reset();
}

template <class Interface, class FactoryData>
void AVFilterEffect<Interface, FactoryData>::Give(const SP<Item>& item)
{
    if (runner.GetChain().empty())
        passing = item;
    else
        runner.Push(item);
}

template <class Interface, class FactoryData>
auto AVFilterEffect<Interface, FactoryData>::Take() -> SP<Item>
{
    return runner.GetChain().empty() ? std::exchange(passing, nullptr) : TakeMade();
}

template <>
SP<IDataVideo> AVFilterEffectVideo::TakeMade()
{
    FramePtr frame = runner.Pull();
    while (!keepsTimes && (frame || runner.IsEmpty()))
    {
        const bool last = !frame;
        frame = spacer.Exchange(std::move(frame));
        if (frame || last)
            break;
        frame = runner.Pull();
    }
    return frame ? WrapFrame(std::move(frame)) : nullptr;
}

template <>
SP<IDataAudio> AVFilterEffectAudio::TakeMade()
{
    std::vector<FramePtr> parts(1);
    parts[0] = runner.Pull();
    return parts[0] ? runner.MakeBlock(parts) : nullptr;
}

template <class Interface, class FactoryData>
void AVFilterEffect<Interface, FactoryData>::Update()
{
    keepsTimes = this->settings.graph.empty() || AvGraph::KeepsTimes(this->settings.graph);
    runner.SetChain(this->settings.graph);
}

template <class Interface, class FactoryData>
void AVFilterEffect<Interface, FactoryData>::ProcessItem(SP<Item>& item)
{
    if (!runner.GetChain().empty())
        runner.Process(item);
}

template class AVFilterEffect<IOneInputEffectVideo, IFactoryDataVideo>;
template class AVFilterEffect<IOneInputEffectAudio, IFactoryDataAudio>;

} // namespace Tessor::Host
