#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "media/IFormatCodecVideo.h"
#include "tests/CodecParsers/NaluTestTools.h"
#include "tests/CodecParsers/RealClip.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

#include <memory>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// The HEVC track of a real file.
class HEVCClip : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        TESSOR_SKIP_WITHOUT(GetParam());
        clip = std::make_unique<RealClip>(GetParam());
        extradata = clip->GetExtradata();
        annexB = HEVC_Extradata_hvcCtoAnnexB(extradata);
        lengthSize = GetHvccNALULengthSize(extradata->Data(), extradata->Size());
    }

    std::vector<Nalu> UnitsOf(const IDataPacket& packet) const
    {
        std::vector<Nalu> units;
        const auto size = static_cast<size_t>(packet.GetSize());
        if (lengthSize > 0)
            FindMP4Nalus(packet.GetData(), size, units, lengthSize);
        else
            FindAnnexBNalus(packet.GetData(), size, units);
        return units;
    }

    std::unique_ptr<RealClip> clip;
    SP<const IBlob> extradata;
    SP<const IBlob> annexB; // the extradata in that form
    size_t lengthSize = 0;  // 0 when the track is Annex B
};

} // namespace

TEST_P(HEVCClip, HeadersAgreeWithLibavcodec)
{
    const AVCodecParameters& parameters = clip->GetParameters();
    HEVC_VPS vps;
    HEVC_SPS sps;
    HEVCDecodeVPS(annexB->Data(), annexB->Size(), vps);
    HEVCDecodeSPS(annexB->Data(), annexB->Size(), sps);
    EXPECT_EQ(static_cast<int>(sps.GetVisibleSize().first), parameters.width);
    EXPECT_EQ(static_cast<int>(sps.GetVisibleSize().second), parameters.height);
    EXPECT_EQ(sps.profile_tier_level.general_profile_idc, parameters.profile);
    EXPECT_EQ(sps.profile_tier_level.general_level_idc, parameters.level);
    EXPECT_EQ(static_cast<int>(sps.ComputeReorderWindow()), parameters.video_delay);
    const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(parameters.format));
    ASSERT_TRUE(pixels);
    EXPECT_EQ(sps.bit_depth_luma_minus8 + 8, pixels->comp[0].depth);
    EXPECT_EQ(sps.bit_depth_chroma_minus8 + 8, pixels->comp[1].depth);
    EXPECT_EQ(sps.chroma_format_idc, 1);
    EXPECT_EQ(pixels->log2_chroma_h, 1);
    EXPECT_TRUE(vps.profile_tier_level == sps.profile_tier_level);
    EXPECT_EQ(vps.ComputeReorderWindow(), sps.ComputeReorderWindow());
    EXPECT_EQ(vps.vps_video_parameter_set_id, sps.sps_video_parameter_set_id);
}

TEST_P(HEVCClip, HeaderFormsConvertIntoEachOther)
{
    const SP<const IBlob> hvcc = HEVC_Extradata_AnnexBtoHvcC(annexB);
    const auto sortedUnits = [](const SP<const IBlob>& header)
    {
        std::vector<Nalu> units;
        FindHvccHeaderNalus(header->Data(), header->Size(), units);
        std::stable_sort(units.begin(), units.end(),
                         [](const Nalu& a, const Nalu& b) { return a.first[0] < b.first[0]; });
        return ToHex(units);
    };
    if (lengthSize == 0)
    {
        EXPECT_EQ(HEVC_Extradata_hvcCtoAnnexB(extradata), extradata);
        EXPECT_EQ(ToHex(*HEVC_Extradata_AnnexBtoHvcC(HEVC_Extradata_hvcCtoAnnexB(hvcc))), ToHex(*hvcc));
        return;
    }
    EXPECT_EQ(sortedUnits(hvcc), sortedUnits(extradata));
    // The file's own writer says the same of profile, level, chroma and depths; bytes between are free.
    const Bytes own = Payload(*extradata), made = Payload(*hvcc);
    EXPECT_EQ(ToHex(made.data(), 13), ToHex(own.data(), 13));
    EXPECT_EQ(ToHex(made.data() + 16, 3), ToHex(own.data() + 16, 3));
    EXPECT_EQ(made[21] & 7, own[21] & 7); // temporalIdNested, length size
}

TEST_P(HEVCClip, UnitTypesAgreeWithLibavcodec)
{
    ReferenceParser reference(clip->GetParameters());
    size_t packets = 0, keys = 0;
    for (SP<IDataPacket> packet = clip->Read(); packet; packet = clip->Read(), ++packets)
    {
        bool isKey = false;
        size_t slices = 0;
        for (const Nalu& unit : UnitsOf(*packet))
        {
            isKey |= GetHEVCType(unit.first, unit.second) >= HEVC_NALU_BLA_W_LP && IsVclNalu(unit);
            slices += IsVclNalu(unit);
        }
        EXPECT_GT(slices, 0u) << packets;
        EXPECT_EQ(isKey, reference.Parse(*packet).key_frame == 1) << packets;
        keys += isKey;
    }
    EXPECT_GT(packets, 10u);
    EXPECT_GT(keys, 0u);
}

// Key packets become decodable alone: a fresh decoder without extradata gives a picture of the right size.
TEST_P(HEVCClip, KeyPacketsWithExtradataDecodeAlone)
{
    SP<IDataPacket> packet = clip->Read();
    ASSERT_TRUE(packet && packet->IsKeyFrame());
    if (lengthSize > 0)
    {
        packet->GetAVPacket()->flags &= ~AV_PKT_FLAG_KEY; // converted alone, without parameter sets in front
        packet = Mp4toAnnexB(packet, lengthSize, extradata, Conf::IFormatCodecVideo::CODEC_ID_H265);
        packet->GetAVPacket()->flags |= AV_PKT_FLAG_KEY;
    }
    const SP<IDataPacket> whole = InsertHEVCExtradata(packet, annexB);
    const std::shared_ptr<AVCodecContext> decoder(avcodec_alloc_context3(nullptr),
                                                  [](AVCodecContext* c) { avcodec_free_context(&c); });
    decoder->thread_count = 1;
    const std::shared_ptr<AVFrame> frame(av_frame_alloc(), [](AVFrame* f) { av_frame_free(&f); });
    ASSERT_EQ(avcodec_open2(decoder.get(), avcodec_find_decoder(AV_CODEC_ID_HEVC), nullptr), 0);
    ASSERT_EQ(avcodec_send_packet(decoder.get(), whole->GetAVPacket()), 0);
    ASSERT_EQ(avcodec_send_packet(decoder.get(), nullptr), 0);
    ASSERT_EQ(avcodec_receive_frame(decoder.get(), frame.get()), 0);
    EXPECT_EQ(frame->width, clip->GetParameters().width);
    EXPECT_EQ(frame->height, clip->GetParameters().height);
}

INSTANTIATE_TEST_SUITE_P(Media, HEVCClip,
                         testing::Values("hevc-annexb-aac.ts", "hevc-hev1-cra-aac.mp4",
                                         "hevc-hvc1-main10-hdr10-aac.mp4"));
