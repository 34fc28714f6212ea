#include "ffhost/io/H264EntryRepair.h"

#include "Fnd/DataBitOutput.h"
#include "Fnd/DataInputMemory.h"
#include "Fnd/DataOutputString.h"
#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/PacketTools.h"
#include "Proc/CodecParsers/StartCode.h"

#include <algorithm>
#include <bit>
#include <glog/logging.h>
#include <utility>

namespace Tessor::Host
{

using namespace Proc;
using namespace Proc::CodecParsers;

namespace
{

/// More than any slice header takes.
constexpr size_t MAX_HEADER_BYTES = 1024;
constexpr uint32_t MAX_LOG2_MINUS4 = 12;
constexpr uint32_t MAX_REFERENCES = 16;
constexpr uint32_t MAX_COMMANDS = 2 * MAX_REFERENCES + 2;

void WriteUe(Core::DataBitOutput& output, uint32_t value)
{
    const auto bits = static_cast<unsigned>(std::bit_width(value + 1));
    output.WriteBits(0, bits - 1);
    output.WriteBits(value + 1, bits);
}

void CopyBits(Core::DataBitInput& input, Core::DataBitOutput& output, size_t count)
{
    for (; count > 0; count -= std::min<size_t>(count, 32))
    {
        const auto part = static_cast<unsigned>(std::min<size_t>(count, 32));
        output.WriteBits(input.ReadBits(part), part);
    }
}

bool IsSlice(uint8_t header)
{
    return (header & 31) == H264_NALU_SLICE || (header & 31) == H264_NALU_IDR;
}

[[noreturn]] void Refuse(const char* why)
{
    Throw<Exception>(TESSOR_HERE, why);
}

/// 7.4.1: 00 00 0x is told from a start code by a 3 between.
std::vector<uint8_t> InsertEmulationBytes(const std::string& rbsp)
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
class H264SliceReader
{
public:
    explicit H264SliceReader(const std::vector<uint8_t>& rbsp)
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

H264EntryRepair::H264EntryRepair(const SP<const IBlob>& extradata)
{
    if (!extradata || extradata->Size() == 0)
        return;
    try
    {
        DecodeSPS(extradata->Data(), extradata->Size(), sps);
        DecodePPS(extradata->Data(), extradata->Size(), pps);
        lengthSize = GetAvccNALULengthSize(extradata->Data(), extradata->Size());
        supported = IsSupported();
    }
    catch (const std::exception& e)
    {
        VLOG(31) << "Entries are not repaired: " << e.what();
    }
}

bool H264EntryRepair::IsSupported() const
{
    return sps.pic_order_cnt_type == 0 && !sps.separate_colour_plane_flag &&
           sps.log2_max_frame_num_minus4 <= MAX_LOG2_MINUS4 &&
           sps.log2_max_pic_order_cnt_lsb_minus4 <= MAX_LOG2_MINUS4 && sps.max_num_ref_frames <= MAX_REFERENCES &&
           pps.num_slice_groups_minus1 == 0 && !pps.redundant_pic_cnt_present_flag &&
           pps.seq_parameter_set_id == sps.seq_parameter_set_id;
}

SP<IDataPacket> H264EntryRepair::Repair(const SP<IDataPacket>& packet)
{
    if (!supported)
        return packet;
    try
    {
        const auto [slice, size] = FindSlice(*packet);
        if (!slice)
            return packet;
        const Bytes head = RemoveEmulationByte(slice, std::min(size, MAX_HEADER_BYTES));
        const Slice read = Parse(head, *slice);
        const auto* own = dynamic_cast<const DataPacketFF*>(packet.get());
        const bool enters = !read.idr && own && own->IsEntered();
        const bool first = !std::exchange(started, true);
        known = known || read.idr || (first && enters);
        if (!known)
            return packet;
        if (enters && first)
            Begin(read);
        else if (enters)
            Enter(read);
        Slice wanted = read;
        Follow(wanted);
        const bool same = wanted.orderLsb == read.orderLsb && wanted.unmarked == read.unmarked;
        return same || !entered ? packet : Rebuild(*packet, Split(*packet), wanted);
    }
    catch (const std::exception& e)
    {
        VLOG(31) << "Entries are not repaired up to the next IDR picture: " << e.what();
        known = false;
        return packet;
    }
}

// Slices are most of a packet, which is not searched for the end of the first one.
H264EntryRepair::Nalu H264EntryRepair::FindSlice(const IDataPacket& packet) const
{
    if (lengthSize != 0)
    {
        const Nalus units = Split(packet);
        const auto slice =
            std::find_if(units.begin(), units.end(), [](const Nalu& unit) { return IsSlice(*unit.first); });
        return slice == units.end() ? Nalu() : *slice;
    }
    const uint8_t* data = packet.GetData();
    const auto size = static_cast<size_t>(packet.GetSize());
    for (size_t at = FindStartCode(data, size) + 3; at < size; at = FindStartCode(data, size, at) + 3)
        if (IsSlice(data[at]))
            return {data + at, size - at};
    return {};
}

H264EntryRepair::Nalus H264EntryRepair::Split(const IDataPacket& packet) const
{
    Nalus units;
    const auto size = static_cast<size_t>(packet.GetSize());
    if (lengthSize != 0)
        FindMP4Nalus(packet.GetData(), size, units, lengthSize);
    else
        FindAnnexBNalus(packet.GetData(), size, units);
    std::erase_if(units, [](const auto& unit) { return unit.second == 0; });
    return units;
}

// 7.3.3, slice_header().
H264EntryRepair::Slice H264EntryRepair::Parse(const Bytes& rbsp, uint8_t header) const
{
    H264SliceReader reader(rbsp);
    Slice slice;
    reader.Bits(8);
    slice.idr = (header & 31) == H264_NALU_IDR;
    slice.reference = (header & 0x60) != 0;
    reader.Ue(); // first_mb_in_slice
    const uint32_t type = reader.Ue() % 5;
    if (reader.Ue() != pps.pic_parameter_set_id)
        Refuse("other parameter sets");
    slice.frameNum = reader.Bits(sps.log2_max_frame_num_minus4 + 4);
    if (!sps.frame_mbs_only_flag && reader.Bits(1))
        Refuse("a single field");
    if (slice.idr)
        reader.Ue(); // idr_pic_id
    slice.orderAt = reader.Tell();
    slice.orderLsb = reader.Bits(sps.log2_max_pic_order_cnt_lsb_minus4 + 4);
    if (pps.bottom_field_pic_order_in_frame_present_flag)
        reader.SkipSe(1);
    SkipToMarking(reader, type);
    slice.markingAt = reader.Tell();
    if (slice.reference)
        ParseMarking(reader, slice);
    slice.markingEnd = reader.Tell();
    if (pps.entropy_coding_mode_flag && type != H264_SLICE_I && type != H264_SLICE_SI)
        reader.Ue(); // cabac_init_idc
    reader.SkipSe(1);
    if (type == H264_SLICE_SP || type == H264_SLICE_SI)
        Refuse("switching pictures");
    if (pps.deblocking_filter_control_present_flag && reader.Ue() != 1)
        reader.SkipSe(2);
    slice.headerEnd = reader.Tell();
    return slice;
}

// Reference lists and their weights.
void H264EntryRepair::SkipToMarking(H264SliceReader& reader, uint32_t type) const
{
    if (type != H264_SLICE_P && type != H264_SLICE_B)
        return;
    const int lists = type == H264_SLICE_B ? 2 : 1;
    uint32_t counts[2] = {pps.num_ref_idx_l0_default_active_minus1 + 1, pps.num_ref_idx_l1_default_active_minus1 + 1};
    if (type == H264_SLICE_B)
        reader.Bits(1); // direct_spatial_mv_pred_flag
    if (reader.Bits(1))
        for (int i = 0; i < lists; ++i)
            counts[i] = reader.Ue() + 1;
    for (int i = 0; i < lists; ++i)
        if (reader.Bits(1))
            while (reader.Ue() != 3)
                reader.Ue();
    if (!(type == H264_SLICE_P ? pps.weighted_pred_flag : pps.weighted_bipred_idc == 1))
        return;
    reader.Ue();
    if (sps.chroma_format_idc != 0)
        reader.Ue();
    for (int i = 0; i < lists; ++i)
        for (uint32_t k = 0; k < counts[i]; ++k)
        {
            if (reader.Bits(1))
                reader.SkipSe(2);
            if (sps.chroma_format_idc != 0 && reader.Bits(1))
                reader.SkipSe(4);
        }
}

// 7.3.3.3, dec_ref_pic_marking().
void H264EntryRepair::ParseMarking(H264SliceReader& reader, Slice& slice) const
{
    if (slice.idr)
    {
        reader.Bits(1);
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

// Decoders begin with nothing, and at frame_num 0.
void H264EntryRepair::Begin(const Slice& slice)
{
    entered = true;
    highestOrder = lastOrder = slice.orderLsb;
}

// Between the pictures of before and those that follow room is left for what decoders put into gaps.
void H264EntryRepair::Enter(const Slice& slice)
{
    entered = true;
    for (Reference& reference : references)
        reference.stale = true;
    const int64_t range = int64_t{16} << sps.log2_max_pic_order_cnt_lsb_minus4;
    const int64_t lowest = std::min(highestOrder + 2 * sps.max_num_ref_frames + 4, lastOrder + range / 2 - 1);
    const int64_t natural = ((slice.orderLsb - lastOrder) % range + range) % range;
    const bool forward = natural < range / 2 && lastOrder + natural >= lowest;
    shift = forward ? 0 : static_cast<uint32_t>(((lowest - slice.orderLsb) % range + range) % range);
}

// Takes the picture into account; `slice` becomes what it should say.
void H264EntryRepair::Follow(Slice& slice)
{
    if (slice.idr)
    {
        entered = false;
        shift = lastFrameNum = 0;
        references.clear();
        highestOrder = lastOrder = slice.orderLsb;
    }
    FollowOrder(slice);
    const uint32_t mask = (16u << sps.log2_max_pic_order_cnt_lsb_minus4) - 1;
    slice.orderLsb = (slice.orderLsb + shift) & mask;
    FillGap(slice.frameNum);
    lastFrameNum = slice.frameNum;
    if (slice.reference)
        Mark(slice);
}

void H264EntryRepair::FollowOrder(const Slice& slice)
{
    const int64_t range = int64_t{16} << sps.log2_max_pic_order_cnt_lsb_minus4;
    int64_t step = ((slice.orderLsb + shift - lastOrder) % range + range) % range;
    step -= step >= range / 2 ? range : 0;
    highestOrder = std::max(highestOrder, lastOrder + step);
    if (slice.reference)
        lastOrder += step;
}

// 8.2.5.2: numbers left out count as pictures, each pushing out the oldest.
void H264EntryRepair::FillGap(uint32_t frameNum)
{
    const uint32_t mask = (16u << sps.log2_max_frame_num_minus4) - 1;
    if (frameNum == lastFrameNum)
        return;
    const uint32_t missing = (frameNum - lastFrameNum - 1) & mask;
    for (uint32_t i = std::min(missing, sps.max_num_ref_frames); i > 0; --i)
    {
        references.push_back({(frameNum - i) & mask, true});
        if (references.size() > sps.max_num_ref_frames)
            references.erase(references.begin());
    }
}

uint32_t H264EntryRepair::ToFrameNum(const Slice& slice, uint32_t difference) const
{
    return (slice.frameNum - difference - 1) & ((16u << sps.log2_max_frame_num_minus4) - 1);
}

// 8.2.5.3 and 8.2.5.4.
void H264EntryRepair::Mark(Slice& slice)
{
    const auto remove = [&](uint32_t frameNum)
    { return std::erase_if(references, [=](const Reference& r) { return r.frameNum == frameNum; }) > 0; };
    const size_t room = std::max<size_t>(sps.max_num_ref_frames, 1);
    std::erase_if(slice.unmarked, [&](uint32_t difference) { return !remove(ToFrameNum(slice, difference)); });
    while (references.size() >= room)
    {
        auto oldest = std::find_if(references.begin(), references.end(), [](const Reference& r) { return r.stale; });
        if (slice.adaptive && oldest == references.end())
            Refuse("too many references");
        oldest = slice.adaptive ? oldest : references.begin();
        if (slice.adaptive)
            slice.unmarked.push_back(ToFrameNum(slice, oldest->frameNum));
        references.erase(oldest);
    }
    remove(slice.frameNum);
    references.push_back({slice.frameNum, false});
}

H264EntryRepair::Bytes H264EntryRepair::Rewrite(const Bytes& rbsp, const Slice& old, const Slice& wanted) const
{
    const SP<Core::DataOutputString> text = Core::DataOutputString::Create();
    Core::DataBitInput input(Core::DataInputMemory::Create(rbsp.data(), rbsp.size()));
    Core::DataBitOutput output(text);
    const unsigned orderBits = sps.log2_max_pic_order_cnt_lsb_minus4 + 4;
    CopyBits(input, output, old.orderAt);
    input.ReadBits(orderBits);
    output.WriteBits(wanted.orderLsb, orderBits);
    CopyBits(input, output, (old.adaptive ? old.markingAt : old.headerEnd) - old.orderAt - orderBits);
    size_t written = old.headerEnd;
    if (old.adaptive)
    {
        for (size_t skipped = old.markingAt; skipped < old.markingEnd; ++skipped)
            input.ReadBits(1);
        output.WriteBits(1, 1);
        written += 1;
        for (const uint32_t difference : wanted.unmarked)
        {
            WriteUe(output, 1);
            WriteUe(output, difference);
            written += 3 + 2 * static_cast<size_t>(std::bit_width(difference + 1)) - 1;
        }
        WriteUe(output, 0);
        written += 1;
        written -= old.markingEnd - old.markingAt;
        CopyBits(input, output, old.headerEnd - old.markingEnd);
    }
    if (pps.entropy_coding_mode_flag)
    {
        input.SkipBitsToNextByte();
        for (; written % 8 != 0; ++written)
            output.WriteBits(1, 1); // cabac_alignment_one_bit
    }
    CopyBits(input, output, input.BitsLeft());
    output.Flush();
    std::string result = text->GetString();
    result.resize(result.find_last_not_of('\0') + 1);
    return InsertEmulationBytes(result);
}

SP<IDataPacket> H264EntryRepair::Rebuild(const IDataPacket& packet, const Nalus& units, const Slice& wanted) const
{
    Bytes bytes;
    for (const auto& [data, size] : units)
    {
        Bytes unit(data, data + size);
        if (IsSlice(*data))
        {
            const Bytes rbsp = RemoveEmulationByte(data, size);
            const Slice old = Parse(rbsp, *data);
            if (old.frameNum != wanted.frameNum || old.adaptive != wanted.adaptive)
                Refuse("several pictures in a packet");
            unit = Rewrite(rbsp, old, wanted);
        }
        const size_t prefix = lengthSize != 0 ? lengthSize : 4;
        const size_t number = lengthSize != 0 ? unit.size() : 1;
        if (prefix < 4 && number >> (8 * prefix) != 0)
            Refuse("a unit is too long for its length");
        for (size_t i = prefix; i > 0; --i)
            bytes.push_back(static_cast<uint8_t>(number >> (8 * (i - 1))));
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    const SP<DataPacketFF> result = CreatePacketLike(packet, bytes.size());
    std::copy(bytes.begin(), bytes.end(), result->Data());
    return result;
}

} // namespace Tessor::Host
