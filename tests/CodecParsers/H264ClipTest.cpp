#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/H264PTSRestorer.h"
#include "media/IFormatCodecVideo.h"
#include "tests/CodecParsers/NaluTestTools.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <filesystem>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// The H.264 track of a real file, as libavformat reads it.
class H264Clip : public testing::TestWithParam<std::string>
{
protected:
    void SetUp() override
    {
        const std::string path = TESSOR_SOURCE_DIR "/../shared/media/" + GetParam();
        if (!std::filesystem::exists(path))
            GTEST_SKIP() << path << " is missing";
        av_log_set_level(AV_LOG_QUIET);
        ASSERT_EQ(avformat_open_input(&file, path.c_str(), nullptr, nullptr), 0);
        ASSERT_GE(avformat_find_stream_info(file, nullptr), 0);
        track = av_find_best_stream(file, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        ASSERT_GE(track, 0);
        parameters = file->streams[track]->codecpar;
        extradata = BlobFF::Create(parameters->extradata, static_cast<size_t>(parameters->extradata_size));
        lengthSize = GetAvccNALULengthSize(extradata->Data(), extradata->Size());
    }
    void TearDown() override { avformat_close_input(&file); }

    // Calls visit(packet) for each of the track.
    template <class Visit>
    void ForEachPacket(Visit&& visit)
    {
        AVPacket* record = av_packet_alloc();
        while (av_read_frame(file, record) >= 0)
        {
            if (record->stream_index == track)
                visit(DataPacketFF::Create(av_packet_clone(record), MediaType::Video, record->pts, record->dts,
                                           record->duration));
            av_packet_unref(record);
        }
        av_packet_free(&record);
    }

    AVFormatContext* file = nullptr;
    int track = -1;
    const AVCodecParameters* parameters = nullptr;
    SP<const IBlob> extradata;
    size_t lengthSize = 0; // 0 when the track is Annex B
};

// The picture type that libavcodec's parser sees in a packet.
class ReferenceParser
{
public:
    explicit ReferenceParser(const AVCodecParameters* parameters)
        : parser(av_parser_init(AV_CODEC_ID_H264)), context(avcodec_alloc_context3(nullptr))
    {
        avcodec_parameters_to_context(context, parameters);
        parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    }
    ~ReferenceParser()
    {
        av_parser_close(parser);
        avcodec_free_context(&context);
    }

    int PictureType(const IDataPacket& packet)
    {
        uint8_t* out = nullptr;
        int size = 0;
        av_parser_parse2(parser, context, &out, &size, packet.GetData(), packet.GetSize(), 0, 0, 0);
        return parser->pict_type;
    }

private:
    AVCodecParserContext* const parser;
    AVCodecContext* context;
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
    SPS_decoded sps;
    PPS_decoded pps;
    DecodeSPS(extradata->Data(), extradata->Size(), sps);
    DecodePPS(extradata->Data(), extradata->Size(), pps);
    EXPECT_EQ(static_cast<int>(sps.GetVisibleSize().first), parameters->width);
    EXPECT_EQ(static_cast<int>(sps.GetVisibleSize().second), parameters->height);
    EXPECT_EQ(sps.profile_idc, parameters->profile & 0xFF);
    EXPECT_EQ(sps.level_idc, parameters->level);
    EXPECT_EQ(pps.seq_parameter_set_id, sps.seq_parameter_set_id);
    // libavformat measures the delay of the frames that it has seen; it can't exceed what the header allows.
    EXPECT_GE(static_cast<int>(sps.ComputeReorderWindow()), parameters->video_delay);
    const VUI_decoded& vui = sps.vui_parameters;
    if (vui.colour_description_present_flag)
    {
        EXPECT_EQ(vui.colour_primaries, parameters->color_primaries);
        EXPECT_EQ(vui.matrix_coefficients, parameters->color_space);
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
    ReferenceParser reference(parameters);
    size_t packets = 0;
    ForEachPacket(
        [&](const SP<IDataPacket>& packet)
        {
            const auto type = GetH264Type(packet, lengthSize > 0, lengthSize);
            EXPECT_EQ(ToPictureType(type.second), reference.PictureType(*packet))
                << packets << ' ' << TypeToString(type);
            ++packets;
        });
    EXPECT_GT(packets, 10u);
}

TEST_P(H264Clip, PacketsSurviveConversion)
{
    ForEachPacket(
        [&](const SP<IDataPacket>& packet)
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
        });
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
