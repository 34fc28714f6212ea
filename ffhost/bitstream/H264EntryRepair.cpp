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

/// More than any slice header takes. Pictures are only looked at, most of them, and what follows the header may be
/// hundreds of kilobytes: emulation bytes are not sought there.
constexpr size_t MAX_HEADER_BYTES = 1024;

/// Slices in data partitions (Extended profile) are none here: libavcodec does not decode them either.
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
        VLOG(31) << "Entries are not repaired: " << Describe(e);
    }
}

SP<IDataPacket> H264EntryRepair::Repair(const SP<IDataPacket>& packet)
{
    if (!syntax)
        return packet;
    try
    {
        TakeSets(*packet);
        const auto [slice, size] = FindSlice(*packet);
        if (!slice)
            return packet;
        const H264SliceHeader read = syntax->Parse(RemoveEmulationByte(slice, std::min(size, MAX_HEADER_BYTES)));
        // An IDR picture lets go of all that was before it: nothing is to be repaired, wherever it is entered.
        const bool enters = !read.idr && GetFacts(*packet).entered;
        const bool first = !std::exchange(started, true);
        known = known || read.idr || (first && enters);
        if (!known)
            return packet;
        if (enters && first)
            Begin(read);
        else if (enters)
            Enter(read);
        // Followed before a seam as well: what is to be rewritten after it depends on what decoders hold there.
        H264SliceHeader wanted = read;
        Follow(wanted);
        const bool same = wanted.orderLsb == read.orderLsb && wanted.unmarked == read.unmarked;
        return same || !entered ? packet : Rebuild(*packet, Split(*packet), wanted);
    }
    catch (const std::exception& e)
    {
        VLOG(31) << "Entries are not repaired up to the next IDR picture: " << Describe(e);
        known = false;
        return packet;
    }
}

// Streams that were put together from several bring sets of their own, under the same identifiers.
void H264EntryRepair::TakeSets(const IDataPacket& packet)
{
    bool any = false;
    VisitUnits(packet, lengthSize,
               [&any](const Nalu& unit)
               {
                   const int type = unit.second > 0 ? *unit.first & 31 : 0;
                   any = any || type == H264_NALU_SPS || type == H264_NALU_PPS;
                   return !any && !(unit.second > 0 && IsSlice(*unit.first));
               });
    if (any)
        syntax->TakeSets(Split(packet));
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
    // two start codes in a row; what is rebuilt has a header byte in every unit
    std::erase_if(units, [](const auto& unit) { return unit.second == 0; });
    return units;
}

// Decoders begin with nothing, and at frame_num 0: they take the numbers up to this picture's for a gap and fill it, as
// FillGap does next. No order is too low where nothing was shown before.
void H264EntryRepair::Begin(const H264SliceHeader& slice)
{
    entered = true;
    highestOrder = ToOrder(slice.orderLsb, slice.orderRange);
}

// Where the picture's order is not above all that was shown, it is moved to `lowest`. A frame takes two counts, one a
// field, and between the pictures of before and those that follow room is left for what decoders put into gaps.
void H264EntryRepair::Enter(const H264SliceHeader& slice)
{
    entered = true;
    for (Reference& reference : references)
        reference.stale = true;
    const int64_t range = slice.orderRange;
    if (range == 0)
        Refuse("order by frame_num");
    // Low bits reach less than half of their range beyond the reference picture before (8.2.1.1): further up they would
    // read as a step back.
    const int64_t lowest =
        std::min<int64_t>(highestOrder + 2 * slice.maxReferences + 4, lastMsb + lastLsb + range / 2 - 1);
    // Added to low bits, so that it counts modulo their range; % alone would give negative numbers, too.
    const int64_t step = ((lowest - lastMsb - slice.orderLsb) % range + range) % range;
    shift = ToOrder(slice.orderLsb, range) >= lowest ? 0 : static_cast<uint32_t>(step);
}

// Takes the picture into account; `slice` becomes what it should say.
void H264EntryRepair::Follow(H264SliceHeader& slice)
{
    if (slice.idr)
    {
        // all references are let go of (8.2.5.1), numbers and orders begin anew
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
        // Type 2: pictures are shown as they are decoded (8.2.1.3). Nothing is told that could be moved.
        highestOrder += 2;
        return;
    }
    slice.orderLsb = (slice.orderLsb + shift) & (slice.orderRange - 1);
    const int64_t order = ToOrder(slice.orderLsb, slice.orderRange);
    highestOrder = std::max(highestOrder, order);
    // the next order is told by its distance from a reference picture
    if (!slice.reference)
        return;
    lastMsb = order - slice.orderLsb;
    lastLsb = slice.orderLsb;
}

// 8.2.1.1: of all orders with these low bits, the one nearest to the reference picture before.
int64_t H264EntryRepair::ToOrder(uint32_t lsb, int64_t range) const
{
    const int64_t step = lsb - lastLsb;
    if (step < 0 && -step >= range / 2)
        return lastMsb + range + lsb;
    return step > range / 2 ? lastMsb - range + lsb : lastMsb + lsb;
}

// 8.2.5.2: numbers left out count as pictures, each pushing out the oldest. Of a long gap (a damaged number may leave
// out 65535) only those are added that stay.
void H264EntryRepair::FillGap(const H264SliceHeader& slice)
{
    const uint32_t mask = slice.frameNumRange - 1;
    // A picture repeats the number of one before it that was no reference (7.4.3, frame_num).
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

// picNumX of 8.2.5.4.1, for frames modulo MaxFrameNum. Its own inverse: it also finds the difference for a number.
uint32_t H264EntryRepair::ToFrameNum(const H264SliceHeader& slice, uint32_t difference)
{
    return (slice.frameNum - difference - 1) & (slice.frameNumRange - 1);
}

// 8.2.5.3 and 8.2.5.4. Without commands the oldest reference makes room by itself. With commands none goes that is not
// named: where a command was taken out because it names nothing, a stale picture is named instead, or decoders would
// hold more than they have room for.
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
    // a stale one may have had the number, and decoders drop it too
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
        // Order and marking are told by every slice of a picture, and have to agree (7.4.3).
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
        // commands and emulation bytes may have made it longer than its length can tell
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
