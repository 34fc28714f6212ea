#pragma once

#include "ffhost/codecs/TrackEncoding.h"
#include "ffhost/io/reading/Demuxer.h"
#include "ffhost/io/writing/FramedTrack.h"
#include "ffhost/io/writing/Muxer.h"
#include "jobs/DecodingOrder.h"
#include "jobs/IProgress.h"
#include "jobs/reports/Statistics.h"

#include <functional>
#include <optional>
#include <vector>

namespace Tessor::Jobs
{

/// Fills the tracks of a muxer from streams, in the framing of its container, and from the sparse tracks of a file:
/// always the one that is furthest behind in decoding time.
class MuxPump
{
public:
    explicit MuxPump(Host::Muxer& muxer) : muxer(muxer) {}

    /// Adds a track of packets that come from `stream` in `format`. Returns its place here. Throws what
    /// Host::FramedTrack does.
    size_t Add(const SP<Proc::IStreamRaw>& stream, const SP<Conf::IFormatCodec>& format, const Host::TrackInfo& info);

    /// Adds a track that an encoder makes, on a thread of its own where that is of use.
    size_t AddEncoded(const SP<Host::TrackEncoder>& encoder, const Host::TrackInfo& info);

    /// What is written of a packet of a sparse track; it is asked for null after the last one.
    using Placement = std::function<std::vector<SP<Proc::IDataPacket>>(const SP<Proc::IDataPacket>& packet)>;
    /// Adds a track of the file that is met while others are read; `source` outlives the pump. Without a placement
    /// packets are written as they are; covers, which stand for the whole file, always are.
    size_t AddSparse(Host::Demuxer& source, const Host::TrackInfo& info, Placement placement = nullptr);

    /// Seeks all streams to 0 and writes all there is. `duration` is that of the result, for the progress. Ends with
    /// JobError when it is cancelled, and when there was nothing to write.
    void Run(avTime duration, IProgress& progress);

    /// Packets written of the track at that place.
    long long GetPacketCount(size_t place) const { return tracks.at(place).packets; }
    /// As the muxer's.
    std::vector<avTime> GetExposed(size_t place) const { return muxer.GetExposed(tracks.at(place).number); }
    /// Of all tracks that came from streams; after Run.
    Statistics GetStatistics() const;
    /// What was lost on the way from `source`, once the muxer has finished: what the container can't carry, packets
    /// that could not be framed, and what reading met that is no track or damaged. `elsewhere`: of tracks that were
    /// read apart from the source.
    std::vector<std::string> GetWarnings(const Host::Demuxer& source, const Host::Damage& elsewhere = {}) const;

private:
    struct Track
    {
        int number;                             // under which the muxer knows it
        std::optional<Host::FramedTrack> dense; // none: sparse
        Host::Demuxer* source = nullptr;        // of sparse packets; null when there are none
        int index = 0;                          // in the source
        Placement placement = nullptr;          // of sparse packets
        long long packets = 0;
    };

    void WriteNext(size_t place);
    void WriteSparse();
    void EndSparse();
    void WritePieces(Track& track, const std::vector<SP<Proc::IDataPacket>>& pieces);
    void CheckContent() const;

    Host::Muxer& muxer;
    std::vector<Track> tracks;
    DecodingOrder order; // of the tracks, the sparse ones ended from the start
};

} // namespace Tessor::Jobs
