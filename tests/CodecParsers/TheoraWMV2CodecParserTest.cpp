#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"

#include "tests/CodecParsers/HeaderTools.h"

using namespace Tessor;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// Theora specification, 6.2, and what was different before 3.2.0.
const auto identification = [](Theora_Config& c, auto f)
{
    f(c.version, 24);
    const bool old = c.version < 0x30200;
    uint32_t macroblocksX = c.frameWidth / 16, macroblocksY = c.frameHeight / 16;
    f(macroblocksX, 16);
    f(macroblocksY, 16);
    c.frameWidth = macroblocksX * 16;
    c.frameHeight = macroblocksY * 16;
    if (!old)
        Fields(f, c.pictureWidth, 24, c.pictureHeight, 24, c.offsetX, 8, c.offsetY, 8);
    Fields(f, c.frameRateNum, 32, c.frameRateDen, 32, c.pixelAspectNum, 24, c.pixelAspectDen, 24);
    if (old)
        f(c.keyframeGranuleShift, 5);
    Fields(f, c.colourSpace, 8, c.nominalBitrate, 24, c.quality, 6);
    if (!old)
        Fields(f, c.keyframeGranuleShift, 5, c.pixelFormat, 2);
};

Bytes Packet(uint8_t type, const Bytes& body)
{
    const size_t size = body.size() + 7;
    return Bytes{uint8_t(size >> 8), uint8_t(size), type, 't', 'h', 'e', 'o', 'r', 'a'} + body;
}

std::string TheoraFault(const Bytes& data)
{
    Theora_Config config;
    return Fault([&] { DecodeTheoraConfig(data.data(), data.size(), config); });
}

const auto wmv2 = [](WMV2_Config& c, auto f)
{
    Fields(f, c.frameRate, 5, c.bitRate, 11, c.mspel_bit, 1, c.loop_filter, 1, c.abt_flag, 1, c.j_type_bit, 1);
    Fields(f, c.top_left_mv_flag, 1, c.per_mb_rl_bit, 1, c.code, 3);
};

} // namespace

TEST(TheoraCodecParser, RandomHeadersComeBack)
{
    std::mt19937 random(130);
    for (int i = 0; i < 60; ++i)
    {
        const bool old = i % 3 == 0;
        Theora_Config written;
        written.version = old ? 0x301FF : 0x30200 + i; // decides which fields there are
        identification(written,
                       [&](auto& field, unsigned bits)
                       {
                           if (static_cast<const void*>(&field) != &written.version)
                               field = static_cast<std::remove_reference_t<decltype(field)>>(random() >> (32 - bits));
                       });
        written.setup.resize(i == 0 ? 1000 : i, static_cast<uint8_t>(i)); // once more than a byte can count
        const Bytes first = Packet(0x80, WriteHeader(identification, written));
        const Bytes second = Packet(0x81, {1, 2, 3});
        const Bytes data = first + second + Packet(0x82, written.setup);
        Theora_Config read;
        DecodeTheoraConfig(data.data(), data.size(), read);
        EXPECT_EQ(Values(identification, read), Values(identification, written)) << i;
        EXPECT_EQ(read.setup, written.setup) << i;
        EXPECT_EQ(read.beforeAlpha3, old) << i;
        EXPECT_EQ(read.pictureWidth, old ? written.frameWidth : written.pictureWidth) << i;
        EXPECT_EQ(read.pictureHeight, old ? written.frameHeight : written.pictureHeight) << i;
        // Whole packets are no fault; later ones may be missing.
        const std::vector<size_t> whole{first.size(), first.size() + second.size()};
        EXPECT_EQ(DecodableLengths(DecodeTheoraConfig, data), whole) << i;
    }
}

TEST(TheoraCodecParser, Faults)
{
    Theora_Config config;
    config.version = 0x30201;
    const Bytes good = Packet(0x80, WriteHeader(identification, config));
    const std::string headless = "Theora config has a packet without its head";
    EXPECT_EQ(TheoraFault(good), "");
    EXPECT_EQ(TheoraFault({}), "Theora config has no identification header");
    EXPECT_EQ(TheoraFault(Packet(0x82, {1})), "Theora config has no identification header");
    EXPECT_EQ(TheoraFault(good + Bytes{0}), "Theora config ends within the length of a packet");
    EXPECT_EQ(TheoraFault(good + Bytes{0, 0}), "Theora config has an empty packet");
    EXPECT_EQ(TheoraFault(good + Bytes{0, 2, 0x81}), "Theora config has a packet that leaves the data");
    EXPECT_EQ(TheoraFault(good + Bytes{0, 1, 0x82}), headless);
    EXPECT_EQ(TheoraFault(Bytes{0, 6, 0x80, 't', 'h', 'e', 'o', 'r'}), headless);
    EXPECT_EQ(TheoraFault(Packet(0x80, {3, 2, 1})), "IOException");
}

TEST(TheoraCodecParser, EqualToComparesWhatPacketsDependOn)
{
    Theora_Config base;
    base.setup = {1, 2};
    const auto equalWith = [&](auto change)
    {
        Theora_Config other = base;
        change(other);
        return base.EqualTo(other);
    };
    EXPECT_FALSE(equalWith([](auto& c) { c.beforeAlpha3 = true; }));
    EXPECT_FALSE(equalWith([](auto& c) { c.frameWidth = 16; }));
    EXPECT_FALSE(equalWith([](auto& c) { c.frameHeight = 16; }));
    EXPECT_FALSE(equalWith([](auto& c) { c.pictureWidth = 1; }));
    EXPECT_FALSE(equalWith([](auto& c) { c.pictureHeight = 1; }));
    EXPECT_FALSE(equalWith([](auto& c) { c.colourSpace = 1; }));
    EXPECT_FALSE(equalWith([](auto& c) { c.pixelFormat = 2; }));
    EXPECT_FALSE(equalWith([](auto& c) { c.setup[1] = 3; }));
    EXPECT_TRUE(equalWith(
        [](auto& c)
        {
            c.version = 0x30201;
            c.offsetX = c.offsetY = c.quality = c.keyframeGranuleShift = 1;
            c.frameRateNum = c.frameRateDen = c.pixelAspectNum = c.pixelAspectDen = c.nominalBitrate = 1;
        }));
}

TEST(WMV2CodecParser, RandomHeadersComeBack)
{
    std::mt19937 random(2);
    for (int i = 0; i < 100; ++i)
    {
        WMV2_Config written, read;
        Randomize(wmv2, written, random);
        const Bytes data = WriteHeader(wmv2, written);
        DecodeWMV2Config(data.data(), data.size(), read);
        EXPECT_EQ(Values(wmv2, read), Values(wmv2, written));
        EXPECT_EQ(DecodableLengths(DecodeWMV2Config, data), std::vector<size_t>());
    }
}
