#pragma once

#include "Fnd/Export.h"
#include "Proc/CodecParsers/H264ParameterSets.h"
#include "media/IBlob.h"
#include "media/IDataPacket.h"

#include <vector>

namespace Tessor::Host
{

class H264SliceReader;

/// Makes decoders pass a seam without faults where an open group of H.264 pictures is entered
/// (DataPacketFF::IsEntered). Its key picture is no IDR picture, so two things run on from what was cut away (ITU-T
/// H.264, 8.2.1 and 8.2.5):
///
/// - Picture order counts are told by their low bits. Where they seem to step back, decoders take the pictures for late
///   ones and drop them. Those of all pictures up to the next IDR picture are then moved by one amount: only their
///   differences matter to decoding.
/// - Reference marking names pictures that are not there. Such a command is taken out; where room is needed, one that
///   unmarks the oldest picture of before the seam takes its place. What decoders hold, those that they put into gaps
///   of frame_num included, is followed picture by picture.
///
/// Slice data stays as it is. Left alone are other types of picture order count, slice groups, and what lies between a
/// packet that can't be read, is a single field, has long-term references or other parameter sets, and the next IDR
/// picture: decoders report missing references there, and show what they can. Interlaced pictures that are coded as
/// whole frames are repaired like others.
class TESSOR_API H264EntryRepair
{
public:
    /// The track's header, in the framing of its packets.
    explicit H264EntryRepair(const SP<const Proc::IBlob>& extradata);

    /// To be given every packet of the track, in decoding order. The packet itself where nothing is changed.
    SP<Proc::IDataPacket> Repair(const SP<Proc::IDataPacket>& packet);

private:
    /// A slice header's fields that matter here, and their places in the RBSP, in bits.
    struct Slice
    {
        bool idr = false, reference = false;
        uint32_t frameNum = 0, orderLsb = 0;
        bool adaptive = false;             // marking is by commands
        std::vector<uint32_t> unmarked;    // difference_of_pic_nums_minus1 of the commands
        size_t orderAt = 0, markingAt = 0; // where the fields begin
        size_t markingEnd = 0, headerEnd = 0;
    };
    struct Reference
    {
        uint32_t frameNum;
        bool stale; // from before the seam, or put into a gap
    };
    using Bytes = std::vector<uint8_t>;
    using Nalu = std::pair<const uint8_t*, size_t>;
    using Nalus = std::vector<Nalu>;

    bool IsSupported() const;
    /// The first slice, with what follows it in the packet where that makes no difference; null when there is none.
    Nalu FindSlice(const Proc::IDataPacket& packet) const;
    Nalus Split(const Proc::IDataPacket& packet) const;
    Slice Parse(const Bytes& rbsp, uint8_t header) const;
    void SkipToMarking(H264SliceReader& reader, uint32_t type) const;
    void ParseMarking(H264SliceReader& reader, Slice& slice) const;
    void Begin(const Slice& slice);
    void Enter(const Slice& slice);
    void Follow(Slice& slice);
    void FollowOrder(const Slice& slice);
    void FillGap(uint32_t frameNum);
    void Mark(Slice& slice);
    uint32_t ToFrameNum(const Slice& slice, uint32_t difference) const;
    Bytes Rewrite(const Bytes& rbsp, const Slice& old, const Slice& wanted) const;
    SP<Proc::IDataPacket> Rebuild(const Proc::IDataPacket& packet, const Nalus& units, const Slice& wanted) const;

    Proc::CodecParsers::SPS_decoded sps;
    Proc::CodecParsers::PPS_decoded pps;
    size_t lengthSize = 0; // of the units in packets, 0: start codes
    bool supported = false;

    bool started = false;      // a picture came
    bool known = false;        // what follows is valid: an IDR picture came, or an entered one at the very start, and
                               // nothing unreadable since
    bool entered = false;      // a seam lies behind the last IDR picture
    uint32_t lastFrameNum = 0; // of the picture before
    int64_t lastOrder = 0;     // picture order count of the reference picture before
    int64_t highestOrder = 0;  // of all pictures so far
    uint32_t shift = 0;        // added to picture order counts since the last seam
    std::vector<Reference> references; // short-term ones as a decoder holds them, the oldest first
};

} // namespace Tessor::Host
