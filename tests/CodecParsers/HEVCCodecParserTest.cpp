#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "media/IFormatCodecVideo.h"
#include "tests/CodecParsers/NaluTestTools.h"

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

std::string Result(const std::function<std::string()>& call)
{
    std::string result;
    const std::string failure = Failure([&] { result = call(); });
    return failure.empty() ? result : failure;
}

} // namespace

TEST(HEVCHeader, FormLengthSizeAndRecovery)
{
    const std::string tooFew = "Not enougth data to determine h264 format type";
    const std::string noLength = "Not enougth data to determine HEVC NALU length size";
    const struct
    {
        std::string header;
        std::string isHvcc;
        std::string lengthSize;
        std::string isBroken;
        std::string recovered; // "0" for a refusal
    } rows[] = {
        {"", "Not enougth data to determine HEVC header type", "Not enougth data to determine HEVC header type", tooFew,
         "0"}, // null
        {"01 01 60", "1", noLength, tooFew, tooFew},
        {"00 00 01", tooFew, tooFew, tooFew, tooFew},
        {"01 01 60 00", "1", noLength, "0", "01 01 60 00"},
        {"00 01 42 03", "1", noLength, "1", "01 42 42 03"},
        {"00 00 01 42", "0", "0", "0", "00 00 01 42"},
        {"00 00 00 01", "0", "0", "0", "00 00 00 01"},
        {"00 00 00 00 01", "1", noLength, "1", "00 00 00 00 01"}, // two bytes move, and no more
        {"00 00 00 00", "1", noLength, "1", "00 00 00 00"},
        {"00 00 02 01", "0", "0", "0", "00 00 02 01"},
        {Fixed + "00", "1", "4", "0", Fixed + "00"},
        {"01 01 60 00 00 00 90 00 00 00 00 00 5d f0 00 fc fd f8 f8 00 00 0d", "1", noLength, "0",
         "01 01 60 00 00 00 90 00 00 00 00 00 5d f0 00 fc fd f8 f8 00 00 0d"},
        {"01 01 60 00 00 00 90 00 00 00 00 00 5d f0 00 fc fd f8 f8 00 00 0d 00", "1", "2", "0",
         "01 01 60 00 00 00 90 00 00 00 00 00 5d f0 00 fc fd f8 f8 00 00 0d 00"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.header);
        Bytes bytes = Hex(row.header);
        uint8_t* const data = bytes.data();
        const size_t size = bytes.size();
        EXPECT_EQ(Result([&] { return std::to_string(IsHvcCHeader(data, size)); }), row.isHvcc);
        EXPECT_EQ(Result([&] { return std::to_string(GetHvccNALULengthSize(data, size)); }), row.lengthSize);
        EXPECT_EQ(Result([&] { return std::to_string(FindBrokenHVCCHeader(data, size)); }), row.isBroken);
        EXPECT_EQ(Result([&] { return RecoverHVCCHeader(data, size) ? ToHex(bytes) : "0"; }), row.recovered);
    }
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
    // Every part fails, each in memory of its own size.
    const Bytes whole = Hex(Fixed + Arrays);
    for (size_t size = 1; size < whole.size(); ++size)
    {
        const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        std::vector<Nalu> units;
        EXPECT_NE(Failure([&] { FindHvccHeaderNalus(part.data(), part.size(), units); }), "") << size;
    }
}

TEST(HEVCHeader, HvccToAnnexB)
{
    const auto convert = [](const std::string& hex)
    { return Result([&] { return ToHex(*HEVC_Extradata_hvcCtoAnnexB(MakeBlob(hex))); }); };
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
    { return Result([&] { return ToHex(*HEVC_Extradata_AnnexBtoHvcC(MakeBlob(hex))); }); };
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
    const Bytes sets = Hex(StartCode + VPS + " " + StartCode + SPS);
    const auto convert = [&](const Bytes& more)
    {
        const Bytes header = sets + more;
        return Failure(
            [&]
            {
                const SP<const IBlob> hvcc = HEVC_Extradata_AnnexBtoHvcC(BlobFF::Create(header.data(), header.size()));
                std::vector<Nalu> units;
                FindHvccHeaderNalus(hvcc->Data(), hvcc->Size(), units);
            });
    };
    const Bytes pps = Hex("00 00 01 44 01");
    EXPECT_EQ(convert(pps + Bytes(65533, 0xAA)), "");
    EXPECT_EQ(convert(pps + Bytes(65534, 0xAA)), "NALU is too big for the header");
    Bytes many;
    for (int i = 0; i < 65535; ++i)
        many.insert(many.end(), pps.begin(), pps.end());
    EXPECT_EQ(convert(many), "");
    EXPECT_EQ(convert(many + pps), "Too many NALUs for the header");
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

TEST(HEVCPacket, InsertExtradata)
{
    const auto insert = [](const std::string& hex, bool key, const SP<const IBlob>& extradata)
    {
        const SP<IDataPacket> packet = MakeVideoPacket(hex, key);
        return Result(
            [&]
            {
                const SP<IDataPacket> result = InsertHEVCExtradata(packet, extradata);
                return result == packet ? "same" : ToHex(*result) + " at " + std::to_string(result->GetPTS());
            });
    };
    const SP<const IBlob> header = MakeBlob(ArraysAnnexB);
    const std::string hvccFailure = "Trying to insert hvcC extradata into annexB packet";
    const std::string idr = "00 00 01 46 01 50 00 00 01 44 00 00 01 26 01 af"; // a PPS without a header is none
    EXPECT_EQ(insert(idr, true, header), ArraysAnnexB + " " + idr + " at 40");
    EXPECT_EQ(insert(idr, false, header), "same");
    EXPECT_EQ(insert(idr, false, MakeBlob(Fixed + Arrays)), "same");
    EXPECT_EQ(insert(idr, true, nullptr), "same");
    EXPECT_EQ(insert(idr, true, MakeBlob(Fixed + Arrays)), hvccFailure);
    EXPECT_EQ(insert(idr, true, MakeBlob("00 01 60 00")), hvccFailure);
    for (const char* set : {"40", "42", "44"})
        EXPECT_EQ(insert("00 00 01 " + std::string(set) + " 01 " + idr, true, header), "same") << set;
    EXPECT_EQ(InsertHEVCExtradata(nullptr, header), nullptr);
}
