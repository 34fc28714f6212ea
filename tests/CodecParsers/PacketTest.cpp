#include "Fnd/DataInputMemory.h"
#include "Proc/CodecParsers/PacketTools.h"
#include "media/formats/IFormatCodecVideo.h"
#include "tests/CodecParsers/HeaderTools.h"

namespace Tessor::Test
{

namespace
{

const std::string H264 = Conf::IFormatCodecVideo::CODEC_ID_H264;

} // namespace

TEST(Nalus, AfterLengths)
{
    const auto find = [](const std::string& hex, size_t lengthSize) {
        return UnitsOf(hex, [=](auto* data, size_t size, auto& units) { FindMP4Nalus(data, size, units, lengthSize); });
    };
    EXPECT_EQ(find("00 00 00 02 65 88 00 00 00 01 41", 4), "[65 88]|[41]");
    EXPECT_EQ(find("00 00 01 41", 3), "[41]");
    EXPECT_EQ(find("00 01 41 00", 2), "[41]out of range");
    EXPECT_EQ(find("02 65 88 01 41", 1), "[65 88]|[41]");
    EXPECT_EQ(find("00 00 00 01 41 00 00 00 00", 4), "[41]bad naluSize");
    EXPECT_EQ(find("00 00 00 00 01 41", 5), "bad naluSize");
    // The unit that leaves the data is in the list by then, with the size that it claims.
    for (const auto& [hex, claimed] : {std::pair("00 00 00 09 41", 9u), {"ff ff ff ff 41", 0xFFFFFFFFu}})
    {
        const Bytes bytes = Hex(hex);
        std::vector<Nalu> units(1);
        EXPECT_EQ(TextOf<std::logic_error>([&] { FindMP4Nalus(bytes.data(), bytes.size(), units, 4); }),
                  "out of range");
        ASSERT_EQ(units.size(), 2u);
        EXPECT_EQ(units[1], Nalu(bytes.data() + 4, claimed));
    }
}

TEST(Nalus, AfterStartCodes)
{
    CheckRows([](const std::string& hex) { return UnitsOf(hex, FindAnnexBNalus); },
              {{"65 88 41 00 00", ""},
               {"00 00 01 65 00 00 00 00 00 01 41", "[65 00 00]|[41]"}, // one zero belongs to the start code
               {"09 f0 00 00 01 00 00 00 01 65 88 00 00", "[]|[65 88 00 00]"}});
}

TEST(Nalus, EmulationBytesAreTakenOut)
{
    const auto remove = [](const std::string& hex)
    {
        const Bytes unit = Hex(hex);
        return ToHex(RemoveEmulationByte(unit.data(), unit.size()));
    };
    CheckRows(remove, {{"", ""},
                       {"00 00 03", "00 00 03"},
                       {"00 00 03 00 00 03 00 00 03", "00 00 00 00 00 00 03"},
                       {"00 00 00 03 03 00 00 03 02 80", "00 00 00 03 00 00 02 80"},
                       {"00 00 03 04 00 00 03 00", "00 00 03 04 00 00 00"}});
}

TEST(Nalus, ExpGolomb)
{
    const auto read = [](const std::string& hex)
    {
        const Bytes bytes = Hex(hex);
        Core::DataBitInput ue(Core::DataInputMemory::Create(bytes.data(), bytes.size()));
        Core::DataBitInput se(Core::DataInputMemory::Create(bytes.data(), bytes.size()));
        return std::to_string(read_ue(ue)) + " " + std::to_string(read_se(se));
    };
    CheckRows(read, {{"80", "0 0"},
                     {"40", "1 1"},
                     {"28", "4 -2"},
                     {"00 00 00 01 ff ff ff fe", "4294967294 -2147483647"}, // 31 zeros, all ones
                     // 32 zeros: the next 32 bits as they stand, without a 1 in between.
                     {"00 00 00 00 00 00 00 05", "5 3"},
                     {"00 00 00 00 ff ff ff ff", "4294967295 2147483648"}});
}

TEST(PacketConversion, Mp4toAnnexB)
{
    // avcC with an SPS and a PPS, and the same in Annex B.
    const std::string avcc = "01 42 00 1e ff e1 00 04 67 42 00 1e 01 00 02 68 ce";
    const std::string sets = StartCode + "67 42 00 1e " + StartCode + "68 ce ";
    const std::string damaged = "00 00 00 01 41 00 00 00 09 41";
    const auto convert = [](const std::string& data, size_t lengthSize, bool key, const std::string& extradata)
    {
        const SP<IDataPacket> packet = MakeVideoPacket(data, key);
        SP<IDataPacket> result;
        const std::string failure =
            Failure([&] { result = Mp4toAnnexB(packet, lengthSize, MakeBlob(extradata), H264); });
        EXPECT_TRUE(result == packet || ToHex(*packet) == data) << "copies and failures leave their source alone";
        EXPECT_TRUE(!result || (result->IsKeyFrame() == key && result->GetDTS() == 20));
        return result ? (result == packet ? "in place: " : "") + ToHex(*result) : failure;
    };
    EXPECT_EQ(convert("00 00 00 02 41 9a 00 00 00 01 06", 4, false, avcc),
              "in place: 00 00 00 01 41 9a 00 00 00 01 06");
    EXPECT_EQ(convert("00 00 02 41 9a 00 00 01 06", 3, false, avcc), "in place: 00 00 01 41 9a 00 00 01 06");
    EXPECT_EQ(convert("00 02 41 9a 00 01 06", 2, false, avcc), StartCode + "41 9a " + StartCode + "06");
    EXPECT_EQ(convert("00 00 00 02 65 88", 4, true, avcc), sets + StartCode + "65 88");
    EXPECT_EQ(convert(damaged, 4, false, ""), "out of range");
    EXPECT_EQ(convert(damaged, 0, false, ""), "Invalid header size");
    EXPECT_EQ(convert("00 00 00 01 65", 4, true, ""), "Not enougth data to determine h264 header type");
    // In place only where nobody else looks.
    const SP<IDataPacket> alone = MakeVideoPacket("00 00 00 01 41", false);
    const uint8_t* const before = alone->GetData();
    EXPECT_EQ(InplaceConvertMP4ToAnnexB(alone, 4)->GetData(), before);
    const SP<const IDataPacket> shared = MakeVideoPacket("00 00 00 03 41 9a 9b", false);
    const SP<IDataPacket> clone = shared->Clone();
    EXPECT_EQ(ToHex(*Mp4toAnnexB(shared, 4, nullptr, H264)), "00 00 00 01 41 9a 9b");
    EXPECT_EQ(ToHex(*clone), "00 00 00 03 41 9a 9b");
}

TEST(PacketConversion, AnnexBtoMp4)
{
    const SP<IDataPacket> packet = MakeVideoPacket("00 00 00 01 41 9a 00 00 01 00 00 01 06", true);
    const auto convert = [&](size_t lengthSize) { return ResultOf([&] { return AnnexBtoMp4(packet, lengthSize); }); };
    EXPECT_EQ(convert(4), "00 00 00 02 41 9a 00 00 00 01 06");
    EXPECT_EQ(convert(1), "02 41 9a 01 06");
    EXPECT_EQ(convert(0), "41 9a 06");
    EXPECT_EQ(AnnexBtoMp4(SP<const IDataPacket>(), 4), nullptr);
}

TEST(PacketTools, NewPacketKeepsEverythingButThePayload)
{
    const SP<DataPacketFF> packet = MakePacket({7, 8}, 1000, 400, 40);
    packet->GetAVPacket()->flags = AV_PKT_FLAG_KEY;
    av_packet_new_side_data(packet->GetAVPacket(), AV_PKT_DATA_SKIP_SAMPLES, 10)[3] = 5;
    packet->SetLeadIn({MakePacket({1})});
    for (const avTime position : {NoTime, avTime{900}}) // an implicit one stays one
    {
        packet->SetPosition(position);
        const SP<IDataPacket> result = PrependToPacket(packet, Bytes{1, 2, 3}.data(), 3);
        EXPECT_EQ(ToHex(*result), "01 02 03 07 08");
        EXPECT_EQ(result->GetDTS(), 400);
        EXPECT_TRUE(result->IsKeyFrame());
        EXPECT_EQ(result->GetAVPacket()->side_data[0].data[3], 5);
        EXPECT_EQ(GetFacts(*result).leadIn.size(), 1u);
        result->SetPTS(1100);
        EXPECT_EQ(result->GetPosition(), position == NoTime ? 1100 : 1000);
    }
    EXPECT_EQ(Failure([&] { CreatePacketLike(*packet, size_t(1) << 31); }), "Can't allocate new AVPacket");
}

} // namespace Tessor::Test
