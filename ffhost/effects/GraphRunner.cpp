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

constexpr size_t most_waiting = 128;

} // namespace

void GraphRunner::SetChain(const std::string& newChain)
{
    if (newChain == chain)
        return;
    if (graph)
        Finish();
    chain = newChain;
}

void GraphRunner::Reset()
{
    graph.reset();
    ready.clear();
    clock.Reset();
}

void GraphRunner::Process(SP<IDataVideo>& frame)
{
    FramePtr record = frame ? ShareFrame(*frame) : nullptr;
    frame.reset(); // so that filters may work in its memory
    Push(std::move(record));
    if (ready.empty())
        return;
    frame = WrapFrame(std::move(ready.front()));
    ready.pop_front();
    if (ready.size() > most_waiting)
        Throw<EffectException>(TESSOR_HERE, "Filters \"" + chain + "\" make more frames than they are given");
}

void GraphRunner::Process(SP<IDataAudio>& block)
{
    FramePtr record = block && block->GetSampleCount() > 0 ? ShareSamples(block) : nullptr;
    if (record || !block)
        Push(std::move(record));
    block.reset();
    std::vector<FramePtr> parts;
    while (!ready.empty() && (parts.empty() || GetSampleInfo(*parts[0]) == GetSampleInfo(*ready.front())))
    {
        parts.push_back(std::move(ready.front()));
        ready.pop_front();
    }
    if (parts.empty())
        return;
    block = JoinSamples(parts);
    clock.Stamp(*block, parts.front()->pts);
}

void GraphRunner::Push(FramePtr frame)
{
    if (!frame)
    {
        if (graph)
            Finish();
        return;
    }
    const GraphFormat format = GraphFormat::Of(*frame);
    if (graph && !format.Fits(input))
        Finish();
    if (!graph)
        graph = std::make_unique<AvGraph>(GetWholeChain(format), format);
    input = format;
    graph->Push(std::move(frame));
    Take();
}

FramePtr GraphRunner::TakeLast()
{
    if (ready.empty())
        Throw<EffectException>(TESSOR_HERE, "Filters \"" + chain + "\" gave no frame");
    FramePtr last = std::move(ready.back());
    ready.clear();
    return last;
}

void GraphRunner::Finish()
{
    const std::unique_ptr<AvGraph> finished = std::move(graph);
    finished->Push(nullptr);
    while (FramePtr frame = finished->Pull())
        ready.push_back(std::move(frame));
}

void GraphRunner::Take()
{
    while (FramePtr frame = graph->Pull())
        ready.push_back(std::move(frame));
}

std::string GraphRunner::GetWholeChain(const GraphFormat& format) const
{
    if (!keepsPixels || format.type != AVMEDIA_TYPE_VIDEO)
        return chain;
    const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(format.format));
    return chain + ",format=pix_fmts=" + (name ? name : "none");
}

} // namespace Tessor::Host
