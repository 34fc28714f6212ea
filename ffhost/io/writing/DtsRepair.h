#pragma once

#include "Fnd/Export.h"
#include "ffhost/io/PacketPtr.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

struct AVPacket;

namespace Tessor::Host
{

/// Brings the decoding times of one track into an order that containers take: rising by at least `step` (0 where
/// packets may share a time), never above the presentation time. Times are ticks of the container.
///
/// A group that was encoded anew, and copied ones of varying frame rate, may have decoding times that run ahead of what
/// follows. Raising the later ones would push them over their presentation times, so the earlier ones are lowered:
/// each to the lowest of those within `lookAhead` packets after it, less a step a packet. Where even that fails (more
/// packets than ticks) the presentation time gives way, by as few ticks as it takes. A missing decoding time is taken
/// from the presentation time.
class TESSOR_API DtsRepair
{
public:
    DtsRepair(size_t lookAhead, int64_t step) : lookAhead(lookAhead), step(step) {}

    void Push(PacketPtr packet);
    /// The next packet, null while more have to be seen first.
    PacketPtr Pull();
    /// No more packets come: Pull hands out what is left.
    void End() { ended = true; }

private:
    const size_t lookAhead;
    const int64_t step;
    std::deque<PacketPtr> window;     // packets whose time is not settled yet
    std::optional<int64_t> lastDts;   // of the packet handed out last
    std::optional<int64_t> newestDts; // of the packet pushed last, for one that has no time at all
    bool ended = false;
};

} // namespace Tessor::Host
