#include "ffhost/effects/GraphRunner.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

namespace Tessor::Host
{

using namespace Proc;
using Conf::IFormatCodecAudio;
using Conf::IFormatCodecVideo;

namespace
{

/// Of frames that nobody takes: a chain that makes more than it is given would fill the memory.
constexpr size_t most_waiting = 128;

/// Of no type where the format says too little to build a chain on.
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
    // libavfilter's 0:1 is an unknown aspect; formats have square pixels then
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

/// By a chain that is built for this and thrown away: what filters make of a format nobody else knows.
template <class Format>
void Update(const std::string& chain, Format& format)
{
    const GraphFormat input = ToGraphFormat(format);
    if (!chain.empty() && input.type != AVMEDIA_TYPE_UNKNOWN)
        SetFormat(format, AvGraph(chain, input).GetOutput());
}

} // namespace

void GraphRunner::SetChain(const std::string& newChain)
{
    if (newChain == chain)
        return;
    // throws for what is no chain, before anything is changed
    const bool keeps = newChain.empty() || AvGraph::KeepsTimes(newChain);
    Finish();
    chain = newChain;
    keepsTimes = keeps;
}

void GraphRunner::UpdateFormat(IFormatCodecVideo& format) const
{
    Update(chain, format);
}

void GraphRunner::UpdateFormat(IFormatCodecAudio& format) const
{
    Update(chain, format);
}

void GraphRunner::Reset()
{
    graphs.clear();
    open = false;
    ready.clear();
    clock.Reset();
}

void GraphRunner::Process(SP<IDataVideo>& frame)
{
    if (frame)
        KeepSurplus();
    Push(frame);
    frame.reset(); // so that filters may work in its memory
    FramePtr next = ready.empty() ? Pull() : std::move(ready.front());
    if (!ready.empty())
        ready.pop_front();
    if (next)
        frame = WrapFrame(std::move(next));
}

// What earlier frames have come to is taken out before the next one goes in: inside of the chain it would pile up
// uncounted. At the end it is left to be pulled.
void GraphRunner::KeepSurplus()
{
    while (FramePtr surplus = Pull())
    {
        ready.push_back(std::move(surplus));
        if (ready.size() > most_waiting)
            Throw<EffectException>(TESSOR_HERE, "Filters \"" + chain + "\" make more frames than they are given");
    }
}

void GraphRunner::Process(SP<IDataAudio>& block)
{
    Push(block);
    block.reset();
    std::vector<FramePtr> parts;
    for (;;)
    {
        FramePtr next = ready.empty() ? Pull() : std::move(ready.front()); // of sound one waits at most
        ready.clear();
        if (!next)
            break;
        // a block has one format, and what is too much for one comes with the next
        if (parts.size() == most_waiting || (!parts.empty() && GetSampleInfo(*parts[0]) != GetSampleInfo(*next)))
        {
            ready.push_back(std::move(next));
            break;
        }
        parts.push_back(std::move(next));
    }
    if (!parts.empty())
        block = MakeBlock(parts);
}

SP<IDataAudio> GraphRunner::MakeBlock(const std::vector<FramePtr>& parts)
{
    const SP<IDataAudio> block = JoinSamples(parts);
    clock.Stamp(*block, parts.front()->pts);
    return block;
}

void GraphRunner::Push(const SP<IDataVideo>& frame)
{
    Push(frame ? ShareFrame(*frame) : nullptr);
}

void GraphRunner::Push(const SP<IDataAudio>& block)
{
    if (!block || block->GetSampleCount() > 0)
        Push(block ? ShareSamples(block) : nullptr);
}

void GraphRunner::Push(FramePtr frame)
{
    if (!frame)
        return Finish();
    // No filter is told of a change in mid-stream: a new chain takes over, and the old one gives what it holds first.
    const GraphFormat format = GraphFormat::Of(*frame);
    if (!format.Fits(input))
        Finish();
    if (!open)
        graphs.push_back(std::make_unique<AvGraph>(GetWholeChain(format), format));
    open = true;
    input = format;
    graphs.back()->Push(std::move(frame));
}

FramePtr GraphRunner::Pull()
{
    while (!graphs.empty())
    {
        if (FramePtr frame = graphs.front()->Pull())
            return frame;
        if (open && graphs.size() == 1)
            break;
        graphs.pop_front(); // told the end, and empty now
    }
    return nullptr;
}

void GraphRunner::Finish()
{
    if (open)
        graphs.back()->Push(nullptr);
    open = false;
}

// The filter at the end makes libavfilter convert, where the chain's own filters have come to another format.
std::string GraphRunner::GetWholeChain(const GraphFormat& format) const
{
    if (!keepsPixels || format.type != AVMEDIA_TYPE_VIDEO)
        return chain;
    const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(format.format));
    return chain + ",format=pix_fmts=" + (name ? name : "none");
}

} // namespace Tessor::Host
