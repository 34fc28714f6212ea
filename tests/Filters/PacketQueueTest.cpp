#include "Proc/Filters/Filters/Cutting/PacketQueueWithGOP.h"
#include "Proc/Filters/Filters/Cutting/StreamRawGOP.h"
#include "tests/support/ScriptedStream.h"

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
        {"120K 90K 140K", 100, "120K -> 90 | 140K -> 140 | "}, // what steps back from after it is spared
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
    source->SetPayload(1, Bytes(PacketQueue::maxBytes - 4));
    PacketQueueWithGOP full(MediaType::None);
    const std::tuple<const char*, bool, bool> pieces[] = {
        {"0K 40 80 -> 80 | ", true, false}, {"120 -> 160 | ", false, true}, {"160K -> 160 | ", false, false}};
    for (const auto& [piece, cutShort, goesOn] : pieces)
    {
        EXPECT_EQ(ReadGroups(full, source, 1), piece);
        EXPECT_EQ(std::pair(full.IsCutShort(), full.GoesOn()), std::pair(cutShort, goesOn)) << piece;
    }
}

TEST(PacketQueue, AccountsForItsPackets)
{
    PacketQueue queue(MediaType::Video);
    EXPECT_THROW(queue.Pop(), std::logic_error);
    const auto source = ScriptedRaw::Create("?K:40 40:40 80K:40");
    for (const auto& [position, keys] : {std::pair(NoTime, 1u), {40 * ms, 1u}, {40 * ms, 2u}})
    {
        queue.Push(source->Read());
        EXPECT_EQ(queue.Position(), position);
        EXPECT_EQ(queue.GetKeyFrameCount(), keys);
    }
    queue.Pop();
    EXPECT_EQ(queue.GetKeyFrameCount(), 1u);
    queue.SetEnabled(false);
    EXPECT_EQ(queue.Size(), 0);
}

TEST(StreamRawGOP, PlaysTheFirstGroupOfAQueueFromItsStart)
{
    // packets; position, start and end; what is played
    const std::tuple<const char*, std::string, const char*> rows[] = {
        {"40K 120 80 160K", "40 40 160", "40K 120 80 E"},
        {"?:40 ?:40d30 60", "30 30 60", "? ?d30 60 E"},
        {"?:40 ?:40", "? ? ?", "? ? E"},
        {"0K:40p10 40p50", "0 10 50", "0K 40 E"},
    };
    for (const auto& [script, times, played] : rows)
    {
        const SP<ScriptedRaw> source = ScriptedRaw::Create(script);
        PacketQueueWithGOP queue(MediaType::None);
        EXPECT_TRUE(queue.ReadGOP(source));
        const SP<StreamRawGOP> group(new StreamRawGOP(source, queue));
        const SP<IStreamRaw> stream = group;
        EXPECT_THROW(StreamRawGOP(source, queue), FilterException) << "there is no other one";
        ReadSome(stream, 1);
        Seek(stream, 120 * ms);
        EXPECT_EQ(PrintMs(stream->GetPosition()) + " " + PrintMs(group->GetStart()) + " " +
                      PrintMs(stream->GetDuration()),
                  times);
        EXPECT_EQ(ReadAll(stream), played);
        EXPECT_EQ(source->TakeLog(), "") << "seeks stay here";
        Seek(stream, 0);
        group->LetGo();
        EXPECT_EQ(ReadAll(stream), played);
        EXPECT_EQ(times.find(PrintMs(stream->GetPosition()) + " "), 0u);
        EXPECT_THROW(Seek(stream, 0), FilterException) << "they are gone";
    }
}

TEST(StreamRawGOP, LetsGoOfAllButTheFirst)
{
    const SP<ScriptedRaw> source = ScriptedRaw::Create("0K 40 80");
    PacketQueueWithGOP queue(MediaType::None);
    EXPECT_TRUE(queue.ReadGOP(source));
    const SP<StreamRawGOP> group(new StreamRawGOP(source, queue));
    group->LetGo();
    IStreamRaw& stream = *group;
    for (const long holders : {2, 1, 1})
        EXPECT_EQ(stream.Read()->GetRefCount(), holders);
}

TEST(StreamRawGOP, LeavesOutWhatNobodyNeeds)
{
    const std::tuple<const char*, int, const char*> rows[] = {
        {"0K 160 80 40 120 320 240 200 280 400K", 160, "0K 160 80 40 120 E"}, // it ends the one before it
        {"0K 160 80 40 120 320 240 200 280 400K", 130, "0K 160 80 40 120 E"},
        {"0K 160 80 40 120 320 240 200 280 400K", 170, "0K 160 80 40 120 320 240:40 200 E"},
        {"0K 40 80 ?:100 120 400K", 80, "0K 40 80 ?:100 E"},
        {"0K 40 80 360 120 400K", 80, "0K 40 80:40 360:40 E"}, // kept again from 360 on
    };
    for (const auto& [script, start, played] : rows)
    {
        const SP<ScriptedRaw> source = ScriptedRaw::Create(script);
        PacketQueueWithGOP queue(MediaType::None);
        EXPECT_TRUE(queue.ReadGOP(source));
        const SP<StreamRawGOP> group(new StreamRawGOP(source, queue));
        group->LeaveOutTail(start * ms, 360 * ms);
        EXPECT_EQ(ReadAll(SP<IStreamRaw>(group)), played) << start;
    }
}

} // namespace
} // namespace Tessor::Test
