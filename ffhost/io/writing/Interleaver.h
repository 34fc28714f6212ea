#pragma once

#include "ffhost/io/writing/DtsRepair.h"

extern "C"
{
#include <libavutil/rational.h>
}

#include <deque>

namespace Tessor::Host
{

/// Merges the packets of all tracks in the order of their decoding times, those of the lower rank first on ties. A
/// packet goes out when every track that is waited for has one: open, and not sparse.
class TESSOR_API Interleaver
{
public:
    struct TrackSetup
    {
        AVRational timeBase;
        int rank; ///< 0 video, then the others
        bool sparse;
    };

    /// Returns the number of the track.
    int AddTrack(const TrackSetup& setup);
    void Push(int track, PacketPtr packet);
    void EndTrack(int track);
    /// Whether Pull has something to give.
    bool IsReady() const;
    /// The next packet, stream_index set; null when a track has to be waited for.
    PacketPtr Pull();

private:
    struct Track
    {
        TrackSetup setup;
        std::deque<PacketPtr> queue = {};
        bool open = true; // false once it has ended
    };
    bool IsBefore(const Track& a, const Track& b) const;

    std::deque<Track> tracks;
};

} // namespace Tessor::Host
