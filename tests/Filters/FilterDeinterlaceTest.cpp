#include "Proc/Filters/Filters/FilterDeinterlace.h"

#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "Proc/Settings/SettingsFrameDownloader.h"
#include "tests/Filters/FakeEffects.h"
#include "tests/support/Conformance.h"
#include "tests/support/ReadAll.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

const std::string DEINTERLACER = SettingsDeinterlace::CLASS_ID;
const std::string CONVERTER = SettingsColorspaceConverter::CLASS_ID;

/// Frames of values with an 'i' in `flags` are interlaced: "ppi" is the third one.
SP<MappedVideo> Source(const std::string& script, const std::string& flags, FrameAllocType type = FRAME_ALLOC_CPU)
{
    return MappedVideo::Create(ScriptedVideo::Create(script),
                               [=](const SP<IDataVideo>& frame) -> SP<IDataVideo>
                               {
                                   const size_t value = *frame->GetPlane(0).GetOffsetPtr(0, 0);
                                   return FakeFrame::Create(*frame, type, value < flags.size() && flags[value] == 'i');
                               });
}

SP<IStreamVideoEx> Make(const SP<IStreamVideo>& source, const SP<FakeEffectFactory>& factory)
{
    const SP<IStreamVideoEx> filter = FilterDeinterlace::Create(source, factory, SettingsDeinterlace());
    factory->log->Take();
    return filter;
}

TEST(FilterDeinterlace, Conforms)
{
    for (const char* flags : {"", "iiiii"})
        CheckConformance<IStreamVideo>("0 40 80:20 120",
                                       [flags](const SP<IStreamVideo>& source)
                                       {
                                           const auto marked = MappedVideo::Create(
                                               source,
                                               [flags](const SP<IDataVideo>& frame) -> SP<IDataVideo>
                                               { return FakeFrame::Create(*frame, FRAME_ALLOC_CPU, *flags != 0); });
                                           return Make(marked, FakeEffectFactory::Create());
                                       });
}

TEST(FilterDeinterlace, DecidesByTheFirstThreeFrames)
{
    struct Row
    {
        const char* flags;
        bool deinterlaces;
    };
    for (const Row& row : {Row{"i", true}, {"pi", true}, {"ppi", true}, {"pppi", false}, {"", false}})
    {
        SCOPED_TRACE(row.flags);
        const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
        const SP<IStreamVideoEx> filter = Make(Source("0 40 80 120 160", row.flags), factory);
        EXPECT_EQ(ReadAll(filter, Show::Values), "0=0 40=1 80=2 120=3 160=4 E");
        std::string calls;
        for (int i = 0; i < (row.deinterlaces ? 5 : 0); ++i)
            calls += (i ? " " : "") + CONVERTER + ".Process " + DEINTERLACER + ".Process";
        EXPECT_EQ(factory->log->Take(), calls);
    }
    // only a seek brings a new decision
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    const SP<IStreamVideoEx> filter = Make(Source("0 40 80 120 160", "pppii"), factory);
    ReadAll(filter);
    EXPECT_EQ(factory->log->Take(), "");
    Seek(filter, 120 * ms);
    EXPECT_EQ(factory->log->Take(), DEINTERLACER + ".Release " + CONVERTER + ".Release");
    EXPECT_EQ(ReadSome(filter, 1), "120");
    EXPECT_EQ(factory->log->Take(), CONVERTER + ".Process " + DEINTERLACER + ".Process");
}

TEST(FilterDeinterlace, TimeOfFramesThatAreHeldBack)
{
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    std::string held;
    factory->behaviours[DEINTERLACER].video = [&held](SP<IDataVideo>& frame)
    {
        if (held.find(static_cast<char>('0' + *frame->GetPlane(0).GetOffsetPtr(0, 0))) != std::string::npos)
            frame = nullptr;
    };
    struct Row
    {
        const char* held;
        const char* result;
    };
    const Row rows[] = {
        {"0", "0=1 80=2 120=3 160=4 E"},
        {"24", "0=0 40=1 80:80=3 E"},
        {"01", "0=2 120=3 160=4 E"},
        {"0123", "E"}, // three in a row are the end for the reader ...
    };
    for (const Row& row : rows)
    {
        held = row.held;
        EXPECT_EQ(ReadAll(Make(Source("0 40 80 120 160", "i"), factory), Show::Values), row.result) << row.held;
    }
    // ... but reading goes on with what has been carried
    held = "012";
    const SP<IStreamVideoEx> filter = Make(Source("0 40 80 120 160", "i"), factory);
    EXPECT_EQ(ReadAll(filter), "E");
    EXPECT_EQ(ReadAll(filter), "0 160:40 E");
}

TEST(FilterDeinterlace, WorksInMainMemory)
{
    const std::string down = SettingsFrameDownloader::CLASS_ID;
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    const SP<IStreamVideoEx> filter = Make(Source("0", "i", FRAME_ALLOC_OGL), factory);
    EXPECT_TRUE(filter->Read());
    EXPECT_EQ(factory->log->Take(),
              "new " + down + "/OGL " + down + ".Process " + CONVERTER + ".Process " + DEINTERLACER + ".Process");
    EXPECT_THROW(Make(Source("0", "i", static_cast<FrameAllocType>(2)), factory)->Read(), ProcException);
    EXPECT_TRUE(Make(Source("0", "p", static_cast<FrameAllocType>(2)), factory)->Read())
        << "what passes is not looked at";
}

TEST(FilterDeinterlace, SettingsFormatsAndStatistics)
{
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0");
    const SP<IStreamVideoEx> filter = FilterDeinterlace::Create(source, factory, SettingsDeinterlace());
    EXPECT_EQ(factory->log->Take(), "new " + DEINTERLACER + "/Default new " + CONVERTER + "/Default");
    SettingsDeinterlace yadif;
    yadif.method = SettingsDeinterlace::Method::Yadif;
    filter->Initialize(Settings2Property(yadif));
    EXPECT_TRUE(Property2SettingsDeinterlace(filter->GetSettings()).IsEqualTo(yadif));
    EXPECT_THROW(filter->Initialize(FakeSettings("other")), std::bad_cast);

    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["passed"].GetString(), CONVERTER);
    source->GetFormatCodec()->GetProperties().SetChildT(Conf::IFormatCodecVideo::TAG_IMAGE_FLAG, true);
    EXPECT_FALSE(filter->GetFormatCodec()->GetProperties().ChildExists("passed")) << "a still picture";

    filter->Read();
    const Core::Property statistics = filter->GetStatistic();
    ASSERT_EQ(statistics.size(), 2u) << "source first";
    const Core::Property& record = *(statistics.begin() + 1);
    EXPECT_EQ(record["count"].GetInt64(), 0);
    EXPECT_TRUE(record.ChildExists(DEINTERLACER + " statistics"));
    EXPECT_TRUE(record.ChildExists(CONVERTER + " statistics"));
}

} // namespace
} // namespace Tessor::Test
