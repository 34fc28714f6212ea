#pragma once

#include "Proc/Settings/SettingsFilterCutController.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "cli/Progress.h"
#include "cli/SparseTrack.h"
#include "ffhost/io/Demuxer.h"
#include "ffhost/io/Muxer.h"

#include <functional>
#include <vector>

namespace Tessor::Cli
{

/// What a track is called in reports.
const char* KindName(const Host::TrackInfo& info);

/// Moves packets from streams, and from the sparse tracks of a file, to a muxer: always of the track that is furthest
/// behind in decoding time.
class MuxPump
{
public:
    explicit MuxPump(Host::Muxer& muxer) : muxer(muxer) {}

    /// A stream that is read to its end and written under that number of the muxer. Returns its place here.
    size_t Add(const SP<Proc::IStreamRaw>& stream, int number);
    /// What is deleted of a file, asked anew for every packet.
    using CutSource = std::function<Proc::SettingsFilterCutController()>;
    /// A track of the file that is met while the streams are read. What the cut deletes is left out, and what it keeps
    /// moves along.
    size_t AddSparse(const SP<Host::Demuxer>& source, const Host::TrackInfo& info, int number, const CutSource& cut);

    /// Seeks all streams to 0 and writes all there is. `duration` is that of the result, for the progress. Ctrl-C ends
    /// it with UserError.
    void Run(avTime duration, Progress& progress);

    /// Packets written of the track at that place.
    long long GetPacketCount(size_t place) const { return tracks.at(place).packets; }

private:
    struct Track
    {
        SP<Proc::IStreamRaw> stream; // null for a sparse track
        int number;                  // under which the muxer knows it
        avTime lastTime = NoTime;    // decoding time of the last packet written
        bool ended = false;
        long long packets = 0;
        // of sparse tracks
        SP<Host::Demuxer> source = nullptr;
        int index = 0; // in the source
        bool cover = false;
        CutSource cut = {};
        SparseTrack sparse = {};
    };

    Track* Earliest();
    void WriteNext(Track& track);
    void WriteSparse();

    Host::Muxer& muxer;
    std::vector<Track> tracks;
};

} // namespace Tessor::Cli
