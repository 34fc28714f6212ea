#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "media/IFormatCodecVideo.h"
#include "tests/CodecParsers/HeaderTools.h"

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

const std::string StartCode = "00 00 00 01 ";
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

} // namespace

TEST(HEVCHeader, FormLengthSizeAndRecovery)
{
    const std::string noType = "Not enougth data to determine HEVC header type";
    const std::string tooFew = "Not enougth data to determine h264 format type";
    const std::string noLength = "Not enougth data to determine HEVC NALU length size";
    const struct
    {
        std::string header, isHvcc, lengthSize, isBroken, recovered; // the last is "" where nothing changes
    } rows[] = {
        {"01 01 60", "1", noLength, tooFew, tooFew},
        {"00 00 01", tooFew, tooFew, tooFew, tooFew},
        {"01 01 60 00", "1", noLength, "0", ""},
        {"00 01 42 03", "1", noLength, "1", "01 42 42 03"}, // two bytes move, and no more
        {"00 00 01 42", "0", "0", "0", ""},
        {"00 00 00 01", "0", "0", "0", ""},
        {"00 00 00 00 01", "1", noLength, "1", ""},
        {"00 00 02 01", "0", "0", "0", ""},
        {Fixed + "00", "1", "4", "0", ""},
        {"01 01 60 00 00 00 90 00 00 00 00 00 5d f0 00 fc fd f8 f8 00 00 0d", "1", noLength, "0", ""},
        {"01 01 60 00 00 00 90 00 00 00 00 00 5d f0 00 fc fd f8 f8 00 00 0d 00", "1", "2", "0", ""},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.header);
        Bytes bytes = Hex(row.header);
        uint8_t* const data = bytes.data();
        const size_t size = bytes.size();
        EXPECT_EQ(ResultOf([&] { return IsHvcCHeader(data, size); }), row.isHvcc);
        EXPECT_EQ(ResultOf([&] { return GetHvccNALULengthSize(data, size); }), row.lengthSize);
        EXPECT_EQ(ResultOf([&] { return FindBrokenHVCCHeader(data, size); }), row.isBroken);
        const std::string failure = Failure([&] { EXPECT_TRUE(RecoverHVCCHeader(data, size)); });
        EXPECT_EQ(failure.empty() ? ToHex(bytes) : failure, row.recovered.empty() ? row.header : row.recovered);
    }
    EXPECT_EQ(Failure([] { IsHvcCHeader(nullptr, 0); }), noType);
    EXPECT_EQ(Failure([] { GetHvccNALULengthSize(nullptr, 0); }), noType);
    EXPECT_EQ(Failure([] { FindBrokenHVCCHeader(nullptr, 0); }), tooFew);
    EXPECT_FALSE(RecoverHVCCHeader(nullptr, 0));
}

TEST(HEVCHeader, HvccWalk)
{
    const struct
    {
        std::string header;
        const char* units;
        const char* failure;
    } rows[] = {
        {Fixed + "00 aa bb", "", ""},
        {Fixed + Arrays, "[40 01]|[42 01]|[42 02 03]", ""},
        {Fixed + "01 22 00 02 00 00 00 01 44", "[]|[44]", ""},
        {Fixed + "01 22 00", "", "hvcC header has wring structure"},
        {Fixed + "02 22 00 01 00 01 44", "[44]", "hvcC header has wring structure"},
        {Fixed + "01 22 00 01 00", "", "hvcC header has wrong structure"},
        {Fixed + "01 22 00 02 00 01 44 00 02 44", "[44]", "hvcC header has wrong structure"},
        {Fixed, "", "hvcC header is too small"},
        {"02" + Fixed.substr(2) + "00", "", "Unknown hvcC version"},
    };
    for (const auto& row : rows)
    {
        const Bytes bytes = Hex(row.header);
        std::vector<Nalu> units;
        EXPECT_EQ(Failure([&] { FindHvccHeaderNalus(bytes.data(), bytes.size(), units); }), row.failure);
        EXPECT_EQ(ToHex(units), row.units);
    }
    std::vector<Nalu> units;
    EXPECT_TRUE(
        CompleteLengths(Hex(Fixed + Arrays), [&](auto* data, size_t size) { FindHvccHeaderNalus(data, size, units); })
            .empty());
}

TEST(HEVCHeader, HvccToAnnexB)
{
    const auto convert = [](const std::string& hex)
    { return ResultOf([&] { return HEVC_Extradata_hvcCtoAnnexB(MakeBlob(hex)); }); };
    EXPECT_EQ(convert(Fixed + Arrays), ArraysAnnexB);
    const SP<const IBlob> already = MakeBlob(ArraysAnnexB);
    EXPECT_EQ(HEVC_Extradata_hvcCtoAnnexB(already), already);
    EXPECT_EQ(convert("01 01 60"), "hvcC header is too small");
    EXPECT_EQ(convert(Fixed + "01 22 00 01 00 02 44"), "hvcC header has wrong structure");
    EXPECT_EQ(Failure([] { HEVC_Extradata_hvcCtoAnnexB(nullptr); }), "Not enougth data to determine HEVC header type");
    // A version byte that was overwritten comes back, and the caller's header stays as it was. Where
    // it was shifted, everything behind it still is.
    const SP<const IBlob> broken = MakeBlob("00 01 60" + Fixed.substr(8) + Arrays);
    EXPECT_EQ(ToHex(*HEVC_Extradata_hvcCtoAnnexB(broken)), ArraysAnnexB);
    EXPECT_EQ(broken->Data()[0], 0);
    EXPECT_EQ(convert("00 " + Fixed + Arrays), "hvcC header has wrong structure");
    EXPECT_EQ(convert("00 00 00 00 " + Fixed + Arrays), "Unknown hvcC version");

    const SP<IDataPacket> key = MakeVideoPacket("02 26 01", true);
    EXPECT_EQ(ToHex(*Mp4toAnnexB(key, 1, MakeBlob(Fixed + Arrays), Conf::IFormatCodecVideo::CODEC_ID_H265)),
              ArraysAnnexB + " 00 00 00 01 26 01");
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

// Counts and sizes of 16 bits hold what fits into them, and nothing is cut to fit.
TEST(HEVCHeader, AnnexBToHvccLimits)
{
    const Bytes sets = Hex(StartCode + VPS + " " + StartCode + SPS), pps = Hex("00 00 01 44 01");
    const auto convert = [&](const Bytes& more)
    { return Failure([&] { HEVC_Extradata_hvcCtoAnnexB(HEVC_Extradata_AnnexBtoHvcC(MakeBlob(sets + more))); }); };
    EXPECT_EQ(convert(pps + Bytes(65533, 0xAA)), "");
    EXPECT_EQ(convert(pps + Bytes(65534, 0xAA)), "NALU is too big for the header");
    Bytes many;
    for (int i = 0; i < 65535; ++i)
        many.insert(many.end(), pps.begin(), pps.end());
    EXPECT_EQ(convert(many), "");
    EXPECT_EQ(convert(many + pps), "Too many NALUs for the header");
}

TEST(HEVCHeader, TruncatedSetsAreRefused)
{
    HEVC_VPS vps;
    HEVC_SPS sps;
    EXPECT_TRUE(CompleteLengths(Hex(StartCode + VPS), [&](auto* data, size_t size) { HEVCDecodeVPS(data, size, vps); })
                    .empty());
    EXPECT_TRUE(CompleteLengths(Hex(StartCode + SPS), [&](auto* data, size_t size) { HEVCDecodeSPS(data, size, sps); })
                    .empty());
}

TEST(HEVCUnit, Types)
{
    for (uint32_t type = 0; type < 64; ++type)
    {
        const bool valid = type <= 9 || (type >= 16 && type <= 21) || (type >= 32 && type <= 40);
        for (const uint32_t otherBits : {0u, 0x81u})
        {
            const uint8_t unit[] = {static_cast<uint8_t>(type << 1 | otherBits), 1};
            EXPECT_EQ(GetHEVCType(unit, 2), valid ? type : 64u);
            EXPECT_EQ(GetHEVCType(unit, 1), 64u);
            EXPECT_EQ(IsVclNalu({unit, 2}), valid && type < 32) << type;
            EXPECT_FALSE(IsVclNalu({unit, 1}));
        }
    }
    EXPECT_EQ(GetHEVCType(nullptr, 2), HEVC_NALU_INVALID);
    EXPECT_FALSE(IsVclNalu({nullptr, 2}));
}

TEST(HEVCPacket, ExtradataGoesInFrontOfKeyPacketsWithoutSets)
{
    const std::string hvccFailure = "Trying to insert hvcC extradata into annexB packet";
    const std::string idr = "00 00 01 46 01 50 00 00 01 44 00 00 01 26 01 af"; // a PPS without a header is none
    const struct
    {
        std::string packet;
        bool key;
        std::string extradata, result; // "" for the same packet
    } rows[] = {
        {idr, true, ArraysAnnexB, ArraysAnnexB + " " + idr},
        {idr, false, ArraysAnnexB, ""},
        {idr, false, Fixed + Arrays, ""},
        {idr, true, Fixed + Arrays, hvccFailure},
        {idr, true, "00 01 60 00", hvccFailure},
        {"00 00 01 40 01 " + idr, true, ArraysAnnexB, ""},
        {"00 00 01 42 01 " + idr, true, ArraysAnnexB, ""},
        {"00 00 01 44 01 " + idr, true, ArraysAnnexB, ""},
    };
    for (const auto& row : rows)
    {
        const SP<IDataPacket> packet = MakeVideoPacket(row.packet, row.key);
        SP<IDataPacket> result;
        const std::string failure = Failure([&] { result = InsertHEVCExtradata(packet, MakeBlob(row.extradata)); });
        EXPECT_EQ(!result || result == packet ? failure : ToHex(*result), row.result) << row.packet;
        EXPECT_EQ(InsertHEVCExtradata(packet, nullptr), packet);
    }
    EXPECT_EQ(InsertHEVCExtradata(nullptr, MakeBlob(ArraysAnnexB)), nullptr);
}
