#include "Proc/Filters/Filters/StreamRawGOP.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

namespace Tessor::Proc
{

namespace
{

using namespace Test;

TEST(StreamRawGOP, PlaysTheGroupFromItsStart)
{
    const auto source = ScriptedRaw::Create("40K 120 80 160K");
    PacketQueueWithGOP queue(MediaType::None);
    EXPECT_THROW(StreamRawGOP(source, queue), FilterException);
    ASSERT_TRUE(queue.ReadGOP(source));
    const SP<StreamRawGOP> gop(new StreamRawGOP(source, queue));
    const SP<IStreamRaw> stream = gop;

    EXPECT_EQ(queue.Size(), 0);
    EXPECT_EQ(queue.Position(), 160 * ms) << "the next key frame stays in the queue";
    EXPECT_EQ(stream->GetDuration(), 160 * ms) << "the end, not the length";
    EXPECT_EQ(gop->GetStart(), 40 * ms);
    EXPECT_EQ(ReadAll(stream), "40K 120 80 E");
    EXPECT_EQ(stream->GetPosition(), 40 * ms) << "of the first packet, wherever the reader stands";
    Seek(stream, 120 * ms);
    EXPECT_EQ(ReadAll(stream), "40K 120 80 E");
    EXPECT_EQ(source->TakeLog(), "") << "seeks stay here";
}

TEST(StreamRawGOP, TakesTheFirstTimeThatItKnows)
{
    const struct
    {
        const char* script;
        const char* times; // position, start, end
    } rows[] = {{"?:40 ?:40d30 60", "30 30 60"}, {"?:40 ?:40", "? ? ?"}, {"0K:40p10 40p50", "0 10 50"}};
    for (const auto& row : rows)
    {
        const auto source = ScriptedRaw::Create(row.script);
        PacketQueueWithGOP queue(MediaType::None);
        ASSERT_TRUE(queue.ReadGOP(source));
        StreamRawGOP* const gop = new StreamRawGOP(source, queue);
        const SP<IStreamRaw> stream(gop);
        EXPECT_EQ(PrintMs(stream->GetPosition()) + " " + PrintMs(gop->GetStart()) + " " +
                      PrintMs(stream->GetDuration()),
                  row.times);
    }
}

TEST(StreamRawGOP, AsksEachSeekerOnce)
{
    const auto source = ScriptedRaw::Create("0K 40");
    PacketQueueWithGOP queue(MediaType::None);
    ASSERT_TRUE(queue.ReadGOP(source));
    const SP<IStreamRaw> gop(new StreamRawGOP(source, queue));
    const auto seeker = ScriptedRaw::Create("0K");
    const long held = seeker->GetRefCount();
    gop->RequestSeek(0, seeker);
    gop->RequestSeek(0, seeker);
    gop->RequestSeek(0, nullptr);
    EXPECT_EQ(seeker->GetRefCount(), held + 1);
    gop->DoSeek();
    EXPECT_EQ(seeker->GetRefCount(), held);
    EXPECT_EQ(ReadAll(gop), "0K 40 E");
}

} // namespace

} // namespace Tessor::Proc
