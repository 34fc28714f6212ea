#pragma once

#include "Fnd/Export.h"
#include "Proc/CodecParsers/H264ParameterSets.h"
#include "Proc/CodecParsers/Nal/Nalu.h"

#include <map>
#include <vector>

namespace Tessor::Host
{

/// The fields of a slice header that tell of picture order and reference marking, and their places in the RBSP, in
/// bits.
struct H264SliceHeader
{
    uint32_t orderRange = 0;    // MaxPicOrderCntLsb; 0: order is told by frame_num alone
    uint32_t frameNumRange = 0; // MaxFrameNum
    uint32_t maxReferences = 0;
    bool idr = false, reference = false;
    uint32_t frameNum = 0, orderLsb = 0;
    bool adaptive = false;             // marking is by commands
    std::vector<uint32_t> unmarked;    // difference_of_pic_nums_minus1 of the commands
    size_t orderAt = 0, markingAt = 0; // where the fields begin
    size_t markingEnd = 0, headerEnd = 0;
    bool aligned = false; // ones lead to the byte where slice data begins
};

/// Reads slice headers, and writes them with another picture order count or other reference marking (ITU-T H.264,
/// 7.3.3). Not meant for sharing between threads.
class TESSOR_API H264SliceSyntax
{
public:
    using Bytes = std::vector<uint8_t>;
    using Nalus = std::vector<Proc::CodecParsers::Nalu>;

    /// From the track's header, in either framing. Throws when it holds a parameter set that can't be read.
    H264SliceSyntax(const uint8_t* extradata, size_t size);

    /// Takes the parameter sets among the units, which replace those of the same identifiers. Throws for one that can't
    /// be read.
    void TakeSets(const Nalus& units);

    /// `rbsp`: a slice's NAL unit from its header byte on, without emulation bytes; the end may be missing. Throws for
    /// unknown parameter sets and those with picture order count type 1, slice groups, redundant pictures or separate
    /// colour planes, single fields, long-term references, switching pictures.
    H264SliceHeader Parse(const Bytes& rbsp) const;
    /// The NAL unit, emulation bytes put in, that says `wanted` where `rbsp`, which is whole and was parsed as `old`,
    /// says otherwise. `adaptive` must be the same in both.
    Bytes Rewrite(const Bytes& rbsp, const H264SliceHeader& old, const H264SliceHeader& wanted) const;

private:
    class Reader;
    struct Sets
    {
        const Proc::CodecParsers::SPS_decoded& sps;
        const Proc::CodecParsers::PPS_decoded& pps;
    };

    static bool IsSupported(const Sets& sets);
    Sets Find(uint32_t pps) const;
    static void SkipToMarking(Reader& reader, uint32_t type, const Sets& sets);
    static void ParseMarking(Reader& reader, H264SliceHeader& slice);

    // By their identifiers, as the header has them or the stream has had them last.
    std::map<uint32_t, Proc::CodecParsers::SPS_decoded> sequences;
    std::map<uint32_t, Proc::CodecParsers::PPS_decoded> pictures;
};

} // namespace Tessor::Host
