#pragma once

#include "Fnd/Export.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

struct AVPacket;

namespace Tessor::Host
{

struct TESSOR_API PacketDeleter
{
    void operator()(AVPacket* packet) const;
};
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;

/// Brings the decoding times of one track into an order that containers take: strictly rising, never above the
/// presentation time. Times are ticks of the container.
///
/// A group that was encoded anew, and copied ones of varying frame rate, may have decoding times that run ahead of what
/// follows. Raising the later ones would push them over their presentation times, so the earlier ones are lowered:
/// each to the lowest of those within `lookAhead` packets behind it, less a tick a packet. Where even that fails (more
/// packets than ticks) the presentation time gives way, by as few ticks as it takes. A missing decoding time is taken
/// from the presentation time.
class TESSOR_API DtsRepair
{
public:
    explicit DtsRepair(size_t lookAhead) : lookAhead(lookAhead) {}

    void Push(PacketPtr packet);
    /// The next packet, null while more have to be seen first.
    PacketPtr Pull();
    /// No more packets come: Pull hands out what is left.
    void End() { ended = true; }

private:
    const size_t lookAhead;
    std::deque<PacketPtr> window;     // packets whose time is not settled yet
    std::optional<int64_t> lastDts;   // of the packet handed out last
    std::optional<int64_t> newestDts; // of the packet pushed last, for one that has no time at all
    bool ended = false;
};

} // namespace Tessor::Host
