#pragma once

#include "media/items/IDataPacket.h"

#include <vector>

namespace Tessor::Proc
{

/// What a source knows of a packet beyond its record. Clones keep it, and packets made of another packet.
struct PacketFacts
{
    using LeadIn = std::vector<SP<IDataPacket>>;

    /// Packets that a decoder must be given first to decode this one and those that follow: the group before an open
    /// group of pictures, on its key packet. Empty for all others.
    LeadIn leadIn = {};
    /// Of a key packet: what comes before it in the file was left out, and with it what its group leans on.
    bool entered = false;
    /// A key packet that must not be taken for one by a cut, for no group follows it, and so has lost its key flag.
    bool hiddenKey = false;
};

/// What packets offer that keep such facts. Those of other hosts need not.
class TESSOR_API IPacketFacts
{
public:
    virtual ~IPacketFacts() = default;
    virtual const PacketFacts& GetFacts() const = 0;
    virtual void SetFacts(PacketFacts facts) = 0;
};

/// The facts of any packet: none of one that keeps none.
TESSOR_API const PacketFacts& GetFacts(const IDataPacket& packet);

} // namespace Tessor::Proc
