#include "Proc/Filters/Filters/Cutting/PacketQueueWithGOP.h"
#include "Proc/Filters/Filters/Cutting/StreamRawGOP.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

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

/// The content of a queue's next groups and their ends, "0K 40 -> 80 | ", up to as many.
std::string ReadGroups(PacketQueueWithGOP& queue, const SP<ScriptedRaw>& source, int most = 10)
{
    std::string groups;
    while (most-- > 0 && queue.ReadGOP(source))
    {
        const std::string end = PrintMs(queue.GetEnd());
        groups += Drain(queue) + " -> " + end + " | ";
    }
    return groups;
}

TEST(PacketQueueWithGOP, SplitsAtKeyFrames)
{
    // packets, limit in ms or NoTime for none, groups
    const std::tuple<const char*, avTime, const char*> rows[] = {
        {"0K 40 80K 120 160", NoTime, "0K 40 -> 80 | 80K 120 160 -> 160 | "},
        {"0 40 80K 120", NoTime, "0 40 -> 80 | 80K 120 -> 120 | "},
        {"?:40 ?K:40 ?:40", NoTime, "? ?K ? -> ? | "},
        {"0K ?K:40 80K", NoTime, "0K ?K -> 80 | 80K -> 80 | "},
        {"0K 40p200 80K", NoTime, "0K 40 -> 80 | 80K -> 80 | "},
        {"2000K 6000K 8000 12000K 13000", 10000, "6000K 8000 -> 12000 | 12000K 13000 -> 13000 | "},
        {"2000K 3000 4000 ", 10000, "2000K 3000 4000 -> 4000 | "},
        {"", NoTime, ""},
    };
    for (const auto& [script, limit, groups] : rows)
    {
        PacketQueueWithGOP queue(MediaType::None);
        if (limit != NoTime)
            queue.Reset(limit * ms);
        EXPECT_EQ(ReadGroups(queue, ScriptedRaw::Create(script)), groups);
    }
    const auto source = ScriptedRaw::Create("0K 40 80 120 160K");
    source->SetPayload(1, Bytes(PacketQueue::maxBytes));
    PacketQueueWithGOP full(MediaType::None);
    const std::tuple<const char*, bool, bool> pieces[] = {
        {"0K 40 -> 40 | ", true, false}, {"80 120 -> 160 | ", false, true}, {"160K -> 160 | ", false, false}};
    for (const auto& [piece, cutShort, goesOn] : pieces)
    {
        EXPECT_EQ(ReadGroups(full, source, 1), piece);
        EXPECT_EQ(std::pair(full.IsCutShort(), full.GoesOn()), std::pair(cutShort, goesOn)) << piece;
    }
}

TEST(PacketQueueWithGOP, ALimitSparesWhatStepsBackFromAfterIt)
{
    PacketQueueWithGOP queue(MediaType::None);
    queue.Reset(100 * ms);
    EXPECT_EQ(ReadGroups(queue, ScriptedRaw::Create("120K 90K 140K")), "120K -> 90 | 140K -> 140 | ");
}

TEST(PacketQueueWithGOP, KeepsTheNextKeyFrameThroughASoftResetOnly)
{
    const auto source = ScriptedRaw::Create("0K 40 80K 120 160K");
    PacketQueueWithGOP queue(MediaType::None);
    ASSERT_TRUE(queue.ReadGOP(source));
    queue.SoftReset();
    EXPECT_EQ(static_cast<const PacketQueue&>(queue).Position(), 80 * ms) << "whoever asks";
    EXPECT_EQ(queue.Size(), 0) << "a question moves nothing";
    EXPECT_EQ(queue.Position(), 80 * ms) << "the waiting key frame moves in";
    EXPECT_EQ(ReadGroups(queue, source, 1), "80K 120 -> 160 | ");
    queue.Reset(100 * ms);
    EXPECT_EQ(queue.GetEnd(), NoTime);
    EXPECT_FALSE(queue.ReadGOP(source)) << "the key frame at 160 is gone";
}

TEST(PacketQueue, AccountsForItsPackets)
{
    PacketQueue queue(MediaType::Video);
    EXPECT_THROW(queue.Pop(), std::logic_error);
    const auto source = ScriptedRaw::Create("?K:40 40:40 80K:40");
    source->SetPayload(1, Bytes(PacketQueue::maxBytes - 4));
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

/// The group that a queue reads first from a source, as a stream.
struct Group
{
    explicit Group(const char* script) : source(ScriptedRaw::Create(script))
    {
        EXPECT_TRUE(queue.ReadGOP(source));
        group = SP<StreamRawGOP>(new StreamRawGOP(source, queue));
        stream = group;
    }

    const SP<ScriptedRaw> source;
    PacketQueueWithGOP queue{MediaType::None};
    SP<StreamRawGOP> group;
    SP<IStreamRaw> stream;
};

TEST(StreamRawGOP, PlaysTheGroupFromItsStart)
{
    Group group("40K 120 80 160K");
    EXPECT_EQ(group.queue.Size(), 0);
    EXPECT_THROW(StreamRawGOP(group.source, group.queue), FilterException);
    EXPECT_EQ(group.queue.Position(), 160 * ms) << "the next key frame stays in the queue";
    EXPECT_EQ(ReadAll(group.stream), "40K 120 80 E");
    EXPECT_EQ(group.stream->GetPosition(), 40 * ms) << "of the first packet, wherever the reader stands";
    Seek(group.stream, 120 * ms);
    EXPECT_EQ(ReadAll(group.stream), "40K 120 80 E");
    EXPECT_EQ(group.source->TakeLog(), "") << "seeks stay here";
}

TEST(StreamRawGOP, TakesTheFirstTimeThatItKnows)
{
    for (const auto& [script, times] : {std::pair("?:40 ?:40d30 60", "30 30 60"), // position, start, end
                                        {"?:40 ?:40", "? ? ?"},
                                        {"0K:40p10 40p50", "0 10 50"},
                                        {"40K 120 80 160K", "40 40 160"}}) // the end, not the length
    {
        const Group group(script);
        EXPECT_EQ(PrintMs(group.stream->GetPosition()) + " " + PrintMs(group.group->GetStart()) + " " +
                      PrintMs(group.stream->GetDuration()),
                  times);
    }
}

} // namespace
} // namespace Tessor::Test
