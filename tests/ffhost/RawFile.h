#pragma once

#include "ffhost/io/MediaInfo.h"
#include "media/items/DataPacketFF.h"

#include <string>
#include <vector>

namespace Tessor::Host::Tests
{

/// A file with its tracks as our demuxer describes them, and the packets that plain libavformat reads.
struct RawFile
{
    struct Track
    {
        TrackInfo info;
        std::vector<SP<Proc::IDataPacket>> packets; // times in microseconds, as the container gives them
    };
    std::vector<Track> tracks;
    std::vector<std::pair<int, SP<Proc::IDataPacket>>> order; // all packets as they lie in the file
};

/// Throws Core::IOException when the file can't be read.
RawFile ReadRawFile(const std::string& path);

} // namespace Tessor::Host::Tests
