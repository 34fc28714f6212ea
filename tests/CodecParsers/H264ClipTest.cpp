#include "Proc/CodecParsers/H264CodecParser.h"
#include "media/IFormatCodecVideo.h"
#include "tests/CodecParsers/NaluTestTools.h"
#include "tests/CodecParsers/RealClip.h"

#include <memory>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// The H.264 track of a real file.
class H264Clip : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        TESSOR_SKIP_WITHOUT(GetParam());
        clip = std::make_unique<RealClip>(GetParam());
        extradata = clip->GetExtradata();
        lengthSize = GetAvccNALULengthSize(extradata->Data(), extradata->Size());
    }

    std::unique_ptr<RealClip> clip;
    SP<const IBlob> extradata;
    size_t lengthSize = 0; // 0 when the track is Annex B
};

int ToPictureType(H264_Slice_Type type)
{
    static const int types[] = {AV_PICTURE_TYPE_NONE, AV_PICTURE_TYPE_P,  AV_PICTURE_TYPE_B,
                                AV_PICTURE_TYPE_I,    AV_PICTURE_TYPE_SP, AV_PICTURE_TYPE_SI};
    return types[type + 1];
}

} // namespace

TEST_P(H264Clip, HeadersAgreeWithLibavcodec)
{
    const AVCodecParameters& parameters = clip->GetParameters();
    SPS_decoded sps;
    PPS_decoded pps;
    DecodeSPS(extradata->Data(), extradata->Size(), sps);
    DecodePPS(extradata->Data(), extradata->Size(), pps);
    EXPECT_EQ(static_cast<int>(sps.GetVisibleSize().first), parameters.width);
    EXPECT_EQ(static_cast<int>(sps.GetVisibleSize().second), parameters.height);
    EXPECT_EQ(sps.profile_idc, parameters.profile & 0xFF);
    EXPECT_EQ(sps.level_idc, parameters.level);
    EXPECT_EQ(pps.seq_parameter_set_id, sps.seq_parameter_set_id);
    // libavformat measures the delay of the frames that it has seen; it can't exceed what the header allows.
    EXPECT_GE(static_cast<int>(sps.ComputeReorderWindow()), parameters.video_delay);
    const VUI_decoded& vui = sps.vui_parameters;
    if (vui.colour_description_present_flag)
    {
        EXPECT_EQ(vui.colour_primaries, parameters.color_primaries);
        EXPECT_EQ(vui.matrix_coefficients, parameters.color_space);
    }
    EXPECT_EQ(GetFirstEmptyPSId(extradata), 1u);
}

TEST_P(H264Clip, HeaderFormsConvertIntoEachOther)
{
    const auto decode = [](const SP<const IBlob>& header)
    {
        SPS_decoded sps;
        DecodeSPS(header->Data(), header->Size(), sps);
        return sps;
    };
    const SP<const IBlob> annexB = H264_Extradata_Mp4toAnnexB(extradata);
    const SP<const IBlob> avcc = H264_Extradata_AnnexBtoMp4(annexB);
    EXPECT_EQ(GetAvccNALULengthSize(avcc->Data(), avcc->Size()), 4u);
    EXPECT_TRUE(decode(annexB) == decode(extradata));
    EXPECT_TRUE(decode(avcc) == decode(extradata));
    if (lengthSize > 0)
    {
        EXPECT_EQ(ToHex(*H264_Extradata_Mp4toAnnexB(avcc)), ToHex(*annexB));
    }
}

TEST_P(H264Clip, SliceTypesAgreeWithLibavcodec)
{
    ReferenceParser reference(clip->GetParameters());
    size_t packets = 0;
    for (SP<IDataPacket> packet = clip->Read(); packet; packet = clip->Read(), ++packets)
    {
        const auto type = GetH264Type(packet, lengthSize > 0, lengthSize);
        EXPECT_EQ(ToPictureType(type.second), reference.Parse(*packet).pict_type)
            << packets << ' ' << TypeToString(type);
    }
    EXPECT_GT(packets, 10u);
}

TEST_P(H264Clip, PacketsSurviveConversion)
{
    for (SP<IDataPacket> packet = clip->Read(); packet; packet = clip->Read())
    {
        const Bytes original = Payload(*packet);
        SP<IDataPacket> annexB = packet->Clone();
        if (lengthSize > 0)
        {
            annexB->GetAVPacket()->flags &= ~AV_PKT_FLAG_KEY; // without parameter sets in front
            annexB = Mp4toAnnexB(annexB, lengthSize, extradata, Conf::IFormatCodecVideo::CODEC_ID_H264);
            EXPECT_EQ(Payload(*packet), original); // the clone's bytes were its own
        }
        const SP<IDataPacket> mp4 = AnnexBtoMp4(annexB, 4);
        EXPECT_EQ(GetH264Type(mp4, true, 4), GetH264Type(packet, lengthSize > 0, lengthSize));
        if (lengthSize == 4)
        {
            EXPECT_EQ(Payload(*mp4), original);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Media, H264Clip,
    testing::Values("h264-1080i-opengop-avchd-ac3.mts", "h264-baseline-cavlc-aac.mp4", "h264-editlist-opengop-444.mp4",
                    "h264-editlist-start1s-aac.mp4", "h264-high-annexb-aac.ts", "h264-high-cinemascope-aac51.mp4",
                    "h264-high-closedgop-bframes-aac.mp4", "h264-join-first-aac.mp4", "h264-join-second-aac.mp4",
                    "h264-letterbox-sintel-mp3.mp4", "h264-missing-idr.264", "h264-multi-pps-conformance.264",
                    "h264-opengop-bpyramid-synth.mp4", "h264-ptswrap-aac.ts", "h264-rotated90-iphone-aac.mov",
                    "h264-subs-ass-ac3.mkv", "h264-subs-pgs-ac3.mkv", "h264-subs-vobsub-ac3.mkv",
                    "h264-truncated-derived.mp4", "h264-vfr-screen.mp4"));
