#include "Fnd/DataInputMemory.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "media/IFormatCodecVideo.h"
#include "tests/CodecParsers/NaluTestTools.h"

extern "C"
{
#include <libavutil/mem.h>
}

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

const std::string H264 = Conf::IFormatCodecVideo::CODEC_ID_H264;

// avcC with the SPS 67 42 00 1e and the PPS 68 ce, and the same in Annex B.
const char* const Avcc = "01 42 00 1e ff e1 00 04 67 42 00 1e 01 00 02 68 ce";
const char* const AvccAnnexB = "00 00 00 01 67 42 00 1e 00 00 00 01 68 ce";

// What FindAnnexBNalus has to find, one byte at a time.
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

Bytes RandomZeroHeavy(std::mt19937& random, size_t size)
{
    static const uint8_t alphabet[] = {0, 0, 0, 0, 1, 1, 3, 3, 2, 4, 0x65};
    Bytes bytes(size);
    for (uint8_t& byte : bytes)
        byte = alphabet[random() % std::size(alphabet)];
    return bytes;
}

Bytes AddEmulationBytes(const Bytes& rbsp)
{
    Bytes unit;
    size_t zeros = 0;
    for (const uint8_t byte : rbsp)
    {
        if (zeros >= 2 && byte <= 3)
        {
            unit.push_back(3);
            zeros = 0;
        }
        unit.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    return unit;
}

Core::DataBitInput BitsOf(const Bytes& bytes)
{
    return Core::DataBitInput(Core::DataInputMemory::Create(bytes.data(), bytes.size()));
}

} // namespace

TEST(MP4Nalus, Table)
{
    const struct
    {
        const char* data;
        size_t lengthSize;
        const char* units;
        const char* failure;
    } rows[] = {
        {"", 4, "", ""},
        {"", 0, "", ""},
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

TEST(AnnexBNalus, Table)
{
    const struct
    {
        const char* data;
        const char* units;
    } rows[] = {
        {"", ""},
        {"00 00", ""},
        {"65 88 41 00 00", ""},
        {"00 00 01", ""},
        {"00 00 01 65", "[65]"},
        {"09 f0 00 00 01 65", "[65]"},
        {"00 00 00 01 65 88 00 00 01 41 9a", "[65 88]|[41 9a]"},
        {"00 00 00 01 65 88 00 00 00 01 41", "[65 88]|[41]"},
        {"00 00 01 65 00 00 00 00 00 01 41", "[65 00 00]|[41]"},
        {"00 00 01 65 88 00 00 01", "[65 88]"},
        {"00 00 01 65 88 00 00 00 00", "[65 88 00 00 00 00]"},
        {"00 00 01 00 00 01 41", "[]|[41]"},
        {"00 00 01 00 00 00 01 41", "[]|[41]"},
        {"00 00 01 00 01 41", "[00 01 41]"},
    };
    for (const auto& row : rows)
    {
        const Bytes bytes = Hex(row.data);
        std::vector<Nalu> units;
        FindAnnexBNalus(bytes.data(), bytes.size(), units);
        EXPECT_EQ(ToHex(units), row.units) << row.data;
    }
}

TEST(AnnexBNalus, AgreesWithSlowScan)
{
    std::mt19937 random(1);
    for (int round = 0; round < 20000; ++round)
    {
        const Bytes bytes = RandomZeroHeavy(random, random() % 48);
        std::vector<Nalu> units;
        FindAnnexBNalus(bytes.data(), bytes.size(), units);
        ASSERT_EQ(units, SlowAnnexBNalus(bytes)) << ToHex(bytes);
    }
}

TEST(EmulationBytes, Table)
{
    const struct
    {
        const char* unit;
        const char* rbsp;
    } rows[] = {
        {"", ""},
        {"67 42", "67 42"},
        {"00 00 03", "00 00 03"},
        {"00 00 03 04", "00 00 03 04"},
        {"00 00 03 01", "00 00 01"},
        {"00 00 03 00 00 03 00 00 03", "00 00 00 00 00 00 03"},
        {"00 00 00 03 03 00 00 03 02 80", "00 00 00 03 00 00 02 80"},
        {"00 00 03 04 00 00 03 00", "00 00 03 04 00 00 00"},
    };
    for (const auto& row : rows)
    {
        const Bytes unit = Hex(row.unit);
        EXPECT_EQ(ToHex(RemoveEmulationByte(unit.data(), unit.size())), row.rbsp) << row.unit;
    }
}

TEST(EmulationBytes, UndoTheirInsertion)
{
    std::mt19937 random(2);
    for (int round = 0; round < 5000; ++round)
    {
        Bytes rbsp = RandomZeroHeavy(random, random() % 64);
        rbsp.push_back(0x80); // an RBSP never ends with a zero
        const Bytes unit = AddEmulationBytes(rbsp);
        ASSERT_EQ(RemoveEmulationByte(unit.data(), unit.size()), rbsp) << ToHex(unit);
    }
}

TEST(ExpGolomb, Table)
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
        {"20", 3, 2},
        {"28", 4, -2},
        {"00 00 00 01 ff ff ff fe", 0xFFFFFFFEu, -0x7FFFFFFFll}, // 31 zeros, all ones
        // 32 zeros: the next 32 bits as they stand, without a 1 in between.
        {"00 00 00 00 00 00 00 05", 5, 3},
        {"00 00 00 00 ff ff ff ff", 0xFFFFFFFFu, 0x80000000ll},
    };
    for (const auto& row : rows)
    {
        const Bytes bytes = Hex(row.bits);
        auto ue = BitsOf(bytes);
        auto se = BitsOf(bytes);
        EXPECT_EQ(read_ue(ue), row.ue) << row.bits;
        EXPECT_EQ(read_se(se), row.se) << row.bits;
        EXPECT_EQ(ue.BitsLeft(), se.BitsLeft());
    }
}

TEST(PacketConversion, Mp4toAnnexB)
{
    const struct
    {
        const char* data;
        size_t lengthSize;
        bool key;
        std::string result;
        bool samePacket;
    } rows[] = {
        {"00 00 00 02 41 9a 00 00 00 01 06", 4, false, "00 00 00 01 41 9a 00 00 00 01 06", true},
        {"00 00 02 41 9a 00 00 01 06", 3, false, "00 00 01 41 9a 00 00 01 06", true},
        {"00 02 41 9a 00 01 06", 2, false, "00 00 00 01 41 9a 00 00 00 01 06", false},
        {"02 41 9a", 1, false, "00 00 00 01 41 9a", false},
        {"00 00 00 02 65 88", 4, true, AvccAnnexB + std::string(" 00 00 00 01 65 88"), false},
        {"02 65 88", 1, true, AvccAnnexB + std::string(" 00 00 00 01 65 88"), false},
    };
    for (const auto& row : rows)
    {
        const SP<IDataPacket> packet = MakeVideoPacket(row.data, row.key);
        const SP<IDataPacket> result = Mp4toAnnexB(packet, row.lengthSize, MakeBlob(Avcc), H264);
        EXPECT_EQ(ToHex(*result), row.result);
        EXPECT_EQ(result == packet, row.samePacket) << row.data;
        EXPECT_EQ(result->IsKeyFrame(), row.key);
        EXPECT_EQ(result->GetPTS(), 40);
        EXPECT_EQ(result->GetDTS(), 20);
        EXPECT_EQ(result->GetDuration(), 10);
        if (!row.samePacket)
        {
            EXPECT_EQ(ToHex(*packet), row.data); // copies leave their source alone
        }
    }
}

TEST(PacketConversion, FailuresLeaveThePacketAlone)
{
    const char* const damaged = "00 00 00 01 41 00 00 00 09 41";
    const auto convert = [](const SP<IDataPacket>& packet, size_t lengthSize, const SP<const IBlob>& extradata)
    { return Failure([&] { Mp4toAnnexB(packet, lengthSize, extradata, H264); }); };
    const SP<IDataPacket> packet = MakeVideoPacket(damaged, false);
    EXPECT_EQ(convert(packet, 4, nullptr), "out of range");
    EXPECT_EQ(convert(packet, 0, nullptr), "Invalid header size");
    EXPECT_EQ(ToHex(*packet), damaged);
    const SP<IDataPacket> key = MakeVideoPacket("00 00 00 01 65", true);
    EXPECT_EQ(convert(key, 4, nullptr), "Not enougth data to determine h264 header type");
    EXPECT_EQ(convert(key, 4, MakeBlob("01 42 00")), "avcC header is too small");
}

TEST(PacketConversion, InPlaceOnlyWhereNobodyElseLooks)
{
    const char* const data = "00 00 00 01 41";
    const SP<IDataPacket> alone = MakeVideoPacket(data, false);
    const uint8_t* const before = alone->GetData();
    EXPECT_EQ(InplaceConvertMP4ToAnnexB(alone, 4)->GetData(), before);

    const SP<const IDataPacket> shared = MakeVideoPacket("00 00 00 03 41 9a 9b", false);
    const SP<IDataPacket> clone = shared->Clone();
    EXPECT_EQ(ToHex(*Mp4toAnnexB(shared, 4, nullptr, H264)), "00 00 00 01 41 9a 9b");
    EXPECT_EQ(ToHex(*clone), "00 00 00 03 41 9a 9b");
}

TEST(PacketConversion, AnnexBtoMp4)
{
    const struct
    {
        size_t lengthSize;
        const char* result;
    } rows[] = {
        {4, "00 00 00 02 41 9a 00 00 00 01 06"},
        {2, "00 02 41 9a 00 01 06"},
        {1, "02 41 9a 01 06"},
        {0, "41 9a 06"},
    };
    for (const auto& row : rows)
    {
        const SP<IDataPacket> packet = MakeVideoPacket("00 00 00 01 41 9a 00 00 01 00 00 01 06", true);
        const SP<IDataPacket> result = AnnexBtoMp4(packet, row.lengthSize);
        EXPECT_EQ(ToHex(*result), row.result);
        EXPECT_TRUE(result->IsKeyFrame());
        EXPECT_EQ(result->GetPTS(), 40);
    }
    EXPECT_EQ(AnnexBtoMp4(SP<const IDataPacket>(), 4), nullptr);
    EXPECT_EQ(Failure([] { AnnexBtoMp4(MakeVideoPacket("00 00 01 41", true), 100); }), "Invalid header size");
}

TEST(PacketConversion, RoundTrip)
{
    std::mt19937 random(3);
    for (int round = 0; round < 500; ++round)
    {
        std::vector<Bytes> units(1 + random() % 5);
        Bytes annexB;
        for (Bytes& unit : units)
        {
            unit = AddEmulationBytes(RandomZeroHeavy(random, random() % 300)) + Bytes{0x80};
            annexB = annexB + NALU_START_CODE_4_BYTE + unit;
        }
        for (size_t lengthSize = 2; lengthSize <= 4; ++lengthSize)
        {
            const SP<IDataPacket> mp4 = AnnexBtoMp4<IDataPacket>(MakePacket(annexB), lengthSize);
            EXPECT_EQ(Payload(*InsertAnnexBHeader(mp4, lengthSize, MakeBlob(Avcc), H264)), annexB);
        }
    }
}

// A limit on allocations of FFmpeg stands for a machine that is out of memory.
TEST(PacketConversion, OutOfMemory)
{
    const SP<IDataPacket> withSideData = MakeVideoPacket("00 00 00 01 41", false);
    ASSERT_TRUE(av_packet_new_side_data(withSideData->GetAVPacket(), AV_PKT_DATA_NEW_EXTRADATA, 100000));
    const SP<IDataPacket> big = MakePacket(Hex("00 00 00 01") + Bytes(100000, 0x41));
    const SP<IBlob> header = MakeBlob(AvccAnnexB);
    av_max_alloc(50000);
    const auto insert = Failure([&] { InsertAnnexBHeader(withSideData, 4, header, H264); });
    const auto convert = Failure([&] { AnnexBtoMp4(withSideData, 4); });
    const auto convertBig = Failure([&] { AnnexBtoMp4(big, 4); });
    av_max_alloc(std::numeric_limits<int>::max());
    EXPECT_EQ(insert, "Can't copy packet properties");
    EXPECT_EQ(convert, "");
    EXPECT_EQ(convertBig, "Can't allocate new AVPacket");
}
