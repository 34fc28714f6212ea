#include "Proc/Filters/Filters/Video/FilterBlurTransparentBorder.h"
#include "Proc/Filters/Filters/Video/FilterDeinterlace.h"
#include "Proc/Filters/Filters/Video/FilterResize.h"
#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "Proc/Settings/SettingsFrameDownloader.h"
#include "media/items/DataVideoFF.h"
#include "tests/Filters/FakeEffects.h"

namespace Tessor::Test
{
namespace
{

using namespace Proc;

const std::string RESIZE = IResize::CLASS_ID;
const std::string DEINTERLACER = SettingsDeinterlace::CLASS_ID;
const std::string CONVERTER = SettingsColorspaceConverter::CLASS_ID;
const std::string PROCESS = CONVERTER + ".Process " + DEINTERLACER + ".Process";

SettingsResizer Size(int width, int height)
{
    SettingsResizer settings;
    settings.SetCustomMode(SettingsResizer::CustomModes::Exact, {width, height});
    settings.implName = "impl";
    return settings;
}

TEST(FilterResize, ARunningEffectOutlivesAFailure)
{
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0 40 80");
    const SP<IStreamVideoEx> filter = FilterResize::CreateStreamEx(source, factory, Size(64, 32));
    filter->Initialize(IFilterResize::Settings2Property(Size(16, 8)));
    EXPECT_EQ(factory->log->Take(), "new " + RESIZE + "/impl new " + RESIZE + "/impl");
    factory->behaviours[RESIZE].failsToInitialise = true;
    EXPECT_THROW(filter->Initialize(Size(1, 1)), EffectException);
    EXPECT_EQ(filter->GetSettings(), IFilterResize::Settings2Property(Size(16, 8)));
    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["passed"].GetString(), RESIZE);

    factory->log->Take();
    EXPECT_EQ(ReadSome(filter, 1), "0");
    filter->ReleaseInternalData();
    EXPECT_EQ(factory->log->Take(), RESIZE + ".Process " + RESIZE + ".Release");
    source->SetFormat(nullptr);
    EXPECT_EQ(TextOf<FilterException>([&] { filter->GetFormatCodec(); }), "Source format codec must be present");
}

SP<IStreamVideoEx> Deinterlace(const SP<IStreamVideo>& source, const SP<FakeEffectFactory>& factory)
{
    const SP<IStreamVideoEx> filter = FilterDeinterlace::Create(source, factory, SettingsDeinterlace());
    EXPECT_EQ(factory->log->Take(), "new " + DEINTERLACER + "/Default new " + CONVERTER + "/Default");
    return filter;
}

TEST(FilterDeinterlace, DecidesByTheFirstThreeFrames)
{
    const std::string all = PROCESS + " " + PROCESS + " " + PROCESS + " " + PROCESS + " " + PROCESS;
    for (const auto& [script, calls] : {std::pair("0i 40 80 120 160", all),
                                        {"0 40i 80 120 160", all},
                                        {"0 40 80i 120 160", all},
                                        {"0 40 80 120i 160i", ""}})
    {
        SCOPED_TRACE(script);
        const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
        const SP<IStreamVideoEx> filter = Deinterlace(ScriptedVideo::Create(script), factory);
        EXPECT_EQ(ReadAll(filter, Show::Values), "0=0 40=1 80=2 120=3 160=4 E");
        EXPECT_EQ(factory->log->Take(), calls);
        // only a seek brings a new decision
        Seek(filter, 120 * ms);
        EXPECT_EQ(factory->log->Take(), DEINTERLACER + ".Release " + CONVERTER + ".Release");
        EXPECT_EQ(ReadSome(filter, 1), "120");
        EXPECT_EQ(factory->log->Take(), calls.empty() ? PROCESS : "");
    }
}

TEST(FilterDeinterlace, TimeOfFramesThatAreHeldBack)
{
    std::string held;
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    factory->behaviours[DEINTERLACER].drops = [&held](IData& frame)
    { return held.find(std::to_string(DescribeItem(frame).value)) != std::string::npos; };
    for (const auto& [without, result, after] : {std::tuple("0", "0=1 80=2 120=3 160=4 E", "E"),
                                                 {"24", "0=0 40=1 80:80=3 E", "E"},
                                                 {"01", "0=2 120=3 160=4 E", "E"},
                                                 // three in a row are the end for the reader ...
                                                 {"0123", "E", "0:200=4 E"},
                                                 {"012", "E", "0=3 160:40=4 E"}}) // ... but reading goes on
    {
        held = without;
        const SP<IStreamVideoEx> filter = Deinterlace(ScriptedVideo::Create("0i 40 80 120 160"), factory);
        EXPECT_EQ(ReadAll(filter, Show::Values), result) << held;
        EXPECT_EQ(ReadAll(filter, Show::Values), after) << held;
        factory->log->Take();
    }
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
        Deinterlace(source, factory)->Read();
        return factory->log->Take();
    };
    EXPECT_EQ(read("0i", FRAME_ALLOC_OGL), "new " + down + "/OGL " + down + ".Process " + PROCESS);
    EXPECT_THROW(read("0i", static_cast<FrameAllocType>(2)), ProcException);
    EXPECT_EQ(read("0", static_cast<FrameAllocType>(2)), "") << "what passes is not looked at";
}

TEST(FilterDeinterlace, FormatsPassTheConverterButOfAStillPicture)
{
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0");
    const SP<IStreamVideoEx> filter = Deinterlace(source, FakeEffectFactory::Create());
    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["passed"].GetString(), CONVERTER);
    source->GetFormatCodec()->GetProperties().SetChildT(Conf::IFormatCodecVideo::TAG_IMAGE_FLAG, true);
    EXPECT_FALSE(filter->GetFormatCodec()->GetProperties().ChildExists("passed"));
}

/// What the filter makes of a frame at 40 ms.
SP<IDataVideo> Blur(const SP<IDataVideo>& frame, const SP<FakeEffectFactory>& factory)
{
    const auto source = Hooked<IStreamVideo>::Create(ScriptedVideo::Create("0"));
    source->map = [frame](const SP<IDataVideo>&) { return frame; };
    frame->SetPTS(40 * ms);
    const SettingsFilterBlurTransparentBorder settings(5);
    const SP<IStreamVideoEx> filter = FilterBlurTransparentBorder::Create(source, factory, settings);
    factory->log->Take();
    return filter->Read();
}

TEST(FilterBlurTransparentBorder, KnowsWhereTheAlphaIs)
{
    for (const auto& [format, alphaByte] :
         {std::pair(PixFmt::RGBA, 3), {PixFmt::BGRA, 3}, {PixFmt::ARGB, 0}, {PixFmt::ABGR, 0}})
    {
        // one visible pixel in the middle of black and transparent ones
        const SP<IDataVideo> frame = DataVideoFF::Create(format, {8, 8}, nullptr);
        std::fill_n(frame->GetPlane(0).GetOffsetPtr(16, 4), 4, uint8_t{200});
        const auto count = [byte = static_cast<size_t>(alphaByte + 1) % 4](IDataVideo& picture)
        {
            int found = 0;
            for (size_t i = 0; i < 64; ++i)
                found += picture.GetPlane(0).GetOffsetPtr(i % 8 * 4, i / 8)[byte] == 200;
            return found;
        };
        const SP<IDataVideo> result = Blur(frame, FakeEffectFactory::Create());
        EXPECT_EQ(count(*result), 16) << "the window of a matrix of 5 is 4 x 4";
        EXPECT_EQ(count(*frame), 1) << "the parent's frame stays";
        EXPECT_EQ(result->GetPlane(0).GetOffsetPtr(12, 4)[alphaByte], 0);
        EXPECT_EQ(result->GetPTS(), 40 * ms);
    }
}

TEST(FilterBlurTransparentBorder, PassesWhatItCannotWorkOn)
{
    for (const auto& [format, calls] :
         {std::pair(PixFmt::RGB24, std::string()), {PixFmt::YUV420P, ""}, {PixFmt::YUVA420P, CONVERTER + ".Process"}})
    {
        const SP<IDataVideo> frame = DataVideoFF::Create(format, {8, 8}, nullptr);
        const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
        EXPECT_EQ(Blur(frame, factory), frame);
        EXPECT_EQ(factory->log->Take(), calls);
    }
}

} // namespace
} // namespace Tessor::Test
