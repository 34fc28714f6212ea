#pragma once

#include "media/items/IDataPacket.h"

#include <optional>
#include <vector>

namespace Tessor::Jobs
{

/// Which of several streams that are read side by side is to be read next: the one that is furthest behind in decoding
/// time. A stream that fell behind would have its demuxer keep packets.
class DecodingOrder
{
public:
    /// Adds a stream that has given nothing yet: it comes before those that have.
    void Add();
    /// The place of the stream to be read, the first of several that are equal; none when all have ended.
    std::optional<size_t> FindNext() const;
    /// The packet is the newest of the stream at `place`; null: the stream has ended.
    void Reach(size_t place, const SP<Proc::IDataPacket>& packet);
    /// The time that the stream at `place` has reached; NoTime before its first packet.
    avTime GetReached(size_t place) const { return streams.at(place).reached; }

private:
    struct Stream
    {
        avTime reached = NoTime; // the highest decoding time so far
        bool ended = false;
    };

    std::vector<Stream> streams;
};

} // namespace Tessor::Jobs
