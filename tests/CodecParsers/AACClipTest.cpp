#include "Proc/CodecParsers/AACCodecParser.h"
#include "tests/CodecParsers/HeaderTools.h"
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

// A clip whose AAC has AudioSpecificConfigs or, where the bool says so, ADTS frames.
class AACClip : public testing::TestWithParam<std::pair<const char*, bool>>
{
protected:
    void SetUp() override { TESSOR_SKIP_WITHOUT(GetParam().first); }
};

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

/// Rate and channels of a raw frame, decoded by that config.
std::vector<int> Decoded(const IBlob& config, const IDataPacket& packet)
{
    AVCodecContext* decoder = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_AAC));
    decoder->extradata = static_cast<uint8_t*>(av_mallocz(config.Size() + AV_INPUT_BUFFER_PADDING_SIZE));
    decoder->extradata_size = static_cast<int>(config.Size());
    std::copy_n(config.Data(), config.Size(), decoder->extradata);
    decoder->flags2 = AV_CODEC_FLAG2_SKIP_MANUAL; // the priming is a frame, too
    AVFrame* frame = av_frame_alloc();
    EXPECT_EQ(avcodec_open2(decoder, nullptr, nullptr), 0);
    EXPECT_EQ(avcodec_send_packet(decoder, packet.GetAVPacket()), 0);
    EXPECT_EQ(avcodec_receive_frame(decoder, frame), 0);
    const std::vector<int> result{frame->sample_rate, frame->ch_layout.nb_channels};
    av_frame_free(&frame);
    avcodec_free_context(&decoder);
    return result;
}

} // namespace

TEST_P(AACClip, AgreesWithLibavcodec)
{
    const auto& [name, isADTS] = GetParam();
    RealClip clip(name, MediaType::Audio);
    const AVCodecParameters& parameters = clip.GetParameters();
    const SP<DataPacketFF> first = clip.Read();
    ASSERT_EQ(HasADTSHeader(first->GetData(), first->Size()), isADTS);
    const SP<const IBlob> config =
        isADTS ? ADTSHeaderToASCExtradata(ExtractADTSHeader(*first->GetAVPacket())) : clip.GetExtradata();
    const AudioSpecificConfig read = DataToAudioSpecificConfig(config->Data(), config->Size());
    EXPECT_EQ(static_cast<int>(read.sampleRate), parameters.sample_rate);
    EXPECT_EQ(read.objectType, parameters.profile + 1);
    const SP<IDataPacket> frame = isADTS ? RemoveADTSHeader(first) : SP<IDataPacket>(first);
    EXPECT_EQ(Decoded(*AudioSpecificConfigToData(read), *frame),
              (std::vector<int>{parameters.sample_rate, parameters.ch_layout.nb_channels}));
    EXPECT_TRUE(read.channelConfiguration == 0 || read.channelConfiguration == parameters.ch_layout.nb_channels);
    // Into a header, and back.
    EXPECT_EQ(Payload(*ADTSHeaderToASCExtradata(SetADTSFrameLength(ASCExtradataToADTSFixedHeader(config), 7))),
              Payload(*AudioSpecificConfigToData(read)));
}

TEST_P(AACClip, PacketsComeOutOfTheirHeadersAndGoBack)
{
    const auto& [name, isADTS] = GetParam();
    RealClip clip(name, MediaType::Audio);
    ReferenceFilter reference(clip.GetParameters());
    SP<const IBlob> config = clip.GetExtradata();
    int count = 0;
    for (SP<IDataPacket> packet = clip.Read(); packet && !HasFailure(); packet = clip.Read(), ++count)
    {
        if (isADTS)
        {
            const SP<IDataPacket> raw = RemoveADTSHeader(packet);
            EXPECT_EQ(Payload(*raw), reference.Filter(*packet));
            const SP<const IBlob> header = ExtractADTSHeader(*packet->GetAVPacket());
            EXPECT_EQ(Payload(*InsertADTSHeader(raw, header, false)), Payload(*packet));
            if (count == 0)
            {
                EXPECT_EQ(Payload(*ADTSHeaderToASCExtradata(header)), reference.extradata);
            }
        }
        else
        {
            const SP<IDataPacket> frame = InsertADTSHeader(packet, ASCExtradataToADTSFixedHeader(config), count == 0);
            EXPECT_EQ(Payload(*RemoveADTSHeader(frame)), Payload(*packet));
            EXPECT_EQ(reference.Filter(*frame), Payload(*packet));
        }
    }
    EXPECT_GT(count, 10);
}

INSTANTIATE_TEST_SUITE_P(
    Clips, AACClip,
    testing::Values(std::pair("aac-lc-48k.aac", true), std::pair("aac-pce-51-synth.aac", true),
                    std::pair("h264-high-annexb-aac.ts", true), std::pair("h264-ptswrap-aac.ts", true),
                    std::pair("hevc-annexb-aac.ts", true), std::pair("h264-baseline-cavlc-aac.mp4", false),
                    std::pair("h264-editlist-start1s-aac.mp4", false),
                    std::pair("h264-high-cinemascope-aac51.mp4", false),
                    std::pair("h264-high-closedgop-bframes-aac.mp4", false),
                    std::pair("h264-join-first-aac.mp4", false), std::pair("h264-join-second-aac.mp4", false),
                    std::pair("h264-opengop-bpyramid-synth.mp4", false),
                    std::pair("h264-rotated90-iphone-aac.mov", false), std::pair("h264-truncated-derived.mp4", false),
                    std::pair("hevc-hev1-cra-aac.mp4", false), std::pair("hevc-hvc1-main10-hdr10-aac.mp4", false),
                    std::pair("mpeg4sp-85s-aac.mov", false)),
    [](const auto& info)
    {
        std::string name = info.param.first;
        std::replace_if(
            name.begin(), name.end(), [](char c) { return !isalnum(c); }, '_');
        return name;
    });
