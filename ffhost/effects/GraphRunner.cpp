#include "ffhost/effects/GraphRunner.h"

#include "Fnd/Exception.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

namespace Tessor::Host
{

using namespace Proc;

namespace
{

/// Of frames that nobody takes.
constexpr size_t most_waiting = 128;

} // namespace

void GraphRunner::SetChain(const std::string& newChain)
{
    if (newChain == chain)
        return;
    Finish();
    chain = newChain;
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
        FramePtr next = ready.empty() ? Pull() : std::move(ready.front());
        ready.clear();
        if (!next)
            break;
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
        graphs.pop_front();
    }
    return nullptr;
}

void GraphRunner::Finish()
{
    if (open)
        graphs.back()->Push(nullptr);
    open = false;
}

std::string GraphRunner::GetWholeChain(const GraphFormat& format) const
{
    if (!keepsPixels || format.type != AVMEDIA_TYPE_VIDEO)
        return chain;
    const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(format.format));
    return chain + ",format=pix_fmts=" + (name ? name : "none");
}

} // namespace Tessor::Host
