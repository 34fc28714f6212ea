#pragma once

#include "media/items/DataPacketFF.h"

namespace Tessor::Host
{

/// Copies of the packets of a group as they are delivered, for the lead-in of the next one. A group too large to be
/// kept in memory is none.
class LeadInKeeper
{
public:
    /// Whether groups are kept at all.
    void Keep(bool keep) { keeps = keep; }
    /// A key packet begins a group.
    void Add(const Proc::DataPacketFF& packet);
    /// The group is broken off: nothing is kept before the next key packet.
    void Forget();
    /// The group so far; empty where it is not known from its key packet on, and too large.
    Proc::PacketFacts::LeadIn Take() { return std::move(group); }

private:
    bool keeps = true;
    bool whole = false; // the group's key packet came, and all since then is kept
    Proc::PacketFacts::LeadIn group;
    size_t bytes = 0; // of the group
};

} // namespace Tessor::Host
