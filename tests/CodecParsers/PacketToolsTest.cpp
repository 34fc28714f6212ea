#include "Proc/CodecParsers/PacketTools.h"

#include "Proc/CodecParsers/MPEG2CodecParser.h"
#include "Proc/CodecParsers/MPEG4CodecParser.h"
#include "Proc/CodecParsers/StartCode.h"
#include "tests/CodecParsers/HeaderTools.h"

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

SP<BlobFF> Blob(const Bytes& bytes)
{
    return BlobFF::Create(bytes.data(), bytes.size());
}

} // namespace

TEST(StartCode, AgreesWithASearchByteByByte)
{
    std::mt19937 random(1);
    for (int i = 0; i < 5000; ++i)
    {
        Bytes data(random() % 24);
        for (uint8_t& byte : data)
            byte = static_cast<uint8_t>(random() % 3);
        const Bytes prefix{0, 0, 1};
        const size_t from = random() % 26;
        const auto begin = data.begin() + static_cast<ptrdiff_t>(std::min(from, data.size()));
        const auto found = std::search(begin, data.end(), prefix.begin(), prefix.end());
        EXPECT_EQ(FindStartCode(data.data(), data.size(), from), static_cast<size_t>(found - data.begin()));
    }
}

TEST(PacketTools, NewPacketKeepsEverythingButThePayload)
{
    const SP<DataPacketFF> packet = MakePacket({7, 8}, 1000, 400, 40);
    AVPacket* record = packet->GetAVPacket();
    record->flags = AV_PKT_FLAG_KEY;
    av_packet_new_side_data(record, AV_PKT_DATA_SKIP_SAMPLES, 10)[3] = 5;
    packet->SetLeadIn({MakePacket({1})});
    const Bytes head{1, 2, 3};

    const SP<IDataPacket> result = PrependToPacket(packet, head.data(), head.size());
    EXPECT_EQ(Payload(*result), (Bytes{1, 2, 3, 7, 8}));
    EXPECT_EQ(Payload(*packet->GetBlob()), (Bytes{7, 8}));
    EXPECT_EQ(result->GetPTS(), 1000);
    EXPECT_EQ(result->GetDTS(), 400);
    EXPECT_EQ(result->GetDuration(), 40);
    EXPECT_TRUE(result->IsKeyFrame());
    EXPECT_EQ(result->GetAVPacket()->side_data_elems, 1);
    EXPECT_EQ(result->GetAVPacket()->side_data[0].data[3], 5);
    EXPECT_EQ(dynamic_cast<DataPacketFF&>(*result).GetLeadIn().size(), 1u);
    // An implicit position stays one.
    result->SetPTS(NoTime);
    EXPECT_EQ(result->GetPosition(), 400);

    packet->SetPosition(900);
    const SP<IDataPacket> positioned = PrependToPacket(packet, nullptr, 0);
    positioned->SetPTS(1100);
    EXPECT_EQ(positioned->GetPosition(), 1000);
    EXPECT_EQ(Payload(*positioned), (Bytes{7, 8}));
}

TEST(PacketTools, TooLargeIsRefused)
{
    const SP<DataPacketFF> packet = MakePacket({1}, 0);
    EXPECT_EQ(Fault([&] { CreatePacketLike(*packet, size_t(1) << 31); }), "Can't allocate new AVPacket");
}

TEST(PacketTools, HeadersGoInFrontOnce)
{
    const SP<BlobFF> header = Blob({9, 9});
    using Add = SP<IDataPacket> (*)(const SP<IDataPacket>&, const SP<const IBlob>&);
    const std::pair<Add, uint8_t> codecs[] = {{MPEG2_AddPacketHeader, 0xB3}, {MPEG4_AddPacketHeader, 0xB0}};
    for (const auto& [add, own] : codecs)
    {
        const uint8_t other = own ^ 3; // the code of the other codec
        EXPECT_EQ(add(nullptr, header), nullptr);
        const SP<IDataPacket> headed = MakePacket({0, 0, 1, own, 5}), plain = MakePacket({0, 0, 1, other, 5});
        EXPECT_EQ(add(headed, header), headed);
        EXPECT_EQ(add(plain, nullptr), plain);
        EXPECT_EQ(add(plain, Blob({})), plain);
        EXPECT_EQ(Payload(*add(plain, header)), (Bytes{9, 9, 0, 0, 1, other, 5}));
        EXPECT_EQ(Payload(*add(MakePacket({0, 0, 1}), header)), (Bytes{9, 9, 0, 0, 1}));
        EXPECT_EQ(Payload(*add(MakePacket({}), header)), (Bytes{9, 9}));
    }
}
