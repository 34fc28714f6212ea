#include "Proc/CodecParsers/AACCodecParser.h"
#include "tests/CodecParsers/RealClip.h"

extern "C"
{
#include <libavcodec/bsf.h>
}

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

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
    const SP<DataPacketFF> first = clip->Read();
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
    for (SP<IDataPacket> packet = clip->Read(); packet && !HasFailure(); packet = clip->Read(), ++count)
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

INSTANTIATE_TEST_SUITE_P(Media, AACClip,
                         testing::Values("aac-lc-48k.aac", "aac-pce-51-synth.aac", "h264-high-annexb-aac.ts",
                                         "h264-ptswrap-aac.ts", "hevc-annexb-aac.ts", "h264-baseline-cavlc-aac.mp4",
                                         "h264-high-cinemascope-aac51.mp4", "h264-high-closedgop-bframes-aac.mp4",
                                         "h264-join-first-aac.mp4", "h264-join-second-aac.mp4",
                                         "h264-opengop-bpyramid-synth.mp4", "h264-rotated90-iphone-aac.mov",
                                         "hevc-hev1-cra-aac.mp4", "hevc-hvc1-main10-hdr10-aac.mp4",
                                         "mpeg4sp-85s-aac.mov"),
                         ClipName);
