#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"
#include "tests/CodecParsers/HeaderTools.h"
#include "tests/CodecParsers/RealClip.h"

#include <cstdlib>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

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
    TESSOR_SKIP_WITHOUT(GetParam());
    const RealClip clip(GetParam());
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
    TESSOR_SKIP_WITHOUT(GetParam());
    RealClip clip(GetParam());
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
    TESSOR_SKIP_WITHOUT(GetParam());
    RealClip clip(GetParam());
    const AVCodecParameters& parameters = clip.GetParameters();
    const auto config = Decode(DecodeMPEG4Config, parameters);
    EXPECT_EQ(config.video_object_layer_width, parameters.width);
    EXPECT_EQ(config.video_object_layer_height, parameters.height);
    EXPECT_EQ(config.profile, parameters.profile);
    EXPECT_EQ(config.level, parameters.level);

    // The clips repeat the header in their key packets: taken away it comes back, and only once.
    const SP<const IBlob> extradata = clip.GetExtradata();
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
    TESSOR_SKIP_WITHOUT("theora-vorbis.ogv");
    const RealClip clip("theora-vorbis.ogv");
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
    TESSOR_SKIP_WITHOUT("wmv2-wmav2-letterbox.wmv");
    const RealClip clip("wmv2-wmav2-letterbox.wmv");
    const auto config = Decode(DecodeWMV2Config, clip.GetParameters());
    EXPECT_EQ(config.frameRate, clip.GetStream().r_frame_rate.num);
    EXPECT_EQ(config.bitRate, 750); // what the clip was encoded at
}
