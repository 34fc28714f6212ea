#pragma once

#include "Fnd/RefCount.h"
#include "host/IAudioFormatter.h"
#include "media/audio/AudioTime.h"

#include <deque>

namespace Tessor::Host
{

/// A queue of samples that is cut anew. The lengths of blocks follow the running time, so that where a block's duration
/// is no whole number of samples, blocks differ by one and never drift. Blocks that fit pass uncopied. Where the format
/// changes a block ends early.
class AudioFormatter final : public Proc::IAudioFormatter, public RefCountImpl
{
public:
    /// Throws AlgorithmException for a tree of another class.
    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override;
    void Push(SP<Proc::IDataAudio>& block) override;
    /// Throws AlgorithmException for a duration that is not above 0.
    SP<Proc::IDataAudio> Get(avTime duration, bool flush) override;
    void Reset(avTime time) override;
    void Convert(const Conf::SampleInfo& format) override;

private:
    /// Samples of one format, in a row.
    long long CountHeld() const;
    long long FindLength(avTime duration) const;
    SP<Proc::IDataAudio> Take(int count);
    SP<Proc::IDataAudio> Gather(int count);
    void StartGrid();

    std::deque<SP<Proc::IDataAudio>> blocks;
    int firstUsed = 0;            // samples of the first block that have been delivered
    Proc::AudioTime time;         // of the next sample out; unset until a block comes
    avTime defaultStart = NoTime; // of the last reset: what a first block without a time of its own gets
    // The grid on which blocks end: both count from the last reset or change of format.
    avTime askedTime = 0;     // durations asked for
    long long givenCount = 0; // samples delivered
};

} // namespace Tessor::Host
