#pragma once

#include "Fnd/RefCount.h"
#include "Proc/Settings/CutTimeline.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "ffhost/io/Damage.h"
#include "ffhost/io/MediaInfo.h"
#include "ffhost/io/reading/DemuxerSettings.h"

#include <memory>
#include <string>
#include <vector>

namespace Tessor::Host
{

/// A file, opened, and its tracks as streams. All times count from the file's origin; negative times (priming,
/// reordering) stay.
///
/// Every packet has a PTS where it can be derived, a DTS, a duration above 0 and a position. Positions tile a video
/// track group by group: a key packet's position is the time from which its group shows, that is its own PTS, or that
/// of the first leading picture after it when the group before was delivered too; of any other packet it is the end
/// of what has been delivered (the running maximum of PTS plus duration). The last packet of a track never carries
/// the key flag, nor does a key packet that only leading pictures follow there, so that the last group ends at its end.
///
/// A seek lands on the last key frame at or before the target, exactly; one to 0 or before gives the file from its
/// first packet on, priming and all. Leading pictures of a group that is entered by
/// a seek or a jump are left out: they need what came before. A key packet of an open group in sequence carries the
/// group before it as its lead-in (DataPacketFF).
///
/// Threads: one mutex round all of it; streams of one demuxer may be read from different threads.
class TESSOR_API Demuxer : public virtual IRefCountable
{
public:
    /// The path "-" is standard input. Throws Core::IOException "FILE: cause" for what can't be opened or sought, is
    /// empty or holds no stream.
    static SP<Demuxer> Open(const std::string& path, const DemuxerSettings& settings = {});
    /// The same file once more, read in the same way and apart from this one.
    virtual SP<Demuxer> OpenAgain() const = 0;

    virtual const MediaInfo& GetInfo() const = 0;

    /// The stream of an audio or video track; the track counts as selected from then on. The same object every time.
    virtual SP<Proc::IStreamRaw> GetStream(int track) = 0;

    /// Selects a sparse track (subtitles), whose packets are met while others are read.
    virtual void SelectSparse(int track) = 0;
    /// The packets of a sparse track met since the last call, each only once however often the file was sought.
    /// Where no stream was taken there is nobody else to read: it then reads the whole file.
    virtual std::vector<SP<Proc::IDataPacket>> TakeSparse(int track) = 0;

    /// Tells what will not be used, so that reading may leave out whole groups inside of a deleted stretch. Cost then
    /// follows what is kept. The first key packet at or after a stretch's start is always delivered, so that the group
    /// before it ends where it should; then the last key packet at or before the stretch's end comes next.
    virtual void SetCut(const Proc::CutTimeline& cut) = 0;

    /// Whether key packets of open groups carry the group before them (on at first). Without that, nobody but the
    /// reader holds a packet, and its payload is the reader's to change.
    virtual void KeepLeadIns(bool keep) = 0;

    /// Bytes of the file read so far and in all, for progress; 0 when unknown.
    virtual std::pair<long long, long long> GetProgress() const = 0;
    /// What reading has met so far.
    virtual Damage GetDamage() const = 0;
    /// What reading has met so far and nobody can read, for a warning.
    virtual std::vector<LateStream> GetLateStreams() const = 0;
};

} // namespace Tessor::Host
