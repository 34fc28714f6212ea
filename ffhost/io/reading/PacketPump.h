#pragma once

#include "ffhost/bitstream/KeyPictures.h"
#include "ffhost/bitstream/ParameterSets.h"
#include "ffhost/io/Damage.h"
#include "ffhost/io/reading/GroupStaging.h"
#include "ffhost/io/reading/SourceFile.h"
#include "ffhost/io/reading/SparseInbox.h"
#include "ffhost/io/reading/TrackTimes.h"

#include <map>
#include <optional>

namespace Tessor::Host
{

/// Moves the packets of a file to the tracks that want them, and the file to where reading should go on.
class PacketPump
{
public:
    PacketPump(const std::string& path, const DemuxerSettings& settings) : file(path, settings) {}

    /// Must be called once before all that follows.
    void Describe(const MediaInfo* described);
    /// Where the clock is known to jump, before anything is selected.
    void SetJumps(ClockJumps known) { jumps = std::move(known); }
    void Select(int track);
    void SelectSparse(int track);
    void SetCut(const Proc::CutTimeline& told);
    void KeepLeadIns(bool keep);

    GroupStaging& GetStaging(int track) { return dense.at(track).staging; }
    SparseInbox& GetInbox(int track) { return sparse.at(track).inbox; }
    /// Reads on by a packet. False at the end of the file, where all tracks are finished.
    bool ReadMore();
    /// Moves all tracks so that they go on from their last key packet at or before the target.
    void MoveTo(avTime target);

    /// Not to be moved once a track is selected.
    SourceFile& GetFile() { return file; }
    const SourceFile& GetFile() const { return file; }
    Damage GetDamage() const;

private:
    struct DenseTrack
    {
        KeyPictures keys;
        TrackTimes times;
        ParameterSets sets;
        GroupStaging staging;
        MediaType type;
        avTime start; // of the track as the container tells it, NoTime when unknown
    };
    struct SparseTrack
    {
        TrackClock clock;
        SparseInbox inbox;
    };

    bool ReadPacket();
    void NoteDamage();
    void FinishAll();
    void Deliver(DenseTrack& track);
    void FollowSets(DenseTrack& track, SP<Proc::DataPacketFF>& packet);
    void AddSparse(SparseTrack& track, int index, PacketPtr packet);
    void ResetTimes(bool atStart, avTime near = NoTime);
    bool CanSeek() const;
    bool SeekBefore(avTime target, avTime lead);
    bool SeekToEntry(avTime time);
    void Rewind();
    avTime NewestDts() const;
    bool Settle(avTime target, avTime lead);
    void TryJump();
    std::optional<avTime> FindJumpTarget() const;
    int CountPrimary(GroupStaging::Landing landing) const;
    bool LandJump(avTime target, bool lastTry);
    bool LandOthers(bool lastTry);
    bool IsPrimary(const DenseTrack& track) const { return !hasVideo || track.type == MediaType::Video; }
    avTime BaseLead() const;
    int Anchor() const;
    ClockJumps* Clock();
    void ApplyCut();

    SourceFile file;
    const MediaInfo* info = nullptr;
    ClockJumps jumps;
    std::map<int, DenseTrack> dense;
    std::map<int, SparseTrack> sparse;
    std::optional<Proc::CutTimeline> cut; // as the demuxer was told last; nothing is left out without it
    bool keepsLeadIns = true;
    bool hasVideo = false;    // among the dense tracks
    bool ended = false;       // all tracks are finished
    avTime lastJump = NoTime; // target of the last jump over deleted time: none is tried twice
    avTime sought = 0;        // where reading began, by the index
    avTime whole = NoTime;    // what the first damage that was met came after; NoTime before
};

} // namespace Tessor::Host
