#include "Proc/CodecParsers/H264CodecParser.h"
#include "tests/CodecParsers/HeaderTools.h"

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

const std::string StartCode = "00 00 00 01 ";
// Two headers with an SPS and a PPS each; the first SPS of B is identifier 1.
const std::string AvccA = "01 42 00 1e ff e1 00 05 67 42 00 1e 80 01 00 02 68 ce";
const std::string AnnexBA = StartCode + "67 42 00 1e 80 " + StartCode + "68 ce";
const std::string AvccB = "01 4d 40 28 ff e1 00 05 67 4d 40 28 40 01 00 03 68 58 cf";
const std::string AnnexBB = StartCode + "67 4d 40 28 40 " + StartCode + "68 58 cf";
const char* const NoSets = "No sps or pps found!";

} // namespace

TEST(H264Header, FormAndLengthSize)
{
    const struct
    {
        std::string header, form, lengthSize;
    } rows[] = {
        {"", "Not enougth data to determine h264 header type", "Not enougth data to determine h264 NALU length size"},
        {"01 42 00 1e", "1", "Not enougth data to determine h264 NALU length size"},
        {AvccA, "1", "4"},
        {"01 42 00 1e fc", "1", "1"},
        {"01 42 00 1e fe", "1", "3"},
        {AnnexBA, "0", "0"},
    };
    for (const auto& row : rows)
    {
        const Bytes bytes = Hex(row.header);
        EXPECT_EQ(ResultOf([&] { return IsAvcCHeader(bytes.data(), bytes.size()); }), row.form) << row.header;
        EXPECT_EQ(ResultOf([&] { return GetAvccNALULengthSize(bytes.data(), bytes.size()); }), row.lengthSize)
            << row.header;
    }
}

TEST(H264Header, AvccWalk)
{
    const struct
    {
        const char* header;
        const char* units;
        const char* failure;
    } rows[] = {
        {"01 42 00 1e ff e2 00 02 67 01 00 01 67 02 00 00 00 03 68 01", "[67 01]|[67]|[]", "avcC header is too small"},
        {"01 42 00 1e ff e1 00 02 67 01 02 00 00 00 02 68 01 aa bb", "[67 01]|[]|[68 01]", ""},
        {"02 42 00 1e ff e0 00", "", "Unknown avcC version"},
    };
    for (const auto& row : rows)
    {
        const Bytes bytes = Hex(row.header);
        std::vector<Nalu> units;
        EXPECT_EQ(Failure([&] { FindAvccHeaderNalus(bytes.data(), bytes.size(), units); }), row.failure);
        EXPECT_EQ(ToHex(units), row.units);
    }
    std::vector<Nalu> units;
    EXPECT_TRUE(
        CompleteLengths(Hex(AvccA), [&](auto* data, size_t size) { FindAvccHeaderNalus(data, size, units); }).empty());
}

TEST(H264Header, Conversions)
{
    const auto toAnnexB = [](const std::string& hex)
    { return ResultOf([&] { return H264_Extradata_Mp4toAnnexB(MakeBlob(hex)); }); };
    const auto toMp4 = [](const std::string& hex)
    { return ResultOf([&] { return H264_Extradata_AnnexBtoMp4(MakeBlob(hex)); }); };
    EXPECT_EQ(toAnnexB(AvccA), AnnexBA);
    EXPECT_EQ(toMp4(AnnexBA), AvccA);
    // Sets in any order, between units of other kinds.
    EXPECT_EQ(toMp4("00 00 01 09 f0 00 00 01 68 ce 00 00 01 67 42 00 1e 80 00 00 01 00 00 01 68 5c"),
              "01 42 00 1e ff e1 00 05 67 42 00 1e 80 02 00 02 68 ce 00 02 68 5c");
    EXPECT_EQ(toMp4(StartCode + "68 ce"), NoSets);
    EXPECT_EQ(toMp4(StartCode + "67 42 00 1e"), NoSets);
    EXPECT_EQ(toMp4("00 00 01 67 42 00 00 00 01 68 ce"),
              "At least 4 bytes requires from first sps to form the avcc header");
    // Nothing is cut to fit into the record.
    const auto repeat = [](const std::string& hex, int count)
    {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += hex + " ";
        return text;
    };
    const std::string tooMany = "Too many NALUs for the header", tooBig = "NALU is too big for the header";
    EXPECT_EQ(toAnnexB(toMp4(repeat(StartCode + "67 42 00 1e", 31) + repeat(StartCode + "68 ce", 255))).size(),
              31 * 24 + 255 * 18 - 1u);
    EXPECT_EQ(toMp4(repeat(AnnexBA, 32)), tooMany);
    EXPECT_EQ(toMp4(AnnexBA + " " + repeat(StartCode + "68 ce", 255)), tooMany);
    EXPECT_EQ(toMp4(AnnexBA + repeat(" aa", 65534)), tooBig);
    for (const std::string& hex : {AvccA, AnnexBA})
    {
        const SP<const IBlob> blob = MakeBlob(hex);
        const bool isAvcc = hex == AvccA;
        EXPECT_EQ(H264_Extradata_AnnexBtoMp4(blob) == blob, isAvcc);
        EXPECT_EQ(H264_Extradata_Mp4toAnnexB(blob) == blob, !isAvcc);
    }
    EXPECT_EQ(Failure([] { H264_Extradata_AnnexBtoMp4(nullptr); }), "Not enougth data to determine h264 header type");
}

TEST(H264Header, Join)
{
    const auto join = [](const std::string& first, const std::string& second)
    { return ResultOf([&] { return H264_AddPSsToHeader(MakeBlob(first), MakeBlob(second)); }); };
    const std::string joined = "01 42 00 1e ff e2 00 05 67 42 00 1e 80 00 05 67 4d 40 28 40 "
                               "02 00 02 68 ce 00 03 68 58 cf";
    EXPECT_EQ(join(AvccA, AvccB), joined);
    EXPECT_EQ(join(AvccA, AnnexBB), joined);
    EXPECT_EQ(join(joined, AvccB), "01 42 00 1e ff e2 00 05 67 42 00 1e 80 00 05 67 4d 40 28 40 "
                                   "02 00 02 68 ce 00 03 68 58 cf"); // the first sets only
    EXPECT_EQ(join(AnnexBA, AnnexBB), AnnexBA + " " + AnnexBB);
    EXPECT_EQ(join(AnnexBA, AvccB), AnnexBA + " " + AnnexBB);
    EXPECT_EQ(join(AvccA, StartCode + "67 42 00 1e"), NoSets);
    EXPECT_EQ(join("01 42 00 1e ff e0 00", AvccB), NoSets);
    EXPECT_EQ(join("", AvccB), "Not enougth data to determine h264 header type");
}

TEST(H264Header, FirstEmptyPSId)
{
    const std::pair<std::string, std::string> rows[] = {
        {AvccA, "1"},
        {AnnexBB, "1"}, // even where it is taken
        {"00 00 01 00 00 01 09 f0", "1"},
        {StartCode + "67 42 00 1e", PastTheEnd},
        {AnnexBA + " 00 00 01 68", PastTheEnd},
        {"01 42 00 1e ff e1 00 05 67", "avcC header is too small"},
    };
    for (const auto& [header, id] : rows)
        EXPECT_EQ(ResultOf([hex = header] { return GetFirstEmptyPSId(MakeBlob(hex)); }), id) << header;
}

TEST(H264Type, Table)
{
    const struct
    {
        const char* packet;
        size_t lengthSize; // 0 for Annex B
        std::string type;
    } rows[] = {
        {"00 00 01 65 88", 0, "nalu: IDR, slice: I"},                     // 1 0001000 : type 7
        {"00 00 01 09 f0 00 00 01 41 9a", 0, "nalu: Non-IDR, slice: P"},  // type 5
        {"00 00 01 41 a0", 0, "nalu: Non-IDR, slice: B"},                 // type 1
        {"00 00 01 42 b0", 0, "nalu: Part. A, slice: I"},                 // type 2
        {"00 00 01 43 a0 00 00 01 41 90", 0, "nalu: Non-IDR, slice: SP"}, // partition B is passed over
        {"00 00 01 41 00 00 01 41 94", 0, "nalu: Non-IDR, slice: SI"},    // as is a unit of one byte
        {"00 00 01 41 86 80", 0, "nalu: Non-IDR, slice: X"},              // type 12
        {"00 00 01 06 05", 0, "nalu: U, slice: U"},
        {"00 00 01 41 00 00 01 68", 0, "nalu: U, slice: U"},
        {"00 00 01 41 08 00 00 01 65 88", 0, PastTheEnd}, // not from the next unit
        {"00 02 06 05 00 02 65 88", 2, "nalu: IDR, slice: I"},
        {"00 02 65 88 00 05 41", 2, "out of range"},
        {"00 02 41 00", 2, PastTheEnd},
        {"00 02 68 ce", 2, "nalu: U, slice: U"},
        // The longest two numbers that there are.
        {"00 00 01 41 00 00 00 00 ff ff ff ff 00 00 00 00 00 00 00 02", 0, "nalu: Non-IDR, slice: I"},
        {"00 00 01 41 00 00 00 00 ff ff ff ff 00 00 00 00 00 00 00 02 00 00 01 68 ce", 0, "nalu: Non-IDR, slice: I"},
    };
    for (const auto& row : rows)
    {
        const SP<const IDataPacket> packet = MakeVideoPacket(row.packet, false);
        std::string type;
        const std::string failure =
            Failure([&] { type = TypeToString(GetH264Type(packet, row.lengthSize > 0, row.lengthSize)); });
        EXPECT_EQ(type + failure, row.type) << row.packet;
    }
    EXPECT_EQ(TypeToString({static_cast<NALUTypes>(10), static_cast<H264_Slice_Type>(-2)}), "nalu: X, slice: X");
}

TEST(H264Packet, ExtradataGoesInFrontOfKeyPacketsWithoutSets)
{
    const std::string idr = "00 00 01 09 f0 00 00 01 00 00 01 65 88";
    const struct
    {
        std::string packet;
        bool key;
        std::string extradata, result; // "" for the same packet
    } rows[] = {
        {idr, true, AnnexBA, AnnexBA + " " + idr},
        {idr, false, AnnexBA, ""},
        {idr, true, AvccA, ""},
        {AnnexBB + " " + idr, true, AnnexBA, ""},
        {"00 00 01 68 00 00 01 65", true, AnnexBA, ""},
    };
    for (const auto& row : rows)
    {
        const SP<IDataPacket> packet = MakeVideoPacket(row.packet, row.key);
        const SP<IDataPacket> result = InsertH264Extradata(packet, MakeBlob(row.extradata));
        EXPECT_EQ(result == packet ? "" : ToHex(*result), row.result) << row.packet;
        EXPECT_EQ(InsertH264Extradata(packet, nullptr), packet);
    }
    EXPECT_EQ(InsertH264Extradata(nullptr, MakeBlob(AnnexBA)), nullptr);
}

TEST(H264Packet, ReplaceParameterSets)
{
    const std::string own = "00 00 01 09 f0 00 00 01 00 00 01 67 aa 00 00 01 65 88 00 00 01 68 bb 00 00 01 65 99";
    const std::string slices = StartCode + "09 f0 " + StartCode + "65 88 " + StartCode + "65 99";
    for (const std::string& header : {AvccB, AnnexBB, "00 00 01 06 01 " + AnnexBB})
    {
        const Bytes bytes = Hex(header);
        const SP<IDataPacket> result = H264_ReplacePSs(MakeVideoPacket(own, true), bytes.data(), bytes.size());
        EXPECT_EQ(ToHex(*result), AnnexBB + " " + slices);
        EXPECT_TRUE(result->IsKeyFrame());
        const SP<IDataPacket> other = MakeVideoPacket(own, false);
        EXPECT_EQ(H264_ReplacePSs(other, bytes.data(), bytes.size()), other);
    }
}
