#include "Proc/CodecParsers/MPEG2CodecParser.h"

#include "tests/CodecParsers/HeaderTools.h"

using namespace Tessor;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// ISO/IEC 13818-2, 6.2.2.1
const auto sequenceHeader = [](MPEG2_Config& c, auto f)
{
    uint8_t marker = 1;
    Fields(f, c.horizontal_size_value, 12, c.vertical_size_value, 12, c.aspect_ratio_information, 4);
    Fields(f, c.frame_rate_code, 4, c.bit_rate_value, 18, marker, 1, c.vbv_buffer_size_value, 10);
    Fields(f, c.constrained_parameters_flag, 1, c.load_intra_quantiser_matrix, 1);
    if (c.load_intra_quantiser_matrix)
        for (uint8_t& value : c.intra_quantiser_matrix)
            f(value, 8);
    f(c.load_non_intra_quantiser_matrix, 1);
    if (c.load_non_intra_quantiser_matrix)
        for (uint8_t& value : c.non_intra_quantiser_matrix)
            f(value, 8);
};

// 6.2.2.3
const auto sequenceExtension = [](MPEG2_Config& c, auto f)
{
    uint8_t id = 1, marker = 1;
    Fields(f, id, 4, c.profile_and_level_escape, 1, c.profile, 3, c.level, 4, c.progressive_sequence, 1);
    Fields(f, c.chroma_format, 2, c.horizontal_size_extension, 2, c.vertical_size_extension, 2);
    Fields(f, c.bit_rate_extension, 12, marker, 1, c.vbv_buffer_size_extension, 8, c.low_delay, 1);
    Fields(f, c.frame_rate_extension_n, 2, c.frame_rate_extension_d, 5);
};

const Bytes headerCode{0, 0, 1, 0xB3};
const Bytes extensionCode{0, 0, 1, 0xB5};

Bytes Sequence(MPEG2_Config& config)
{
    return headerCode + WriteHeader(sequenceHeader, config) + extensionCode + WriteHeader(sequenceExtension, config);
}

// 720x576, 25 frames a second, Main at Main: no matrices.
MPEG2_Config PlainConfig()
{
    MPEG2_Config config;
    config.horizontal_size_value = 720;
    config.vertical_size_value = 576;
    config.frame_rate_code = 3;
    config.bit_rate_value = 0x3FFFF;
    config.vbv_buffer_size_value = 112;
    config.profile = 4;
    config.level = 8;
    return config;
}

std::string DecodeFault(const Bytes& data)
{
    MPEG2_Config config;
    return Fault([&] { DecodeMPEG2Config(data.data(), data.size(), config); });
}

} // namespace

TEST(MPEG2CodecParser, RandomHeadersComeBack)
{
    std::mt19937 random(35);
    for (int i = 0; i < 300; ++i)
    {
        MPEG2_Config written;
        Randomize(sequenceHeader, written, random);
        Randomize(sequenceExtension, written, random);
        written.frame_rate_code = 1 + i % 8;
        // The standard forbids 0 in a matrix: it could look like a start code.
        for (auto* matrix : {&written.intra_quantiser_matrix, &written.non_intra_quantiser_matrix})
            for (uint8_t& value : *matrix)
                value = std::max<uint8_t>(value, 1);
        const Bytes data = Sequence(written);
        MPEG2_Config read;
        DecodeMPEG2Config(data.data(), data.size(), read);
        EXPECT_EQ(Values(sequenceHeader, read), Values(sequenceHeader, written)) << i;
        EXPECT_EQ(Values(sequenceExtension, read), Values(sequenceExtension, written)) << i;
    }
}

TEST(MPEG2CodecParser, DerivedValues)
{
    MPEG2_Config config = PlainConfig();
    config.bit_rate_extension = 0xFFF;
    config.vbv_buffer_size_extension = 255;
    config.frame_rate_extension_n = 3;
    config.frame_rate_extension_d = 31;
    const double rates[] = {23.976, 24, 25, 29.97, 30, 50, 59.94, 60};
    for (uint8_t code = 1; code <= 8; ++code)
    {
        config.frame_rate_code = code;
        const Bytes data = Sequence(config);
        MPEG2_Config read;
        DecodeMPEG2Config(data.data(), data.size(), read);
        EXPECT_EQ(read.frameRate, 4 * rates[code - 1] + 32);
        EXPECT_EQ(read.bitRate, 0x3FFFFFFFu);
        EXPECT_EQ(read.vbvBufferSize, 255u * 1024 + 112);
    }
}

TEST(MPEG2CodecParser, Mpeg1HasNoExtension)
{
    MPEG2_Config config = PlainConfig();
    const Bytes data = headerCode + WriteHeader(sequenceHeader, config);
    MPEG2_Config read = PlainConfig();
    read.low_delay = 1; // of an earlier use
    DecodeMPEG2Config(data.data(), data.size(), read);
    EXPECT_EQ(read.low_delay, 0);
    EXPECT_EQ(read.frameRate, 26);
}

TEST(MPEG2CodecParser, Faults)
{
    const std::string wrongRate = "MPEG-2 config has wrong frame rate code";
    const std::string wrongExtension = "MPEG-2 config has wrong start code id in sequence extention";
    MPEG2_Config config = PlainConfig();
    const Bytes good = Sequence(config);
    EXPECT_EQ(DecodeFault(good), "");
    EXPECT_EQ(DecodeFault({}), wrongRate);
    EXPECT_EQ(DecodeFault(Bytes(64, 0xAA)), wrongRate);
    for (uint8_t code : {0, 9, 15})
    {
        config.frame_rate_code = code;
        EXPECT_EQ(DecodeFault(Sequence(config)), wrongRate);
    }
    EXPECT_EQ(DecodeFault(good + extensionCode + Bytes{0x23}), wrongExtension);
    // From the end of the sequence header to the code of the extension, it is MPEG-1.
    EXPECT_EQ(DecodableLengths(DecodeMPEG2Config, good), (std::vector<size_t>{12, 13, 14, 15}));
}

TEST(MPEG2CodecParser, FrameType)
{
    const struct
    {
        Bytes payload;
        int type;
    } rows[] = {
        {{}, 0},
        {{0, 0, 1, 0xB3, 1, 2, 3, 4}, 0},
        {{0, 0, 1, 0, 0xFF}, 0},
        {{0, 0, 1, 0, 0xFF, 0xC7}, 0},
        {{0, 0, 1, 0, 0, 0x08}, 1},
        {{0, 0, 1, 0xB8, 9, 9, 0, 0, 0, 1, 0, 0xFF, 0xD7}, 2},
        {{0, 0, 1, 0, 0xFF, 0xDF, 0, 0, 1, 0, 0, 0x08}, 3},
        {{0, 0, 1, 0, 0, 0x20}, 4},
        {{0, 0, 1, 0, 0, 0x28}, 5},
        {{0, 0, 1, 0, 0, 0x38}, 5},
    };
    for (const auto& row : rows)
        EXPECT_EQ(GetMPEG1_2FrameType(MakePacket(row.payload)), row.type) << testing::PrintToString(row.payload);
}
