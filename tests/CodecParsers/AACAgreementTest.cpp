#include "Proc/CodecParsers/AACCodecParser.h"
#include "tests/CodecParsers/ClipTest.h"
#include "tests/CodecParsers/ParameterSetWriter.h"

namespace Tessor::Test
{

namespace
{

using AACClip = ClipTest<MediaType::Audio>;

/// What libavcodec's own filter makes of ADTS frames.
class ReferenceFilter
{
public:
    explicit ReferenceFilter(const AVCodecParameters& parameters)
    {
        EXPECT_GE(av_bsf_alloc(av_bsf_get_by_name("aac_adtstoasc"), &context), 0);
        avcodec_parameters_copy(context->par_in, &parameters);
        EXPECT_GE(av_bsf_init(context), 0);
    }
    ~ReferenceFilter() { av_bsf_free(&context); }
    ReferenceFilter(const ReferenceFilter&) = delete;
    ReferenceFilter& operator=(const ReferenceFilter&) = delete;

    Bytes Filter(const IDataPacket& packet)
    {
        AVPacket* record = av_packet_clone(packet.GetAVPacket());
        EXPECT_GE(av_bsf_send_packet(context, record), 0);
        EXPECT_GE(av_bsf_receive_packet(context, record), 0);
        size_t size = 0;
        const uint8_t* header = av_packet_get_side_data(record, AV_PKT_DATA_NEW_EXTRADATA, &size);
        if (header)
            extradata.assign(header, header + size);
        const Bytes payload(record->data, record->data + record->size);
        av_packet_free(&record);
        return payload;
    }

    Bytes extradata; // the config that came with a packet

private:
    AVBSFContext* context = nullptr;
};

} // namespace

TEST_P(AACClip, ConfigAgreesWithLibavcodec)
{
    const SP<DataPacketFF> first = ReadPacket();
    const bool isADTS = HasADTSHeader(first->GetData(), first->Size());
    ASSERT_EQ(isADTS, extradata->Size() == 0);
    const SP<const IBlob> config =
        isADTS ? ADTSHeaderToASCExtradata(ExtractADTSHeader(*first->GetAVPacket())) : extradata;
    const AudioSpecificConfig read = DataToAudioSpecificConfig(config->Data(), config->Size());
    const int channels = parameters->ch_layout.nb_channels;
    EXPECT_EQ(static_cast<int>(read.sampleRate), parameters->sample_rate);
    EXPECT_EQ(read.objectType, parameters->profile + 1);
    EXPECT_TRUE(read.channelConfiguration == 0 || read.channelConfiguration == channels);
    const Bytes written = Payload(*AudioSpecificConfigToData(read));
    const SP<IDataPacket> raw = isADTS ? RemoveADTSHeader(first) : SP<IDataPacket>(first);
    const auto frame = DecodeAlone(AV_CODEC_ID_AAC, *raw, written);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->sample_rate, parameters->sample_rate);
    EXPECT_EQ(frame->ch_layout.nb_channels, channels);
    // Into a header, and back.
    EXPECT_EQ(Payload(*ADTSHeaderToASCExtradata(SetADTSFrameLength(ASCExtradataToADTSFixedHeader(config), 7))),
              written);
}

TEST_P(AACClip, PacketsComeOutOfTheirHeadersAndGoBack)
{
    ReferenceFilter reference(*parameters);
    int count = 0;
    for (SP<IDataPacket> packet = ReadPacket(); packet && !HasFailure(); packet = ReadPacket(), ++count)
    {
        if (extradata->Size() > 0)
        {
            const SP<IDataPacket> frame =
                InsertADTSHeader(packet, ASCExtradataToADTSFixedHeader(extradata), count == 0);
            EXPECT_EQ(Payload(*RemoveADTSHeader(frame)), Payload(*packet));
            EXPECT_EQ(reference.Filter(*frame), Payload(*packet));
            continue;
        }
        const SP<IDataPacket> raw = RemoveADTSHeader(packet);
        EXPECT_EQ(Payload(*raw), reference.Filter(*packet));
        const SP<const IBlob> header = ExtractADTSHeader(*packet->GetAVPacket());
        EXPECT_EQ(Payload(*InsertADTSHeader(raw, header, false)), Payload(*packet));
        EXPECT_TRUE(count > 0 || Payload(*ADTSHeaderToASCExtradata(header)) == reference.extradata);
    }
    EXPECT_GT(count, 10);
}

INSTANTIATE_TEST_SUITE_P(Samples, AACClip,
                         testing::Values("aac.aac", "aac-pce.aac", "h264.mp4", "h264.ts", "h264-irregular.mp4",
                                         "h264-rotated.mov", "hevc.ts"),
                         ClipName);
INSTANTIATE_TEST_SUITE_P(Media, AACClip, testing::ValuesIn(RealClips("aac")), ClipName);

// 10,000 frames as unlike each other as libavcodec bears them: its filter writes the configuration that ours does,
// element by element of a PCE.
TEST(AACHeaders, GeneratedOnesAgreeWithLibavcodec)
{
    av_log_set_level(AV_LOG_QUIET);
    Draw draw;
    AVCodecParameters parameters{};
    parameters.codec_id = AV_CODEC_ID_AAC;
    for (int round = 0; round < 10000 && !testing::Test::HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        ParameterSetWriter element, head;
        const uint32_t unchecked = draw(1), channels = draw(7);
        Bytes body;
        if (channels == 0)
        {
            const uint32_t front = draw(3), side = draw(3), back = draw(3), lfe = draw(2), coupling = draw(2);
            element.Put({{3, 5}, {10, draw(0x3FF)}, {4, front}, {4, side}, {4, back}, {2, lfe}, {3, 0}, {4, coupling}});
            for (const unsigned bits : {4, 4, 3}) // mixdowns
            {
                const uint32_t present = draw(1);
                element.Put({{1, present}, {present * bits, 0}});
            }
            for (uint32_t i = 0; i < front + side + back + coupling; ++i)
                element.Put({{5, draw(31)}});
            for (uint32_t i = 0; i < lfe; ++i)
                element.Put({{4, draw(15)}});
            const Bytes comment(draw(9), 'c');
            body = element.GetBytes() + Bytes{static_cast<uint8_t>(comment.size())} + comment;
        }
        body = body + Bytes(1 + draw(40), 'p');
        const size_t length = 7 + (unchecked ? 0 : 2) + body.size();
        head.Put({{15, 0x7FF8}, {1, unchecked}, {2, draw(3)}, {4, draw(12)}, {1, 0}, {3, channels}, {4, 0}});
        head.Put({{13, static_cast<uint32_t>(length)}, {11, 0x7FF}, {2, 0}, {unchecked ? 0 : 16, 0}});
        const Bytes frame = head.GetBytes() + body;

        const ADTSHeader header = DataToADTSHeader(frame.data(), frame.size());
        ReferenceParser parser(parameters);
        parser.context->codec_id = AV_CODEC_ID_NONE; // of AAC it keeps the rate to itself
        parser.Parse(*MakePacket(frame));
        EXPECT_EQ(parser.context->sample_rate, static_cast<int>(header.sampleRate));
        ReferenceFilter filter(parameters);
        const size_t payload = filter.Filter(*MakePacket(frame)).size();
        EXPECT_EQ(GetADTSHeaderSize(frame.data(), frame.size()) + payload, frame.size());
        EXPECT_EQ(Payload(*ADTSHeaderToASCExtradata(MakeBlob(frame))), filter.extradata);
        const auto read = DataToAudioSpecificConfig(filter.extradata.data(), filter.extradata.size());
        EXPECT_EQ(read.sampleRate, header.sampleRate);
        EXPECT_EQ(read.objectType, header.objectType);
        EXPECT_EQ(read.channelConfiguration, channels);
    }
}

} // namespace Tessor::Test
