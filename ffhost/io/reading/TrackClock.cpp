#include "ffhost/io/reading/TrackClock.h"

extern "C"
{
#include <libavutil/avutil.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace Tessor::Host
{

namespace
{

constexpr avTime MAX_GAP = 10 * SECOND; // a pause in a recording is shorter, a clock of another one rarely so near
constexpr avTime MAX_FALL = 100 * MILLISECOND; // jitter of careless multiplexers stays below
constexpr int ON_TRIAL = 8;                    // packets after a jump that may still show it to be none

} // namespace

bool TrackClock::GoesOn(avTime from, avTime to)
{
    return to - from <= MAX_GAP && to - from >= -MAX_FALL;
}

avTime TrackClock::ToTime(int64_t ticks) const
{
    if (ticks == AV_NOPTS_VALUE)
        return NoTime;
    return ToTime(ticks, epoch);
}

avTime TrackClock::ToTime(int64_t ticks, size_t passed) const
{
    const avTime time = av_rescale_q(ticks, timeBase, AVRational{1, AV_TIME_BASE});
    return AddTime(SubTime(time, origin), jumps ? jumps->shifts[passed] : 0);
}

void TrackClock::JoinNear(int64_t ticks, avTime near)
{
    if (!jumps || ticks == AV_NOPTS_VALUE || near == NoTime)
        return;
    for (size_t i = 0; i < jumps->shifts.size(); ++i)
        if (std::abs(ToTime(ticks, i) - near) < std::abs(ToTime(ticks, epoch) - near))
            epoch = i;
}

// At a jump, the track goes on with the first of the later clocks that fits. If none does, it is the first track to
// meet the jump: the new clock is laid so that this packet follows the one before at once, and the other tracks take it
// over.
bool TrackClock::Follow(int64_t ticks, avTime step)
{
    JoinNear(ticks, std::exchange(place, NoTime));
    const avTime time = ToTime(ticks);
    if (!jumps || time == NoTime)
        return false;
    const avTime before = last;
    last = time;
    if (before == NoTime || Returns(ticks, before) || GoesOn(before, time))
        return false;
    trial = ON_TRIAL;
    former = epoch;
    while (++epoch < jumps->shifts.size())
    {
        last = ToTime(ticks);
        if (GoesOn(before, last))
            return false;
    }
    // first without a shift, which ToTime looks up
    jumps->shifts.push_back(0);
    jumps->shifts.back() = SubTime(AddTime(before, step), ToTime(ticks));
    last = AddTime(before, step);
    return true;
}

// By the clock from before a jump just met the packet is nearer to the one before: only the times in between were
// wrong.
bool TrackClock::Returns(int64_t ticks, avTime before)
{
    const avTime old = trial > 0 ? ToTime(ticks, former) : NoTime;
    trial = std::max(trial - 1, 0);
    if (old == NoTime || !GoesOn(before, old) || std::abs(old - before) + MAX_FALL >= std::abs(last - before))
        return false;
    epoch = former;
    last = old;
    trial = 0;
    return true;
}

void TrackClock::Reset(bool atStart, avTime near)
{
    last = NoTime;
    trial = 0;
    place = near;
    if (atStart)
        epoch = 0;
}

} // namespace Tessor::Host
