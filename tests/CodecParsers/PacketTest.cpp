#include "Fnd/DataInputMemory.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/PacketTools.h"
#include "media/IFormatCodecVideo.h"
#include "tests/CodecParsers/HeaderTools.h"

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

const std::string H264 = Conf::IFormatCodecVideo::CODEC_ID_H264;

// avcC with the SPS 67 42 00 1e and the PPS 68 ce, and the same in Annex B.
const std::string Avcc = "01 42 00 1e ff e1 00 04 67 42 00 1e 01 00 02 68 ce";
const std::string AvccAnnexB = "00 00 00 01 67 42 00 1e 00 00 00 01 68 ce";

/// What FindAnnexBNalus has to find, one byte at a time.
std::vector<Nalu> SlowAnnexBNalus(const Bytes& bytes)
{
    std::vector<size_t> codes;
    for (size_t i = 0; i + 3 <= bytes.size(); ++i)
        if (bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1)
            codes.push_back(i);
    std::vector<Nalu> units;
    for (size_t n = 0; n < codes.size(); ++n)
    {
        const size_t begin = codes[n] + 3;
        const bool last = n + 1 == codes.size();
        size_t end = last ? bytes.size() : codes[n + 1];
        if (!last && bytes[end - 1] == 0)
            --end;
        if (begin < bytes.size())
            units.emplace_back(bytes.data() + begin, end - begin);
    }
    return units;
}

} // namespace

TEST(Nalus, BehindLengths)
{
    const struct
    {
        const char* data;
        size_t lengthSize;
        const char* units;
        const char* failure;
    } rows[] = {
        {"", 4, "", ""},
        {"00 00 00 02 65 88 00 00 00 01 41", 4, "[65 88]|[41]", ""},
        {"02 65 88 01 41", 1, "[65 88]|[41]", ""},
        {"00 00 01 41", 3, "[41]", ""},
        {"00 01 41 00", 2, "[41]", "out of range"},
        {"00 00 01", 4, "", "out of range"},
        {"00 00 00 01 41 00 00 00 00", 4, "[41]", "bad naluSize"},
        {"01 41", 0, "", "bad naluSize"},
        {"00 00 00 00 01 41", 5, "", "bad naluSize"},
        {"ff ff ff ff 41", 4, nullptr, "out of range"},
    };
    for (const auto& row : rows)
    {
        const Bytes bytes = Hex(row.data);
        std::vector<Nalu> units;
        const auto find = [&] { FindMP4Nalus(bytes.data(), bytes.size(), units, row.lengthSize); };
        EXPECT_EQ(Failure(find), row.failure) << row.data;
        if (row.units)
        {
            EXPECT_EQ(ToHex(units), row.units) << row.data;
        }
    }
    // The unit that leaves the data is in the list by then, with the size that it claims.
    const Bytes bytes = Hex("00 00 00 09 41");
    std::vector<Nalu> units(1);
    EXPECT_THROW(FindMP4Nalus(bytes.data(), bytes.size(), units, 4), std::logic_error);
    ASSERT_EQ(units.size(), 2u);
    EXPECT_EQ(units[1], Nalu(bytes.data() + 4, 9));
}

TEST(Nalus, BehindStartCodes)
{
    const std::pair<const char*, const char*> rows[] = {
        {"65 88 41 00 00", ""},
        {"00 00 01", ""},
        {"09 f0 00 00 01 65", "[65]"},
        {"00 00 00 01 65 88 00 00 01 41 9a", "[65 88]|[41 9a]"},
        {"00 00 01 65 00 00 00 00 00 01 41", "[65 00 00]|[41]"}, // one zero belongs to the start code
        {"00 00 01 65 88 00 00 00 00", "[65 88 00 00 00 00]"},
        {"00 00 01 00 00 00 01 41", "[]|[41]"},
    };
    for (const auto& [data, expected] : rows)
    {
        const Bytes bytes = Hex(data);
        std::vector<Nalu> units;
        FindAnnexBNalus(bytes.data(), bytes.size(), units);
        EXPECT_EQ(ToHex(units), expected) << data;
    }
    std::mt19937 random(1);
    for (int round = 0; round < 20000; ++round)
    {
        Bytes bytes(random() % 48);
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(std::max<int>(0, static_cast<int>(random() % 6) - 3)); // many zeros
        std::vector<Nalu> units;
        FindAnnexBNalus(bytes.data(), bytes.size(), units);
        ASSERT_EQ(units, SlowAnnexBNalus(bytes)) << ToHex(bytes);
    }
}

TEST(Nalus, EmulationBytesAreTakenOut)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},
        {"00 00 03", "00 00 03"},
        {"00 00 03 04", "00 00 03 04"},
        {"00 00 03 01", "00 00 01"},
        {"00 00 03 00 00 03 00 00 03", "00 00 00 00 00 00 03"},
        {"00 00 00 03 03 00 00 03 02 80", "00 00 00 03 00 00 02 80"},
        {"00 00 03 04 00 00 03 00", "00 00 03 04 00 00 00"},
    };
    for (const auto& [data, rbsp] : rows)
    {
        const Bytes unit = Hex(data);
        EXPECT_EQ(ToHex(RemoveEmulationByte(unit.data(), unit.size())), rbsp) << data;
    }
}

TEST(Nalus, ExpGolomb)
{
    const struct
    {
        const char* bits;
        uint32_t ue;
        int64_t se;
    } rows[] = {
        {"80", 0, 0},
        {"40", 1, 1},
        {"60", 2, -1},
        {"28", 4, -2},
        {"00 00 00 01 ff ff ff fe", 0xFFFFFFFEu, -0x7FFFFFFFll}, // 31 zeros, all ones
        // 32 zeros: the next 32 bits as they stand, without a 1 in between.
        {"00 00 00 00 00 00 00 05", 5, 3},
        {"00 00 00 00 ff ff ff ff", 0xFFFFFFFFu, 0x80000000ll},
    };
    for (const auto& row : rows)
    {
        const Bytes bytes = Hex(row.bits);
        Core::DataBitInput ue(Core::DataInputMemory::Create(bytes.data(), bytes.size()));
        Core::DataBitInput se(Core::DataInputMemory::Create(bytes.data(), bytes.size()));
        EXPECT_EQ(read_ue(ue), row.ue) << row.bits;
        EXPECT_EQ(read_se(se), row.se) << row.bits;
        EXPECT_EQ(ue.BitsLeft(), se.BitsLeft());
    }
}

TEST(PacketConversion, Mp4toAnnexB)
{
    const std::string damaged = "00 00 00 01 41 00 00 00 09 41";
    const struct
    {
        std::string data;
        size_t lengthSize;
        bool key;
        std::string extradata, result;
        bool inPlace;
    } rows[] = {
        {"00 00 00 02 41 9a 00 00 00 01 06", 4, false, Avcc, "00 00 00 01 41 9a 00 00 00 01 06", true},
        {"00 00 02 41 9a 00 00 01 06", 3, false, Avcc, "00 00 01 41 9a 00 00 01 06", true},
        {"00 02 41 9a 00 01 06", 2, false, Avcc, "00 00 00 01 41 9a 00 00 00 01 06", false},
        {"02 41 9a", 1, false, Avcc, "00 00 00 01 41 9a", false},
        {"00 00 00 02 65 88", 4, true, Avcc, AvccAnnexB + " 00 00 00 01 65 88", false},
        {"02 65 88", 1, true, Avcc, AvccAnnexB + " 00 00 00 01 65 88", false},
        {damaged, 4, false, "", "out of range", false},
        {damaged, 0, false, "", "Invalid header size", false},
        {"00 00 00 01 65", 4, true, "", "Not enougth data to determine h264 header type", false},
        {"00 00 00 01 65", 4, true, "01 42 00", "avcC header is too small", false},
    };
    for (const auto& row : rows)
    {
        const SP<IDataPacket> packet = MakeVideoPacket(row.data, row.key);
        SP<IDataPacket> result;
        const std::string failure =
            Failure([&] { result = Mp4toAnnexB(packet, row.lengthSize, MakeBlob(row.extradata), H264); });
        EXPECT_EQ(result ? ToHex(*result) : failure, row.result) << row.data;
        EXPECT_EQ(result == packet, row.inPlace) << row.data;
        EXPECT_TRUE(row.inPlace || ToHex(*packet) == row.data); // copies and failures leave their source alone
        EXPECT_TRUE(!result || (result->IsKeyFrame() == row.key && result->GetDTS() == 20));
    }
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
    const std::pair<size_t, const char*> rows[] = {
        {4, "00 00 00 02 41 9a 00 00 00 01 06"}, {2, "00 02 41 9a 00 01 06"}, {1, "02 41 9a 01 06"}, {0, "41 9a 06"}};
    for (const auto& [lengthSize, expected] : rows)
    {
        const SP<IDataPacket> packet = MakeVideoPacket("00 00 00 01 41 9a 00 00 01 00 00 01 06", true);
        const SP<IDataPacket> result = AnnexBtoMp4(packet, lengthSize);
        EXPECT_EQ(ToHex(*result), expected);
        EXPECT_TRUE(result->IsKeyFrame());
        EXPECT_EQ(result->GetPTS(), 40);
    }
    EXPECT_EQ(AnnexBtoMp4(SP<const IDataPacket>(), 4), nullptr);
    EXPECT_EQ(Failure([] { AnnexBtoMp4(MakeVideoPacket("00 00 01 41", true), 100); }), "Invalid header size");
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
        EXPECT_EQ(Payload(*result), (Bytes{1, 2, 3, 7, 8}));
        EXPECT_EQ(result->GetDTS(), 400);
        EXPECT_EQ(result->GetDuration(), 40);
        EXPECT_TRUE(result->IsKeyFrame());
        EXPECT_EQ(result->GetAVPacket()->side_data[0].data[3], 5);
        EXPECT_EQ(dynamic_cast<DataPacketFF&>(*result).GetLeadIn().size(), 1u);
        result->SetPTS(1100);
        EXPECT_EQ(result->GetPosition(), position == NoTime ? 1100 : 1000);
    }
    EXPECT_EQ(Failure([&] { CreatePacketLike(*packet, size_t(1) << 31); }), "Can't allocate new AVPacket");
}

TEST(PacketTools, HeadersGoInFrontOnce)
{
    const SP<const IBlob> header = MakeBlob("09 09");
    using Add = SP<IDataPacket> (*)(const SP<IDataPacket>&, const SP<const IBlob>&);
    const std::pair<Add, uint8_t> codecs[] = {{MPEG2_AddPacketHeader, 0xB3}, {MPEG4_AddPacketHeader, 0xB0}};
    for (const auto& [add, own] : codecs)
    {
        const uint8_t other = own ^ 3; // the code of the other codec
        EXPECT_EQ(add(nullptr, header), nullptr);
        const SP<IDataPacket> headed = MakePacket({0, 0, 1, own, 5}), plain = MakePacket({0, 0, 1, other, 5});
        EXPECT_EQ(add(headed, header), headed);
        EXPECT_EQ(add(plain, nullptr), plain);
        EXPECT_EQ(add(plain, MakeBlob("")), plain);
        EXPECT_EQ(Payload(*add(plain, header)), (Bytes{9, 9, 0, 0, 1, other, 5}));
        EXPECT_EQ(Payload(*add(MakePacket({0, 0, 1}), header)), (Bytes{9, 9, 0, 0, 1}));
        EXPECT_EQ(Payload(*add(MakePacket({}), header)), (Bytes{9, 9}));
    }
}
