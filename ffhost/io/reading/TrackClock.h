#pragma once

#include "Fnd/Export.h"
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
    /// A place that reading may begin at.
    struct Entry
    {
        avTime time;
        long long position;
    };

    std::vector<avTime> shifts{0}; // what is added to a time after the n-th jump
    std::vector<Entry> entries;    // where there are jumps and the file has been read: all of them, in order
};

/// Turns the ticks of a track into times from the file's origin, which go on where the file's clock jumps. Where a few
/// packets after a jump it goes on from before, it was a wrong time, and nothing is moved by it.
class TESSOR_API TrackClock
{
public:
    /// `jumps` is null for containers whose clock does not jump.
    TrackClock(AVRational timeBase, avTime origin, ClockJumps* jumps) : timeBase(timeBase), origin(origin), jumps(jumps)
    {
    }

    /// Whether two decoding times that follow each other are of one clock.
    static bool GoesOn(avTime from, avTime to);
    /// Whether the two times of a packet can't be of one clock. Never where the clock does not jump.
    bool JumpsBetween(int64_t dts, int64_t pts) const { return jumps && !GoesOn(ToTime(dts), ToTime(pts)); }

    /// NoTime for no value.
    avTime ToTime(int64_t ticks) const;
    /// Must be called with each packet's decoding time, in order; `step` is the time that a packet takes. True when the
    /// clock jumped and this track met it first.
    bool Follow(int64_t ticks, avTime step);
    /// Goes past the jump that brings the time nearest to `near`: for tracks that can't be followed, since their gaps
    /// are as long as jumps.
    void JoinNear(int64_t ticks, avTime near);
    /// The file was moved. `atStart`: to its beginning; otherwise, where that is known, `near` is the decoding time
    /// there.
    void Reset(bool atStart, avTime near = NoTime);

private:
    avTime ToTime(int64_t ticks, size_t passed) const;
    bool Returns(int64_t ticks, avTime before);

    AVRational timeBase;
    avTime origin;
    ClockJumps* jumps;
    size_t epoch = 0;      // how many jumps this track has passed
    avTime last = NoTime;  // the time of the packet before
    int trial = 0;         // for how many packets the newest jump may still turn out to be none
    size_t former = 0;     // how many it had passed before that one, valid while on trial
    avTime place = NoTime; // until the first packet after a move: where the file was moved to
};

} // namespace Tessor::Host
