#pragma once

#include "ffhost/bitstream/PictureParser.h"
#include "ffhost/io/reading/SourceFile.h"

#include <deque>

namespace Tessor::Host
{

/// A packet on its way to being fully timed.
struct TimedPacket
{
    PacketPtr packet;
    avTime pts = NoTime, dts = NoTime, duration = 0;
};

/// Gives presentation times to the pictures of a track whose container tells decoding times only. What is known stays.
/// Packets go in with a known DTS and come out in the same order with a known PTS, which is never below it.
class DisplayOrder
{
public:
    /// `depth`: by how many pictures decoding may run ahead.
    DisplayOrder(const AVCodecParameters& parameters, int depth) : parser(parameters), depth(depth) {}

    void Push(TimedPacket&& timed);
    /// The end: what waits comes out.
    void Finish();
    bool Pull(TimedPacket& timed);
    void Reset();

private:
    struct Waiting
    {
        TimedPacket timed;
        int64_t sequence; // refreshes before it
        int64_t order;    // see PictureParser
    };

    void PushByType(Waiting&& waiting, bool bidirectional);
    void PushByOrder(Waiting&& waiting);
    void ShowFirst();
    size_t CountUntimed() const;

    PictureParser parser;
    const int depth;
    std::deque<Waiting> waiting; // in decoding order, until all before them have their PTS
    std::deque<avTime> slots;    // decoding times that no picture was shown at yet, where order tells
    int64_t sequence = 0;        // refreshes so far
    int64_t lastOrder = 0;       // of the packet before
};

} // namespace Tessor::Host
