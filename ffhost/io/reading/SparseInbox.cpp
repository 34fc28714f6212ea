#include "ffhost/io/reading/SparseInbox.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <utility>

namespace Tessor::Host
{

void SparseInbox::Add(const SP<Proc::IDataPacket>& packet)
{
    if (seen.emplace(packet->GetAVPacket()->pos, packet->GetPTS(), packet->GetSize()).second)
        packets.push_back(packet);
}

std::vector<SP<Proc::IDataPacket>> SparseInbox::Take()
{
    return std::exchange(packets, {});
}

} // namespace Tessor::Host
