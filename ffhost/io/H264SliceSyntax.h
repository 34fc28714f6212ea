#pragma once

#include "Fnd/Export.h"
#include "Proc/CodecParsers/H264ParameterSets.h"

#include <vector>

namespace Tessor::Host
{

/// The fields of a slice header that tell of picture order and reference marking, and their places in the RBSP, in
/// bits.
struct H264SliceHeader
{
    bool idr = false, reference = false;
    uint32_t frameNum = 0, orderLsb = 0;
    bool adaptive = false;             // marking is by commands
    std::vector<uint32_t> unmarked;    // difference_of_pic_nums_minus1 of the commands
    size_t orderAt = 0, markingAt = 0; // where the fields begin
    size_t markingEnd = 0, headerEnd = 0;
};

/// Reads slice headers of a stream with one SPS and one PPS, and writes them with another picture order count or other
/// reference marking (ITU-T H.264, 7.3.3). Not meant for sharing between threads.
class TESSOR_API H264SliceSyntax
{
public:
    using Bytes = std::vector<uint8_t>;

    /// From the track's header, in either framing. Throws when it has no parameter sets that can be read.
    H264SliceSyntax(const uint8_t* extradata, size_t size);

    /// Picture order count type 0, one slice group, no redundant pictures, no separate colour planes.
    bool IsSupported() const;
    const Proc::CodecParsers::SPS_decoded& GetSPS() const { return sps; }
    /// `rbsp`: a slice's NAL unit from its header byte on, without emulation bytes; the end may be missing. Throws for
    /// other parameter sets, single fields, long-term references, switching pictures.
    H264SliceHeader Parse(const Bytes& rbsp) const;
    /// The NAL unit, emulation bytes put in, that says `wanted` where `rbsp`, which is whole and was parsed as `old`,
    /// says otherwise. `adaptive` must be the same in both.
    Bytes Rewrite(const Bytes& rbsp, const H264SliceHeader& old, const H264SliceHeader& wanted) const;

private:
    class Reader;

    void SkipToMarking(Reader& reader, uint32_t type) const;
    void ParseMarking(Reader& reader, H264SliceHeader& slice) const;

    Proc::CodecParsers::SPS_decoded sps;
    Proc::CodecParsers::PPS_decoded pps;
};

} // namespace Tessor::Host
