#include "ffhost/io/reading/LeadInKeeper.h"

namespace Tessor::Host
{

namespace
{

// twenty seconds of pictures; open groups are shorter
constexpr size_t MAX_PACKETS = 600;
constexpr size_t MAX_BYTES = 64 << 20;

} // namespace

void LeadInKeeper::Add(const Proc::DataPacketFF& packet)
{
    if (!keeps)
        return;
    if (packet.IsKeyFrame())
    {
        Forget();
        whole = true;
    }
    bytes += static_cast<size_t>(packet.GetSize());
    if (!whole || group.size() >= MAX_PACKETS || bytes > MAX_BYTES)
    {
        Forget();
        return;
    }
    const SP<Proc::IDataPacket> copy = packet.Clone();
    // groups that hold the groups before them would keep the whole track in memory
    static_cast<Proc::DataPacketFF&>(*copy).SetLeadIn({});
    group.push_back(copy);
}

void LeadInKeeper::Forget()
{
    group.clear();
    bytes = 0;
    whole = false;
}

} // namespace Tessor::Host
