#include "ffhost/io/reading/TrackTimes.h"

extern "C"
{
#include <libavcodec/avcodec.h>
}

#include <algorithm>
#include <limits>

namespace Tessor::Host
{

namespace
{

// Matroska has no decoding times at all: libavformat tells them once it has met as many pictures as are reordered.
constexpr size_t MAX_WITHOUT_DTS = 64;

avTime UsualDuration(const TrackInfo& track)
{
    if (track.type == MediaType::Video && track.frameRateNum > 0)
        return av_rescale(AV_TIME_BASE, track.frameRateDen, track.frameRateNum);
    const AVCodecParameters& parameters = *track.parameters;
    if (track.type == MediaType::Audio && parameters.frame_size > 0 && parameters.sample_rate > 0)
        return av_rescale(AV_TIME_BASE, parameters.frame_size, parameters.sample_rate);
    return 0;
}

} // namespace

TrackTimes::TrackTimes(const TrackInfo& track, avTime origin, ClockJumps* jumps)
    : type(track.type), parameters(track.parameters), amr(track.parameters->codec_id), end(track.end),
      repair(
          {{track.timeBaseNum, track.timeBaseDen}, UsualDuration(track), type == MediaType::Video, jumps != nullptr}),
      clock(AVRational{track.timeBaseNum, track.timeBaseDen}, origin, jumps), usual(UsualDuration(track))
{
}

void TrackTimes::Push(PacketPtr packet)
{
    repair.Push(std::move(packet));
    PullMended();
}

void TrackTimes::PullMended()
{
    while (PacketPtr packet = repair.Pull())
        Time(std::move(packet));
}

void TrackTimes::Time(PacketPtr packet)
{
    TimedPacket timed{std::move(packet)};
    if (!Convert(timed))
    {
        ++damaged;
        return;
    }
    nextDts = timed.dts == NoTime ? NoTime : AddTime(timed.dts, std::max<avTime>(timed.duration, 1));
    if (type == MediaType::Audio && timed.pts == NoTime)
        // sound is heard in the order in which it is decoded
        timed.pts = timed.dts;
    if (amr.IsAmr())
        PlaceFrames(timed);
    else
        Place(std::move(timed));
}

void TrackTimes::PlaceFrames(const TimedPacket& block)
{
    bool torn = false;
    avTime offset = 0;
    for (PacketPtr& frame : amr.Split(*block.packet, torn))
    {
        Place({std::move(frame), AddTime(block.pts, offset), AddTime(block.dts, offset), AmrBlock::FRAME_LENGTH});
        offset += AmrBlock::FRAME_LENGTH;
    }
    damaged += torn;
}

void TrackTimes::Place(TimedPacket&& timed)
{
    if (timed.pts != NoTime && !order)
    {
        PlaceDts(std::move(timed));
        return;
    }
    if (timed.dts == NoTime)
        timed.dts = timed.pts;
    Order().Push(std::move(timed));
    PullOrdered();
}

void TrackTimes::Finish()
{
    repair.Finish();
    PullMended();
    if (order)
    {
        order->Finish();
        PullOrdered();
    }
    if (!withoutDts.empty())
        PlaceWaiting(AddTime(withoutDts.back().pts, 1));
    hidden.clear();
    if (held.packet)
        Release(true, NoTime);
}

SP<Proc::DataPacketFF> TrackTimes::Pull()
{
    if (finished.empty())
        return nullptr;
    const SP<Proc::DataPacketFF> packet = finished.front();
    finished.pop_front();
    return packet;
}

void TrackTimes::Reset(bool atStart, avTime near)
{
    repair.Reset(atStart);
    clock.Reset(atStart, near);
    if (order)
        order->Reset();
    fromStart = atStart;
    damaged = atStart ? 0 : damaged;
    delay = 0;
    nextDts = lastDts = NoTime;
    withoutDts.clear();
    hidden.clear();
    held = {};
    onlyOne = atStart;
    finished.clear();
}

// libavformat goes on with the old decoding times after a jump of the clock, for as many pictures as are reordered; and
// after a seek beside a track that reorders more, it tells times that are later than those of presentation.
bool TrackTimes::IsGuessed(const AVPacket& packet) const
{
    return packet.pts != AV_NOPTS_VALUE && packet.dts != AV_NOPTS_VALUE &&
           (packet.dts > packet.pts || clock.JumpsBetween(packet.dts, packet.pts));
}

// False for a packet that cannot be placed in time.
bool TrackTimes::Convert(TimedPacket& timed)
{
    AVPacket& packet = *timed.packet;
    if (IsGuessed(packet))
        packet.dts = AV_NOPTS_VALUE;
    // the difference, as ToTime counts from the origin
    const avTime step = std::max<avTime>(1, clock.ToTime(packet.duration) - clock.ToTime(0));
    // A clock is followed by what never steps back: without decoding times by those of presentation, which are a delay
    // later.
    damaged += packet.dts != AV_NOPTS_VALUE ? clock.Follow(packet.dts, step) : clock.Follow(packet.pts, step + delay);
    timed.pts = clock.ToTime(packet.pts);
    timed.dts = clock.ToTime(packet.dts);
    timed.duration = ToDuration(timed);
    delay = timed.pts != NoTime && timed.dts != NoTime ? timed.pts - timed.dts : delay;
    if (timed.pts == NoTime && timed.dts == NoTime)
    {
        // Decoding begins so early that the first picture is shown at 0.
        if (nextDts == NoTime && fromStart)
            nextDts = type == MediaType::Video ? -parameters->video_delay * timed.duration : 0;
        timed.dts = nextDts;
    }
    fromStart = false;
    return timed.pts != NoTime || timed.dts != NoTime;
}

// The difference of rounded ends, so that packets abut that do so in the container's ticks; a length rounded alone
// would leave gaps and overlaps of a microsecond. Damaged files have lengths whose end leaves 64 bits.
avTime TrackTimes::ToDuration(const TimedPacket& timed) const
{
    const AVPacket& packet = *timed.packet;
    if (packet.duration <= 0)
        return usual;
    const int64_t start = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts != AV_NOPTS_VALUE ? packet.dts : 0;
    if (packet.duration > std::numeric_limits<int64_t>::max() - std::max<int64_t>(start, 0))
        return usual;
    return std::max<avTime>(1, SubTime(clock.ToTime(start + packet.duration), clock.ToTime(start)));
}

void TrackTimes::PullOrdered()
{
    TimedPacket timed;
    while (order->Pull(timed))
        PlaceDts(std::move(timed));
}

// Containers leave decoding times out, and after a move the first ones are unknown. One in the middle goes on from the
// packet before; those at the beginning wait for one that is known, from which they are counted back.
void TrackTimes::PlaceDts(TimedPacket&& timed)
{
    const avTime known = timed.dts;
    if (known == NoTime && lastDts != NoTime)
        timed.dts = std::min(timed.pts, AddTime(lastDts, std::max<avTime>(timed.duration, 1)));
    if (timed.dts != NoTime && withoutDts.empty())
    {
        Emit(std::move(timed));
        return;
    }
    withoutDts.push_back(std::move(timed));
    if (known != NoTime || withoutDts.size() > MAX_WITHOUT_DTS)
        PlaceWaiting(AddTime(withoutDts.back().pts, 1));
}

// Backwards from the newest one: each a packet's duration before the next one, and not after its own PTS.
void TrackTimes::PlaceWaiting(avTime next)
{
    std::for_each(withoutDts.rbegin(), withoutDts.rend(),
                  [&](TimedPacket& timed)
                  {
                      if (timed.dts == NoTime)
                          timed.dts = std::min(timed.pts, SubTime(next, std::max<avTime>(timed.duration, 1)));
                      next = timed.dts;
                  });
    for (TimedPacket& timed : withoutDts)
        Emit(std::move(timed));
    withoutDts.clear();
}

// Decoding times that stand still or step back, as careless multiplexers write them, rise by the least there is. What
// is hidden waits for something that is shown: at the end of a track nothing leans on it.
void TrackTimes::Emit(TimedPacket&& timed)
{
    if (lastDts != NoTime && timed.dts <= lastDts)
        timed.dts = lastDts + 1;
    lastDts = timed.dts;
    hidden.push_back(std::move(timed));
    if (hidden.back().packet->flags & AV_PKT_FLAG_DISCARD)
    {
        // an edit list that ends there hides all of them
        if (end != NoTime)
            hidden.back().pts = std::min(hidden.back().pts, std::max(end, lastDts));
        return;
    }
    for (TimedPacket& packet : hidden)
        Hold(std::move(packet));
    hidden.clear();
}

// Held back by one: a duration may have to be told by the packet that follows, and the last packet is known as such
// only when none does.
void TrackTimes::Hold(TimedPacket&& timed)
{
    if (held.packet)
        Release(false, timed.dts);
    held = std::move(timed);
}

void TrackTimes::Release(bool last, avTime next)
{
    if (held.duration <= 0)
        held.duration = next != NoTime ? next - held.dts : std::max<avTime>(usual, 1);
    // the first one that is known stands for all later ones that are not
    usual = usual > 0 ? usual : held.duration;
    finished.push_back(Proc::DataPacketFF::Create(held.packet.release(), type, held.pts, held.dts, held.duration));
    if (last && !onlyOne)
        finished.back()->HideKey();
    onlyOne = false;
    held = {};
}

DisplayOrder& TrackTimes::Order()
{
    if (!order)
        order = std::make_unique<DisplayOrder>(*parameters, parameters->video_delay);
    return *order;
}

} // namespace Tessor::Host
