#pragma once

#include "Proc/CodecParsers/ReferenceQueue.h"
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
///
/// Most codecs tell by the type of a picture whether others lean on it, and ReferenceQueue does the rest. H.264 and
/// HEVC order pictures freely, B pictures that others lean on included, and tell the order by a count (8.2.1 of ITU-T
/// H.264, 8.3.1 of H.265). H264PTSRestorer goes by types alone, and gives times that lie before decoding.
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

    void PushByType(TimedPacket&& timed, bool bidirectional);
    void PushByOrder(Waiting&& waiting);
    void ShowFirst();
    size_t CountUntimed() const;

    PictureParser parser;
    const int depth;
    Proc::CodecParsers::ReferenceQueue<TimedPacket> byType; // all packets where types tell
    std::deque<Waiting> waiting; // where order tells: in decoding order, until all before them have their PTS
    std::deque<avTime> slots;    // where order tells: decoding times that no picture was shown at yet
    int64_t sequence = 0;        // refreshes so far
    int64_t lastOrder = 0;       // of the packet before
};

} // namespace Tessor::Host
