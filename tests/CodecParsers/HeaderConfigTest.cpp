#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/TheoraCodecParser.h"
#include "Proc/CodecParsers/WMV2CodecParser.h"
#include "tests/CodecParsers/HeaderTools.h"

namespace Tessor::Test
{

namespace
{

// "theora", and its other headers.
const std::string Theora = "74 68 65 6f 72 61 ";
const std::string TheoraOthers = "00 08 81 " + Theora + "01 00 09 82 " + Theora + "08 09";

template <class Record>
void CheckFaults(Decode<Record> decode, const std::vector<std::pair<std::string, std::string>>& rows)
{
    CheckRows([&](const std::string& hex) { return Failure([&] { Read(decode, Hex(hex)); }); }, rows);
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
    MPEG2_Config config{0x123, 0x456, 7, 8, 0x2ABCD, 0x155, 1,    1, {}, 1,  {}, 1,          4,
                        8,     1,     2, 1, 3,       0xABC, 0xCD, 1, 2,  17, 0,  0x2AF2ABCD, 0x33555};
    config.frameRate = 3 * 60 + 18; // a sum
    config.intra_quantiser_matrix.fill(0x21);
    config.non_intra_quantiser_matrix.fill(0x43);
    // From the end of the sequence header to the code of the extension, it is MPEG-1.
    CheckHeader(DecodeMPEG2Config, head + "ae " + matrices + "00 00 01 b5 1c 8c f5 79 cd d1", config,
                {140, 141, 142, 143});
}

TEST(Headers, KnownMpeg4)
{
    const std::pair<const char*, MPEG4_Config> rows[] = {
        {"f3 00 00 01 b5 95 1c c2 44 02 80 00 00 01 1f 00 00 01 2f 88 d3 78 60 5d c9 1a 61 90 d1 a2 ed 55 b4 56 97 53 "
         "0c 1f 4c 5a 11 20 72 d2 f9",
         {15,  3,   {}, 2, 5, 1, 1, 4,      1,      1,      9, 16,    10,     1, 17, 1,     4, 6,
          15,  12,  11, 1, 1, 1, 1, 0x1234, 0x4321, 0x2345, 5, 0x555, 0x3456, 0, 0,  30000, 1, 1001,
          720, 576, 1,  1, 0, 0, 1, 6,      9,      0,      1, 1,     1,      1, 1,  1}},
        {"11 00 00 01 b5 91 30 00 00 01 20 00 85 bc 00 07 a4 18 00", // gray shape of version 2, a clock of one bit
         {1, 1, {}, 2, 1, 3, 0, 5, 0, 0, 1, 1, 1, 0, 1, 0, 2, 1, 1, 0, 0, 0, 1, 0, 0, 0,
          0, 0, 0,  0, 0, 3, 7, 1, 1, 1, 0, 0, 0, 1, 0, 1, 0, 5, 8, 0, 1, 1, 0, 0, 0, 0}},
        {"01 00 00 01 b5 15 80 00 00 01 20 00 85 40 06 71 80", // a binary shape only has a clock
         {0, 1, {}, 1, 1, 2, 1, 3,  0, 0, 1, 1, 1, 0, 1, 0, 1, 1, 1, 0, 0, 0, 1, 0, 0, 0,
          0, 0, 0,  0, 0, 2, 0, 25, 1, 3, 0, 0, 0, 0, 0, 0, 0, 5, 8, 0, 0, 0, 0, 0, 0, 0}}};
    for (const auto& [hex, config] : rows)
        CheckHeader(DecodeMPEG4Config, std::string("00 00 01 b0 ") + hex, config);
}

TEST(Headers, KnownTheoraAndWmv2)
{
    // Whole packets are no fault; later ones may be missing.
    CheckHeader<Theora_Config>(
        DecodeTheoraConfig,
        "00 22 80 " + Theora + "03 01 ff 00 14 00 0c 00 00 75 30 00 00 03 e9 00 00 04 00 00 03 30 10 3d 09 07 e0 " +
            TheoraOthers,
        {0x301FF, true, 320, 192, 320, 192, 0, 0, 30000, 1001, 4, 3, 6, 2, 500000, 63, 0, {8, 9}}, {36, 46});
    CheckHeader<Theora_Config>(
        DecodeTheoraConfig,
        "00 2a 80 " + Theora +
            "03 02 01 00 14 00 0c 00 01 3f 00 00 b5 01 02 00 00 75 30 00 00 03 e9 00 00 04 00 00 "
            "03 02 07 a1 20 fc d8 " +
            TheoraOthers,
        {0x30201, false, 320, 192, 319, 181, 1, 2, 30000, 1001, 4, 3, 6, 2, 500000, 63, 3, {8, 9}}, {44, 54});
    CheckHeader<WMV2_Config>(DecodeWMV2Config, "f2 ee ae 80", {30, 750, 1, 0, 1, 0, 1, 1, 5});
}

TEST(Headers, Faults)
{
    const std::string wrongRate = "MPEG-2 config has wrong frame rate code";
    const std::string extension = "00 00 01 b5 14 80 00 01 00 00";
    CheckFaults(DecodeMPEG2Config, {{"", wrongRate},
                                    {extension, wrongRate},
                                    {"00 00 01 b3 2d 02 40 00 ff ff e3 80", wrongRate},
                                    {"00 00 01 b3 2d 02 40 09 ff ff e3 80", wrongRate},
                                    {"00 00 01 b3 2d 02 40 03 ff ff e3 80 " + extension, ""},
                                    {"00 00 01 b3 2d 02 40 03 ff ff e3 80 00 00 01 b5 23",
                                     "MPEG-2 config has wrong start code id in sequence extention"}});

    const std::string start = "00 00 01 b0 f3 ", userData = "00 00 01 b2 78 ";
    const std::string notHere = " in Video Object Layer are not implemented!";
    const std::string layer = start + "00 00 01 b5 91 10 00 00 01 20 00 00 40 06 68 04 20 10 ";
    CheckFaults(DecodeMPEG4Config, {{layer + "80 80 " + userData, ""}, // after the layer nothing is looked at
                                    {layer + "90 80", "MPEG-4 sprite parameters" + notHere},
                                    {layer + "82 80", "MPEG-4 quantization parameters" + notHere},
                                    {layer + "80 00", "MPEG-4 complexity estimation header" + notHere},
                                    {"00 00 01 2f", "MPEG-4 config is not begining with VOS Start Code: 303"},
                                    {start + "00 00 01 b6", "MPEG-4 config has wrong start code: 438"},
                                    {start + "00 00 00 ff", "MPEG-4 config has wrong start code: 255"},
                                    {start + "00 00 01 30", "MPEG-4 config has wrong start code: 304"},
                                    {start + userData, "MPEG-4 user data not implemented!"}});

    const std::string good = "00 28 80 " + Theora + ToHex(Bytes(33)) + " ";
    const std::string noIdentification = "Theora config has no identification header";
    const std::string headless = "Theora config has a packet without its head";
    CheckFaults(DecodeTheoraConfig, {{good, ""},
                                     {"", noIdentification},
                                     {TheoraOthers, noIdentification},
                                     {good + "00", "Theora config ends within the length of a packet"},
                                     {good + "00 00", "Theora config has an empty packet"},
                                     {good + "00 02 81", "Theora config has a packet that leaves the data"},
                                     {good + "00 01 82", headless},
                                     {"00 06 80 74 68 65 6f 72", headless},
                                     {"00 0a 80 " + Theora + "03 02 01", PastTheEnd}});
}

TEST(Headers, TheoraEqualToComparesWhatPacketsDependOn)
{
    using T = Theora_Config;
    EXPECT_EQ(Compared<T>(&T::beforeAlpha3, &T::frameWidth, &T::frameHeight, &T::pictureWidth, &T::pictureHeight,
                          &T::colourSpace, &T::pixelFormat),
              "1111111");
    T other;
    other.setup = {8, 9};
    EXPECT_FALSE(T().EqualTo(other));
}

TEST(Headers, PictureTypesThatClipsDoNotHave)
{
    CheckRows([](const std::string& hex) { return std::to_string(GetMPEG1_2FrameType(MakePacket(Hex(hex)))); },
              {{"00 00 01 b3 01 02 03 04", "0"},
               {"00 00 01 00 ff c7", "0"},
               {"00 00 01 00 00 20", "4"},
               {"00 00 01 00 00 38", "5"}});
    EXPECT_EQ(ToHex(*MPEG4_GetPacketHeaders(MakePacket(Hex("00 00 01 b0 f3")))), "00 00 01 b0 f3"); // none at all
    EXPECT_EQ(MPEG4_GetPacketHeaders(nullptr), nullptr);
}

TEST(Headers, GoInFrontOfPacketsOnce)
{
    const std::pair<decltype(&MPEG2_AddPacketHeader), std::string> codecs[] = {{MPEG2_AddPacketHeader, "b3"},
                                                                               {MPEG4_AddPacketHeader, "b0"}};
    for (const auto& [add, own] : codecs)
    {
        const std::string other = own == "b3" ? "b0" : "b3";
        EXPECT_EQ(Headed(add, "00 00 01 " + own + " 05", "09 09"), "");
        EXPECT_EQ(Headed(add, "00 00 01 " + other + " 05", "09 09"), "09 09 00 00 01 " + other + " 05");
        EXPECT_EQ(Headed(add, "00 00 01", "09 09"), "09 09 00 00 01");
    }
}

} // namespace Tessor::Test
