#pragma once

#include "Fnd/Export.h"
#include "ffhost/bitstream/H264SliceSyntax.h"
#include "media/items/IBlob.h"
#include "media/items/IDataPacket.h"

#include <optional>
#include <vector>

namespace Tessor::Host
{

/// Makes decoders pass a seam without faults where an open group of H.264 pictures is entered
/// (PacketFacts::entered). Its key picture is no IDR picture, so two things run on from what was cut away (ITU-T
/// H.264, 8.2.1 and 8.2.5):
///
/// - Picture order counts are told by their low bits. Where they seem to step back, decoders take the pictures for late
///   ones and drop them. Those of all pictures up to the next IDR picture are then moved by one amount: only their
///   differences matter to decoding.
/// - Reference marking names pictures that are not there. Such a command is taken out; where room is needed, one that
///   unmarks the oldest picture from before the seam takes its place. What decoders hold, those that they put into gaps
///   of frame_num included, is followed picture by picture.
///
/// Slice data stays as it is. Left alone are picture order count of type 1, slice groups, and what lies between a
/// packet that can't be read, is a single field, has long-term references or unknown parameter sets, and the next IDR
/// picture: decoders report missing references there, and show what they can. Interlaced pictures that are coded as
/// whole frames are repaired like others.
class TESSOR_API H264EntryRepair
{
public:
    /// The track's header, in the framing of its packets, which may bring other sets.
    explicit H264EntryRepair(const SP<const Proc::IBlob>& extradata);

    /// To be given every packet of the track, in decoding order. The packet itself where nothing is changed.
    SP<Proc::IDataPacket> Repair(const SP<Proc::IDataPacket>& packet);

private:
    struct Reference
    {
        uint32_t frameNum;
        bool stale; // from before the seam, or put into a gap
    };
    using Nalu = std::pair<const uint8_t*, size_t>;
    using Nalus = std::vector<Nalu>;

    void TakeSets(const Proc::IDataPacket& packet);
    /// The first slice, with what follows it in the packet where that makes no difference; null when there is none.
    Nalu FindSlice(const Proc::IDataPacket& packet) const;
    Nalus Split(const Proc::IDataPacket& packet) const;
    void Begin(const H264SliceHeader& slice);
    void Enter(const H264SliceHeader& slice);
    void Follow(H264SliceHeader& slice);
    void FollowOrder(H264SliceHeader& slice);
    void FillGap(const H264SliceHeader& slice);
    void Mark(H264SliceHeader& slice);
    int64_t ToOrder(uint32_t lsb, int64_t range) const;
    static uint32_t ToFrameNum(const H264SliceHeader& slice, uint32_t difference);
    SP<Proc::IDataPacket> Rebuild(const Proc::IDataPacket& packet, const Nalus& units,
                                  const H264SliceHeader& wanted) const;

    std::optional<H264SliceSyntax> syntax; // none where nothing is repaired
    size_t lengthSize = 0;                 // of the units in packets, 0: start codes

    bool started = false;      // a picture came
    bool known = false;        // what follows is valid: an IDR picture came, or an entered one at the very start, and
                               // nothing unreadable since
    bool entered = false;      // a seam lies after the last IDR picture
    uint32_t lastFrameNum = 0; // of the picture before
    int64_t lastMsb = 0;       // picture order count of the reference picture before: what low bits don't tell
    int64_t lastLsb = 0;       // and they
    int64_t highestOrder = 0;  // of all pictures so far
    uint32_t shift = 0;        // added to picture order counts since the last seam
    std::vector<Reference> references; // short-term ones as a decoder holds them, the oldest first
};

} // namespace Tessor::Host
