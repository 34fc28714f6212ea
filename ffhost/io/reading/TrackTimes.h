#pragma once

#include "ffhost/io/MediaInfo.h"
#include "ffhost/io/reading/AmrBlock.h"
#include "ffhost/io/reading/DisplayOrder.h"
#include "ffhost/io/reading/StampRepair.h"
#include "ffhost/io/reading/TrackClock.h"
#include "media/items/DataPacketFF.h"

namespace Tessor::Host
{

/// Turns the packets of an audio or video track, as libavformat gives them, into ours: every one with a PTS, a DTS
/// that strictly rises, and a duration above 0; of AMR, a packet for each frame. Packets that an edit list hides
/// (AV_PKT_FLAG_DISCARD) stay where later ones that are shown may lean on them, none with a PTS beyond the end of what
/// is shown; those that come last are gone.
/// The last packet hides its key flag (PacketFacts::hiddenKey), unless it is the only one.
class TrackTimes
{
public:
    /// `jumps` as in TrackClock.
    TrackTimes(const TrackInfo& track, avTime origin, ClockJumps* jumps);

    void Push(PacketPtr packet);
    /// The file has ended.
    void Finish();
    /// The next finished packet, null when there is none yet.
    SP<Proc::DataPacketFF> Pull();
    /// As TrackClock's.
    void Reset(bool atStart, avTime near = NoTime);

    /// Since the beginning: clock jumps that this track met first, packets whose times were mended, and those that
    /// could not be placed in time.
    long long GetDamagedCount() const { return damaged + repair.GetCount(); }

private:
    /// The packet's decoding time is one that can't be.
    bool IsGuessed(const AVPacket& packet) const;
    void PullMended();
    void Time(PacketPtr packet);
    bool Convert(TimedPacket& timed);
    void PlaceFrames(const TimedPacket& block);
    void Place(TimedPacket&& timed);
    avTime ToDuration(const TimedPacket& timed) const;
    void PullOrdered();
    void PlaceDts(TimedPacket&& timed);
    void PlaceWaiting(avTime next);
    void Emit(TimedPacket&& timed);
    void Hold(TimedPacket&& timed);
    void Release(bool last, avTime next);
    DisplayOrder& Order();

    const MediaType type;
    const std::shared_ptr<const AVCodecParameters> parameters;
    const AmrBlock amr;
    const avTime end; // of what is shown; NoTime while that is being measured
    StampRepair repair;
    TrackClock clock;
    avTime usual;                        // duration of a packet where the container tells none; 0 when unknown
    std::unique_ptr<DisplayOrder> order; // made at the first picture without a PTS

    avTime delay = 0;                   // from decoding to presentation, of the newest packet that tells both
    avTime nextDts = NoTime;            // when the next packet would be decoded, where nothing tells
    bool fromStart = true;              // the first packet read is the first one of the file
    std::deque<TimedPacket> withoutDts; // from the start or a move, until a packet with a DTS comes
    avTime lastDts = NoTime;            // of the newest packet
    std::vector<TimedPacket> hidden;    // timed, but not to be shown: until one comes that is
    TimedPacket held;                   // the newest packet, until it is known whether it is the last one
    bool onlyOne = true;                // nothing but the held packet has come since the beginning of the file
    std::deque<SP<Proc::DataPacketFF>> finished;
    long long damaged = 0;
};

} // namespace Tessor::Host
