#include "Proc/Filters/Filters/PacketQueueWithGOP.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

namespace Tessor::Proc
{

namespace
{

using namespace Test;

/// All that is queued, in the notation of scripts without durations.
std::string Drain(PacketQueue& queue)
{
    std::string text;
    while (queue.Size() > 0)
    {
        const SP<IDataPacket> packet = queue.Pop();
        text += (text.empty() ? "" : " ") + PrintMs(packet->GetPTS()) + (packet->IsKeyFrame() ? "K" : "");
    }
    return text;
}

TEST(PacketQueueWithGOP, SplitsAtKeyFrames)
{
    const struct
    {
        const char* script;
        avTime limit;     // ms, NoTime for none
        const char* gops; // "content -> end" of each
    } rows[] = {
        {"0K 40 80K 120 160", NoTime, "0K 40 -> 80 | 80K 120 160 -> 160 | "},
        {"0 40 80K 120", NoTime, "0 40 -> 80 | 80K 120 -> 120 | "},
        {"?:40 ?K:40 ?:40", NoTime, "? ?K ? -> ? | "},
        {"0K ?K:40 80K", NoTime, "0K ?K -> 80 | 80K -> 80 | "},
        {"0K 40p200 80K", NoTime, "0K 40 -> 80 | 80K -> 80 | "},
        {"2000K 6000K 8000 12000K 13000", 10000, "6000K 8000 -> 12000 | 12000K 13000 -> 13000 | "},
        {"2000K 3000 4000 ", 10000, "2000K 3000 4000 -> 4000 | "},
        {"", NoTime, ""},
    };
    for (const auto& row : rows)
    {
        const auto source = ScriptedRaw::Create(row.script);
        PacketQueueWithGOP queue(MediaType::None);
        if (row.limit != NoTime)
            queue.Reset(row.limit * ms);
        std::string gops;
        while (queue.ReadGOP(source))
        {
            const std::string end = PrintMs(queue.GetEnd());
            gops += Drain(queue) + " -> " + end + " | ";
        }
        EXPECT_EQ(gops, row.gops);
    }
}

TEST(PacketQueueWithGOP, KeepsTheNextKeyFrameThroughASoftResetOnly)
{
    const auto source = ScriptedRaw::Create("0K 40 80K 120 160K");
    PacketQueueWithGOP queue(MediaType::None);
    ASSERT_TRUE(queue.ReadGOP(source));
    queue.SoftReset();
    EXPECT_EQ(queue.Position(), 80 * ms) << "the waiting key frame moves in";
    ASSERT_TRUE(queue.ReadGOP(source));
    EXPECT_EQ(Drain(queue), "80K 120");
    queue.Reset(100 * ms);
    EXPECT_EQ(queue.GetEnd(), NoTime);
    EXPECT_FALSE(queue.ReadGOP(source)) << "the key frame at 160 is gone";
}

TEST(PacketQueueWithGOP, LiftsItsLimitOnlyForAnEarlierTarget)
{
    for (const auto& [target, first] : {std::pair(100, "50K"), {99, "0K"}})
    {
        const auto source = ScriptedRaw::Create("0K 50K 120K");
        PacketQueueWithGOP queue(MediaType::None);
        queue.Reset(100 * ms);
        queue.LiftLimit(target * ms);
        ASSERT_TRUE(queue.ReadGOP(source));
        EXPECT_EQ(Drain(queue), first);
    }
}

TEST(PacketQueue, AccountsForItsPackets)
{
    PacketQueue queue(MediaType::Video);
    EXPECT_THROW(queue.Pop(), std::logic_error);
    const auto source = ScriptedRaw::Create("?K:40 40:40 80K:40");
    source->SetPayload(1, std::vector<uint8_t>(PacketQueue::maxBytes - 4));
    queue.Push(source->Read());
    EXPECT_EQ(queue.Position(), NoTime);
    queue.Push(source->Read());
    EXPECT_EQ(queue.Position(), 40 * ms);
    EXPECT_FALSE(queue.IsFull()) << "full is above the limit";
    queue.Push(source->Read());
    EXPECT_TRUE(queue.IsFull());
    EXPECT_EQ(queue.GetKeyFrameCount(), 2u);
    queue.Pop();
    EXPECT_EQ(queue.GetKeyFrameCount(), 1u);
    queue.SetEnabled(false);
    EXPECT_EQ(queue.Size(), 0);
}

TEST(PacketQueueWithGOP, CutsAGroupShortWhenItIsFull)
{
    const auto source = ScriptedRaw::Create("0K 40 80 120 160K");
    source->SetPayload(1, std::vector<uint8_t>(PacketQueue::maxBytes));
    PacketQueueWithGOP queue(MediaType::None);
    ASSERT_TRUE(queue.ReadGOP(source));
    EXPECT_EQ(queue.GetEnd(), 40 * ms);
    EXPECT_EQ(Drain(queue), "0K 40");
    ASSERT_TRUE(queue.ReadGOP(source));
    EXPECT_EQ(Drain(queue), "80 120");
}

} // namespace

} // namespace Tessor::Proc
