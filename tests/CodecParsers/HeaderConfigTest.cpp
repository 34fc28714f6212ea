#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"
#include "tests/CodecParsers/HeaderTools.h"

using namespace Tessor;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// 720 x 576, 25 frames a second, Main at Main: a sequence header and its extension.
const std::string Mpeg2Sequence = "00 00 01 b3 2d 02 40 03 ff ff e3 80";
const std::string Mpeg2Extension = "00 00 01 b5 14 80 00 01 00 00";
const std::string Mpeg4Start = "00 00 01 b0 f3 ";
const std::string Mpeg4UserData = "00 00 01 b2 78 ";

Bytes TheoraPacket(uint8_t type, const Bytes& body)
{
    const size_t size = body.size() + 7;
    return Bytes{uint8_t(size >> 8), uint8_t(size), type, 't', 'h', 'e', 'o', 'r', 'a'} + body;
}

template <class Record>
std::string FailureOf(Decode<Record> decode, const Bytes& data)
{
    Record record;
    return Failure([&] { decode(data.data(), data.size(), record); });
}

} // namespace

// Values stand in the order of the syntax and tell fields apart.
TEST(Headers, KnownMpeg2)
{
    const std::string head = "00 00 01 b3 12 34 56 78 aa f3 6a ";
    CheckHeader<MPEG2_Config>(
        DecodeMPEG2Config, head + "ac", // MPEG-1 has no extension
        {0x123, 0x456, 7, 8, 0x2ABCD, 0x155, 1, 0, {}, 0, {}, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 61, 0x2ABCD, 0x155});
    std::string matrices;
    for (int i = 0; i < 128; ++i)
        matrices += i < 63 ? "42 " : "43 "; // the first matrix lies a bit off
    MPEG2_Config config{0x123,
                        0x456,
                        7,
                        8,
                        0x2ABCD,
                        0x155,
                        1,
                        1,
                        {},
                        1,
                        {},
                        1,
                        4,
                        8,
                        1,
                        2,
                        1,
                        3,
                        0xABC,
                        0xCD,
                        1,
                        2,
                        17,
                        3 * 60 + 18,
                        0xABC * 0x40000u + 0x2ABCD,
                        0xCD * 1024 + 0x155}; // the frame rate is a sum
    config.intra_quantiser_matrix.fill(0x21);
    config.non_intra_quantiser_matrix.fill(0x43);
    // From the end of the sequence header to the code of the extension, it is MPEG-1.
    CheckHeader(DecodeMPEG2Config, head + "ae " + matrices + "00 00 01 b5 1c 8c f5 79 cd d1", config,
                {140, 141, 142, 143});
}

TEST(Headers, KnownMpeg4)
{
    CheckHeader<MPEG4_Config>(
        DecodeMPEG4Config,
        "00 00 01 b0 f3 00 00 01 b5 95 1c c2 44 02 80 00 00 01 1f 00 00 01 2f 88 d3 78 60 5d c9 1a 61 90 d1 a2 ed 55 "
        "b4 56 97 53 0c 1f 4c 5a 11 20 72 d2 f9",
        {15,  3,   {}, 2, 5, 1, 1, 4,      1,      1,      9, 16,    10,     1, 17, 1,     4, 6,
         15,  12,  11, 1, 1, 1, 1, 0x1234, 0x4321, 0x2345, 5, 0x555, 0x3456, 0, 0,  30000, 1, 1001,
         720, 576, 1,  1, 0, 0, 1, 6,      9,      0,      1, 1,     1,      1, 1,  1});
    // Gray shape of version 2, with a clock of one bit.
    CheckHeader<MPEG4_Config>(DecodeMPEG4Config, "00 00 01 b0 11 00 00 01 b5 91 30 00 00 01 20 00 85 bc 00 07 a4 18 00",
                              {1, 1, {}, 2, 1, 3, 0, 5, 0, 0, 1, 1, 1, 0, 1, 0, 2, 1, 1, 0, 0, 0, 1, 0, 0, 0,
                               0, 0, 0,  0, 0, 3, 7, 1, 1, 1, 0, 0, 0, 1, 0, 1, 0, 5, 8, 0, 1, 1, 0, 0, 0, 0});
    // Without identifiers all is of version 1.
    CheckHeader<MPEG4_Config>(DecodeMPEG4Config,
                              "00 00 01 b0 01 00 00 01 b5 08 00 00 01 20 00 86 c4 00 66 80 42 02 0a 20",
                              {0, 1, {}, 1, 1, 1, 0, 5,  0, 0, 1,  1,  1, 0, 1, 0, 1, 1, 1, 0, 0, 1, 1, 1, 0, 0,
                               0, 0, 0,  0, 0, 0, 0, 25, 0, 0, 16, 32, 0, 1, 0, 0, 0, 5, 8, 0, 0, 1, 0, 0, 0, 0});
    // A binary shape only has a clock.
    CheckHeader<MPEG4_Config>(DecodeMPEG4Config, "00 00 01 b0 01 00 00 01 b5 15 80 00 00 01 20 00 85 40 06 71 80",
                              {0, 1, {}, 1, 1, 2, 1, 3,  0, 0, 1, 1, 1, 0, 1, 0, 1, 1, 1, 0, 0, 0, 1, 0, 0, 0,
                               0, 0, 0,  0, 0, 2, 0, 25, 1, 3, 0, 0, 0, 0, 0, 0, 0, 5, 8, 0, 0, 0, 0, 0, 0, 0});
}

TEST(Headers, KnownTheoraAndWmv2)
{
    const std::string others = "00 08 81 74 68 65 6f 72 61 01 00 09 82 74 68 65 6f 72 61 08 09";
    // Whole packets are no fault; later ones may be missing.
    CheckHeader<Theora_Config>(
        DecodeTheoraConfig,
        "00 22 80 74 68 65 6f 72 61 03 01 ff 00 14 00 0c 00 00 75 30 00 00 03 e9 00 00 04 00 00 03 30 10 3d 09 07 e0 " +
            others,
        {0x301FF, true, 320, 192, 320, 192, 0, 0, 30000, 1001, 4, 3, 6, 2, 500000, 63, 0, {8, 9}}, {36, 46});
    CheckHeader<Theora_Config>(
        DecodeTheoraConfig,
        "00 2a 80 74 68 65 6f 72 61 03 02 01 00 14 00 0c 00 01 3f 00 00 b5 01 02 00 00 75 30 00 00 03 e9 00 00 04 00 "
        "00 03 02 07 a1 20 fc d8 " +
            others,
        {0x30201, false, 320, 192, 319, 181, 1, 2, 30000, 1001, 4, 3, 6, 2, 500000, 63, 3, {8, 9}}, {44, 54});
    CheckHeader<WMV2_Config>(DecodeWMV2Config, "f2 ee ae 80", {30, 750, 1, 0, 1, 0, 1, 1, 5});
}

TEST(Headers, FaultsOfMpeg2)
{
    const std::string wrongRate = "MPEG-2 config has wrong frame rate code";
    const std::pair<std::string, std::string> rows[] = {
        {Mpeg2Sequence + " " + Mpeg2Extension, ""},
        {"", wrongRate},
        {Mpeg2Extension, wrongRate},
        {"00 00 01 b3 2d 02 40 00 ff ff e3 80", wrongRate},
        {"00 00 01 b3 2d 02 40 09 ff ff e3 80", wrongRate},
        {Mpeg2Sequence + " 00 00 01 b5 23", "MPEG-2 config has wrong start code id in sequence extention"},
    };
    for (const auto& [data, failure] : rows)
        EXPECT_EQ(FailureOf(DecodeMPEG2Config, Hex(data)), failure) << data;
}

TEST(Headers, FaultsOfMpeg4)
{
    const std::string notHere = " in Video Object Layer are not implemented!";
    const std::string layer = Mpeg4Start + "00 00 01 b5 91 10 00 00 01 20 00 00 40 06 68 04 20 10 ";
    const std::pair<std::string, std::string> rows[] = {
        {layer + "80 80 " + Mpeg4UserData, ""}, // behind the layer nothing is looked at
        {layer + "90 80", "MPEG-4 sprite parameters" + notHere},
        {layer + "82 80", "MPEG-4 quantization parameters" + notHere},
        {layer + "80 00", "MPEG-4 complexity estimation header" + notHere},
        {"00 00 01 2f " + layer, "MPEG-4 config is not begining with VOS Start Code: 303"},
        {Mpeg4Start + "00 00 01 b6", "MPEG-4 config has wrong start code: 438"},
        {Mpeg4Start + "00 00 00 ff", "MPEG-4 config has wrong start code: 255"},
        {Mpeg4Start + "00 00 01 30", "MPEG-4 config has wrong start code: 304"},
        {Mpeg4Start + Mpeg4UserData, "MPEG-4 user data not implemented!"},
        {Mpeg4Start + "00 00 00", PastTheEnd},
    };
    for (const auto& [data, failure] : rows)
        EXPECT_EQ(FailureOf(DecodeMPEG4Config, Hex(data)), failure) << data;
}

TEST(Headers, FaultsOfTheora)
{
    const Bytes good = TheoraPacket(0x80, Bytes(33));
    const std::string noIdentification = "Theora config has no identification header";
    const std::string headless = "Theora config has a packet without its head";
    const std::pair<Bytes, std::string> rows[] = {
        {good, ""},
        {{}, noIdentification},
        {TheoraPacket(0x82, {1}), noIdentification},
        {good + Bytes{0}, "Theora config ends within the length of a packet"},
        {good + Bytes{0, 0}, "Theora config has an empty packet"},
        {good + Bytes{0, 2, 0x81}, "Theora config has a packet that leaves the data"},
        {good + Bytes{0, 1, 0x82}, headless},
        {Bytes{0, 6, 0x80, 't', 'h', 'e', 'o', 'r'}, headless},
        {TheoraPacket(0x80, {3, 2, 1}), PastTheEnd},
    };
    for (const auto& [data, failure] : rows)
        EXPECT_EQ(FailureOf(DecodeTheoraConfig, data), failure) << ToHex(data);
}

TEST(Headers, TheoraEqualToComparesWhatPacketsDependOn)
{
    const Theora_Config base{0x30201, false, 320, 192, 320, 192, 0, 0, 25, 1, 1, 1, 6, 1, 0, 0, 0, {8, 9}};
    const Theora_Config rows[] = {
        {0x301FF, true, 320, 192, 320, 192, 0, 0, 25, 1, 1, 1, 6, 1, 0, 0, 0, {8, 9}},
        {0x30201, false, 336, 192, 320, 192, 0, 0, 25, 1, 1, 1, 6, 1, 0, 0, 0, {8, 9}},
        {0x30201, false, 320, 192, 320, 191, 0, 0, 25, 1, 1, 1, 6, 1, 0, 0, 0, {8, 9}},
        {0x30201, false, 320, 192, 320, 192, 0, 0, 25, 1, 1, 1, 6, 2, 0, 0, 0, {8, 9}},
        {0x30201, false, 320, 192, 320, 192, 0, 0, 25, 1, 1, 1, 6, 1, 0, 0, 2, {8, 9}},
        {0x30201, false, 320, 192, 320, 192, 0, 0, 25, 1, 1, 1, 6, 1, 0, 0, 0, {8, 8}},
    };
    for (const Theora_Config& other : rows)
        EXPECT_FALSE(base.EqualTo(other)) << "row " << &other - rows;
    EXPECT_TRUE(base.EqualTo({0x30200, false, 320, 192, 320, 192, 1, 2, 30, 2, 3, 4, 5, 1, 6, 7, 0, {8, 9}}));
}

TEST(Headers, PictureTypesThatClipsDoNotHave)
{
    const std::pair<const char*, int> rows[] = {
        {"00 00 01 b3 01 02 03 04", 0}, {"00 00 01 00 ff", 0},    {"00 00 01 00 ff c7", 0},
        {"00 00 01 00 00 20", 4},       {"00 00 01 00 00 38", 5},
    };
    for (const auto& [payload, type] : rows)
        EXPECT_EQ(GetMPEG1_2FrameType(MakePacket(Hex(payload))), type) << payload;
    EXPECT_EQ(ToHex(*MPEG4_GetPacketHeaders(MakePacket(Hex("00 00 01 b0 f3")))), "00 00 01 b0 f3"); // none at all
    EXPECT_EQ(MPEG4_GetPacketHeaders(nullptr), nullptr);
}
