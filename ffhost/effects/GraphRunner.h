#pragma once

#include "ffhost/effects/AvGraph.h"
#include "ffhost/effects/Frames.h"
#include "ffhost/effects/SampleClock.h"
#include "media/formats/IFormatCodecAudio.h"
#include "media/formats/IFormatCodecVideo.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace Tessor::Host
{

/// Runs items through a chain of libavfilter. The chain is built for the first item and again where items change their
/// format; what it held comes out first. It works only as far as somebody takes what it makes, so that it holds no more
/// than its filters do, whatever they make of a frame.
class GraphRunner
{
public:
    /// From the next item on. Throws EffectException for what is no chain.
    void SetChain(const std::string& newChain);
    const std::string& GetChain() const { return chain; }
    /// Whether items leave the chain at the times at which they enter it, and all of them do.
    bool KeepsTimes() const { return keepsTimes; }
    /// The pixel format of the input is that of the output, too.
    void KeepPixelFormat() { keepsPixels = true; }
    /// Brings a format to what the chain makes of it; one without size or rate stays as it is. Throws EffectException
    /// where the chain can't work on it.
    void UpdateFormat(Conf::IFormatCodecVideo& format) const;
    void UpdateFormat(Conf::IFormatCodecAudio& format) const;
    /// Drops what is held.
    void Reset();

    /// One item in, one out, none where the chain holds it back. Null items drain. Throws EffectException with FFmpeg's
    /// reason where the chain can't work on the item, and where far more frames come out than go in: there is no place
    /// for them.
    void Process(SP<Proc::IDataVideo>& frame);
    /// The same for sound, but what comes out at a time is one block.
    void Process(SP<Proc::IDataAudio>& block);

    /// Puts an item in; null is the end. Throws as Process does.
    void Push(const SP<Proc::IDataVideo>& frame);
    void Push(const SP<Proc::IDataAudio>& block);
    void Push(FramePtr frame);
    /// The next frame, null where the chain wants more first.
    FramePtr Pull();
    /// A block of what has been pulled, in its place among those before.
    SP<Proc::IDataAudio> MakeBlock(const std::vector<FramePtr>& parts);
    /// Nothing is held, and nothing more comes without another frame.
    bool IsEmpty() const { return graphs.empty(); }

private:
    void Finish();
    void KeepSurplus();
    std::string GetWholeChain(const GraphFormat& format) const;

    std::string chain;
    bool keepsTimes = true; // the chain does
    bool keepsPixels = false;
    // Those before the last have been told the end and are still to be pulled. Empty before the first item and when all
    // has come out after the end.
    std::deque<std::unique_ptr<AvGraph>> graphs;
    bool open = false;          // the last one takes more frames
    GraphFormat input;          // of the last one
    std::deque<FramePtr> ready; // pulled by Process and not yet delivered
    SampleClock clock;          // of the sound that was delivered
};

} // namespace Tessor::Host
