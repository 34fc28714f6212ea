#pragma once

#include "media/audio/AudioTime.h"
#include "media/items/IDataAudio.h"

namespace Tessor::Host
{

/// Gives blocks of samples their times: those follow the samples, so that roundings do not add up, as long as the
/// source's own times agree.
class SampleClock
{
public:
    /// Times of sources are rounded to milliseconds in some containers; what lies further off is a gap or a jump.
    static constexpr avTime TOLERANCE = 10 * MILLISECOND;

    void Reset() { time.Reset(NoTime); }
    /// Sets the block's time and duration; `claimed` is where the source has it, or NoTime. Blocks abut.
    void Stamp(Proc::IDataAudio& block, avTime claimed);

private:
    Proc::AudioTime time; // the end of the last block
};

} // namespace Tessor::Host
