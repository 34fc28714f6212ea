#include "Proc/CodecParsers/PacketTools.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/Nal/StartCode.h"

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

using RecordPtr = std::unique_ptr<AVPacket, void (*)(AVPacket*)>;

/// Owns a new record. Throws where there is none.
RecordPtr Own(AVPacket* record)
{
    if (!record)
        Throw<Exception>(TESSOR_HERE, "Can't allocate new AVPacket");
    return {record, [](AVPacket* packet) { av_packet_free(&packet); }};
}

/// A packet over the record with what the source holds outside of its own record.
SP<DataPacketFF> WrapLike(const IDataPacket& source, RecordPtr record, MediaType type)
{
    const SP<DataPacketFF> packet =
        DataPacketFF::Create(record.release(), type, source.GetPTS(), source.GetDTS(), source.GetDuration());
    CopyPosition(source, *packet);
    packet->SetFacts(GetFacts(source));
    return packet;
}

} // namespace

SP<DataPacketFF> CreatePacketLike(const IDataPacket& source, size_t size, PropsFault fault, MediaType type)
{
    RecordPtr record = Own(CreatePacket(size));
    if (av_packet_copy_props(record.get(), source.GetAVPacket()) < 0 && fault == PropsFault::Throw)
        Throw<Exception>(TESSOR_HERE, "Can't copy packet properties");
    return WrapLike(source, std::move(record), type);
}

SP<IDataPacket> PrependToPacket(const SP<IDataPacket>& packet, const uint8_t* head, size_t size, MediaType type)
{
    const auto payload = static_cast<size_t>(packet->GetSize());
    const SP<DataPacketFF> result = CreatePacketLike(*packet, size + payload, PropsFault::Throw, type);
    // Empty parts may have no memory at all.
    if (size > 0)
        std::memcpy(result->Data(), head, size);
    if (payload > 0)
        std::memcpy(result->Data() + size, packet->GetData(), payload);
    return result;
}

SP<IDataPacket> DropPacketHead(const SP<IDataPacket>& packet, size_t size, MediaType type)
{
    // the record's reference still spans the whole payload; only the view on it is shorter
    RecordPtr record = Own(av_packet_clone(packet->GetAVPacket()));
    record->data += size;
    record->size -= static_cast<int>(size);
    return WrapLike(*packet, std::move(record), type);
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
