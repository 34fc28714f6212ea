#include "Fnd/Exception.h"
#include "media/items/BlobFF.h"
#include "media/items/DataPacketFF.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Proc;

namespace
{

SP<DataPacketFF> MakePacket(avTime pts, avTime dts)
{
    return DataPacketFF::Create(CreatePacket(16), MediaType::Video, pts, dts, 40);
}

} // namespace

TEST(DataPacket, PositionIsExplicitElsePtsElseDts)
{
    const std::tuple<avTime, avTime, avTime, avTime, avTime, avTime> rows[] = {
        {100, 50, NoTime, 200, 100, 200},       {100, NoTime, NoTime, NoTime, 100, NoTime},
        {NoTime, NoTime, NoTime, 7, NoTime, 7}, {100, 50, 120, 90, 120, 110},
        {100, 50, 120, NoTime, 120, 120},       {NoTime, 50, 120, 200, 120, 120},
        {NoTime, NoTime, 120, 1, 120, 120},     {-5, -6, -7, 5, -7, 3},
    };
    for (const auto& [pts, dts, explicitPosition, newPts, before, after] : rows)
    {
        const SP<DataPacketFF> packet = MakePacket(pts, dts);
        packet->SetPosition(explicitPosition);
        EXPECT_EQ(packet->GetPosition(), before);
        const SP<IDataPacket> clone = packet->Clone();
        packet->SetPTS(newPts);
        EXPECT_EQ(packet->GetPosition(), after);
        EXPECT_EQ(clone->GetPosition(), before);
        packet->SetPosition(NoTime);
        EXPECT_EQ(packet->GetPosition(), newPts != NoTime ? newPts : dts);
    }
}

TEST(DataPacket, ClonesShareBytesAndSideDataButNotTimesAndFlags)
{
    SP<DataPacketFF> packet = MakePacket(100, 50);
    packet->SetLeadIn({MakePacket(0, 0)});
    av_packet_new_side_data(packet->GetAVPacket(), AV_PKT_DATA_SKIP_SAMPLES, 10)[9] = 9;
    packet->Data()[15] = 3;
    packet->GetAVPacket()->flags |= AV_PKT_FLAG_KEY;

    const SP<IDataPacket> clone = packet->Clone();
    EXPECT_EQ(clone->GetData(), packet->GetData());
    EXPECT_EQ(GetFacts(*clone).leadIn, GetFacts(*packet).leadIn);
    EXPECT_TRUE(clone->IsKeyFrame());
    clone->SetPTS(1);
    clone->SetDTS(2);
    clone->SetDuration(3);
    clone->GetAVPacket()->flags = 0;
    EXPECT_EQ(packet->GetPTS(), 100);
    EXPECT_EQ(packet->GetDTS(), 50);
    EXPECT_EQ(packet->GetDuration(), 40);
    EXPECT_TRUE(packet->IsKeyFrame());

    const SP<const IBlob> blob = packet->GetBlob(); // outlives the item
    packet.reset();
    EXPECT_EQ(blob->Data()[15], 3);
    const AVPacketSideData& side = clone->GetAVPacket()->side_data[0];
    ASSERT_EQ(side.size, 10u);
    EXPECT_EQ(side.data[9], 9);
}

TEST(DataPacket, CopiesAPayloadThatTheRecordDoesNotOwn)
{
    AVPacket* const borrowed = av_packet_alloc();
    std::vector<uint8_t> memory(5, 8);
    borrowed->data = memory.data();
    borrowed->size = 5;
    const SP<DataPacketFF> packet = DataPacketFF::Create(borrowed, MediaType::Audio, 0, 0, 0);
    memory.assign(5, 0);
    EXPECT_EQ(packet->GetData()[4], 8);
}

TEST(DataPacket, RefusesWhatItCannotDo)
{
    AVPacket* const empty = av_packet_alloc();
    empty->size = 5;
    for (AVPacket* const record : {static_cast<AVPacket*>(nullptr), empty})
        EXPECT_THROW(DataPacketFF::Create(record, MediaType::Video, 0, 0, 0), std::invalid_argument);
    EXPECT_THROW(MakePacket(0, 0)->TrimStart(1), Exception);
    EXPECT_THROW(MakePacket(0, 0)->TrimEnd(1), Exception);
    EXPECT_EQ(CreatePacket(std::numeric_limits<size_t>::max()), nullptr);
    EXPECT_EQ(CreatePacket(std::numeric_limits<int>::max()), nullptr);
    EXPECT_THROW(BlobFF::Create(nullptr, 1), std::invalid_argument);
    EXPECT_EQ(BlobFF::Create(nullptr, 0)->Size(), 0u);
    EXPECT_THROW(BlobFF::Create(std::numeric_limits<size_t>::max()), std::length_error);
}
