#include "ffhost/streams/ReadAhead.h"

#include "Proc/Filters/Filters/Video/FilterFrameRate.h"
#include "ffhost/streams/PictureGaps.h"
#include "tests/ffhost/Streams.h"
#include "tests/support/Decorators.h"

namespace Tessor::Host::Tests
{

using namespace Proc;
using Test::Hooked;
using Test::ms;
using Test::ReadAll;
using Test::ReadSome;
using Test::ScriptedVideo;
using Test::Seek;

namespace
{

const std::string script = "0 40 80 120 160 200";

SP<IStreamVideo> Ahead(const SP<IStreamVideo>& parent, size_t capacity)
{
    return ReadAhead<IStreamVideo>::Create(parent, capacity);
}

} // namespace

TEST(ReadAhead, DeliversWhatTheParentDoes)
{
    const std::string wanted = ReadAll(SP<IStreamVideo>(ScriptedVideo::Create(script)));
    for (const size_t capacity : {0, 1, 2, 100})
    {
        const SP<IStreamVideo> stream = Ahead(ScriptedVideo::Create(script), capacity);
        EXPECT_EQ(ReadAll(stream), wanted) << capacity;
        EXPECT_EQ(stream->Read(), nullptr) << "the end stays the end";
        Seek(stream, 0);
        ReadSome(stream, 2);
        Seek(stream, 0);
        EXPECT_EQ(ReadAll(stream), wanted) << "nothing read ahead survives a seek, " << capacity;
    }
}

TEST(ReadAhead, ThrowsInThePlaceOfTheItemUntilASeek)
{
    const SP<IStreamVideo> stream = Ahead(ScriptedVideo::Create("0 40 ! 80 120"), 10);
    EXPECT_EQ(ReadSome(stream, 4), "0 40 ! !");
    Seek(stream, 80 * ms);
    EXPECT_EQ(ReadAll(stream), "80 120 E");
    const auto source = Hooked<IStreamVideo>::Create(ScriptedVideo::Create("0"));
    source->beforeRead = [] { throw FilterException(); };
    EXPECT_THROW(Ahead(source, 1)->Read(), FilterException) << "as it was thrown";
}

TEST(ReadAhead, EndsWhileItsQueueIsFull)
{
    for (int round = 0; round < 20; ++round)
    {
        const SP<IStreamVideo> stream = Ahead(Ahead(ScriptedVideo::Create(script), 1), 1);
        EXPECT_TRUE(stream->Read());
        if (round % 2)
            stream->Terminate();
    }
}

// The second picture stands for an hour, of which a second is left.
TEST(PictureGaps, KeepEqualStepsFewAndToldOf)
{
    std::vector<std::pair<avTime, avTime>> told;
    const GapLimit limit{.longest = SECOND, .closed = [&](avTime start, avTime length) {
                             told.push_back({start, length});
                         }};
    const auto source = ScriptedVideo::Create("0 40 3600040 3600080");
    source->SetDuration(3600120 * ms);
    const SP<IStreamVideo> steps = FilterFrameRate::Create(PictureGaps::Create(source, limit));
    for (int pass = 0; pass < 2; ++pass)
    {
        const auto pictures = ReadItems(*steps);
        ASSERT_EQ(pictures.size(), 1 + 25 + 2) << pass;
        EXPECT_EQ(pictures.back()->GetPTS(), 1080 * ms);
        EXPECT_EQ(told.back(), std::pair(40 * ms, 3600000 * ms));
        Seek(steps, 0);
    }
}

} // namespace Tessor::Host::Tests
