#pragma once

#include "ffhost/effects/AvGraph.h"
#include "ffhost/effects/Frames.h"
#include "ffhost/effects/SampleClock.h"

#include <deque>
#include <memory>
#include <string>

namespace Tessor::Host
{

/// Runs items through a chain of libavfilter, one in, one out, none where the chain holds it back. The chain is built
/// for the first item and again where items change their format; what it held comes out first.
class GraphRunner
{
public:
    /// From the next item on.
    void SetChain(const std::string& newChain);
    const std::string& GetChain() const { return chain; }
    /// The pixel format of the input is that of the output, too.
    void KeepPixelFormat() { keepsPixels = true; }
    /// Drops what is held.
    void Reset();

    /// Null items drain. Throws EffectException with FFmpeg's reason where the chain can't work on the item, and where
    /// far more frames come out than go in: there is no place for them.
    void Process(SP<Proc::IDataVideo>& frame);
    /// The same for sound, but what comes out at a time is one block.
    void Process(SP<Proc::IDataAudio>& block);

    /// The steps of Process, for effects that put more than their items in. A null frame drains.
    void Push(FramePtr frame);
    /// The last frame that has come out, instead of all that have. Throws EffectException where there is none.
    FramePtr TakeLast();

private:
    void Finish();
    void Take();
    std::string GetWholeChain(const GraphFormat& format) const;

    std::string chain;
    bool keepsPixels = false;
    std::unique_ptr<AvGraph> graph; // null before the first item, behind the end, and after a change of the chain
    GraphFormat input;              // of the graph
    std::deque<FramePtr> ready;     // out of the chain and not yet delivered
    SampleClock clock;              // of the sound that was delivered
};

} // namespace Tessor::Host
