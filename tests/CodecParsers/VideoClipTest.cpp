#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"
#include "media/IFormatCodecVideo.h"
#include "tests/CodecParsers/RealClip.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

/// What libavcodec's parser sees in the packets of a track.
class ReferenceParser
{
public:
    explicit ReferenceParser(const AVCodecParameters& parameters)
        : parser(av_parser_init(parameters.codec_id)), context(avcodec_alloc_context3(nullptr))
    {
        avcodec_parameters_to_context(context, &parameters);
        parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    }
    ~ReferenceParser()
    {
        av_parser_close(parser);
        avcodec_free_context(&context);
    }
    ReferenceParser(const ReferenceParser&) = delete;
    ReferenceParser& operator=(const ReferenceParser&) = delete;

    /// The parser's record (pict_type, key_frame) behind the packet.
    const AVCodecParserContext& Parse(const IDataPacket& packet)
    {
        uint8_t* out = nullptr;
        int size = 0;
        av_parser_parse2(parser, context, &out, &size, packet.GetData(), packet.GetSize(), 0, 0, 0);
        return *parser;
    }

private:
    AVCodecParserContext* const parser;
    AVCodecContext* context;
};

template <AVCodecID>
class CodecClip : public ClipTest<MediaType::Video>
{
protected:
    template <class Record>
    static Record Read(Decode<Record> decode, const IBlob& header)
    {
        Record record;
        decode(header.Data(), header.Size(), record);
        return record;
    }
    void ExpectSize(std::pair<int, int> size) const
    {
        EXPECT_EQ(size, std::pair(parameters->width, parameters->height));
    }
    void ExpectProfile(int profile, int level) const
    {
        EXPECT_EQ(profile, parameters->profile & ~FF_PROFILE_H264_CONSTRAINED & ~FF_PROFILE_H264_INTRA);
        EXPECT_EQ(level, parameters->level);
    }
    /// A packet without parameter sets in front, in Annex B whatever the track is in.
    SP<IDataPacket> ToAnnexB(const IDataPacket& packet, size_t lengthSize, const std::string& codec) const
    {
        SP<IDataPacket> result = packet.Clone();
        if (lengthSize == 0)
            return result;
        result->GetAVPacket()->flags &= ~AV_PKT_FLAG_KEY;
        return Mp4toAnnexB(result, lengthSize, extradata, codec);
    }
};

using H264Clip = CodecClip<AV_CODEC_ID_H264>;
using HEVCClip = CodecClip<AV_CODEC_ID_HEVC>;
using Mpeg2Clip = CodecClip<AV_CODEC_ID_MPEG2VIDEO>;
using Mpeg4Clip = CodecClip<AV_CODEC_ID_MPEG4>;
using TheoraClip = CodecClip<AV_CODEC_ID_THEORA>;
using Wmv2Clip = CodecClip<AV_CODEC_ID_WMV2>;

int ToPictureType(H264_Slice_Type type)
{
    static const int types[] = {AV_PICTURE_TYPE_NONE, AV_PICTURE_TYPE_P,  AV_PICTURE_TYPE_B,
                                AV_PICTURE_TYPE_I,    AV_PICTURE_TYPE_SP, AV_PICTURE_TYPE_SI};
    return types[type + 1];
}

} // namespace

TEST_P(H264Clip, HeaderAgreesWithLibavcodec)
{
    const auto sps = Read(DecodeSPS, *extradata);
    ExpectSize(sps.GetVisibleSize());
    ExpectProfile(sps.profile_idc, sps.level_idc);
    EXPECT_EQ(Read(DecodePPS, *extradata).seq_parameter_set_id, sps.seq_parameter_set_id);
    // libavformat measures the delay of the frames that it has seen; it can't exceed what the header allows.
    EXPECT_GE(static_cast<int>(sps.ComputeReorderWindow()), parameters->video_delay);
    const VUI_decoded& vui = sps.vui_parameters;
    if (vui.colour_description_present_flag)
    {
        EXPECT_EQ(vui.colour_primaries, parameters->color_primaries);
        EXPECT_EQ(vui.matrix_coefficients, parameters->color_space);
    }
    // Forms convert into each other.
    const SP<const IBlob> annexB = H264_Extradata_Mp4toAnnexB(extradata);
    const SP<const IBlob> avcc = H264_Extradata_AnnexBtoMp4(annexB);
    EXPECT_EQ(GetAvccNALULengthSize(avcc->Data(), avcc->Size()), 4u);
    EXPECT_TRUE(Read(DecodeSPS, *annexB) == sps);
    EXPECT_TRUE(Read(DecodeSPS, *avcc) == sps);
}

TEST_P(H264Clip, SlicesAgreeWithLibavcodecAndPacketsSurviveConversion)
{
    const size_t lengthSize = GetAvccNALULengthSize(extradata->Data(), extradata->Size());
    ReferenceParser reference(*parameters);
    size_t packets = 0;
    for (SP<IDataPacket> packet = clip->Read(); packet; packet = clip->Read(), ++packets)
    {
        SCOPED_TRACE(packets);
        const auto type = GetH264Type(packet, lengthSize > 0, lengthSize);
        EXPECT_EQ(ToPictureType(type.second), reference.Parse(*packet).pict_type) << TypeToString(type);
        const Bytes original = Payload(*packet);
        const SP<IDataPacket> annexB = ToAnnexB(*packet, lengthSize, Conf::IFormatCodecVideo::CODEC_ID_H264);
        EXPECT_EQ(Payload(*packet), original); // the clone's bytes were its own
        const SP<IDataPacket> mp4 = AnnexBtoMp4(annexB, 4);
        EXPECT_EQ(GetH264Type(mp4, true, 4), type);
        EXPECT_TRUE(lengthSize != 4 || Payload(*mp4) == original);
    }
    EXPECT_GT(packets, 10u);
}

TEST_P(HEVCClip, HeaderAgreesWithLibavcodec)
{
    const SP<const IBlob> annexB = HEVC_Extradata_hvcCtoAnnexB(extradata);
    const auto vps = Read(HEVCDecodeVPS, *annexB);
    const auto sps = Read(HEVCDecodeSPS, *annexB);
    ExpectSize(sps.GetVisibleSize());
    ExpectProfile(sps.profile_tier_level.general_profile_idc, sps.profile_tier_level.general_level_idc);
    EXPECT_EQ(static_cast<int>(sps.ComputeReorderWindow()), parameters->video_delay);
    const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(parameters->format));
    ASSERT_TRUE(pixels);
    EXPECT_EQ(sps.bit_depth_luma_minus8 + 8, pixels->comp[0].depth);
    EXPECT_EQ(sps.bit_depth_chroma_minus8 + 8, pixels->comp[1].depth);
    EXPECT_TRUE(vps.profile_tier_level == sps.profile_tier_level);
    EXPECT_EQ(vps.ComputeReorderWindow(), sps.ComputeReorderWindow());
    EXPECT_EQ(vps.vps_video_parameter_set_id, sps.sps_video_parameter_set_id);
    if (GetHvccNALULengthSize(extradata->Data(), extradata->Size()) == 0)
        return;
    // The file's own writer says the same of profile, level, chroma and depths; bytes between are free.
    const Bytes own = Payload(*extradata), made = Payload(*HEVC_Extradata_AnnexBtoHvcC(annexB));
    EXPECT_EQ(ToHex(made.data(), 13), ToHex(own.data(), 13));
    EXPECT_EQ(ToHex(made.data() + 16, 3), ToHex(own.data() + 16, 3));
    EXPECT_EQ(made[21] & 7, own[21] & 7); // temporalIdNested, length size
}

TEST_P(HEVCClip, KeyPacketsAgreeWithLibavcodecAndDecodeAlone)
{
    const SP<const IBlob> header = HEVC_Extradata_hvcCtoAnnexB(extradata);
    const size_t lengthSize = GetHvccNALULengthSize(extradata->Data(), extradata->Size());
    ReferenceParser reference(*parameters);
    size_t packets = 0, keys = 0;
    for (SP<IDataPacket> packet = clip->Read(); packet; packet = clip->Read(), ++packets)
    {
        SCOPED_TRACE(packets);
        const SP<IDataPacket> annexB = ToAnnexB(*packet, lengthSize, Conf::IFormatCodecVideo::CODEC_ID_H265);
        std::vector<Nalu> units;
        FindAnnexBNalus(annexB->GetData(), static_cast<size_t>(annexB->GetSize()), units);
        const bool isKey =
            std::any_of(units.begin(), units.end(),
                        [](const Nalu& unit) { return IsVclNalu(unit) && GetHEVCType(unit.first, unit.second) >= 16; });
        EXPECT_EQ(std::count_if(units.begin(), units.end(), IsVclNalu) == 0, units.empty());
        EXPECT_EQ(isKey, reference.Parse(*packet).key_frame == 1);
        if (!isKey)
            continue;
        ++keys;
        annexB->GetAVPacket()->flags |= AV_PKT_FLAG_KEY;
        const auto frame = DecodeAlone(AV_CODEC_ID_HEVC, *InsertHEVCExtradata(annexB, header));
        ASSERT_TRUE(frame);
        ExpectSize({frame->width, frame->height});
    }
    EXPECT_GT(packets, 10u);
    EXPECT_GT(keys, 0u);
}

TEST_P(Mpeg2Clip, HeaderAgreesWithLibavcodec)
{
    const auto config = Read(DecodeMPEG2Config, *extradata);
    ExpectSize({config.horizontal_size_value, config.vertical_size_value});
    ExpectProfile(config.profile, config.level);
    EXPECT_NEAR(config.frameRate, av_q2d(clip->GetStream().r_frame_rate) + 1, 0.001);
}

// Times of references that were taken away come back as they were.
TEST_P(Mpeg2Clip, TimesAreRestored)
{
    ReferenceParser reference(*parameters);
    MPEG1_2PTSRestorer restorer;
    std::vector<avTime> original, restored;
    const auto push = [&](const SP<DataPacketFF>& packet)
    {
        restorer.Push(packet);
        for (auto entry = restorer.Pull(); entry.first; entry = restorer.Pull())
            restored.push_back(entry.second.pts);
    };
    for (SP<DataPacketFF> packet = clip->Read(); packet; packet = clip->Read())
    {
        EXPECT_EQ(int{GetMPEG1_2FrameType(packet)}, reference.Parse(*packet).pict_type); // I, P and B are 1 to 3
        original.push_back(packet->GetPTS());
        if (GetMPEG1_2FrameType(packet) != MPEG_PICTURE_B)
            packet->SetPTS(NoTime);
        push(packet);
    }
    push(nullptr);
    ASSERT_EQ(restored.size(), original.size());
    for (size_t i = 0; i < original.size(); ++i)
    {
        // Times of 90 kHz, rounded.
        EXPECT_TRUE(original[i] == NoTime || std::abs(restored[i] - original[i]) <= 12) << i;
    }
}

TEST_P(Mpeg4Clip, HeaderAgreesWithLibavcodecAndGoesBackIntoKeyPackets)
{
    const auto config = Read(DecodeMPEG4Config, *extradata);
    ExpectSize({config.video_object_layer_width, config.video_object_layer_height});
    ExpectProfile(config.profile, config.level);
    // The clips repeat the header in their key packets: taken away it comes back, and only once.
    const SP<IDataPacket> packet = clip->Read();
    const Bytes payload = Payload(*packet), own = Payload(*MPEG4_GetPacketHeaders(packet));
    const auto size = static_cast<std::ptrdiff_t>(extradata->Size());
    ASSERT_EQ(Bytes(own.begin(), own.begin() + size), Payload(*extradata));
    EXPECT_EQ(MPEG4_AddPacketHeader(packet, extradata), packet);
    const SP<IDataPacket> stripped = MakePacket(Bytes(payload.begin() + size, payload.end()));
    EXPECT_EQ(Payload(*MPEG4_AddPacketHeader(stripped, extradata)), payload);
}

TEST_P(TheoraClip, HeaderAgreesWithLibavcodec)
{
    const auto config = Read(DecodeTheoraConfig, *extradata);
    ExpectSize({config.pictureWidth, config.pictureHeight});
    EXPECT_EQ(config.frameHeight, 192u);
    EXPECT_EQ(config.frameRateNum, 2997u);
    EXPECT_EQ(config.frameRateDen, 100u);
    EXPECT_EQ(config.setup.size(), 0xA35u - 7);
}

TEST_P(Wmv2Clip, HeaderAgreesWithLibavcodec)
{
    const auto config = Read(DecodeWMV2Config, *extradata);
    EXPECT_EQ(config.frameRate, clip->GetStream().r_frame_rate.num);
    EXPECT_EQ(config.bitRate, 750); // what the clip was encoded at
}

INSTANTIATE_TEST_SUITE_P(
    Media, H264Clip,
    testing::Values("h264-1080i-opengop-avchd-ac3.mts", "h264-baseline-cavlc-aac.mp4", "h264-editlist-opengop-444.mp4",
                    "h264-editlist-start1s-aac.mp4", "h264-high-annexb-aac.ts", "h264-high-cinemascope-aac51.mp4",
                    "h264-high-closedgop-bframes-aac.mp4", "h264-join-first-aac.mp4", "h264-join-second-aac.mp4",
                    "h264-letterbox-sintel-mp3.mp4", "h264-missing-idr.264", "h264-multi-pps-conformance.264",
                    "h264-opengop-bpyramid-synth.mp4", "h264-ptswrap-aac.ts", "h264-rotated90-iphone-aac.mov",
                    "h264-subs-ass-ac3.mkv", "h264-subs-pgs-ac3.mkv", "h264-subs-vobsub-ac3.mkv",
                    "h264-truncated-derived.mp4", "h264-vfr-screen.mp4"),
    ClipName);
INSTANTIATE_TEST_SUITE_P(Media, HEVCClip,
                         testing::Values("hevc-annexb-aac.ts", "hevc-hev1-cra-aac.mp4",
                                         "hevc-hvc1-main10-hdr10-aac.mp4"),
                         ClipName);
INSTANTIATE_TEST_SUITE_P(Media, Mpeg2Clip, testing::Values("mpeg2-576i-ac3-synth.vob", "mpeg2-mp2.m2ts"), ClipName);
INSTANTIATE_TEST_SUITE_P(Media, Mpeg4Clip, testing::Values("mpeg4sp-85s-aac.mov", "mpeg4sp-mp3.avi"), ClipName);
INSTANTIATE_TEST_SUITE_P(Media, TheoraClip, testing::Values("theora-vorbis.ogv"), ClipName);
INSTANTIATE_TEST_SUITE_P(Media, Wmv2Clip, testing::Values("wmv2-wmav2-letterbox.wmv"), ClipName);
