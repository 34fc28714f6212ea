#pragma once

#include "Fnd/Time.h"

extern "C"
{
#include <libavutil/rational.h>
}

#include <vector>

namespace Tessor::Host
{

/// The places where the clock of a file starts anew, shared by its tracks so that they stay in step.
struct ClockJumps
{
    std::vector<avTime> shifts{0}; // what is added to a time behind the n-th jump
};

/// Turns the ticks of a track into times from the file's origin, which go on where the file's clock jumps.
class TrackClock
{
public:
    /// `jumps` is null for containers whose clock does not jump.
    TrackClock(AVRational timeBase, avTime origin, ClockJumps* jumps) : timeBase(timeBase), origin(origin), jumps(jumps)
    {
    }

    /// NoTime for no value.
    avTime ToTime(int64_t ticks) const;
    /// Must be called with each packet's decoding time, in order; `step` is the time that a packet takes. True when the
    /// clock jumped and this track met it first.
    bool Follow(int64_t ticks, avTime step);
    /// The file was moved. `atStart`: to its beginning.
    void Reset(bool atStart);

private:
    AVRational timeBase;
    avTime origin;
    ClockJumps* jumps;
    size_t epoch = 0;     // how many jumps this track is behind
    avTime last = NoTime; // the time of the packet before
};

} // namespace Tessor::Host
