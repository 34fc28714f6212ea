#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "fuzz/FuzzTools.h"

using namespace Tessor;
using namespace Tessor::Fuzz;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;

namespace
{

void DecodeSets(const uint8_t* data, size_t size)
{
    // Records are looked at even when decoding stopped half way.
    HEVC_VPS vps;
    Accepts([&] { HEVCDecodeVPS(data, size, vps); });
    Require(vps.ComputeReorderWindow() <= 16 && vps == vps);
    HEVC_SPS sps;
    Accepts([&] { HEVCDecodeSPS(data, size, sps); });
    Require(sps.ComputeReorderWindow() <= 16 && sps == sps);
    sps.GetVisibleSize();
}

/// The units of an hvcC without array_completeness and types: what survives every conversion.
std::vector<Nalu> Units(const IBlob& hvcc)
{
    std::vector<Nalu> units;
    FindHvccHeaderNalus(hvcc.Data(), hvcc.Size(), units);
    return units;
}

void Convert(const SP<const IBlob>& header)
{
    Accepts([&] { Require(GetHvccNALULengthSize(header->Data(), header->Size()) <= 4); });
    SP<const IBlob> annexB;
    if (!Accepts([&] { annexB = HEVC_Extradata_hvcCtoAnnexB(header); }))
        return;
    SP<const IBlob> hvcc;
    if (!Accepts([&] { hvcc = HEVC_Extradata_AnnexBtoHvcC(annexB); }))
        return;
    // What could be made is sound, and a second round changes nothing.
    Require(GetHvccNALULengthSize(hvcc->Data(), hvcc->Size()) == 4);
    const std::vector<Nalu> units = Units(*hvcc);
    Require(units.size() >= 2);
    const SP<const IBlob> again = HEVC_Extradata_AnnexBtoHvcC(HEVC_Extradata_hvcCtoAnnexB(hvcc));
    Require(std::equal(hvcc->Data(), hvcc->Data() + hvcc->Size(), again->Data(), again->Data() + again->Size()));
}

void Recover(const SP<IBlob>& header)
{
    const SP<IBlob> original = Blob(header->Data(), header->Size());
    if (!Accepts([&] { Require(RecoverHVCCHeader(header->Data(), header->Size())); }))
        return;
    // No more than two bytes change.
    Require(std::equal(header->Data() + 2, header->Data() + header->Size(), original->Data() + 2));
}

void EditPacket(const uint8_t* data, size_t size, const SP<const IBlob>& extradata)
{
    const SP<IDataPacket> packet = Packet(data, size, true);
    SP<IDataPacket> result;
    if (Accepts([&] { result = InsertHEVCExtradata(packet, extradata); }) && result != packet)
        Require(static_cast<size_t>(result->GetSize()) == size + extradata->Size());
    Require(!IsVclNalu({data, size}) || GetHEVCType(data, size) <= HEVC_NALU_CRA);
}

} // namespace

/// The first byte is the length of a header in front of a packet; the rest is also one header.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const uint8_t* const rest = data + 1;
    const size_t restSize = size - 1;
    const size_t headerSize = std::min<size_t>(data[0], restSize);
    DecodeSets(rest, restSize);
    Convert(Blob(rest, restSize));
    EditPacket(rest + headerSize, restSize - headerSize, Blob(rest, headerSize));
    Recover(Blob(rest, restSize));
    return 0;
}
