#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "media/FFmpegCompat.h"
#include "media/formats/IFormatCodecVideo.h"
#include "tests/CodecParsers/ClipTest.h"
#include "tests/CodecParsers/ParameterSetWriter.h"

extern "C"
{
#include <libavutil/pixdesc.h>
}

namespace Tessor::Test
{

namespace
{

template <AVCodecID>
class CodecClip : public ClipTest<MediaType::Video>
{
protected:
    void ExpectSize(std::pair<int, int> size) const
    {
        EXPECT_EQ(size, std::pair(parameters->width, parameters->height));
    }
    void ExpectProfile(int profile, int level) const
    {
        EXPECT_EQ(profile, parameters->profile & ~AV_PROFILE_H264_CONSTRAINED & ~AV_PROFILE_H264_INTRA);
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

} // namespace

TEST_P(H264Clip, HeaderAgreesWithLibavcodec)
{
    const auto sps = Read(DecodeSPS, Payload(*extradata));
    ExpectSize(sps.GetVisibleSize());
    ExpectProfile(sps.profile_idc, sps.level_idc);
    EXPECT_EQ(Read(DecodePPS, Payload(*extradata)).seq_parameter_set_id, sps.seq_parameter_set_id);
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
    EXPECT_TRUE(Read(DecodeSPS, Payload(*annexB)) == sps);
    EXPECT_TRUE(Read(DecodeSPS, Payload(*avcc)) == sps);
}

TEST_P(H264Clip, SlicesAgreeWithLibavcodecAndPacketsSurviveConversion)
{
    const size_t lengthSize = GetAvccNALULengthSize(extradata->Data(), extradata->Size());
    ReferenceParser reference(*parameters);
    size_t packets = 0;
    for (SP<IDataPacket> packet = ReadPacket(); packet; packet = ReadPacket(), ++packets)
    {
        SCOPED_TRACE(packets);
        const auto type = GetH264Type(packet, lengthSize > 0, lengthSize);
        EXPECT_EQ(TypeToString(type).back(),
                  av_get_picture_type_char(static_cast<AVPictureType>(reference.Parse(*packet).pict_type)));
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
    const auto vps = Read(HEVCDecodeVPS, Payload(*annexB));
    const auto sps = Read(HEVCDecodeSPS, Payload(*annexB));
    ExpectSize(sps.GetVisibleSize());
    ExpectProfile(sps.profile_tier_level.general_profile_idc, sps.profile_tier_level.general_level_idc);
    EXPECT_EQ(static_cast<int>(sps.ComputeReorderWindow()), parameters->video_delay);
    EXPECT_TRUE(vps.profile_tier_level == sps.profile_tier_level);
    EXPECT_EQ(vps.ComputeReorderWindow(), sps.ComputeReorderWindow());
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
    for (SP<IDataPacket> packet = ReadPacket(); packet; packet = ReadPacket(), ++packets)
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
    const auto config = Read(DecodeMPEG2Config, Payload(*extradata));
    ExpectSize({config.horizontal_size_value, config.vertical_size_value});
    ExpectProfile(config.profile, config.level);
    EXPECT_NEAR(config.frameRate, av_q2d(stream->r_frame_rate) + 1, 0.001);
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
    for (SP<DataPacketFF> packet = ReadPacket(); packet; packet = ReadPacket())
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
    const auto config = Read(DecodeMPEG4Config, Payload(*extradata));
    ExpectSize({config.video_object_layer_width, config.video_object_layer_height});
    ExpectProfile(config.profile, config.level);
    // The clips repeat the header in their key packets: taken away it comes back, and only once.
    const SP<IDataPacket> packet = ReadPacket();
    const Bytes payload = Payload(*packet), own = Payload(*MPEG4_GetPacketHeaders(packet));
    const auto size = static_cast<std::ptrdiff_t>(extradata->Size());
    ASSERT_EQ(Bytes(own.begin(), own.begin() + size), Payload(*extradata));
    EXPECT_EQ(MPEG4_AddPacketHeader(packet, extradata), packet);
    const SP<IDataPacket> stripped = MakePacket(Bytes(payload.begin() + size, payload.end()));
    EXPECT_EQ(Payload(*MPEG4_AddPacketHeader(stripped, extradata)), payload);
}

TEST_P(TheoraClip, HeaderAgreesWithLibavcodec)
{
    const auto config = Read(DecodeTheoraConfig, Payload(*extradata));
    ExpectSize({config.pictureWidth, config.pictureHeight});
    EXPECT_NEAR(config.frameRateNum * 1.0 / config.frameRateDen, av_q2d(stream->r_frame_rate), 0.001);
    // each of the three headers comes after its length
    const Bytes all = Payload(*extradata);
    const auto length = [&](size_t at) { return static_cast<size_t>(all.at(at) << 8 | all.at(at + 1)); };
    const size_t second = 2 + length(0), third = second + 2 + length(second);
    EXPECT_EQ(config.setup.size(), length(third) - 7) << "but for its name";
}

// Thousands of headers, as unlike each other as libavcodec bears them, through its parsers and ours.
TEST(VideoHeaders, GeneratedH264AgreesWithLibavcodec)
{
    av_log_set_level(AV_LOG_QUIET);
    Draw draw;
    AVCodecParameters parameters{};
    parameters.codec_id = AV_CODEC_ID_H264;
    for (int round = 0; round < 10000 && !testing::Test::HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        ParameterSetWriter sps, slice;
        const uint32_t profile = Bytes{66, 77, 88, 100, 110, 122, 244}[draw(6)];
        const uint32_t level = Bytes{9, 10, 11, 21, 31, 40, 42, 51, 62}[draw(8)], id = draw(31);
        const uint32_t chroma = profile < 100 ? 1 : profile == 244 ? 3 : profile == 122 ? 2 : draw(1);
        const uint32_t depth = draw(2), frames = draw(1);
        sps.Put({{8, 0x67}, {8, profile}, {8, draw(63) << 2}, {8, level}, {UE, id}});
        if (profile >= 100)
            sps.Put({{UE, chroma}, {chroma == 3, 0}, {UE, depth}, {UE, depth}, {2, 0}});
        sps.Put({{UE, draw(12)}, {UE, 0}, {UE, draw(12)}, {UE, draw(16)}, {1, draw(1)}}); // orders, references
        sps.Put({{UE, 3 + draw(200)}, {UE, 3 + draw(130)}, {1, frames}, {1 - frames, draw(1)}, {1, draw(1) | !frames}});
        sps.Put({{1, 1}, {UE, draw(3)}, {UE, draw(3)}, {UE, draw(3)}, {UE, draw(3)}, {1, 0}}); // cropping
        slice.Put({{8, 0x65}, {UE, 0}, {UE, 7}, {UE, id}, {32, draw(~0u)}});
        const Bytes header = WithStartCode(sps.Finish()) + WithStartCode(H264Fields{.id = id}.PPS());
        ReferenceParser reference(parameters);
        const AVCodecParserContext& seen = reference.Parse(*MakePacket(header + WithStartCode(slice.Finish())));
        const auto read = Read(DecodeSPS, header);
        EXPECT_EQ(reference.context->profile & 0xFF, read.profile_idc);
        EXPECT_EQ(reference.context->level, read.level_idc);
        EXPECT_EQ(seen.width, static_cast<int>(read.GetVisibleSize().first));
        EXPECT_EQ(seen.height, static_cast<int>(read.GetVisibleSize().second));
        EXPECT_EQ(read.chroma_format_idc, chroma);
    }
}

TEST(VideoHeaders, GeneratedHEVCAgreesWithLibavcodec)
{
    av_log_set_level(AV_LOG_QUIET);
    const Bytes vps = Hex(StartCode + "40 01 0c 01 ff ff 01 60 00 00 03 00 90 00 00 03 00 00 03 00 5d 95 98 09");
    Draw draw;
    for (int round = 0; round < 10000 && !testing::Test::HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        ParameterSetWriter sps;
        const uint32_t layers = draw(6), each = draw(1), reorder = draw(5), profile = 1 + draw(8);
        const uint32_t flags = draw((1u << 2 * layers) - 1); // of profile and level, layer by layer
        sps.Put({{16, 0x4201}, {4, 0}, {3, layers}, {1, 1}});
        sps.Put({{3, draw(1)}, {5, profile}, {32, draw(~0u)}, {32, draw(~0u)}, {16, draw(0xFFFF)}, {8, draw(255)}});
        sps.Put({{2 * layers, flags}, {layers > 0 ? 16 - 2 * layers : 0, 0}});
        for (unsigned bit = 2 * layers; bit-- > 0;)
            for (unsigned bytes = (flags >> bit & 1) * (bit % 2 == 1 ? 11 : 1); bytes > 0; --bytes)
                sps.Put({{8, draw(255)}});
        const uint32_t chroma = draw(3), depth = Bytes{0, 1, 2, 4}[draw(3)];
        sps.Put({{UE, draw(15)}, {UE, chroma}, {chroma == 3, draw(1)}});
        sps.Put({{UE, 8 * (8 + draw(1000))}, {UE, 8 * (8 + draw(1000))}});
        sps.Put({{1, 1}, {UE, draw(15)}, {UE, draw(15)}, {UE, draw(15)}, {UE, draw(15)}}); // the window
        sps.Put({{UE, depth}, {UE, depth}, {UE, draw(12)}, {1, each}});
        for (uint32_t i = each ? 0 : layers; i <= layers; ++i)
            sps.Put({{UE, 8}, {UE, i == layers ? reorder : 0}, {UE, 0}});
        // Coding blocks of 8 to 16 samples, no tools, no VUI.
        sps.Put({{UE, 0}, {UE, 1}, {UE, 0}, {UE, 1}, {UE, 0}, {UE, 0}, {10, 0x20}});
        const Bytes header = vps + WithStartCode(sps.Finish());
        const auto reference = OpenDecoder(AV_CODEC_ID_HEVC, header);
        const auto read = Read(HEVCDecodeSPS, header);
        EXPECT_EQ(reference->profile, read.profile_tier_level.general_profile_idc);
        EXPECT_EQ(reference->level, read.profile_tier_level.general_level_idc);
        EXPECT_EQ(reference->width, static_cast<int>(read.GetVisibleSize().first));
        EXPECT_EQ(reference->height, static_cast<int>(read.GetVisibleSize().second));
        EXPECT_EQ(reference->has_b_frames, static_cast<int>(read.ComputeReorderWindow()));
        const AVPixFmtDescriptor* pixels = av_pix_fmt_desc_get(reference->pix_fmt);
        ASSERT_TRUE(pixels);
        EXPECT_EQ(pixels->comp[0].depth, read.bit_depth_luma_minus8 + 8);
        const int seen = read.separate_colour_plane_flag ? 0 : read.chroma_format_idc;
        EXPECT_EQ(pixels->nb_components == 1, seen == 0);
        EXPECT_EQ(pixels->log2_chroma_w + pixels->log2_chroma_h, seen == 1 ? 2 : seen == 2 ? 1 : 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Samples, H264Clip, testing::ValuesIn(Samples("h264")), ClipName);
INSTANTIATE_TEST_SUITE_P(Media, H264Clip, testing::ValuesIn(RealClips("h264")), ClipName);
INSTANTIATE_TEST_SUITE_P(Samples, HEVCClip, testing::ValuesIn(Samples("hevc")), ClipName);
INSTANTIATE_TEST_SUITE_P(Media, HEVCClip, testing::ValuesIn(RealClips("hevc")), ClipName);
INSTANTIATE_TEST_SUITE_P(Samples, Mpeg2Clip, testing::ValuesIn(Samples("mpeg2")), ClipName);
INSTANTIATE_TEST_SUITE_P(Media, Mpeg2Clip, testing::ValuesIn(RealClips("mpeg2")), ClipName);
INSTANTIATE_TEST_SUITE_P(Samples, Mpeg4Clip, testing::ValuesIn(Samples("mpeg4.avi")), ClipName);
INSTANTIATE_TEST_SUITE_P(Media, Mpeg4Clip, testing::ValuesIn(RealClips("mpeg4")), ClipName);
INSTANTIATE_TEST_SUITE_P(Samples, TheoraClip, testing::ValuesIn(Samples("theora")), ClipName);
INSTANTIATE_TEST_SUITE_P(Media, TheoraClip, testing::ValuesIn(RealClips("theora")), ClipName);

} // namespace Tessor::Test
