#include "Proc/Filters/Filters/FilterDeinterlace.h"

#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "Proc/Settings/SettingsFrameDownloader.h"
#include "tests/Filters/FakeEffects.h"
#include "tests/support/ReadAll.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

const std::string DEINTERLACER = SettingsDeinterlace::CLASS_ID;
const std::string CONVERTER = SettingsColorspaceConverter::CLASS_ID;
const std::string PROCESS = CONVERTER + ".Process " + DEINTERLACER + ".Process";

SP<IStreamVideoEx> Make(const SP<IStreamVideo>& source, const SP<FakeEffectFactory>& factory)
{
    const SP<IStreamVideoEx> filter = FilterDeinterlace::Create(source, factory, SettingsDeinterlace());
    factory->log->Take();
    return filter;
}

TEST(FilterDeinterlace, DecidesByTheFirstThreeFrames)
{
    for (const auto& [script, deinterlaces] : {std::pair("0i 40 80 120 160", true),
                                               {"0 40i 80 120 160", true},
                                               {"0 40 80i 120 160", true},
                                               {"0 40 80 120i 160i", false}})
    {
        SCOPED_TRACE(script);
        const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
        const SP<IStreamVideoEx> filter = Make(ScriptedVideo::Create(script), factory);
        EXPECT_EQ(ReadAll(filter, Show::Values), "0=0 40=1 80=2 120=3 160=4 E");
        std::string calls = deinterlaces ? PROCESS : "";
        for (int i = 1; i < 5 && deinterlaces; ++i)
            calls += " " + PROCESS;
        EXPECT_EQ(factory->log->Take(), calls);
        // only a seek brings a new decision
        Seek(filter, 120 * ms);
        EXPECT_EQ(factory->log->Take(), DEINTERLACER + ".Release " + CONVERTER + ".Release");
        EXPECT_EQ(ReadSome(filter, 1), "120");
        EXPECT_EQ(factory->log->Take(), deinterlaces ? "" : PROCESS);
    }
}

TEST(FilterDeinterlace, TimeOfFramesThatAreHeldBack)
{
    std::string held;
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    factory->behaviours[DEINTERLACER].drops = [&held](IData& frame)
    { return held.find(std::to_string(DescribeItem(frame).value)) != std::string::npos; };
    const auto make = [&] { return Make(ScriptedVideo::Create("0i 40 80 120 160"), factory); };
    for (const auto& [without, result] : {std::pair("0", "0=1 80=2 120=3 160=4 E"),
                                          {"24", "0=0 40=1 80:80=3 E"},
                                          {"01", "0=2 120=3 160=4 E"},
                                          {"0123", "E"}}) // three in a row are the end for the reader ...
    {
        held = without;
        EXPECT_EQ(ReadAll(make(), Show::Values), result) << held;
    }
    // ... but reading goes on with what has been carried
    held = "012";
    const SP<IStreamVideoEx> filter = make();
    EXPECT_EQ(ReadAll(filter), "E");
    EXPECT_EQ(ReadAll(filter), "0 160:40 E");
}

TEST(FilterDeinterlace, WorksInMainMemory)
{
    const std::string down = SettingsFrameDownloader::CLASS_ID;
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    factory->behaviours[down].moves = true;
    const auto read = [&](const char* script, FrameAllocType memory)
    {
        const SP<ScriptedVideo> source = ScriptedVideo::Create(script);
        source->memory = memory;
        Make(source, factory)->Read();
        return factory->log->Take();
    };
    EXPECT_EQ(read("0i", FRAME_ALLOC_OGL), "new " + down + "/OGL " + down + ".Process " + PROCESS);
    EXPECT_THROW(read("0i", static_cast<FrameAllocType>(2)), ProcException);
    EXPECT_EQ(read("0", static_cast<FrameAllocType>(2)), "") << "what passes is not looked at";
}

TEST(FilterDeinterlace, SettingsAndFormats)
{
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0");
    const SP<IStreamVideoEx> filter = FilterDeinterlace::Create(source, factory, SettingsDeinterlace());
    EXPECT_EQ(factory->log->Take(), "new " + DEINTERLACER + "/Default new " + CONVERTER + "/Default");
    SettingsDeinterlace yadif;
    yadif.method = SettingsDeinterlace::Method::Yadif;
    filter->Initialize(Settings2Property(yadif));
    EXPECT_TRUE(Property2SettingsDeinterlace(filter->GetSettings()).IsEqualTo(yadif));

    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["passed"].GetString(), CONVERTER);
    source->GetFormatCodec()->GetProperties().SetChildT(Conf::IFormatCodecVideo::TAG_IMAGE_FLAG, true);
    EXPECT_FALSE(filter->GetFormatCodec()->GetProperties().ChildExists("passed")) << "a still picture";
}

} // namespace
} // namespace Tessor::Test
