#include "Proc/CodecParsers/H264CodecParser.h"

#include "Fnd/DataOutputString.h"
#include "Proc/CodecParsers/Nal/LengthPrefixes.h"
#include "Proc/CodecParsers/Nal/NaluTools.h"
#include "Proc/CodecParsers/Nal/RBSPInput.h"
#include "Proc/CodecParsers/Nal/StartCode.h"
#include "Proc/CodecParsers/PacketTools.h"
#include "Proc/CodecParsers/Syntax/H264ParameterSetSyntax.h"

#include <algorithm>

namespace Tessor::Proc::CodecParsers
{

namespace
{

constexpr unsigned NalHeaderBits = 8;
constexpr size_t AvccSize = 7; ///< bytes of an avcC without any parameter set

/// nal_unit_type of a unit that is not empty, 7.3.1: below forbidden_zero_bit and nal_ref_idc.
uint32_t TypeOf(const Nalu& unit)
{
    return *unit.first & 31;
}

bool IsParameterSet(const Nalu& unit)
{
    return unit.second > 0 && (TypeOf(unit) == H264_NALU_SPS || TypeOf(unit) == H264_NALU_PPS);
}

/// A slice whose header can be read: a unit of one byte has none, nor have the data partitions B and C.
bool IsSlice(const Nalu& unit)
{
    if (unit.second < 2)
        return false;
    const uint32_t type = TypeOf(unit);
    return type == H264_NALU_SLICE || type == H264_NALU_PARTITION_A || type == H264_NALU_IDR;
}

/// Walks over an avcC from `at`, appending one run of sized parameter sets; returns where it ends.
size_t FindAvccRun(std::span<const uint8_t> header, size_t at, size_t countMask, std::vector<Nalu>& out)
{
    constexpr size_t sizeBytes = 2;
    const auto demand = [&](size_t count)
    {
        if (count > header.size() - at)
            Throw<Exception>(TESSOR_HERE, "avcC header is too small");
    };
    demand(1);
    for (size_t count = header[at++] & countMask; count > 0; --count)
    {
        demand(sizeBytes);
        const size_t size = ReadBigEndian(&header[at], sizeBytes);
        at += sizeBytes;
        demand(size);
        out.emplace_back(header.data() + at, size);
        at += size;
    }
    return at;
}

/// The units of a header in either form.
std::vector<Nalu> FindHeaderNalus(const uint8_t* data, size_t size)
{
    std::vector<Nalu> units;
    if (IsAvcCHeader(data, size))
        FindAvccHeaderNalus(data, size, units);
    else
        FindAnnexBNalus(data, size, units);
    return units;
}

const Nalu* FirstOfType(const std::vector<Nalu>& units, uint32_t type)
{
    const auto found = std::find_if(units.begin(), units.end(),
                                    [type](const Nalu& unit) { return unit.second >= 2 && TypeOf(unit) == type; });
    return found == units.end() ? nullptr : &*found;
}

Nalu GetFirstNaluOfType(const uint8_t* data, size_t size, uint32_t type)
{
    const std::vector<Nalu> units = FindHeaderNalus(data, size);
    const Nalu* found = FirstOfType(units, type);
    if (!found)
        Throw<Exception>(TESSOR_HERE, "Can't find nalu of type " + std::to_string(type));
    return *found;
}

std::vector<Nalu> UnitsOfType(const std::vector<Nalu>& units, uint32_t type)
{
    std::vector<Nalu> result;
    std::copy_if(units.begin(), units.end(), std::back_inserter(result),
                 [type](const Nalu& unit) { return unit.second > 0 && TypeOf(unit) == type; });
    return result;
}

/// avcC of the leading 5 bytes and the units given.
SP<const IBlob> CreateAvcc(const std::array<uint8_t, 5>& head, const std::vector<Nalu>& sps,
                           const std::vector<Nalu>& pps)
{
    const auto record = Core::DataOutputString::Create();
    Core::DataBitOutput output(record);
    output.WriteData(head.data(), head.size());
    // numOfSequenceParameterSets has 5 bits, numOfPictureParameterSets 8. The fields for high profiles that may follow
    // are left out: readers find all of that in the SPS.
    output.WriteBits(7, 3); // reserved
    WriteSizedUnits(sps, 5, output);
    WriteSizedUnits(pps, 8, output);
    output.Flush();
    return CreateBlobOf(record->GetString());
}

SP<const IBlob> JoinAvcc(std::span<const uint8_t> first, std::span<const uint8_t> second)
{
    std::vector<Nalu> sps;
    std::vector<Nalu> pps;
    for (const auto& header : {first, second})
    {
        const std::vector<Nalu> units = FindHeaderNalus(header.data(), header.size());
        const Nalu* firstSPS = FirstOfType(units, H264_NALU_SPS);
        const Nalu* firstPPS = FirstOfType(units, H264_NALU_PPS);
        if (!firstSPS || !firstPPS)
            Throw<Exception>(TESSOR_HERE, "No sps or pps found!");
        sps.push_back(*firstSPS);
        pps.push_back(*firstPPS);
    }
    // the length size in the fifth byte stays too: the packets keep their form
    return CreateAvcc({first[0], first[1], first[2], first[3], first[4]}, sps, pps);
}

/// The first slice of length-prefixed data, which is walked as a whole so that its faults show.
Nalu FindMP4Slice(std::span<const uint8_t> data, size_t lengthSize)
{
    std::vector<Nalu> units;
    FindMP4Nalus(data.data(), data.size(), units, lengthSize);
    const auto found = std::find_if(units.begin(), units.end(), IsSlice);
    return found == units.end() ? Nalu() : *found;
}

/// The beginning of the first slice of start-coded data, enough for the two numbers that are read from it.
Nalu FindAnnexBSlice(std::span<const uint8_t> data)
{
    // NAL header, two numbers of 8 bytes at most each, and the start code that may end the unit earlier.
    constexpr size_t window = 1 + 2 * 8 + 4;
    for (size_t code = FindStartCode(data.data(), data.size()); code < data.size();)
    {
        std::vector<Nalu> units;
        FindAnnexBNalus(data.data() + code, std::min(data.size() - code, window + 3), units);
        if (!units.empty() && IsSlice(units.front()))
            return units.front();
        code = FindStartCode(data.data(), data.size(), code + 3);
    }
    return {};
}

template <size_t Size>
std::string NameAt(const std::array<const char*, Size>& names, int64_t index)
{
    return index >= 0 && index < static_cast<int64_t>(Size) ? names[static_cast<size_t>(index)] : "X";
}

} // namespace

bool IsAvcCHeader(const uint8_t* data, size_t size)
{
    if (size == 0)
        Throw<Exception>(TESSOR_HERE, "Not enougth data to determine h264 header type");
    return data[0] == 1;
}

size_t GetAvccNALULengthSize(const uint8_t* data, size_t size)
{
    if (size <= 4)
        Throw<Exception>(TESSOR_HERE, "Not enougth data to determine h264 NALU length size");
    return IsAvcCHeader(data, size) ? (data[4] & 3) + 1 : 0;
}

void FindAvccHeaderNalus(const uint8_t* data, size_t size, std::vector<Nalu>& out)
{
    if (size < AvccSize)
        Throw<Exception>(TESSOR_HERE, "avcC header is too small");
    if (data[0] != 1)
        Throw<Exception>(TESSOR_HERE, "Unknown avcC version");
    const std::span header(data, size);
    // the SPS and then the PPS; the upper 3 bits of the first count are reserved
    FindAvccRun(header, FindAvccRun(header, 5, 31, out), 255, out);
}

SP<const IBlob> H264_Extradata_Mp4toAnnexB(const SP<const IBlob>& extradata)
{
    const auto header = BlobBytes(extradata);
    if (!IsAvcCHeader(header.data(), header.size()))
        return extradata;
    return CreateAnnexBBlob(FindHeaderNalus(header.data(), header.size()));
}

SP<const IBlob> H264_Extradata_AnnexBtoMp4(const SP<const IBlob>& extradata)
{
    const auto header = BlobBytes(extradata);
    if (IsAvcCHeader(header.data(), header.size()))
        return extradata;
    const std::vector<Nalu> units = FindHeaderNalus(header.data(), header.size());
    const std::vector<Nalu> sps = UnitsOfType(units, H264_NALU_SPS);
    const std::vector<Nalu> pps = UnitsOfType(units, H264_NALU_PPS);
    if (sps.empty() || pps.empty())
        Throw<Exception>(TESSOR_HERE, "No sps or pps found!");
    const auto& [first, firstSize] = sps.front();
    if (firstSize < 4)
        Throw<Exception>(TESSOR_HERE, "At least 4 bytes requires from first sps to form the avcc header");
    // profile, compatibility and level as they stand in the SPS; 0xFF is the length size of 4 under reserved bits
    return CreateAvcc({1, first[1], first[2], first[3], 0xFF}, sps, pps);
}

void DecodeSPS(const uint8_t* data, size_t size, SPS_decoded& out)
{
    RBSPInput rbsp(GetFirstNaluOfType(data, size, H264_NALU_SPS), NalHeaderBits);
    out = {};
    ReadSPS(rbsp.bits, out);
}

void DecodePPS(const uint8_t* data, size_t size, PPS_decoded& out)
{
    RBSPInput rbsp(GetFirstNaluOfType(data, size, H264_NALU_PPS), NalHeaderBits);
    out = {};
    ReadPPS(rbsp.bits, out);
}

std::pair<NALUTypes, H264_Slice_Type> GetH264Type(const SP<const IDataPacket>& packet, bool isMp4, size_t lengthSize)
{
    const auto bytes = PacketBytes(*packet);
    const Nalu slice = isMp4 ? FindMP4Slice(bytes, lengthSize) : FindAnnexBSlice(bytes);
    if (!slice.first)
        return {H264_NALU_UNKNOWN, H264_SLICE_UNKNOWN};
    // Straight from the bytes, because every packet comes by here: an emulation prevention byte could stand only in a
    // number of at least 22 leading zeros, and no picture has that many macroblocks.
    Core::DataBitInput bits(Core::DataInputMemory::Create(slice.first, slice.second));
    bits.ReadBits(NalHeaderBits);
    read_ue(bits); // first_mb_in_slice
    const uint32_t type = read_ue(bits);
    // 5 to 9 say that all other slices of the picture are of the same type, Table 7-6
    return {static_cast<NALUTypes>(TypeOf(slice)), static_cast<H264_Slice_Type>(type >= 5 ? type - 5 : type)};
}

std::string TypeToString(const std::pair<NALUTypes, H264_Slice_Type>& type)
{
    return "nalu: " + NameAt(NALU_TYPE_STRS, type.first) +
           ", slice: " + NameAt(SLICE_TYPE_STRS, static_cast<int64_t>(type.second) + 1);
}

SP<IDataPacket> InsertH264Extradata(const SP<IDataPacket>& packet, const SP<const IBlob>& extradata)
{
    if (!extradata || IsAvcCHeader(extradata->Data(), extradata->Size()) || !packet || !packet->IsKeyFrame())
        return packet;
    return InsertParameterSets(packet, *extradata, IsParameterSet);
}

SP<const IBlob> H264_AddPSsToHeader(const SP<const IBlob>& first, const SP<const IBlob>& second)
{
    const auto head = BlobBytes(first);
    if (IsAvcCHeader(head.data(), head.size()))
        return JoinAvcc(head, BlobBytes(second));
    const SP<const IBlob> converted = H264_Extradata_Mp4toAnnexB(second);
    const auto tail = BlobBytes(converted);
    const SP<BlobFF> joined = CreateBlob(head.size() + tail.size());
    std::copy(tail.begin(), tail.end(), std::copy(head.begin(), head.end(), joined->Data()));
    return joined;
}

SP<IDataPacket> H264_ReplacePSs(const SP<IDataPacket>& packet, const uint8_t* header, size_t headerSize)
{
    if (!packet || !packet->IsKeyFrame())
        return packet;
    std::vector<Nalu> units = FindHeaderNalus(header, headerSize);
    std::erase_if(units, [](const Nalu& unit) { return !IsParameterSet(unit); });
    for (const Nalu& unit : FindPacketNalus(*packet))
        if (unit.second > 0 && !IsParameterSet(unit))
            units.push_back(unit);
    const SP<DataPacketFF> result = CreatePacketLike(*packet, AnnexBSize(units));
    WriteAnnexB(units, result->Data());
    return result;
}

uint32_t GetFirstEmptyPSId(const SP<const IBlob>& header)
{
    const auto bytes = BlobBytes(header);
    // read only to find malformed sets; the numbers themselves make no difference
    for (const Nalu& unit : FindHeaderNalus(bytes.data(), bytes.size()))
    {
        if (!IsParameterSet(unit))
            continue;
        RBSPInput rbsp(unit, NalHeaderBits);
        if (TypeOf(unit) == H264_NALU_SPS)
            rbsp.bits.ReadBits(24); // profile, constraints, level
        read_ue(rbsp.bits);
    }
    return 1;
}

} // namespace Tessor::Proc::CodecParsers
