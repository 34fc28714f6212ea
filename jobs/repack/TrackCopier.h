#pragma once

#include "jobs/MediaChanges.h"
#include "jobs/repack/CopiedTrack.h"
#include "jobs/repack/MuxPump.h"

#include <memory>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Pulls tracks of a file, whatever was done to them on the way, and writes them to another one with all that the
/// source says of them, but for what is changed. What the container can't carry is named in a warning.
///
/// Tracks are added first, then the file is opened, then copied. Names of failures as the muxer's.
class TrackCopier
{
public:
    TrackCopier(Host::Demuxer& source, const std::string& output, const Host::MuxerSettings& settings,
                const MediaChanges& changes);

    /// The source as the result tells of it.
    const Host::MediaInfo& GetInfo() const { return info; }

    /// Adds a track of packets that come from `stream` in `format`. False when it is left out.
    bool AddStream(int track, const SP<Proc::IStreamRaw>& stream, const SP<Conf::IFormatCodec>& format);

    /// Adds a track whose packets are met while others are read. Without a placement they are written as they are.
    bool AddSparse(int track, MuxPump::Placement placement = nullptr);

    /// Throws JobError when no track was added but covers and attachments.
    void Open(const std::vector<Host::ChapterInfo>& chapters);
    /// `duration` of what will be written, for the progress.
    void Copy(IProgress& progress, avTime duration);
    /// Completes the file, and the warnings.
    void Finish();

    /// In the order in which they were added.
    std::vector<CopiedTrack> GetTracks() const;
    Statistics GetStatistics() const { return pump.GetStatistics(); }
    const std::vector<std::string>& GetWarnings() const { return warnings; }

private:
    struct Track
    {
        int index;    // in the source
        size_t place; // in the pump
    };

    const Host::TrackInfo& InfoOf(int track) const { return info.tracks.at(static_cast<size_t>(track)); }
    bool CanCarry(const Host::TrackInfo& track);
    void LeaveOut(const Host::TrackInfo& track, const std::string& cause);

    Host::Demuxer& source;
    const Host::MediaInfo info;
    const std::unique_ptr<Host::Muxer> muxer;
    MuxPump pump;
    std::vector<Track> tracks;
    std::vector<std::string> warnings;
};

} // namespace Tessor::Jobs
