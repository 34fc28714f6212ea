#include "ffhost/io/reading/StampRepair.h"

extern "C"
{
#include <libavcodec/packet.h>
#include <libavutil/common.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace Tessor::Host
{

namespace
{

constexpr AVRational MICROSECONDS = {1, SECOND};
constexpr avTime SLACK = 100 * MILLISECOND;  // jitter of careless multiplexers stays below
constexpr avTime LONGEST_JUMP = 10 * SECOND; // as TrackClock's: what is longer it takes for a jump
constexpr size_t MOST_DOUBTFUL = 256;        // some seconds of a track, as many as a block of a file may hold
constexpr int MOST_STANDING = 8;             // bursts of a careless source have fewer
constexpr int64_t STANDING_PART = 16;        // of its duration: what goes on by less stands still
constexpr int64_t FEWEST_TICKS = 4;          // in a duration, so that a tick is too little of it
constexpr int64_t MOST_REORDERED = 17;       // pictures between decoding and presentation, in any codec

int64_t ToTicks(avTime time, AVRational timeBase)
{
    return std::max<int64_t>(1, av_rescale_q(time, MICROSECONDS, timeBase));
}

} // namespace

StampRepair::StampRepair(const Track& track)
    : timeBase(track.timeBase), usualTime(track.usual), pictures(track.pictures), clockJumps(track.clockJumps),
      usual(track.usual > 0 ? ToTicks(track.usual, track.timeBase) : 0), slack(ToTicks(SLACK, track.timeBase)),
      longestJump(ToTicks(LONGEST_JUMP, track.timeBase))
{
}

void StampRepair::Push(PacketPtr packet)
{
    // What an edit list hides leans on other times than what is shown; what tells none goes by those before it.
    if (packet->dts == AV_NOPTS_VALUE || packet->flags & AV_PKT_FLAG_DISCARD)
    {
        (doubtful.empty() ? settled : doubtful).push_back(std::move(packet));
        return;
    }
    standing = Stands(*packet) ? standing + 1 : 0;
    if (standing == 0)
        line = NoTime;
    const int64_t time = packet->dts;
    Judge(std::move(packet));
    told = time;
    if (standing >= MOST_STANDING)
        LineUp();
}

PacketPtr StampRepair::Pull()
{
    if (settled.empty())
        return nullptr;
    PacketPtr packet = std::move(settled.front());
    settled.pop_front();
    return packet;
}

void StampRepair::Reset(bool atStart)
{
    doubtful.clear();
    settled.clear();
    placed = told = AV_NOPTS_VALUE;
    step = delay = 0;
    standing = 0;
    line = NoTime;
    count = atStart ? 0 : count;
}

void StampRepair::Judge(PacketPtr packet)
{
    if (!doubtful.empty())
    {
        const bool leapt = Leaps(*doubtful.front());
        if (standing > 0 || (leapt && doubtful.size() < MOST_DOUBTFUL && GoesOn(*packet)))
        {
            doubtful.push_back(std::move(packet));
            return;
        }
        if (leapt && Contradicts(*packet))
            SpreadUpTo(packet->dts);
        else
            Believe();
    }
    if (standing > 0 || Leaps(*packet))
        doubtful.push_back(std::move(packet));
    else
        HandOut(std::move(packet));
}

int64_t StampRepair::DurationOf(const AVPacket& packet) const
{
    return packet.duration > 0 ? packet.duration : usual;
}

bool StampRepair::Stands(const AVPacket& packet) const
{
    const int64_t duration = DurationOf(packet);
    return told != AV_NOPTS_VALUE && duration >= FEWEST_TICKS &&
           std::abs(av_sat_sub64(packet.dts, told)) <= std::max<int64_t>(duration / STANDING_PART, 1);
}

bool StampRepair::Leaps(const AVPacket& packet) const
{
    if (placed == AV_NOPTS_VALUE)
        return false;
    const int64_t way = av_sat_sub64(packet.dts, placed);
    if (clockJumps)
        return way > step + slack && way <= longestJump;
    return way > step + slack || way < -slack;
}

/// From the newest of those in doubt.
bool StampRepair::GoesOn(const AVPacket& packet) const
{
    const int64_t way = av_sat_sub64(packet.dts, told);
    return way > 0 && way <= DurationOf(*doubtful.back()) + slack;
}

/// It goes on from before those in doubt, and both can't be: times never fall.
bool StampRepair::Contradicts(const AVPacket& packet) const
{
    const int64_t leapt = doubtful.front()->dts, room = av_sat_sub64(packet.dts, placed);
    int64_t most = step + slack;
    for (const PacketPtr& before : doubtful)
        most = av_sat_add64(most, DurationOf(*before));
    return (leapt < placed || packet.dts <= leapt) && room > static_cast<int64_t>(doubtful.size()) && room <= most;
}

void StampRepair::SpreadUpTo(int64_t end)
{
    const int64_t start = placed, room = end - start, parts = static_cast<int64_t>(doubtful.size()) + 1;
    for (int64_t i = 1; i < parts; ++i)
    {
        Move(*doubtful.front(), start + room * i / parts);
        HandOut(std::move(doubtful.front()));
        doubtful.pop_front();
    }
}

// By unrounded lengths: by those in the container's ticks sound would come to be early or late.
void StampRepair::LineUp()
{
    if (line == NoTime)
        line = av_rescale_q(placed, timeBase, MICROSECONDS);
    for (; !doubtful.empty(); doubtful.pop_front())
    {
        AVPacket& packet = *doubtful.front();
        line += std::abs(step - usual) <= 1 ? usualTime : av_rescale_q(step, timeBase, MICROSECONDS);
        Move(packet, std::max(placed + 1, av_rescale_q(line, MICROSECONDS, timeBase)));
        packet.pts = pictures ? AV_NOPTS_VALUE : packet.dts;
        HandOut(std::move(doubtful.front()));
    }
}

void StampRepair::Believe()
{
    for (; !doubtful.empty(); doubtful.pop_front())
        HandOut(std::move(doubtful.front()));
}

void StampRepair::Move(AVPacket& packet, int64_t dts)
{
    if (packet.pts != AV_NOPTS_VALUE)
        packet.pts = av_sat_add64(dts, packet.dts != AV_NOPTS_VALUE ? av_sat_sub64(packet.pts, packet.dts) : 0);
    packet.dts = dts;
    ++count;
}

// Matroska has one time a picture, and libavformat makes those of decoding of it, which hold where that one is wrong.
void StampRepair::CheckPresentation(AVPacket& packet)
{
    if (clockJumps || packet.pts == AV_NOPTS_VALUE || placed == AV_NOPTS_VALUE)
        return;
    const int64_t pace = std::max(av_sat_sub64(packet.dts, placed), step);
    const int64_t most = std::min(pace, std::numeric_limits<int64_t>::max() / MOST_REORDERED) * MOST_REORDERED;
    if (av_sat_sub64(packet.pts, packet.dts) <= std::max(longestJump, most))
        return;
    packet.pts = av_sat_add64(packet.dts, delay);
    ++count;
}

void StampRepair::HandOut(PacketPtr packet)
{
    if (packet->dts != AV_NOPTS_VALUE && !(packet->flags & AV_PKT_FLAG_DISCARD))
    {
        CheckPresentation(*packet);
        placed = packet->dts;
        step = DurationOf(*packet);
        delay = packet->pts != AV_NOPTS_VALUE ? av_sat_sub64(packet->pts, packet->dts) : delay;
    }
    settled.push_back(std::move(packet));
}

} // namespace Tessor::Host
