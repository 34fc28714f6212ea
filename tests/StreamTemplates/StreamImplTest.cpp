#include "Proc/StreamTemplates/StreamImpl.h"
#include "Proc/StreamTemplates/NotImplemented.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "tests/support/Decorators.h"

#include <stdexcept>

namespace Tessor::Proc
{
namespace
{

#include "FilterX.inc"

} // namespace
} // namespace Tessor::Proc

namespace Tessor::Test
{
namespace
{

using Proc::IStreamVideo;
using Probe = Hooked<IStreamVideo>;

/// What holds in both modes.
class StreamImplTest : public testing::TestWithParam<bool>
{
protected:
    SP<Probe> Make(const std::string& script)
    {
        source = ScriptedVideo::Create(script);
        return Probe::Create(source, GetParam());
    }

    SP<ScriptedVideo> source;
};

INSTANTIATE_TEST_SUITE_P(, StreamImplTest, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Background" : "Synchronous"; });

TEST_P(StreamImplTest, DeliversItsParentsItems)
{
    EXPECT_EQ(TextOf<std::invalid_argument>([&] { Probe::Create(nullptr, GetParam()); }), "parentStream is NULL.");
    const SP<Probe> probe = Make("0 40 80:10 100");
    EXPECT_EQ(ReadAll(probe), "0 40 80:10 100 E");
    EXPECT_EQ(ReadAll(probe), "E");
    Seek(probe, 80 * ms);
    EXPECT_EQ(ReadAll(probe, Show::Values), "80:10=2 100=3 E");
}

TEST_P(StreamImplTest, PositionIsTheStartOfTheFirstItemThenTheEndOfTheLast)
{
    const SP<Probe> probe = Make("20:30 50:50");
    EXPECT_EQ(probe->GetPosition(), 20 * ms);
    EXPECT_EQ(probe->reads, 1);
    EXPECT_EQ(probe->GetPosition(), 20 * ms);
    EXPECT_EQ(ReadSome(probe, 1, Show::Values), "20:30=0");
    EXPECT_EQ(probe->GetPosition(), 50 * ms);
    EXPECT_EQ(ReadAll(probe), "50:50 E");
    EXPECT_EQ(probe->GetPosition(), 100 * ms) << "the end does not move it";
    Seek(probe, 60 * ms);
    EXPECT_EQ(probe->GetPosition(), 50 * ms);
    EXPECT_EQ(ReadAll(probe), "50:50 E") << "an item learnt by asking is not lost";
    Seek(probe, 100 * ms);
    EXPECT_EQ(probe->GetPosition(), NoTime);
}

TEST_P(StreamImplTest, ItemsWithoutATimeLeaveThePositionUnknown)
{
    const SP<Probe> probe = Make("? ? 80 120:?");
    EXPECT_EQ(probe->GetPosition(), NoTime);
    EXPECT_EQ(ReadSome(probe, 1), "?");
    EXPECT_EQ(probe->GetPosition(), NoTime);
    EXPECT_EQ(ReadSome(probe, 1), "?");
    EXPECT_EQ(probe->GetPosition(), 80 * ms);
    EXPECT_EQ(ReadAll(probe), "80 120:? E");
    EXPECT_FALSE(probe->readTwice);
}

TEST_P(StreamImplTest, SeeksStopAtTheDuration)
{
    for (const auto& [duration, target, log] : {std::tuple(80 * ms, 40 * ms, "RequestSeek(40) DoSeek"),
                                                {80 * ms, 500 * ms, "RequestSeek(80) DoSeek"},
                                                {80 * ms, -40 * ms, "RequestSeek(-40) DoSeek"},
                                                {NoTime, 500 * ms, "RequestSeek(500) DoSeek"}})
    {
        const SP<Probe> probe = Make("0 40");
        source->SetDuration(duration);
        Seek(probe, target);
        EXPECT_EQ(source->TakeLog(), log);
    }
    const SP<Probe> probe = Make("0 40");
    probe->RequestSeek(0, source);
    EXPECT_EQ(source->TakeLog(), "RequestSeek(0,partner)") << "the partner travels on";
    EXPECT_TRUE(probe->GetSeekResult());
}

TEST_P(StreamImplTest, TerminationReachesTheSourceAndASeekRevives)
{
    const SP<Probe> probe = Make("0 40");
    const SP<Probe> consumer = Probe::Create(probe, GetParam());
    consumer->Terminate();
    EXPECT_EQ(source->TakeLog(), "Terminate");
    EXPECT_TRUE(consumer->IsTerminated() && probe->IsTerminated() && source->IsTerminated());
    Seek(consumer, 0);
    EXPECT_FALSE(consumer->IsTerminated() || probe->IsTerminated() || source->IsTerminated());
    EXPECT_EQ(ReadAll(consumer), "0 40 E");
}

TEST_P(StreamImplTest, ReleasingDropsTheLookAheadAndKeepsThePosition)
{
    const SP<Probe> probe = Make("0 40 80");
    EXPECT_EQ(probe->GetPosition(), 0);
    probe->ReleaseInternalData();
    EXPECT_EQ(source->TakeLog(), "ReleaseInternalData");
    EXPECT_EQ(probe->GetPosition(), 0);
    EXPECT_EQ(ReadAll(probe), "40 80 E");
    Proc::Visitors::FrameTypeCollector types;
    probe->Accept(types);
    EXPECT_EQ(types.GetTypes(), (std::vector{FRAME_ALLOC_NONE, FRAME_ALLOC_CPU}));
}

TEST(StreamImplSynchronous, AFailureLeavesTheStreamUsable)
{
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0 ! 40 ! 80");
    const SP<Probe> probe = Probe::Create(source, false);
    EXPECT_EQ(ReadSome(probe, 2), "0 !");
    EXPECT_EQ(probe->GetPosition(), 40 * ms) << "a failed read does not move the position";
    EXPECT_EQ(ReadAll(probe), "40 ! 80 E");
    Seek(probe, 0);
    EXPECT_EQ(ReadAll(probe), "0 ! 40 ! 80 E");

    const SP<Probe> failsFirst = Probe::Create(ScriptedVideo::Create("! 0"), false);
    EXPECT_THROW(failsFirst->GetPosition(), Proc::FilterException);
    EXPECT_EQ(failsFirst->GetPosition(), 0);
    EXPECT_EQ(ReadAll(failsFirst), "0 E");
}

TEST(StreamImplSynchronous, ReadsOnAfterTheEndAndAfterTermination)
{
    const SP<Probe> probe = Probe::Create(ScriptedVideo::Create("0 40"), false);
    probe->Terminate();
    EXPECT_EQ(ReadAll(probe), "0 40 E");
    EXPECT_TRUE(probe->IsTerminated());
    EXPECT_EQ(probe->reads, 3);
    EXPECT_EQ(ReadAll(probe), "E");
    EXPECT_EQ(probe->reads, 4) << "the end is asked for anew";
}

TEST(StreamImplSynchronous, AFilterMayAskItsOwnPositionWhileItReads)
{
    const SP<Probe> probe = Probe::Create(ScriptedVideo::Create("0 40 80"), false);
    EXPECT_EQ(ReadSome(probe, 1), "0");
    avTime seen = NoTime;
    probe->beforeRead = [&] { seen = probe->GetPosition(); };
    EXPECT_EQ(ReadSome(probe, 1), "40");
    EXPECT_EQ(seen, 40 * ms);
}

TEST(StreamImpl, TheCodecIsAskedForUntilItIsKnown)
{
    const SP<ScriptedRaw> source = ScriptedRaw::Create("0K", MediaType::Video, Conf::IFormatCodec::CODEC_ID_NONE);
    const auto stream = Hooked<Proc::IStreamRaw>::Create(source);
    const auto name = [&](const std::string& codec)
    { source->GetFormatCodec()->GetProperties().SetChildT(Conf::IFormatCodec::TAG_CODEC_ID, codec); };
    EXPECT_EQ(stream->GetCodecID(), Conf::IFormatCodec::CODEC_ID_NONE);
    name("first");
    EXPECT_EQ(stream->GetCodecID(), "first");
    name("second");
    EXPECT_EQ(stream->GetCodecID(), "first");
}

TEST(Visitors, UnknownOnesAreRefused)
{
    struct Odd final : Proc::IStreamVisitor
    {
        explicit Odd(int type) : type(type) {}
        int GetType() const override { return type; }
        const int type;
    };
    const SP<Probe> probe = Probe::Create(ScriptedVideo::Create("0"));
    Odd unknown(3);
    EXPECT_EQ(TextOf<std::logic_error>([&] { probe->Accept(unknown); }), "Unknown visitor type");
    for (const int type : {0, 1, 2})
    {
        Odd liar(type);
        EXPECT_THROW(probe->Accept(liar), std::bad_cast) << type;
    }
}

TEST(StreamImpl, TheFilterOfItsHeadWorks)
{
    const SP<IStreamVideo> filter = Proc::FilterX::Create(ScriptedVideo::Create("0 40 80"));
    EXPECT_EQ(ReadAll(filter), "0 40 80 E");
    Seek(filter, 40 * ms);
    EXPECT_EQ(ReadAll(filter), "40 80 E");
    Proc::Visitors::InfoCollector names;
    filter->Accept(names);
    EXPECT_EQ(names.GetElements().front(), "FilterX");
}

} // namespace
} // namespace Tessor::Test
