#pragma once

#include "ffhost/io/PacketPtr.h"

#include <vector>

namespace Tessor::Host
{

/// Frames of AMR as files store them (RFC 4867, 5.3): a byte that names the type of the frame, and as many as that type
/// takes. Phones put up to a second of them into one packet of 3GP.
class AmrBlock
{
public:
    /// Takes FFmpeg's codec id. Of any other codec, packets are left as they are.
    explicit AmrBlock(int codec) : codec(codec) {}

    bool IsAmr() const { return SizeOf(0) > 0; }
    /// The frames of a packet, in order, which share its payload. What is left after a type that nobody knows, or
    /// where a frame would reach beyond the end, can't be told apart and is left out: `damaged`.
    std::vector<PacketPtr> Split(const AVPacket& packet, bool& damaged) const;

    /// In microseconds.
    static constexpr long long FRAME_LENGTH = 20000;

private:
    /// Of a frame of that type, its first byte included; 0 for a type that is none.
    int SizeOf(unsigned type) const;

    const int codec;
};

} // namespace Tessor::Host
