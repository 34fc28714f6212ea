#include "Proc/CodecParsers/HEVCCodecParser.h"

#include "Fnd/DataOutputString.h"
#include "Proc/CodecParsers/Nal/LengthPrefixes.h"
#include "Proc/CodecParsers/Nal/NaluTools.h"
#include "Proc/CodecParsers/Nal/RBSPInput.h"
#include "Proc/CodecParsers/Syntax/HEVCParameterSetSyntax.h"

#include <algorithm>

namespace Tessor::Proc::CodecParsers
{

namespace
{

constexpr unsigned NalHeaderBits = 16;
constexpr size_t HvccSize = 23; ///< bytes of an hvcC without any array

HEVC_NALU_Types TypeOf(const Nalu& unit)
{
    return GetHEVCType(unit.first, unit.second);
}

bool IsParameterSet(const Nalu& unit)
{
    const HEVC_NALU_Types type = TypeOf(unit);
    return type == HEVC_NALU_VPS || type == HEVC_NALU_SPS || type == HEVC_NALU_PPS;
}

bool BeginsWith(const uint8_t* data, const std::vector<uint8_t>& bytes)
{
    return std::equal(bytes.begin(), bytes.end(), data);
}

/// Big-endian number of `count` bytes at `at`, which moves past it. Throws Exception `fault` when they don't fit.
size_t TakeNumber(std::span<const uint8_t> header, size_t& at, size_t count, const char* fault)
{
    if (count > header.size() - at)
        Throw<Exception>(TESSOR_HERE, fault);
    at += count;
    return ReadBigEndian(header.data() + at - count, count);
}

Nalu GetFirstNaluOfType(const uint8_t* data, size_t size, HEVC_NALU_Types type)
{
    if (IsHvcCHeader(data, size))
        Throw<Exception>(TESSOR_HERE, "Finding HEVC NALUs in hvcC is not implemented yet");
    std::vector<Nalu> units;
    FindAnnexBNalus(data, size, units);
    const auto found = std::find_if(units.begin(), units.end(), [type](const Nalu& u) { return TypeOf(u) == type; });
    if (found == units.end())
        Throw<Exception>(TESSOR_HERE, "Can't find nalu of type " + std::to_string(type));
    return *found;
}

/// The head of an hvcC, up to the number of arrays.
void WriteHvccHead(const HEVC_VPS& vps, const HEVC_SPS& sps, Core::DataBitOutput& output)
{
    const HEVC_PTL& ptl = vps.profile_tier_level;
    output.WriteBits(1, 8); // version
    output.WriteBits(ptl.general_profile_space, 2);
    output.WriteBits(ptl.general_tier_flag, 1);
    output.WriteBits(ptl.general_profile_idc, 5);
    output.WriteData(ptl.general_profile_compatibility_flags.data(), ptl.general_profile_compatibility_flags.size());
    output.WriteData(ptl.general_constraint_indicator_flags.data(), ptl.general_constraint_indicator_flags.size());
    output.WriteBits(ptl.general_level_idc, 8);
    // of the next five fields the upper bits are reserved and set
    output.WriteBits(0xF000, 16); // min_spatial_segmentation_idc, unknown
    output.WriteBits(0xFC, 8);    // parallelismType, unknown
    output.WriteBits(sps.chroma_format_idc | 0xFC, 8);
    output.WriteBits(sps.bit_depth_luma_minus8 | 0xF8, 8);
    output.WriteBits(sps.bit_depth_chroma_minus8 | 0xF8, 8);
    output.WriteBits(0, 16); // avgFrameRate, unspecified
    output.WriteBits(0, 2);  // constantFrameRate, unknown
    // numTemporalLayers takes the number less 1 here, so that a stream without sub-layers says 0: unknown.
    output.WriteBits(vps.vps_max_sub_layers_minus1, 3);
    output.WriteBits(vps.vps_temporal_id_nesting_flag, 1);
    output.WriteBits(3, 2); // length size less 1
}

/// The units that go into one array of an hvcC.
struct HvccArray
{
    HEVC_NALU_Types type;
    std::vector<Nalu> units;
};

/// The arrays of an hvcC, in its order, that an Annex B header fills.
std::vector<HvccArray> FindHvccArrays(std::span<const uint8_t> header)
{
    std::vector<Nalu> units;
    FindAnnexBNalus(header.data(), header.size(), units);
    std::vector<HvccArray> arrays;
    for (const auto type : {HEVC_NALU_VPS, HEVC_NALU_SPS, HEVC_NALU_PPS, HEVC_NALU_SEI_PREFIX, HEVC_NALU_SEI_SUFFIX})
    {
        HvccArray array{type, {}};
        std::copy_if(units.begin(), units.end(), std::back_inserter(array.units),
                     [type](const Nalu& unit) { return TypeOf(unit) == type; });
        if (!array.units.empty())
            arrays.push_back(std::move(array));
    }
    return arrays;
}

/// The first bit, array_completeness, stays clear: packets may carry parameter sets as well.
void WriteHvccArray(const HvccArray& array, Core::DataBitOutput& output)
{
    output.WriteBits(0, 2);
    output.WriteBits(array.type, 6);
    WriteSizedUnits(array.units, 16, output);
}

} // namespace

bool IsHvcCHeader(const uint8_t* data, size_t size)
{
    if (size == 0)
        Throw<Exception>(TESSOR_HERE, "Not enougth data to determine HEVC header type");
    return data[0] == 1 || FindBrokenHVCCHeader(data, size);
}

bool FindBrokenHVCCHeader(const uint8_t* data, size_t size)
{
    if (size < 4)
        Throw<Exception>(TESSOR_HERE, "Not enougth data to determine h264 format type");
    if (BeginsWith(data, NALU_START_CODE_4_BYTE) || BeginsWith(data, NALU_START_CODE_3_BYTE) || data[0] == 1)
        return false;
    // the version byte, if zeros were put before it
    const uint8_t* const first = std::find_if(data, data + size, [](uint8_t byte) { return byte != 0; });
    return first == data + size || *first == 1;
}

bool RecoverHVCCHeader(uint8_t* data, size_t size)
{
    if (!data)
        return false;
    if (!FindBrokenHVCCHeader(data, size))
        return true;
    // deliberately no more than that: all that follows stays one byte late
    std::copy_n(data + 1, 2, data);
    return true;
}

size_t GetHvccNALULengthSize(const uint8_t* data, size_t size)
{
    if (!IsHvcCHeader(data, size))
        return 0;
    if (size < HvccSize)
        Throw<Exception>(TESSOR_HERE, "Not enougth data to determine HEVC NALU length size");
    return (data[21] & 3) + 1;
}

void FindHvccHeaderNalus(const uint8_t* data, size_t size, std::vector<Nalu>& out)
{
    if (size < HvccSize)
        Throw<Exception>(TESSOR_HERE, "hvcC header is too small");
    if (data[0] != 1)
        Throw<Exception>(TESSOR_HERE, "Unknown hvcC version");
    const std::span header(data, size);
    size_t at = HvccSize;
    for (size_t arrays = data[HvccSize - 1]; arrays > 0; --arrays)
    {
        const size_t typeAndCount = TakeNumber(header, at, 3, "hvcC header has wring structure");
        for (size_t count = typeAndCount & 0xFFFF; count > 0; --count)
        {
            const char* const fault = "hvcC header has wrong structure";
            const size_t unitSize = TakeNumber(header, at, 2, fault);
            if (unitSize > size - at)
                Throw<Exception>(TESSOR_HERE, fault);
            out.emplace_back(data + at, unitSize);
            at += unitSize;
        }
    }
}

HEVC_NALU_Types GetHEVCType(const uint8_t* data, size_t size)
{
    if (!data || size < 2)
        return HEVC_NALU_INVALID;
    const uint32_t type = data[0] >> 1 & 63; // 7.3.1.2: after forbidden_zero_bit
    const bool reserved = (type >= 10 && type <= 15) || (type >= 22 && type <= 31) || type >= 41;
    return reserved ? HEVC_NALU_INVALID : static_cast<HEVC_NALU_Types>(type);
}

bool IsVclNalu(const std::pair<const uint8_t*, size_t>& unit)
{
    return TypeOf(unit) <= HEVC_NALU_CRA;
}

void HEVCDecodeVPS(const uint8_t* data, size_t size, HEVC_VPS& out)
{
    RBSPInput rbsp(GetFirstNaluOfType(data, size, HEVC_NALU_VPS), NalHeaderBits);
    out = {};
    ReadVPS(rbsp.bits, out);
}

void HEVCDecodeSPS(const uint8_t* data, size_t size, HEVC_SPS& out)
{
    RBSPInput rbsp(GetFirstNaluOfType(data, size, HEVC_NALU_SPS), NalHeaderBits);
    out = {};
    ReadSPS(rbsp.bits, out);
}

SP<const IBlob> HEVC_Extradata_AnnexBtoHvcC(const SP<const IBlob>& extradata)
{
    const auto header = BlobBytes(extradata);
    HEVC_VPS vps;
    HEVC_SPS sps;
    HEVCDecodeVPS(header.data(), header.size(), vps);
    HEVCDecodeSPS(header.data(), header.size(), sps);
    const std::vector<HvccArray> arrays = FindHvccArrays(header);
    const auto record = Core::DataOutputString::Create();
    Core::DataBitOutput output(record);
    WriteHvccHead(vps, sps, output);
    output.WriteBits(static_cast<uint32_t>(arrays.size()), 8);
    for (const HvccArray& array : arrays)
        WriteHvccArray(array, output);
    output.Flush();
    return CreateBlobOf(record->GetString());
}

SP<const IBlob> HEVC_Extradata_hvcCtoAnnexB(const SP<const IBlob>& extradata)
{
    auto header = BlobBytes(extradata);
    if (!IsHvcCHeader(header.data(), header.size()))
        return extradata;
    std::vector<uint8_t> recovered;
    if (header[0] != 1)
    {
        recovered.assign(header.begin(), header.end());
        if (!RecoverHVCCHeader(recovered.data(), recovered.size()))
            Throw<Exception>(TESSOR_HERE, "Can't recover hvcc header");
        header = recovered;
    }
    std::vector<Nalu> units;
    FindHvccHeaderNalus(header.data(), header.size(), units);
    return CreateAnnexBBlob(units);
}

SP<IDataPacket> InsertHEVCExtradata(const SP<IDataPacket>& packet, const SP<const IBlob>& extradata)
{
    if (!extradata || !packet || !packet->IsKeyFrame())
        return packet;
    if (IsHvcCHeader(extradata->Data(), extradata->Size()))
        Throw<Exception>(TESSOR_HERE, "Trying to insert hvcC extradata into annexB packet");
    return InsertParameterSets(packet, *extradata, IsParameterSet);
}

} // namespace Tessor::Proc::CodecParsers
