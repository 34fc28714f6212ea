#pragma once

#include "Proc/Settings/CutTimeline.h"
#include "ffhost/io/reading/LeadInKeeper.h"
#include "media/items/DataPacketFF.h"

#include <deque>
#include <optional>

namespace Tessor::Host
{

/// Lays the packets of a track out in groups, each from a key packet to the next: finds where reading begins after a
/// move, drops leading pictures that lack their reference, sets positions and lead-ins, and leaves out what a cut
/// does not use.
///
///     decoding   K0  p  p  K1  b  b  p  p  K2 ...
///     showing    K0  p  p  b  b  K1  p  p  ...
///     position   0         |  that of the first b when K0's group came before, else that of K1
///
/// A group that a cut runs through is encoded again, and what leans on its pictures has to be so too: leading pictures
/// after it move into it, with what they need of their own group for decoding alone (AV_PKT_FLAG_DISCARD); the
/// next group then starts at its key picture, like one that is entered. So does one whose key picture a kept stretch
/// starts with, if none of its leading pictures is kept.
///
///     decoding   K0  p  p  K1  b  b  p     out   K0  p  p (K1) b  b | K1  p
///
/// A key packet that only leading pictures follow, at the end of a track, is no place to begin at, as its last packet
/// is none: it joins the group before.
///
/// Packets go in fully timed; look-ahead ends where a DTS says that nothing earlier can be shown any more.
class GroupStaging
{
public:
    using Packet = SP<Proc::DataPacketFF>;

    explicit GroupStaging(MediaType type) : video(type == MediaType::Video) {}

    /// Null: nothing is cut. `leaveOut`: packets in deleted time are left out.
    void SetCut(const Proc::CutTimeline* plan, bool leaveOut)
    {
        cut = plan;
        leftOut = leaveOut ? plan : nullptr;
    }
    void KeepLeadIns(bool keep) { leadIns.Keep(keep); }
    void Push(Packet packet);
    /// No more packets will come.
    void Finish();
    bool IsEmpty() const { return ready.empty(); }
    const Packet& Front() const { return ready.front(); }
    Packet Pop();
    bool IsFinished() const { return ended && ready.empty() && staged.empty(); }

    /// The file was moved: drops all packets. What comes next is laid out from the last key packet at or before
    /// `target` on; NoTime: from the first packet of the file.
    void Restart(avTime target, bool atFileStart);
    /// The file was moved in the middle of a cut: delivered packets stay, what has been delivered is not repeated.
    /// Without a target everything is staged until LandAt. Nothing is delivered until Resume.
    void Jump(std::optional<avTime> target);
    void LandAt(avTime target);
    void Resume();
    /// After Missed: goes on from the first packet read all the same.
    void AcceptMissed();

    /// Where reading stands. In all states but Done packets are only staged.
    ///
    ///     Restart, Jump        with a target               -> Searching
    ///                          at the file's beginning     -> Found: what comes first will do
    ///     Restart              without a target            -> Done
    ///     Jump                 without a target            -> Awaiting; LandAt -> Searching
    ///     Done                 a key packet in deleted time that is left out -> Skipping
    ///     Searching            a key packet up to the target -> Found
    ///                          decoding has passed the target, or ended -> Missed; AcceptMissed -> Done
    ///     Found, Skipping      decoding has passed the target, or ended -> Done
    enum class Landing
    {
        Done,      ///< packets flow; there is no target
        Awaiting,  ///< the target is still to come
        Searching, ///< no key packet at or before the target has come yet
        Found,     ///< one has, and what is staged begins with it; a later one may replace it
        Skipping,  ///< as Found, but from a delivered group on: what is staged is dropped for a later key packet
        Missed,    ///< the first key packet lies after the target, which is gone
    };
    Landing GetLanding() const { return landing; }
    /// Time of the key packet that the landing found.
    avTime GetLandedTime() const { return landedTime; }
    /// Where the stretch ends that is being left out.
    std::optional<avTime> GetSkipTarget() const
    {
        return landing == Landing::Skipping ? std::optional(target) : std::nullopt;
    }
    /// Position from which on the stretch of GetSkipTarget is left out.
    avTime GetSkipOrigin() const { return skipOrigin; }
    /// DTS of the newest packet, NoTime when there is none.
    avTime GetNewestDts() const { return newestDts; }
    /// PTS of the newest packet delivered to the reader's side; NoTime when there is none.
    avTime GetDeliveredTime() const { return deliveredTime; }

private:
    enum class Start
    {
        OfFile,   // leading pictures are kept: the file has nothing before
        Entry,    // leading pictures lack their reference
        Sequence, // the group before was delivered
    };

    void DropStaged();
    bool IsLanding() const;
    void Process();
    bool Land();
    void TakeKey(avTime time);
    bool EndLanding();
    bool ProcessKey();
    bool KnowsLeading() const;
    avTime FirstShown() const;
    bool HasFollower(size_t key) const;
    void JoinGroupBefore();
    void EnterKey(const Proc::DataPacketFF& key);
    void CloseGroup();
    void SetKeyPosition(Proc::DataPacketFF& key);
    avTime StartOfOpenGroup(avTime first) const;
    void Deliver(const Packet& packet);
    void SkipFrom(const Proc::DataPacketFF& packet);

    const bool video;
    const Proc::CutTimeline* cut = nullptr;     // by which groups are laid out; null: nothing is cut
    const Proc::CutTimeline* leftOut = nullptr; // whose deleted stretches are left out; null: none
    std::deque<Packet> staged;                  // not laid out yet, in decoding order
    std::deque<Packet> ready;                   // for the reader
    bool ended = false;                         // no more packets come, until the file is moved
    bool held = false;                          // between Jump and Resume

    Landing landing = Landing::Done;
    avTime target = NoTime;      // valid while searching, found and skipping: the last key packet up to it is wanted
    size_t searched = 0;         // staged packets that the landing has seen
    avTime skipOrigin = NoTime;  // valid while skipping
    avTime landedTime = NoTime;  // of the key packet taken last
    avTime resumeAfter = NoTime; // key packets up to here were delivered before a jump

    Start start = Start::OfFile;   // how the next key packet's group begins
    avTime droppedBefore = NoTime; // leading pictures are dropped that are shown before; until the next key packet
    avTime groupStart = NoTime;    // position of the key packet delivered last
    avTime end = NoTime;           // of all that was delivered since the last entry
    avTime newestShown = NoTime;   // the latest start of a picture among that
    avTime newestDts = NoTime;
    avTime deliveredTime = NoTime;
    LeadInKeeper leadIns; // of the group being delivered
};

} // namespace Tessor::Host
