#pragma once

#include "Proc/Filters/Filters/Cutting/FilterCutController.h"
#include "ffhost/codecs/CodecFactory.h"
#include "jobs/InputFile.h"
#include "jobs/Times.h"
#include "jobs/cut/CutReport.h"
#include "jobs/cut/CutSettings.h"
#include "jobs/cut/GroupCache.h"
#include "jobs/cut/Groups.h"

#include <memory>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// A track that is cut.
struct CutTrack
{
    int index = 0; ///< in the file
    SP<Proc::IStreamRaw> source;
    SP<Proc::IStreamRaw> stream; ///< the cut one; null for sparse tracks, which are mapped by the intervals
    bool cutAnywhere = true;     ///< cuts are exact; otherwise they fall to key frames
    std::string obstacle = {};   ///< why cuts fall to key frames; empty where they are exact
    bool untouched = false;      ///< a video track of which the cut takes whole groups only: nothing is re-encoded
    SP<const Proc::IBlob> header = {}; ///< the source's own, without what a re-encoder adds to it; may be null
    /// Key pictures of groups that are kept whole, since they are too large to be re-encoded.
    std::vector<avTime> largeGroups = {};
    /// What the session has read of a video track's groups; null for other tracks.
    std::shared_ptr<GroupCache> groups = nullptr;

    bool IsVideo() const { return source && source->GetMediaType() == MediaType::Video; }
};

/// A file opened for cutting: its tracks joined to one controller, and the intervals that can really be kept. Where a
/// video track, or a group of it, can't be re-encoded the request was widened to whole groups, so that no picture of it
/// is lost. A piece that would show nothing at its start, since the picture before stands for long, begins where that
/// picture does. Tracks that have nothing in the kept time are left out, with a warning. What the source hides before 0
/// is kept for decoding where the output hides it, too; otherwise it is cut off where it can be.
class CutSession
{
public:
    /// Throws JobError for a request that is not understood or leaves nothing.
    CutSession(const CutSettings& request, const IProgress& progress);

    Host::Demuxer& GetDemuxer() { return *demuxer; }
    const SP<Host::Demuxer>& ShareDemuxer() const { return demuxer; }
    const Host::MediaInfo& GetInfo() const { return demuxer->GetInfo(); }
    std::vector<CutTrack>& GetTracks() { return tracks; }
    /// The first video track, null when there is none.
    CutTrack* GetVideo();
    /// What lies before 0 is kept along with what begins there.
    bool KeepsLead() const { return keepsLead; }
    /// The intervals as they stand now; during the cut they may only widen.
    Proc::CutTimeline GetCut() const { return intervals->GetTimeline(); }
    const std::vector<std::string>& GetWarnings() const { return warnings; }
    /// Bounds that key frames have moved.
    const std::vector<MovedBound>& GetMoved() const { return moved; }
    /// The request as it was read, before it was brought to pictures and groups.
    const std::vector<AskedRange>& GetAsked() const { return requested; }
    Host::EncoderUse GetEncoderUse() const { return codecs->GetEncoderUse(); }
    /// Of pictures that were to be encoded anew.
    long long GetDamagedCount() const { return codecs->GetDamagedCount(); }

private:
    std::vector<int> ChooseTracks(const std::string& wanted);
    void CheckRecode(const std::vector<int>& chosen, const Host::RecodeOptions& wanted) const;
    void JoinTrack(int index);
    /// The track's source as it is displayed: a packet is a picture.
    SP<Proc::IStreamRaw> JoinFields(const CutTrack& track) const;
    std::vector<AskedRange> ReadRequest(const CutSettings& request);
    /// Without the pictures that no key picture comes before, unless a range copies them from the file's start on.
    std::vector<Range> FromFirstEntry(std::vector<Range> ranges);
    void SnapToPictures();
    void LeaveOutEmpty(bool video);
    void JoinToController();
    bool CanCutLead(const std::string& output, const std::string& format);
    void BringToKeyFrames(Snap snap);
    void AlignToGroups();
    bool TakesWholeGroups(const CutTrack& track) const;
    std::vector<Range> WidenToGroups(CutTrack& track);
    bool StaysWhole(const CutTrack& track, avTime time) const;
    void NoteLargeGroup(CutTrack& track, avTime time);
    Proc::CutTimeline MakeTimeline() const;

    SP<Host::Demuxer> demuxer;
    // All three are null until the request is read. The intervals are what cut streams and decoders share, and the
    // demuxer is told of them once they are settled.
    SP<Proc::CutIntervals> intervals;
    SP<Host::CodecFactory> codecs;
    SP<Proc::FilterCutController> controller;
    std::vector<CutTrack> tracks;      // video first
    std::vector<AskedRange> requested; // as it was read
    std::vector<Range> ranges;         // what is asked of the controller: the request, brought to pictures and groups
    std::vector<MovedBound> moved;     // once the ranges are settled
    bool keepsLead = true;             // settled once the tracks are joined
    std::vector<std::string> warnings;
};

} // namespace Tessor::Jobs
