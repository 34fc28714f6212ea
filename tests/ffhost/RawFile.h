#pragma once

#include "ffhost/io/MediaInfo.h"
#include "media/DataPacketFF.h"

#include <string>
#include <vector>

namespace Tessor::Host::Tests
{

/// A file as libavformat reads it, independently of our own demuxer.
struct RawFile
{
    struct Track
    {
        TrackInfo info;
        std::vector<SP<Proc::IDataPacket>> packets; // times in microseconds, as the container gives them
    };
    std::vector<Track> tracks;
    std::vector<std::pair<int, SP<Proc::IDataPacket>>> order; // all packets as they lie in the file
    avTime duration = 0;
    size_t chapters = 0;
    Tags tags;
};

/// Throws Core::IOException when the file can't be read.
RawFile ReadRawFile(const std::string& path);

/// The path of a real clip, or an empty string when there is none on this machine.
std::string FindClip(const std::string& name);

/// A folder of its own for a test, removed with all that is in it.
class ScratchFolder
{
public:
    ScratchFolder();
    ~ScratchFolder();
    std::string operator/(const std::string& name) const { return path + "/" + name; }
    const std::string& Path() const { return path; }
    std::vector<std::string> List() const;

private:
    std::string path;
};

} // namespace Tessor::Host::Tests
