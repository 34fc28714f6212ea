#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "tests/CodecParsers/HeaderTools.h"

namespace Tessor::Test
{

// The fixed part of an hvcC with its 22 bytes; the number of arrays follows.
const std::string Fixed = "01 01 60 00 00 00 90 00 00 00 00 00 5d f0 00 fc fd f8 f8 00 00 0f ";
const std::string Arrays = "02 a0 00 01 00 02 40 01 a1 00 02 00 02 42 01 00 03 42 02 03";
const std::string ArraysAnnexB = StartCode + "40 01 " + StartCode + "42 01 " + StartCode + "42 02 03";

// Main 10, level 3.1, three nested sub-layers, of which one has a profile and one a level; 64 x 32, 4:2:2, 10 and 9
// bits.
const std::string VPS = "40 01 0c 05 ff ff 02 20 00 00 03 00 90 00 00 03 00 00 03 00 5d 90 00 "
                        "ab ab ab ab ab ab ab ab ab ab ab 5a 15 c0 c0";
const std::string SPS = "42 01 05 02 20 00 00 03 00 90 00 00 03 00 00 03 00 5d 90 00 "
                        "ab ab ab ab ab ab ab ab ab ab ab 5a b0 20 82 13 45 15 e0";

const char* const WrongStructure = "hvcC header has wrong structure";

TEST(HEVCHeader, FormLengthSizeAndRecovery)
{
    const std::string tooFew = "Not enougth data to determine h264 format type";
    const std::string noLength = "Not enougth data to determine HEVC NALU length size";
    const auto describe = [](const std::string& hex)
    {
        Bytes bytes = Hex(hex);
        uint8_t* const data = bytes.data();
        const size_t size = bytes.size();
        std::string text = ResultOf([&] { return IsHvcCHeader(data, size); }) + ", " +
                           ResultOf([&] { return GetHvccNALULengthSize(data, size); }) + ", " +
                           ResultOf([&] { return FindBrokenHVCCHeader(data, size); });
        text += ", " + Failure([&] { EXPECT_TRUE(RecoverHVCCHeader(data, size)); });
        return ToHex(bytes) == hex ? text : text + ToHex(bytes);
    };
    CheckRows(describe, {{"01 01 60", "1, " + noLength + ", " + tooFew + ", " + tooFew},
                         {"00 00 01", tooFew + ", " + tooFew + ", " + tooFew + ", " + tooFew},
                         {"01 01 60 00", "1, " + noLength + ", 0, "},
                         {"00 01 42 03", "1, " + noLength + ", 1, 01 42 42 03"}, // two bytes move, and no more
                         {"00 00 01 42", "0, 0, 0, "},
                         {"00 00 00 00 01", "1, " + noLength + ", 1, "},
                         {Fixed.substr(0, 65), "1, " + noLength + ", 0, "},
                         {Fixed + "00", "1, 4, 0, "},
                         {Fixed.substr(0, 63) + "0d 00", "1, 2, 0, "}});
    const std::string noType = "Not enougth data to determine HEVC header type";
    EXPECT_EQ(Failure([] { IsHvcCHeader(nullptr, 0); }), noType);
    EXPECT_EQ(Failure([] { FindBrokenHVCCHeader(nullptr, 0); }), tooFew);
    EXPECT_FALSE(RecoverHVCCHeader(nullptr, 0));
    EXPECT_EQ(Failure([] { HEVC_Extradata_hvcCtoAnnexB(nullptr); }), noType);
}

TEST(HEVCHeader, HvccWalk)
{
    CheckRows([](const std::string& hex) { return UnitsOf(hex, FindHvccHeaderNalus); },
              {{Fixed + "00 aa bb", ""},
               {Fixed + Arrays, "[40 01]|[42 01]|[42 02 03]"},
               {Fixed + "01 22 00 02 00 00 00 01 44", "[]|[44]"},
               {Fixed + "01 22 00", "hvcC header has wring structure"},
               {Fixed + "02 22 00 01 00 01 44", "[44]hvcC header has wring structure"},
               {Fixed + "01 22 00 01 00", WrongStructure},
               {Fixed + "01 22 00 02 00 01 44 00 02 44", std::string("[44]") + WrongStructure},
               {Fixed, "hvcC header is too small"},
               {"02" + Fixed.substr(2) + "00", "Unknown hvcC version"}});
    std::vector<Nalu> units;
    EXPECT_TRUE(
        CompleteLengths(Hex(Fixed + Arrays), [&](auto* data, size_t size) { FindHvccHeaderNalus(data, size, units); })
            .empty());
}

TEST(HEVCHeader, HvccToAnnexB)
{
    const std::string broken = "00 01 60" + Fixed.substr(8) + Arrays;
    CheckRows([](const std::string& hex)
              { return ResultOf([&] { return HEVC_Extradata_hvcCtoAnnexB(MakeBlob(hex)); }); },
              {{Fixed + Arrays, ArraysAnnexB},
               {ArraysAnnexB, ArraysAnnexB},
               {Fixed + "01 22 00 01 00 02 44", WrongStructure},
               // A version byte that was overwritten comes back. Where it was shifted, everything after it still is.
               {broken, ArraysAnnexB},
               {"00 " + Fixed + Arrays, WrongStructure},
               {"00 00 00 00 " + Fixed + Arrays, "Unknown hvcC version"}});
    const SP<const IBlob> blob = MakeBlob(broken);
    HEVC_Extradata_hvcCtoAnnexB(blob);
    EXPECT_EQ(blob->Data()[0], 0) << "the caller's header stays as it was";
}

TEST(HEVCHeader, AnnexBToHvcc)
{
    const auto convert = [](const std::string& hex)
    { return ResultOf([&] { return HEVC_Extradata_AnnexBtoHvcC(MakeBlob(hex)); }); };
    const std::string head = "01 02 20 00 00 00 90 00 00 00 00 00 5d f0 00 fc fe fa f9 00 00 17 ";
    const std::string vps = "20 00 01 00 26 " + VPS;
    const std::string sps = "21 00 01 00 27 " + SPS;
    EXPECT_EQ(convert(StartCode + VPS + " " + StartCode + SPS), head + "02 " + vps + " " + sps);
    // In the order of the record, whatever the header's; delimiters and units without a header are left out.
    EXPECT_EQ(convert("00 00 01 46 01 50 00 00 01 44 01 c1 00 00 01 00 00 01 44 00 00 01 50 01 84 00 00 01 4e 01 05 "
                      "00 00 01 44 01 c2 " +
                      StartCode + SPS + " " + StartCode + VPS),
              head + "05 " + vps + " " + sps + " 22 00 02 00 03 44 01 c1 00 03 44 01 c2 27 00 01 00 03 4e 01 05 " +
                  "28 00 01 00 03 50 01 84");
    EXPECT_EQ(convert(StartCode + VPS), "Can't find nalu of type 33");
    EXPECT_EQ(convert(StartCode + SPS), "Can't find nalu of type 32");
    EXPECT_EQ(convert(Fixed + Arrays), "Finding HEVC NALUs in hvcC is not implemented yet");
}

// The first ones tell of their highest sub-layer alone, the second VPS of each of its eight: the eighth has no place.
TEST(HEVCParameterSets, Known)
{
    const HEVC_PTL main10{0, 0, 2, {0x20}, {0x90}, 93},
        other{2, 1, 21, {0x12, 0x34, 0x56, 0x78}, {0x9a, 0xbc, 0xde, 0xf0, 0x12, 0x34}, 153};
    const std::string sublayers = "99 93 04 " + ToHex(Bytes(25, 0xab)) + " ";
    const HEVC_SubLayers buffering{1, 4, 7, 10, 13, 16, 19}, reorder{2, 5, 8, 11, 14, 17, 20},
        latency{3, 6, 9, 12, 15, 18, 21}, fours{4, 4, 4}, twos{2, 2, 2}, all250{250, 250, 250, 250, 250, 250, 250},
        all3{3, 3, 3, 3, 3, 3, 3}, all4{4, 4, 4, 4, 4, 4, 4};
    CheckHeader<HEVC_VPS>(HEVCDecodeVPS, StartCode + VPS, {0, 2, 1, main10, fours, twos, {}, 0, 0});
    CheckHeader<HEVC_SPS>(HEVCDecodeSPS, StartCode + SPS,
                          {0, 2, 1, main10, 0, 2, 0, 64, 32, 0, 0, 0, 0, 2, 1, 4, fours, twos, {}});
    CheckHeader<HEVC_VPS>(HEVCDecodeVPS,
                          StartCode + "40 01 9c 3f ff ff b5 12 34 56 78 9a bc de f0 12 34 " + sublayers +
                              "a6 42 98 e2 04 8a 16 30 68 e1 e1 00 88 48 26 14 0a 85 82 e1 80 cd a0 00 01 2d 68 88",
                          {9, 7, 1, other, buffering, reorder, latency, 45, 1234567});
    CheckHeader<HEVC_SPS>(HEVCDecodeSPS,
                          StartCode + "42 01 9f b5 12 34 56 78 9a bc de f0 12 34 " + sublayers +
                              "08 12 00 10 01 00 10 e3 31 c4 09 21 86 00 7d 90 b0",
                          {9, 7, 1, other, 15, 3, 1, 4096, 2160, 5, 6, 7, 8, 3, 5, 11, all250, all3, all4});
}

TEST(HEVCParameterSets, ReorderWindow)
{
    HEVC_VPS vps;
    HEVC_SPS sps;
    vps.vps_max_num_reorder_pics = sps.sps_max_num_reorder_pics = {1, 0, 3, 4, 5, 16, 255};
    // An eighth sub-layer counts as the seventh; 16 is the most.
    for (const auto& [maxSubLayersMinus1, window] : {std::pair(0, 1u), {1, 0u}, {5, 16u}, {6, 16u}, {7, 16u}})
    {
        vps.vps_max_sub_layers_minus1 = sps.sps_max_sub_layers_minus1 = static_cast<uint8_t>(maxSubLayersMinus1);
        EXPECT_EQ(vps.ComputeReorderWindow(), window);
        EXPECT_EQ(sps.ComputeReorderWindow(), window);
    }
}

TEST(HEVCParameterSets, WindowBiggerThanThePictureWraps)
{
    HEVC_SPS sps;
    sps.pic_width_in_luma_samples = sps.pic_height_in_luma_samples = sps.conf_win_left_offset = 1920;
    sps.conf_win_right_offset = 1;
    EXPECT_EQ(sps.GetVisibleSize(), std::pair(0xFFFFFFFFu, 1920u));
}

TEST(HEVCUnit, Types)
{
    std::string types;
    for (uint32_t type = 0; type < 64; ++type)
        for (const uint32_t otherBits : {0u, 0x81u})
        {
            const uint8_t unit[] = {static_cast<uint8_t>(type << 1 | otherBits), 1};
            const bool valid = GetHEVCType(unit, 2) == type;
            EXPECT_EQ(GetHEVCType(unit, 1), 64u);
            EXPECT_TRUE(valid || GetHEVCType(unit, 2) == 64u);
            types += IsVclNalu({unit, 2}) ? 'v' : valid ? '1' : '0';
        }
    EXPECT_EQ(types, std::string(20, 'v') + std::string(12, '0') + std::string(12, 'v') + std::string(20, '0') +
                         std::string(18, '1') + std::string(46, '0'));
    EXPECT_FALSE(IsVclNalu({nullptr, 2}));
}

TEST(HEVCPacket, ExtradataGoesInFrontOfKeyPacketsWithoutSets)
{
    const std::string hvccFailure = "Trying to insert hvcC extradata into annexB packet";
    const std::string idr = "00 00 01 46 01 50 00 00 01 44 00 00 01 26 01 af"; // a PPS without a header is none
    EXPECT_EQ(Headed(InsertHEVCExtradata, idr, ArraysAnnexB), ArraysAnnexB + " " + idr);
    EXPECT_EQ(Headed(InsertHEVCExtradata, idr, ArraysAnnexB, false), "");
    EXPECT_EQ(Headed(InsertHEVCExtradata, idr, Fixed + Arrays), hvccFailure);
    EXPECT_EQ(Headed(InsertHEVCExtradata, idr, "00 01 60 00"), hvccFailure);
    for (const char* set : {"00 00 01 40 01 ", "00 00 01 42 01 ", "00 00 01 44 01 "})
        EXPECT_EQ(Headed(InsertHEVCExtradata, set + idr, ArraysAnnexB), "") << set;
}

} // namespace Tessor::Test
