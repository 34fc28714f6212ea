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
    Require(Decoded<HEVC_VPS>(HEVCDecodeVPS, data, size).ComputeReorderWindow() <= 16);
    const auto sps = Decoded<HEVC_SPS>(HEVCDecodeSPS, data, size);
    Require(sps.ComputeReorderWindow() <= 16);
    sps.GetVisibleSize();
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
    Require(SameBytes(*hvcc, *HEVC_Extradata_AnnexBtoHvcC(HEVC_Extradata_hvcCtoAnnexB(hvcc))));
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

// The rest behind the first byte is also one header, and a header in front of a packet.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const SplitInput in(data, size);
    DecodeSets(in.data, in.size);
    Convert(Blob(in.data, in.size));
    EditPacket(in.data + in.headerSize, in.size - in.headerSize, Blob(in.data, in.headerSize));
    Recover(Blob(in.data, in.size));
    return 0;
}
