#pragma once

#include "media/items/DataPacketFF.h"

namespace Tessor::Proc::CodecParsers
{

/// What becomes of a packet whose side data can't be copied because memory is short: it may go on without.
enum class PropsFault
{
    Throw,
    Ignore,
};

/// A new packet with an unwritten payload of that size and everything else of the source: times, explicit position,
/// flags, side data, facts. Throws Exception "Can't allocate new AVPacket" and "Can't copy packet properties".
TESSOR_API SP<DataPacketFF> CreatePacketLike(const IDataPacket& source, size_t size,
                                             PropsFault fault = PropsFault::Throw, MediaType type = MediaType::Video);

/// A new packet of the head's bytes and then the packet's, otherwise like the packet. Throws as CreatePacketLike.
TESSOR_API SP<IDataPacket> PrependToPacket(const SP<IDataPacket>& packet, const uint8_t* head, size_t size,
                                           MediaType type = MediaType::Video);

/// A new packet without the first `size` bytes, which it has, otherwise like the packet. The bytes left are shared, not
/// copied. Throws as CreatePacketLike.
TESSOR_API SP<IDataPacket> DropPacketHead(const SP<IDataPacket>& packet, size_t size, MediaType type);

/// A packet with the codec's header in front. The packet itself when it begins with the start code 00 00 01 `code` of
/// that header, is null, or there is no header (null or empty). Throws as CreatePacketLike.
TESSOR_API SP<IDataPacket> AddPacketHeader(const SP<IDataPacket>& packet, const SP<const IBlob>& header, uint8_t code);

} // namespace Tessor::Proc::CodecParsers
