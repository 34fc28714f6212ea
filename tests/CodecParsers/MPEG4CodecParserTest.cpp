#include "Proc/CodecParsers/MPEG4CodecParser.h"

#include "tests/CodecParsers/HeaderTools.h"

using namespace Tessor;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// ISO/IEC 14496-2, 6.2.2
const auto sequence = [](MPEG4_Config& c, auto f) { Fields(f, c.profile, 4, c.level, 4); };

const auto visualObject = [](MPEG4_Config& c, auto f)
{
    uint8_t identifier = 1, zero = 0;
    Fields(f, identifier, 1, c.visual_object_verid, 4, c.visual_object_priority, 3, c.visual_object_type, 4);
    const bool hasSignal = c.visual_object_type == 1 || c.visual_object_type == 2;
    if (hasSignal)
        f(c.video_signal_type, 1);
    if (hasSignal && c.video_signal_type)
    {
        Fields(f, c.video_format, 3, c.video_range, 1, c.colour_description, 1);
        if (c.colour_description)
            Fields(f, c.colour_primaries, 8, c.transfer_characteristics, 8, c.matrix_coefficients, 8);
    }
    f(zero, 1); // next_start_code() begins so
};

unsigned TimeIncrementBits(unsigned resolution)
{
    unsigned bits = 1;
    while (1u << bits < resolution)
        ++bits;
    return bits;
}

// 6.2.3, to the clock
const auto layerHead = [](MPEG4_Config& c, auto f)
{
    uint8_t marker = 1;
    Fields(f, c.random_accessible_vol, 1, c.video_object_type_indication, 8, c.is_object_layer_identifier, 1);
    if (c.is_object_layer_identifier)
        Fields(f, c.video_object_layer_verid, 4, c.video_object_layer_priority, 3);
    f(c.aspect_ratio_info, 4);
    if (c.aspect_ratio_info == 15)
        Fields(f, c.par_width, 8, c.par_height, 8);
    f(c.vol_control_parameters, 1);
    if (c.vol_control_parameters)
        Fields(f, c.chroma_format, 2, c.low_delay, 1, c.vbv_parameters, 1);
    if (c.vol_control_parameters && c.vbv_parameters)
    {
        Fields(f, c.first_half_bit_rate, 15, marker, 1, c.latter_half_bit_rate, 15, marker, 1);
        Fields(f, c.first_half_vbv_buffer_size, 15, marker, 1, c.latter_half_vbv_buffer_size, 3);
        Fields(f, c.first_half_vbv_occupancy, 11, marker, 1, c.latter_half_vbv_occupancy, 15, marker, 1);
    }
};

bool IsVersion1(const MPEG4_Config& c)
{
    return (c.is_object_layer_identifier ? c.video_object_layer_verid : c.visual_object_verid) == 1;
}

const auto layer = [](MPEG4_Config& c, auto f)
{
    uint8_t marker = 1, none = 0;
    layerHead(c, f);
    const bool version1 = IsVersion1(c);
    f(c.video_object_layer_shape, 2);
    const int shape = c.video_object_layer_shape;
    if (shape == 3 && !version1)
        f(c.video_object_layer_shape_extension, 4);
    Fields(f, marker, 1, c.vop_time_increment_resolution, 16, marker, 1, c.fixed_vop_rate, 1);
    if (c.fixed_vop_rate)
        f(c.fixed_vop_time_increment, TimeIncrementBits(c.vop_time_increment_resolution));
    if (shape == 2)
        return;
    if (shape == 0)
        Fields(f, marker, 1, c.video_object_layer_width, 13, marker, 1, c.video_object_layer_height, 13, marker, 1);
    Fields(f, c.interlaced, 1, c.obmc_disable, 1, c.sprite_enable, version1 ? 1 : 2);
    if (!version1 && shape != 0)
        f(c.sadct_disable, 1);
    f(c.not_8_bit, 1);
    if (c.not_8_bit)
        Fields(f, c.quant_precision, 4, c.bits_per_pixel, 4);
    if (shape == 3)
        f(none, 3);
    f(c.quant_type, 1);
    if (!version1)
        f(c.quarter_sample, 1);
    Fields(f, c.complexity_estimation_disable, 1, c.resync_marker_disable, 1, c.data_partitioned, 1);
    if (c.data_partitioned)
        f(c.reversible_vlc, 1);
    if (!version1)
        f(none, 2); // newpred_enable, reduced_resolution_vop_enable
    f(c.scalability, 1);
};

const Bytes sequenceCode{0, 0, 1, 0xB0};
const Bytes objectCode{0, 0, 1, 0xB5};
const Bytes videoObject{0, 0, 1, 0x1F};
const Bytes layerCode{0, 0, 1, 0x2F};
const Bytes userData{0, 0, 1, 0xB2, 'x'};

Bytes Whole(MPEG4_Config& config)
{
    return sequenceCode + WriteHeader(sequence, config) + objectCode + WriteHeader(visualObject, config) + videoObject +
           layerCode + WriteHeader(layer, config);
}

MPEG4_Config PlainConfig()
{
    MPEG4_Config config;
    config.profile = 15;
    config.level = 3;
    config.visual_object_verid = 2;
    config.visual_object_type = 1;
    config.vop_time_increment_resolution = 25;
    config.complexity_estimation_disable = 1;
    return config;
}

std::string DecodeFault(const Bytes& data)
{
    MPEG4_Config config;
    return Fault([&] { DecodeMPEG4Config(data.data(), data.size(), config); });
}

} // namespace

TEST(MPEG4CodecParser, RandomHeadersComeBack)
{
    std::mt19937 random(14496);
    for (int i = 0; i < 1000; ++i)
    {
        MPEG4_Config written;
        Randomize(sequence, written, random);
        Randomize(visualObject, written, random);
        Randomize(layer, written, random);
        written.sprite_enable = 0;
        written.quant_type = 0;
        written.complexity_estimation_disable = 1;
        if (!written.is_object_layer_identifier)
            written.video_object_layer_verid = written.visual_object_verid;
        const Bytes data = Whole(written);
        MPEG4_Config read;
        DecodeMPEG4Config(data.data(), data.size(), read);
        EXPECT_EQ(Values(sequence, read), Values(sequence, written)) << i;
        EXPECT_EQ(Values(visualObject, read), Values(visualObject, written)) << i;
        EXPECT_EQ(Values(layer, read), Values(layer, written)) << i;
        EXPECT_EQ(read.video_object_layer_verid, written.video_object_layer_verid) << i;
        if (i % 10 > 0)
            continue; // a throw is slow
        EXPECT_EQ(DecodableLengths(DecodeMPEG4Config, data), std::vector<size_t>()) << i;
    }
}

TEST(MPEG4CodecParser, ObjectWithoutIdentifierHasDefaults)
{
    MPEG4_Config config = PlainConfig();
    config.visual_object_verid = 1;
    const Bytes data = sequenceCode + Bytes{0x01} + objectCode + Bytes{0x09} + layerCode + WriteHeader(layer, config);
    MPEG4_Config read = PlainConfig();
    DecodeMPEG4Config(data.data(), data.size(), read);
    EXPECT_EQ(read.visual_object_verid, 1);
    EXPECT_EQ(read.visual_object_priority, 1);
    EXPECT_EQ(read.visual_object_type, 1);
    EXPECT_EQ(read.video_signal_type, 0);
    EXPECT_EQ(read.vop_time_increment_resolution, 25);
}

TEST(MPEG4CodecParser, Faults)
{
    const auto with = [](auto change)
    {
        MPEG4_Config config = PlainConfig();
        change(config);
        return Whole(config);
    };
    const Bytes good = with([](MPEG4_Config&) {});
    const Bytes start = sequenceCode + Bytes{0xF3};
    const struct
    {
        Bytes data;
        std::string fault;
    } rows[] = {
        {good, ""},
        {good + userData, ""},
        {layerCode + good, "MPEG-4 config is not begining with VOS Start Code: 303"},
        {start + Bytes{0, 0, 1, 0xB6}, "MPEG-4 config has wrong start code: 438"},
        {start + Bytes{0, 0, 0, 0xFF}, "MPEG-4 config has wrong start code: 255"},
        {start + Bytes{0, 0, 1, 0x30}, "MPEG-4 config has wrong start code: 304"},
        {start + userData, "MPEG-4 user data not implemented!"},
        {start + Bytes(3, 0), "IOException"},
        {with([](auto& c) { c.sprite_enable = 2; }),
         "MPEG-4 sprite parameters in Video Object Layer are not implemented!"},
        {with([](auto& c) { c.quant_type = 1; }),
         "MPEG-4 quantization parameters in Video Object Layer are not implemented!"},
        {with([](auto& c) { c.complexity_estimation_disable = 0; }),
         "MPEG-4 complexity estimation header in Video Object Layer are not implemented!"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(DecodeFault(row.data), row.fault);
}

TEST(MPEG4CodecParser, PacketHeaders)
{
    const Bytes vop{0, 0, 1, 0xB6, 0x10, 0x20};
    MPEG4_Config config = PlainConfig();
    const Bytes header = Whole(config);
    for (const Bytes& head : {Bytes(), header, header + userData, Bytes{1, 2}})
        EXPECT_EQ(Payload(*MPEG4_GetPacketHeaders(MakePacket(head + vop + vop))), head);
    EXPECT_EQ(Payload(*MPEG4_GetPacketHeaders(MakePacket(header))), header);
    EXPECT_EQ(MPEG4_GetPacketHeaders(nullptr), nullptr);
}
