#pragma once

#include "Fnd/Export.h"
#include "Fnd/Time.h"
#include "ffhost/io/PacketPtr.h"

extern "C"
{
#include <libavutil/avutil.h>
#include <libavutil/rational.h>
}

#include <cstdint>
#include <deque>

namespace Tessor::Host
{

/// Mends the times that a file tells of a track's packets where those beside them contradict, in ticks, before anybody
/// goes by them. Packets come out in the order in which they go in; most of them at once.
///
/// A packet that leaps away from the one before is in doubt, and waits:
///
///     told:     0  40  9000080  120  160          told:     0  40  9000080  9000120  ...
///     mended:   0  40       80  120  160          believed, as nothing contradicts
///
/// So do those that go on from it, up to some seconds: all of them were wrong when one comes that goes on from before.
/// Times that stand still are of no use whether or not they leapt before: careless multiplexers write those when all
/// that follows a wrong time is earlier than it. Packets take the time after each other by their durations, and where
/// pictures are shown is left to their own order. A time of presentation that is far from its own time of decoding, and
/// no reordering reaches so far, is one beside its neighbours'.
class TESSOR_API StampRepair
{
public:
    struct Track
    {
        AVRational timeBase;
        avTime usual;    // duration of a packet that tells none; 0 when unknown
        bool pictures;   // they may be shown in another order
        bool clockJumps; // leaps that may be those of the file's clock are left alone
    };

    explicit StampRepair(const Track& track);

    void Push(PacketPtr packet);
    /// The next packet, null when none is settled.
    PacketPtr Pull();
    /// No more packets come: Pull hands out what is left.
    void Finish() { Believe(); }
    /// The file was moved. `atStart`: to its beginning, from which the count begins anew.
    void Reset(bool atStart);

    /// Packets whose times were mended.
    long long GetCount() const { return count; }

private:
    int64_t DurationOf(const AVPacket& packet) const;
    bool Stands(const AVPacket& packet) const;
    bool Leaps(const AVPacket& packet) const;
    bool GoesOn(const AVPacket& packet) const;
    bool Contradicts(const AVPacket& packet) const;
    void Judge(PacketPtr packet);
    void CheckPresentation(AVPacket& packet);
    void SpreadUpTo(int64_t end);
    void LineUp();
    void Believe();
    void Move(AVPacket& packet, int64_t dts);
    void HandOut(PacketPtr packet);

    const AVRational timeBase;
    const avTime usualTime;
    const bool pictures, clockJumps;
    const int64_t usual, slack, longestJump; // ticks
    std::deque<PacketPtr> doubtful;          // since `placed`; never with a settled one after them
    std::deque<PacketPtr> settled;           // until they are pulled
    int64_t placed = AV_NOPTS_VALUE;         // decoding time of the newest that is settled
    int64_t step = 0;                        // how long that one lasts
    int64_t delay = 0;                       // from its decoding to its presentation
    int64_t told = AV_NOPTS_VALUE;           // decoding time of the newest of all, as the file has it
    int standing = 0;                        // of the newest ones, how many have the time of the one before
    avTime line = NoTime; // where the newest of those that stand has its place, unrounded; NoTime without such
    long long count = 0;
};

} // namespace Tessor::Host
