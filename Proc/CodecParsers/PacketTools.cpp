#include "Proc/CodecParsers/PacketTools.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/StartCode.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <cstring>
#include <memory>

namespace Tessor::Proc::CodecParsers
{

namespace
{

// An explicit position that agrees with the times needs no copy: it would move with them all the same.
void CopyPosition(const IDataPacket& from, IDataPacket& to)
{
    if (from.GetPosition() != to.GetPosition())
        to.SetPosition(from.GetPosition());
}

} // namespace

SP<DataPacketFF> CreatePacketLike(const IDataPacket& source, size_t size, PropsFault fault)
{
    const auto free = [](AVPacket* packet) { av_packet_free(&packet); };
    std::unique_ptr<AVPacket, decltype(free)> record(CreatePacket(size), free);
    if (!record)
        Throw<Exception>(TESSOR_HERE, "Can't allocate new AVPacket");
    if (av_packet_copy_props(record.get(), source.GetAVPacket()) < 0 && fault == PropsFault::Throw)
        Throw<Exception>(TESSOR_HERE, "Can't copy packet properties");
    const SP<DataPacketFF> packet = DataPacketFF::Create(record.release(), MediaType::Video, source.GetPTS(),
                                                         source.GetDTS(), source.GetDuration());
    CopyPosition(source, *packet);
    if (const auto* from = dynamic_cast<const DataPacketFF*>(&source))
    {
        packet->SetLeadIn(from->GetLeadIn());
        packet->SetEntered(from->IsEntered());
    }
    return packet;
}

SP<IDataPacket> PrependToPacket(const SP<IDataPacket>& packet, const uint8_t* head, size_t size)
{
    const auto payload = static_cast<size_t>(packet->GetSize());
    const SP<DataPacketFF> result = CreatePacketLike(*packet, size + payload);
    // Empty parts may have no memory at all.
    if (size > 0)
        std::memcpy(result->Data(), head, size);
    if (payload > 0)
        std::memcpy(result->Data() + size, packet->GetData(), payload);
    return result;
}

SP<IDataPacket> AddPacketHeader(const SP<IDataPacket>& packet, const SP<const IBlob>& header, uint8_t code)
{
    if (!packet || !header || header->Size() == 0)
        return packet;
    if (BeginsWithStartCode(packet->GetData(), static_cast<size_t>(packet->GetSize()), code))
        return packet;
    return PrependToPacket(packet, header->Data(), header->Size());
}

} // namespace Tessor::Proc::CodecParsers
