#include "ffhost/bitstream/H264SliceSyntax.h"

#include "Fnd/DataBitOutput.h"
#include "Fnd/DataInputMemory.h"
#include "Fnd/DataOutputString.h"
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"

#include <algorithm>
#include <bit>

namespace Tessor::Host
{

using namespace Proc;
using namespace Proc::CodecParsers;

namespace
{

// Bounds of 7.4.2.1.1 and A.3.1. Parameter sets beyond them are damaged, and their numbers would be used as shifts and
// sizes. There may be a command for each field that is held, with two to spare.
constexpr uint32_t MAX_LOG2_MINUS4 = 12;
constexpr uint32_t MAX_REFERENCES = 16;
constexpr uint32_t MAX_COMMANDS = 2 * MAX_REFERENCES + 2;

/// ue(v), 9.1: the value plus 1, after one zero less than it has bits.
void WriteUe(Core::DataBitOutput& output, uint32_t value)
{
    const auto bits = static_cast<unsigned>(std::bit_width(value + 1));
    output.WriteBits(0, bits - 1);
    output.WriteBits(value + 1, bits);
}

/// In portions of 32 bits, which the reader takes at once.
void CopyBits(Core::DataBitInput& input, Core::DataBitOutput& output, size_t count)
{
    for (; count > 0; count -= std::min<size_t>(count, 32))
    {
        const auto part = static_cast<unsigned>(std::min<size_t>(count, 32));
        output.WriteBits(input.ReadBits(part), part);
    }
}

[[noreturn]] void Refuse(const char* why)
{
    Throw<Exception>(TESSOR_HERE, why);
}

/// 7.4.1: 00 00 0x is told from a start code by a 3 between.
H264SliceSyntax::Bytes InsertEmulationBytes(const std::string& rbsp)
{
    std::vector<uint8_t> unit;
    unit.reserve(rbsp.size() + 16);
    int zeros = 0;
    for (const char byte : rbsp)
    {
        const auto value = static_cast<uint8_t>(byte);
        if (zeros >= 2 && value <= 3)
        {
            unit.push_back(3);
            zeros = 0;
        }
        unit.push_back(value);
        zeros = value == 0 ? zeros + 1 : 0;
    }
    return unit;
}

} // namespace

/// A bit reader that knows where it stands.
class H264SliceSyntax::Reader
{
public:
    explicit Reader(const std::vector<uint8_t>& rbsp)
        : bits(Core::DataInputMemory::Create(rbsp.data(), rbsp.size())), size(rbsp.size() * 8)
    {
    }
    uint32_t Bits(unsigned count) { return bits.ReadBits(count); }
    uint32_t Ue() { return read_ue(bits); }
    void SkipSe(int count)
    {
        for (; count > 0; --count)
            read_se(bits);
    }
    size_t Tell() const { return size - bits.BitsLeft(); }

private:
    Core::DataBitInput bits;
    const size_t size;
};

H264SliceSyntax::H264SliceSyntax(const uint8_t* extradata, size_t size)
{
    Nalus units;
    if (IsAvcCHeader(extradata, size))
        FindAvccHeaderNalus(extradata, size, units);
    else
        FindAnnexBNalus(extradata, size, units);
    TakeSets(units);
}

void H264SliceSyntax::TakeSets(const Nalus& units)
{
    for (const auto& [data, length] : units)
    {
        // decoded alone: the parsers take the first set of its kind that a header has
        Bytes unit{0, 0, 1};
        unit.insert(unit.end(), data, data + length);
        const int type = length > 0 ? *data & 31 : 0;
        if (SPS_decoded sps; type == H264_NALU_SPS)
        {
            DecodeSPS(unit.data(), unit.size(), sps);
            sequences[sps.seq_parameter_set_id] = sps;
        }
        else if (PPS_decoded pps; type == H264_NALU_PPS)
        {
            DecodePPS(unit.data(), unit.size(), pps);
            pictures[pps.pic_parameter_set_id] = pps;
        }
    }
}

// Each of the rest adds fields to the slice header (7.3.3) which are not read here.
bool H264SliceSyntax::IsSupported(const Sets& sets)
{
    const auto& [sps, pps] = sets;
    return sps.pic_order_cnt_type != 1 && !sps.separate_colour_plane_flag &&
           sps.log2_max_frame_num_minus4 <= MAX_LOG2_MINUS4 &&
           sps.log2_max_pic_order_cnt_lsb_minus4 <= MAX_LOG2_MINUS4 && sps.max_num_ref_frames <= MAX_REFERENCES &&
           pps.num_slice_groups_minus1 == 0 && !pps.redundant_pic_cnt_present_flag;
}

H264SliceSyntax::Sets H264SliceSyntax::Find(uint32_t pps) const
{
    const auto picture = pictures.find(pps);
    const auto sequence =
        picture != pictures.end() ? sequences.find(picture->second.seq_parameter_set_id) : sequences.end();
    if (sequence == sequences.end())
        Refuse("unknown parameter sets");
    const Sets found = {sequence->second, picture->second};
    if (!IsSupported(found))
        Refuse("parameter sets that are not supported");
    return found;
}

// 7.3.3, slice_header().
H264SliceHeader H264SliceSyntax::Parse(const Bytes& rbsp) const
{
    Reader reader(rbsp);
    H264SliceHeader slice;
    const uint32_t header = reader.Bits(8);
    slice.idr = (header & 31) == H264_NALU_IDR;
    slice.reference = (header & 0x60) != 0;
    reader.Ue();                           // first_mb_in_slice
    const uint32_t type = reader.Ue() % 5; // 5 to 9: all slices of the picture are alike (Table 7-6)
    const Sets used = Find(reader.Ue());
    const auto& [sps, pps] = used;
    slice.frameNumRange = 16u << sps.log2_max_frame_num_minus4;
    slice.maxReferences = sps.max_num_ref_frames;
    slice.frameNum = reader.Bits(sps.log2_max_frame_num_minus4 + 4);
    if (!sps.frame_mbs_only_flag && reader.Bits(1)) // field_pic_flag
        Refuse("a single field");
    if (slice.idr)
        reader.Ue(); // idr_pic_id
    slice.orderAt = reader.Tell();
    if (sps.pic_order_cnt_type == 0)
    {
        slice.orderRange = 16u << sps.log2_max_pic_order_cnt_lsb_minus4;
        slice.orderLsb = reader.Bits(sps.log2_max_pic_order_cnt_lsb_minus4 + 4);
        if (pps.bottom_field_pic_order_in_frame_present_flag)
            reader.SkipSe(1); // delta_pic_order_cnt_bottom: relative to the top field's, so that it stays
    }
    SkipToMarking(reader, type, used);
    slice.markingAt = reader.Tell();
    if (slice.reference)
        ParseMarking(reader, slice);
    slice.markingEnd = reader.Tell();
    if (pps.entropy_coding_mode_flag && type != H264_SLICE_I && type != H264_SLICE_SI)
        reader.Ue();  // cabac_init_idc
    reader.SkipSe(1); // slice_qp_delta
    if (type == H264_SLICE_SP || type == H264_SLICE_SI)
        Refuse("switching pictures");
    if (pps.deblocking_filter_control_present_flag && reader.Ue() != 1) // disable_deblocking_filter_idc
        reader.SkipSe(2);                                               // offsets of alpha and beta
    slice.headerEnd = reader.Tell();
    slice.aligned = pps.entropy_coding_mode_flag != 0;
    return slice;
}

// Reference lists (7.3.3.1) and their weights (7.3.3.2). Damaged counts end where the data does: reading throws there.
void H264SliceSyntax::SkipToMarking(Reader& reader, uint32_t type, const Sets& sets)
{
    const auto& [sps, pps] = sets;
    if (type != H264_SLICE_P && type != H264_SLICE_B)
        return;
    const int lists = type == H264_SLICE_B ? 2 : 1;
    uint32_t counts[2] = {pps.num_ref_idx_l0_default_active_minus1 + 1, pps.num_ref_idx_l1_default_active_minus1 + 1};
    if (type == H264_SLICE_B)
        reader.Bits(1); // direct_spatial_mv_pred_flag
    if (reader.Bits(1)) // num_ref_idx_active_override_flag
        for (int i = 0; i < lists; ++i)
            counts[i] = reader.Ue() + 1;
    for (int i = 0; i < lists; ++i)
        if (reader.Bits(1))          // ref_pic_list_modification_flag
            while (reader.Ue() != 3) // modification_of_pic_nums_idc: the end
                reader.Ue();
    // weighted_bipred_idc 2 works weights out from the order, and has no table
    if (!(type == H264_SLICE_P ? pps.weighted_pred_flag : pps.weighted_bipred_idc == 1))
        return;
    reader.Ue(); // luma_log2_weight_denom
    if (sps.chroma_format_idc != 0)
        reader.Ue(); // chroma_log2_weight_denom
    for (int i = 0; i < lists; ++i)
        for (uint32_t k = 0; k < counts[i]; ++k)
        {
            if (reader.Bits(1))
                reader.SkipSe(2); // weight and offset
            if (sps.chroma_format_idc != 0 && reader.Bits(1))
                reader.SkipSe(4); // of Cb and Cr
        }
}

// 7.3.3.3, dec_ref_pic_marking(). Of the commands only 1 is followed, which unmarks a short-term picture: 5 begins anew
// in mid-stream, and all others are about long-term ones.
void H264SliceSyntax::ParseMarking(Reader& reader, H264SliceHeader& slice)
{
    if (slice.idr)
    {
        reader.Bits(1); // no_output_of_prior_pics_flag
        if (reader.Bits(1))
            Refuse("long-term references");
        return;
    }
    slice.adaptive = reader.Bits(1) != 0;
    if (!slice.adaptive)
        return;
    while (const uint32_t command = reader.Ue())
    {
        if (command != 1 || slice.unmarked.size() > MAX_COMMANDS)
            Refuse("long-term references");
        slice.unmarked.push_back(reader.Ue());
    }
}

H264SliceSyntax::Bytes H264SliceSyntax::Rewrite(const Bytes& rbsp, const H264SliceHeader& old,
                                                const H264SliceHeader& wanted) const
{
    const SP<Core::DataOutputString> text = Core::DataOutputString::Create();
    Core::DataBitInput input(Core::DataInputMemory::Create(rbsp.data(), rbsp.size()));
    Core::DataBitOutput output(text);
    // The range is a power of two, of which half has as many bits as the field; 0 has none.
    const auto orderBits = static_cast<unsigned>(std::bit_width(old.orderRange / 2));
    CopyBits(input, output, old.orderAt);
    input.ReadBits(orderBits);
    output.WriteBits(wanted.orderLsb, orderBits);
    CopyBits(input, output, (old.adaptive ? old.markingAt : old.headerEnd) - old.orderAt - orderBits);
    size_t written = old.headerEnd; // bits of the new header: slice data may have to be aligned
    if (old.adaptive)
    {
        for (size_t skipped = old.markingAt; skipped < old.markingEnd; ++skipped)
            input.ReadBits(1);
        output.WriteBits(1, 1); // adaptive_ref_pic_marking_mode_flag
        written += 1;
        for (const uint32_t difference : wanted.unmarked)
        {
            WriteUe(output, 1); // memory_management_control_operation, of 3 bits
            WriteUe(output, difference);
            written += 3 + 2 * static_cast<size_t>(std::bit_width(difference + 1)) - 1;
        }
        WriteUe(output, 0);
        written += 1;
        written -= old.markingEnd - old.markingAt;
        CopyBits(input, output, old.headerEnd - old.markingEnd);
    }
    // CABAC data begins at a byte, CAVLC data anywhere, so that all of that moves by the bits that were added.
    if (old.aligned)
    {
        input.SkipBitsToNextByte();
        for (; written % 8 != 0; ++written)
            output.WriteBits(1, 1); // cabac_alignment_one_bit
    }
    CopyBits(input, output, input.BitsLeft());
    output.Flush();
    // An RBSP ends with the byte of its stop bit: zeros after it are what Flush filled up, or cabac_zero_words.
    std::string result = text->GetString();
    result.resize(result.find_last_not_of('\0') + 1);
    return InsertEmulationBytes(result);
}

} // namespace Tessor::Host
