#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/PacketPtr.h"

extern "C"
{
#include <libavutil/rational.h>
}

#include <cstdint>
#include <functional>

struct AVCodecParameters;

namespace Tessor::Host
{

/// Keeps the sound of a container that counts it, and tells no times, at its place. Linear samples are cut or filled
/// up with silence to the sample; whole packets are left out or put in, so that the sound is never off by more than
/// half of one, however many pieces it is made of. Where nobody knows what silence looks like the packet is repeated.
class TESSOR_API SoundCounter
{
public:
    /// Whether `parameters`' sound is counted in these ticks: a sample each, or a packet each.
    static bool Counts(const AVCodecParameters& parameters, AVRational timeBase);

    /// `startsAnywhere`: the container tells when the first packet is due; otherwise that is 0.
    SoundCounter(const AVCodecParameters& parameters, AVRational timeBase, bool startsAnywhere);

    using Sink = std::function<void(PacketPtr)>;
    /// Hands `packet`, timed in microseconds, and what is missing before it to `sink`, timed by what was counted.
    void Place(PacketPtr packet, const Sink& sink);

private:
    bool IsLinear() const { return sampleSize > 0; }
    void Skip(AVPacket& packet, int64_t ticks) const;
    PacketPtr MakeFiller(const AVPacket& packet, int64_t ticks) const;
    void Hand(PacketPtr packet, const Sink& sink);

    const int codec;
    const AVRational timeBase;
    const int sampleSize; // bytes of a sample of all channels, 0 where packets are counted
    bool awaitsStart;     // the first packet is to come, and its time is the start
    int64_t start = 0;    // ticks to the first packet, where the container tells
    int64_t base = 0;     // ticks that are missing for good, the start among them
    bool leapt = false;   // a gap was longer than what is filled, and may have been a wrong time
    int64_t written = 0;  // ticks handed out
};

} // namespace Tessor::Host
