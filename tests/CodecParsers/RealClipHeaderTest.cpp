#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"
#include "tests/CodecParsers/HeaderTools.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <cstdlib>
#include <filesystem>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// The video of a clip as libavformat sees it; times in microseconds.
class Clip
{
public:
    explicit Clip(const std::string& path)
    {
        EXPECT_EQ(avformat_open_input(&context, path.c_str(), nullptr, nullptr), 0);
        EXPECT_GE(avformat_find_stream_info(context, nullptr), 0);
        stream = context->streams[av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0)];
    }
    ~Clip() { avformat_close_input(&context); }

    const AVStream& GetStream() const { return *stream; }
    const AVCodecParameters& GetParameters() const { return *stream->codecpar; }

    SP<DataPacketFF> Read()
    {
        AVPacket* record = av_packet_alloc();
        while (av_read_frame(context, record) >= 0)
        {
            if (record->stream_index == stream->index)
            {
                av_packet_rescale_ts(record, stream->time_base, {1, 1000000});
                return DataPacketFF::Create(record, MediaType::Video, record->pts, record->dts, record->duration);
            }
            av_packet_unref(record);
        }
        av_packet_free(&record);
        return nullptr;
    }

private:
    AVFormatContext* context = nullptr;
    AVStream* stream = nullptr;
};

#define SKIP_WITHOUT(path)                                                                                             \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!std::filesystem::exists(path))                                                                            \
            GTEST_SKIP() << path << " is missing";                                                                     \
    } while (false)

std::string ClipPath(const std::string& name)
{
    return TESSOR_SOURCE_DIR "/../shared/media/" + name;
}

template <class Config>
Config Decode(void (*decode)(const uint8_t*, size_t, Config&), const AVCodecParameters& parameters)
{
    Config config;
    decode(parameters.extradata, static_cast<size_t>(parameters.extradata_size), config);
    return config;
}

class RealMpeg2 : public testing::TestWithParam<const char*>
{
};

class RealMpeg4 : public testing::TestWithParam<const char*>
{
};

} // namespace

TEST_P(RealMpeg2, Header)
{
    SKIP_WITHOUT(ClipPath(GetParam()));
    const Clip clip(ClipPath(GetParam()));
    const auto config = Decode(DecodeMPEG2Config, clip.GetParameters());
    EXPECT_EQ(config.horizontal_size_value, clip.GetParameters().width);
    EXPECT_EQ(config.vertical_size_value, clip.GetParameters().height);
    EXPECT_EQ(config.profile, clip.GetParameters().profile);
    EXPECT_EQ(config.level, clip.GetParameters().level);
    EXPECT_EQ(config.chroma_format, 1); // 4:2:0
    EXPECT_NEAR(config.frameRate, av_q2d(clip.GetStream().r_frame_rate) + 1, 0.001);
}

// Times of references that were taken away come back as they were.
TEST_P(RealMpeg2, RestoresTimes)
{
    SKIP_WITHOUT(ClipPath(GetParam()));
    Clip clip(ClipPath(GetParam()));
    MPEG1_2PTSRestorer restorer;
    std::vector<avTime> original, restored;
    const auto push = [&](const SP<DataPacketFF>& packet)
    {
        restorer.Push(packet);
        for (auto entry = restorer.Pull(); entry.first; entry = restorer.Pull())
            restored.push_back(entry.second.pts);
    };
    for (SP<DataPacketFF> packet = clip.Read(); packet; packet = clip.Read())
    {
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

INSTANTIATE_TEST_SUITE_P(Clips, RealMpeg2, testing::Values("mpeg2-576i-ac3-synth.vob", "mpeg2-mp2.m2ts"));

TEST_P(RealMpeg4, HeaderAndKeyPacket)
{
    SKIP_WITHOUT(ClipPath(GetParam()));
    Clip clip(ClipPath(GetParam()));
    const AVCodecParameters& parameters = clip.GetParameters();
    const auto config = Decode(DecodeMPEG4Config, parameters);
    EXPECT_EQ(config.video_object_layer_width, parameters.width);
    EXPECT_EQ(config.video_object_layer_height, parameters.height);
    EXPECT_EQ(config.profile, parameters.profile);
    EXPECT_EQ(config.level, parameters.level);

    // The clips repeat the header in their key packets: taken away it comes back, and only once.
    const SP<const IBlob> extradata = BlobFF::Create(parameters.extradata, parameters.extradata_size);
    const SP<IDataPacket> packet = clip.Read();
    const Bytes payload = Payload(*packet), header = Payload(*extradata),
                own = Payload(*MPEG4_GetPacketHeaders(packet));
    ASSERT_EQ(Bytes(own.begin(), own.begin() + parameters.extradata_size), header);
    EXPECT_EQ(MPEG4_AddPacketHeader(packet, extradata), packet);
    const SP<IDataPacket> stripped = MakePacket(Bytes(payload.begin() + parameters.extradata_size, payload.end()));
    EXPECT_EQ(Payload(*MPEG4_AddPacketHeader(stripped, extradata)), payload);
}

INSTANTIATE_TEST_SUITE_P(Clips, RealMpeg4, testing::Values("mpeg4sp-85s-aac.mov", "mpeg4sp-mp3.avi"));

TEST(RealTheora, Header)
{
    const std::string path = ClipPath("theora-vorbis.ogv");
    SKIP_WITHOUT(path);
    const Clip clip(path);
    const auto config = Decode(DecodeTheoraConfig, clip.GetParameters());
    EXPECT_EQ(config.version, 0x30201u);
    EXPECT_EQ(static_cast<int>(config.pictureWidth), clip.GetParameters().width);
    EXPECT_EQ(static_cast<int>(config.pictureHeight), clip.GetParameters().height);
    EXPECT_EQ(config.frameHeight, 192u);
    EXPECT_EQ(config.frameRateNum, 2997u);
    EXPECT_EQ(config.frameRateDen, 100u);
    EXPECT_EQ(config.pixelFormat, 0);
    EXPECT_EQ(config.setup.size(), 0xA35u - 7);
    EXPECT_TRUE(config.EqualTo(config));
}

TEST(RealWmv2, Header)
{
    const std::string path = ClipPath("wmv2-wmav2-letterbox.wmv");
    SKIP_WITHOUT(path);
    const Clip clip(path);
    const auto config = Decode(DecodeWMV2Config, clip.GetParameters());
    EXPECT_EQ(config.frameRate, clip.GetStream().r_frame_rate.num);
    EXPECT_EQ(config.bitRate, 750); // what the clip was encoded at
}
