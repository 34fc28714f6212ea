#include "Proc/CodecParsers/H264CodecParser.h"
#include "tests/CodecParsers/HeaderTools.h"

namespace Tessor::Test
{

namespace
{

// Two headers with an SPS and a PPS each; the first SPS of B is identifier 1.
const std::string AvccA = "01 42 00 1e ff e1 00 05 67 42 00 1e 80 01 00 02 68 ce";
const std::string AnnexBA = StartCode + "67 42 00 1e 80 " + StartCode + "68 ce";
const std::string AvccB = "01 4d 40 28 ff e1 00 05 67 4d 40 28 40 01 00 03 68 58 cf";
const std::string AnnexBB = StartCode + "67 4d 40 28 40 " + StartCode + "68 58 cf";
const char* const NoSets = "No sps or pps found!";
const char* const NoType = "Not enougth data to determine h264 header type";

std::string Repeat(const std::string& hex, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += hex + " ";
    return text;
}

} // namespace

TEST(H264Header, FormAndLengthSize)
{
    const auto describe = [](const std::string& hex)
    {
        const Bytes bytes = Hex(hex);
        return ResultOf([&] { return IsAvcCHeader(bytes.data(), bytes.size()); }) + ", " +
               ResultOf([&] { return GetAvccNALULengthSize(bytes.data(), bytes.size()); });
    };
    const std::string noLength = ", Not enougth data to determine h264 NALU length size";
    CheckRows(
        describe,
        {{"", NoType + noLength}, {"01 42 00 1e", "1" + noLength}, {"01 42 00 1e fe", "1, 3"}, {AnnexBA, "0, 0"}});
}

TEST(H264Header, AvccWalk)
{
    CheckRows(
        [](const std::string& hex) { return UnitsOf(hex, FindAvccHeaderNalus); },
        {{"01 42 00 1e ff e2 00 02 67 01 00 01 67 02 00 00 00 03 68 01", "[67 01]|[67]|[]avcC header is too small"},
         {"01 42 00 1e ff e1 00 02 67 01 02 00 00 00 02 68 01 aa bb", "[67 01]|[]|[68 01]"},
         {"02 42 00 1e ff e0 00", "Unknown avcC version"}});
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
    CheckRows(toAnnexB, {{AvccA, AnnexBA}, {AnnexBA, AnnexBA}});
    CheckRows(toMp4,
              {{AnnexBA, AvccA},
               {AvccA, AvccA},
               // Sets in any order, between units of other kinds.
               {"00 00 01 09 f0 00 00 01 68 ce 00 00 01 67 42 00 1e 80 00 00 01 00 00 01 68 5c",
                "01 42 00 1e ff e1 00 05 67 42 00 1e 80 02 00 02 68 ce 00 02 68 5c"},
               {"", NoType},
               {StartCode + "68 ce", NoSets},
               {StartCode + "67 42 00 1e", NoSets},
               {"00 00 01 67 42 00 00 00 01 68 ce", "At least 4 bytes requires from first sps to form the avcc header"},
               // Nothing is cut to fit into the record.
               {Repeat(AnnexBA, 32), "Too many NALUs for the header"},
               {AnnexBA + Repeat(" aa", 65534), "NALU is too big for the header"}});
    const std::string most = Repeat(StartCode + "67 42 00 1e", 31) + Repeat(StartCode + "68 ce", 255);
    EXPECT_EQ(toAnnexB(toMp4(most)).size(), 31 * 24 + 255 * 18 - 1u);
    EXPECT_EQ(Failure([] { H264_Extradata_AnnexBtoMp4(nullptr); }), NoType);
}

TEST(H264Header, Join)
{
    const auto join = [](const std::string& first, const std::string& second)
    { return ResultOf([&] { return H264_AddPSsToHeader(MakeBlob(first), MakeBlob(second)); }); };
    const std::string joined = "01 42 00 1e ff e2 00 05 67 42 00 1e 80 00 05 67 4d 40 28 40 "
                               "02 00 02 68 ce 00 03 68 58 cf";
    EXPECT_EQ(join(AvccA, AnnexBB), joined);
    EXPECT_EQ(join(joined, AvccB), joined); // the first sets only
    EXPECT_EQ(join(AnnexBA, AvccB), AnnexBA + " " + AnnexBB);
    EXPECT_EQ(join(AvccA, StartCode + "67 42 00 1e"), NoSets);
    EXPECT_EQ(join("01 42 00 1e ff e0 00", AvccB), NoSets);
    EXPECT_EQ(join("", AvccB), NoType);
}

TEST(H264Type, Table)
{
    const auto type = [](const std::string& hex, size_t lengthSize)
    {
        const SP<const IDataPacket> packet = MakeVideoPacket(hex, false);
        std::string text;
        const std::string failure =
            Failure([&] { text = TypeToString(GetH264Type(packet, lengthSize > 0, lengthSize)); });
        return text + failure;
    };
    CheckRows(
        [&](const std::string& hex) { return type(hex, 0); },           // in Annex B
        {{"00 00 01 65 88", "nalu: IDR, slice: I"},                     // 1 0001000 : type 7
         {"00 00 01 09 f0 00 00 01 41 9a", "nalu: Non-IDR, slice: P"},  // type 5
         {"00 00 01 43 a0 00 00 01 41 90", "nalu: Non-IDR, slice: SP"}, // partition B is passed over
         {"00 00 01 41 00 00 01 41 94", "nalu: Non-IDR, slice: SI"},    // as is a unit of one byte
         {"00 00 01 41 86 80", "nalu: Non-IDR, slice: X"},              // type 12
         {"00 00 01 41 00 00 01 68", "nalu: U, slice: U"},
         {"00 00 01 41 08 00 00 01 65 88", PastTheEnd}, // not from the next unit
         // The longest two numbers that there are.
         {"00 00 01 41 00 00 00 00 ff ff ff ff 00 00 00 00 00 00 00 02", "nalu: Non-IDR, slice: I"},
         {"00 00 01 41 00 00 00 00 ff ff ff ff 00 00 00 00 00 00 00 02 00 00 01 68 ce", "nalu: Non-IDR, slice: I"}});
    CheckRows([&](const std::string& hex) { return type(hex, 2); }, {{"00 02 06 05 00 02 65 88", "nalu: IDR, slice: I"},
                                                                     {"00 02 65 88 00 05 41", "out of range"},
                                                                     {"00 02 41 00", PastTheEnd},
                                                                     {"00 02 68 ce", "nalu: U, slice: U"}});
    EXPECT_EQ(TypeToString({static_cast<NALUTypes>(10), static_cast<H264_Slice_Type>(-2)}), "nalu: X, slice: X");
}

TEST(H264Packet, ExtradataGoesInFrontOfKeyPacketsWithoutSets)
{
    const std::string idr = "00 00 01 09 f0 00 00 01 00 00 01 65 88";
    EXPECT_EQ(Headed(InsertH264Extradata, idr, AnnexBA), AnnexBA + " " + idr);
    EXPECT_EQ(Headed(InsertH264Extradata, idr, AvccA), "");
    EXPECT_EQ(Headed(InsertH264Extradata, "00 00 01 67 01 " + idr, AnnexBA), "");
    EXPECT_EQ(Headed(InsertH264Extradata, "00 00 01 68 00 00 01 65", AnnexBA), "");
}

TEST(H264Packet, ReplaceParameterSets)
{
    const std::string own = "00 00 01 09 f0 00 00 01 00 00 01 67 aa 00 00 01 65 88 00 00 01 68 bb 00 00 01 65 99";
    const std::string slices = StartCode + "09 f0 " + StartCode + "65 88 " + StartCode + "65 99";
    for (const std::string& header : {AvccB, "00 00 01 06 01 " + AnnexBB})
    {
        const Bytes bytes = Hex(header);
        const SP<IDataPacket> result = H264_ReplacePSs(MakeVideoPacket(own, true), bytes.data(), bytes.size());
        EXPECT_EQ(ToHex(*result), AnnexBB + " " + slices);
        EXPECT_TRUE(result->IsKeyFrame());
        const SP<IDataPacket> other = MakeVideoPacket(own, false);
        EXPECT_EQ(H264_ReplacePSs(other, bytes.data(), bytes.size()), other);
    }
}

} // namespace Tessor::Test
