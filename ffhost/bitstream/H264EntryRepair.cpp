#include "ffhost/bitstream/H264EntryRepair.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/PacketTools.h"
#include "ffhost/bitstream/PacketUnits.h"

#include <algorithm>
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

bool IsSlice(uint8_t header)
{
    return (header & 31) == H264_NALU_SLICE || (header & 31) == H264_NALU_IDR;
}

[[noreturn]] void Refuse(const char* why)
{
    Throw<Exception>(TESSOR_HERE, why);
}

} // namespace

H264EntryRepair::H264EntryRepair(const SP<const IBlob>& extradata)
{
    if (!extradata || extradata->Size() == 0)
        return;
    try
    {
        lengthSize = GetAvccNALULengthSize(extradata->Data(), extradata->Size());
        syntax.emplace(extradata->Data(), extradata->Size());
    }
    catch (const std::exception& e)
    {
        VLOG(31) << "Entries are not repaired: " << e.what();
    }
}

SP<IDataPacket> H264EntryRepair::Repair(const SP<IDataPacket>& packet)
{
    if (!syntax)
        return packet;
    try
    {
        const auto [slice, size] = FindSlice(*packet);
        if (!slice)
            return packet;
        const H264SliceHeader read = syntax->Parse(RemoveEmulationByte(slice, std::min(size, MAX_HEADER_BYTES)));
        const bool enters = !read.idr && GetFacts(*packet).entered;
        const bool first = !std::exchange(started, true);
        known = known || read.idr || (first && enters);
        if (!known)
            return packet;
        if (enters && first)
            Begin(read);
        else if (enters)
            Enter(read);
        H264SliceHeader wanted = read;
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

H264EntryRepair::Nalu H264EntryRepair::FindSlice(const IDataPacket& packet) const
{
    Nalu slice = {};
    VisitUnits(packet, lengthSize,
               [&slice](const Nalu& unit)
               {
                   if (unit.second > 0 && IsSlice(*unit.first))
                       slice = unit;
                   return !slice.first;
               });
    return slice;
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

// Decoders begin with nothing, and at frame_num 0.
void H264EntryRepair::Begin(const H264SliceHeader& slice)
{
    entered = true;
    highestOrder = ToOrder(slice.orderLsb, slice.orderRange);
}

// Between the pictures of before and those that follow room is left for what decoders put into gaps.
void H264EntryRepair::Enter(const H264SliceHeader& slice)
{
    entered = true;
    for (Reference& reference : references)
        reference.stale = true;
    const int64_t range = slice.orderRange;
    if (range == 0)
        Refuse("order by frame_num");
    const int64_t lowest =
        std::min<int64_t>(highestOrder + 2 * slice.maxReferences + 4, lastMsb + lastLsb + range / 2 - 1);
    const int64_t step = ((lowest - lastMsb - slice.orderLsb) % range + range) % range;
    shift = ToOrder(slice.orderLsb, range) >= lowest ? 0 : static_cast<uint32_t>(step);
}

// Takes the picture into account; `slice` becomes what it should say.
void H264EntryRepair::Follow(H264SliceHeader& slice)
{
    if (slice.idr)
    {
        entered = false;
        shift = lastFrameNum = 0;
        references.clear();
        highestOrder = lastMsb = lastLsb = 0;
    }
    FollowOrder(slice);
    FillGap(slice);
    lastFrameNum = slice.frameNum;
    if (slice.reference)
        Mark(slice);
}

void H264EntryRepair::FollowOrder(H264SliceHeader& slice)
{
    if (slice.orderRange == 0)
    {
        highestOrder += 2;
        return;
    }
    slice.orderLsb = (slice.orderLsb + shift) & (slice.orderRange - 1);
    const int64_t order = ToOrder(slice.orderLsb, slice.orderRange);
    highestOrder = std::max(highestOrder, order);
    if (!slice.reference)
        return;
    lastMsb = order - slice.orderLsb;
    lastLsb = slice.orderLsb;
}

// 8.2.1.1.
int64_t H264EntryRepair::ToOrder(uint32_t lsb, int64_t range) const
{
    const int64_t step = lsb - lastLsb;
    if (step < 0 && -step >= range / 2)
        return lastMsb + range + lsb;
    return step > range / 2 ? lastMsb - range + lsb : lastMsb + lsb;
}

// 8.2.5.2: numbers left out count as pictures, each pushing out the oldest.
void H264EntryRepair::FillGap(const H264SliceHeader& slice)
{
    const uint32_t mask = slice.frameNumRange - 1;
    if (slice.frameNum == lastFrameNum)
        return;
    const uint32_t missing = (slice.frameNum - lastFrameNum - 1) & mask;
    for (uint32_t i = std::min(missing, slice.maxReferences); i > 0; --i)
    {
        references.push_back({(slice.frameNum - i) & mask, true});
        if (references.size() > slice.maxReferences)
            references.erase(references.begin());
    }
}

uint32_t H264EntryRepair::ToFrameNum(const H264SliceHeader& slice, uint32_t difference)
{
    return (slice.frameNum - difference - 1) & (slice.frameNumRange - 1);
}

// 8.2.5.3 and 8.2.5.4.
void H264EntryRepair::Mark(H264SliceHeader& slice)
{
    const auto remove = [&](uint32_t frameNum)
    { return std::erase_if(references, [=](const Reference& r) { return r.frameNum == frameNum; }) > 0; };
    const size_t room = std::max<size_t>(slice.maxReferences, 1);
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

SP<IDataPacket> H264EntryRepair::Rebuild(const IDataPacket& packet, const Nalus& units,
                                         const H264SliceHeader& wanted) const
{
    H264SliceSyntax::Bytes bytes;
    for (const auto& [data, size] : units)
    {
        H264SliceSyntax::Bytes unit(data, data + size);
        if (IsSlice(*data))
        {
            const H264SliceSyntax::Bytes rbsp = RemoveEmulationByte(data, size);
            const H264SliceHeader old = syntax->Parse(rbsp);
            if (old.frameNum != wanted.frameNum || old.adaptive != wanted.adaptive)
                Refuse("several pictures in a packet");
            unit = syntax->Rewrite(rbsp, old, wanted);
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
