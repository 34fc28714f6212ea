#include "Proc/CodecParsers/H264CodecParser.h"
#include "fuzz/FuzzTools.h"
#include "media/formats/IFormatCodecVideo.h"

using namespace Tessor;
using namespace Tessor::Fuzz;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;

namespace
{

void DecodeSets(const uint8_t* data, size_t size)
{
    const auto sps = Decoded<SPS_decoded>(DecodeSPS, data, size);
    Require(sps.ComputeReorderWindow() <= 16 && sps.EqualTo(sps));
    sps.GetVisibleSize();
    for (const std::string& profile : {Conf::IFormatCodecVideo::TAG_X264_PROFILE_HIGH, std::string("none")})
        sps.GetMaxBR(profile);
    Require(sps.GetMaxFS() <= sps.GetMaxMBPS());
    // Each entry took a bit at least: what is allocated follows the data, not its claims.
    Require(sps.offset_for_ref_frame.size() <= size * 8);

    const auto pps = Decoded<PPS_decoded>(DecodePPS, data, size);
    Require(pps.EqualTo(pps));
    Require(pps.run_length_minus1.size() + pps.top_left.size() + pps.slice_group_id.size() <= size * 8);
}

void Convert(const uint8_t* data, size_t size)
{
    const SP<const IBlob> header = Blob(data, size);
    Accepts([&] { GetAvccNALULengthSize(data, size); });
    Accepts([&] { Require(GetFirstEmptyPSId(header) == 1); });
    Accepts(
        [&]
        {
            const SP<const IBlob> annexB = H264_Extradata_Mp4toAnnexB(header);
            const SP<const IBlob> avcc = H264_Extradata_AnnexBtoMp4(annexB);
            Require(GetAvccNALULengthSize(avcc->Data(), avcc->Size()) > 0);
        });
}

void Join(const uint8_t* data, size_t size, size_t middle)
{
    const SP<const IBlob> first = Blob(data, middle);
    const SP<const IBlob> second = Blob(data + middle, size - middle);
    Accepts(
        [&]
        {
            const SP<const IBlob> joined = H264_AddPSsToHeader(first, second);
            // Every size of an avcC that could be joined fits, so that the result can be walked.
            std::vector<Nalu> units;
            if (IsAvcCHeader(joined->Data(), joined->Size()))
                FindAvccHeaderNalus(joined->Data(), joined->Size(), units);
        });
}

} // namespace

// The rest behind the first byte is also one header, and two headers to join.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const SplitInput in(data, size);
    DecodeSets(in.data, in.size);
    Convert(in.data, in.size);
    Join(in.data, in.size, in.headerSize);
    return 0;
}
