#include "Proc/Filters/Filters/FilterApplyEffectsAudio.h"
#include "Proc/Filters/Filters/FilterApplyEffectsVideo.h"
#include "Proc/Settings/SettingsEffectStabilizer.h"
#include "Proc/Settings/SettingsFrameDownloader.h"
#include "Proc/Settings/SettingsFrameUploader.h"
#include "tests/Filters/FakeEffects.h"
#include "tests/support/Conformance.h"
#include "tests/support/ReadAll.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

const std::string UPLOADER = SettingsFrameUploader::CLASS_ID;
const std::string DOWNLOADER = SettingsFrameDownloader::CLASS_ID;

/// A factory whose effects "cpu", "ogl", "any" and "none" work in that memory, whose "drop" gives no item, and which
/// can bring fake frames from one memory to the other.
SP<FakeEffectFactory> MakeFactory()
{
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    const auto moveTo = [](FrameAllocType type)
    { return [type](SP<IDataVideo>& frame) { dynamic_cast<FakeFrame&>(*frame).type = type; }; };
    factory->behaviours["ogl"].type = FRAME_ALLOC_OGL;
    factory->behaviours["any"].type = FRAME_ALLOC_ANY;
    factory->behaviours["none"].type = FRAME_ALLOC_NONE;
    factory->behaviours["drop"].video = [](SP<IDataVideo>& frame) { frame = nullptr; };
    factory->behaviours["drop"].audio = [](SP<IDataAudio>& block) { block = nullptr; };
    factory->behaviours[UPLOADER].video = moveTo(FRAME_ALLOC_OGL);
    factory->behaviours[DOWNLOADER].video = moveTo(FRAME_ALLOC_CPU);
    factory->behaviours["fails"].failsToInitialise = true;
    return factory;
}

SP<IFilterApplyEffectsVideo> MakeVideo(const SP<IStreamVideo>& source, const SP<FakeEffectFactory>& factory,
                                       const std::vector<std::string>& effects)
{
    const SP<IFilterApplyEffectsVideo> filter = FilterApplyEffectsVideo::Create(source, factory);
    for (const std::string& effect : effects)
        filter->AddEffect(Core::Property(effect), "impl");
    factory->log->Take();
    return filter;
}

SettingsMultiEffect Multi(const std::vector<std::string>& classIds)
{
    SettingsMultiEffect settings;
    for (const std::string& id : classIds)
        settings.effects.push_back(std::make_shared<FakeSettings>(id));
    return settings;
}

std::string DescribeChain(IStream& filter)
{
    std::string names;
    for (const Core::Property& effect : filter.GetSettings())
        names += (names.empty() ? "" : " ") + effect.GetName();
    return names;
}

template <class E, class F>
std::string TextOf(const F& action)
{
    try
    {
        action();
    }
    catch (const E& e)
    {
        return Describe(e);
    }
    return "no failure";
}

TEST(FilterApplyEffects, Conform)
{
    CheckConformance<IStreamVideo>("0 40 80:20 120",
                                   [](const SP<IStreamVideo>& source) {
                                       return MakeVideo(source, MakeFactory(), {"cpu", "any"});
                                   });
    CheckConformance<IStreamAudio>(Regular(30, 64 / 3.0),
                                   [](const SP<IStreamAudio>& source)
                                   {
                                       const auto filter = FilterApplyEffectsAudio::Create(source, MakeFactory());
                                       filter->AddEffect(Core::Property("cpu"));
                                       return filter;
                                   });
}

TEST(FilterApplyEffectsVideo, BringsFramesIntoTheMemoryOfEachEffect)
{
    const std::string unsupported = "Unsupported frame allocators set";
    struct Row
    {
        unsigned frame;
        std::vector<std::string> effects;
        std::string calls;   // of the first frame
        std::string failure; // instead
    };
    const Row rows[] = {
        {0, {"cpu", "cpu"}, "cpu.Process cpu.Process", ""},
        {0, {"any", "any"}, "any.Process any.Process", ""},
        {1, {"any", "ogl"}, "any.Process ogl.Process", ""},
        {0,
         {"cpu", "ogl", "any", "cpu"},
         "cpu.Process new " + UPLOADER + "/OGL " + UPLOADER + ".Process ogl.Process any.Process new " + DOWNLOADER +
             "/OGL " + DOWNLOADER + ".Process cpu.Process",
         ""},
        {2, {"cpu"}, "", unsupported},
        {2, {"any"}, "", unsupported},
        {3, {"ogl"}, "", unsupported},
        {0, {"none"}, "", unsupported},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.calls + row.failure);
        const SP<FakeEffectFactory> factory = MakeFactory();
        const auto source =
            MappedVideo::InMemory(ScriptedVideo::Create("0 40"), static_cast<FrameAllocType>(row.frame));
        const SP<IFilterApplyEffectsVideo> filter = MakeVideo(source, factory, row.effects);
        if (!row.failure.empty())
        {
            EXPECT_EQ(TextOf<ProcException>([&] { filter->Read(); }), row.failure);
            continue;
        }
        filter->Read();
        EXPECT_EQ(factory->log->Take(), row.calls);
        filter->Read();
        EXPECT_EQ(factory->log->Take().find("new"), std::string::npos) << "converters are kept";
    }
}

TEST(FilterApplyEffects, HandNullOnAndDoNotCountIt)
{
    const SP<FakeEffectFactory> factory = MakeFactory();
    const SP<IFilterApplyEffectsVideo> video =
        MakeVideo(ScriptedVideo::Create("0 40"), factory, {"cpu", "drop", "ogl"});
    EXPECT_FALSE(video->Read());
    EXPECT_EQ(factory->log->Take(), "cpu.Process drop.Process ogl.Process(null)");
    EXPECT_EQ(video->GetStatistic()["count"].GetInt64(), 0);

    const SP<IFilterApplyEffectsAudio> audio = FilterApplyEffectsAudio::Create(ScriptedAudio::Create("0 20"), factory);
    audio->AddEffect(Core::Property("ogl"));
    audio->AddEffect(Core::Property("drop"));
    audio->AddEffect(Core::Property("any"));
    EXPECT_EQ(factory->log->Take(), "cpu.Statistic drop.Statistic ogl.Statistic cpu.Statistic drop.Statistic "
                                    "ogl.Statistic new ogl/Default new drop/Default new any/Default");
    EXPECT_FALSE(audio->Read());
    EXPECT_EQ(factory->log->Take(), "ogl.Process drop.Process any.Process(null)");
    EXPECT_EQ(audio->GetStatistic()["count"].GetInt64(), 0);
}

TEST(FilterApplyEffectsVideo, MembersOfMultiSettings)
{
    const SP<FakeEffectFactory> factory = MakeFactory();
    factory->implementations = {{"g", {ImplNames::OGL, "other"}}, {"s", {"other", ImplNames::OGL}}, {"x", {}}};
    const SP<IFilterApplyEffectsVideo> filter = MakeVideo(ScriptedVideo::Create("0 40"), factory, {"first"});
    const auto failure = [&](const std::vector<std::string>& ids)
    { return TextOf<EffectException>([&] { filter->AddEffect(Multi(ids), "any name"); }); };

    EXPECT_EQ(failure({"g", "s", "g"}), "Settings are not all of the same type for default impl settings");
    EXPECT_EQ(failure({"g", "x", "s"}), "There is no any implementation for x");
    EXPECT_EQ(DescribeChain(*filter), "first");
    EXPECT_EQ(failure({"s", "fails", "s"}), "a fake that fails");
    EXPECT_EQ(DescribeChain(*filter), "first s fails") << "what was made before a failure stays";
    EXPECT_THROW(filter->AddEffect(FakeSettings(SettingsMultiEffect::CLASS_ID), "x"), std::bad_cast);

    filter->ClearEffects();
    factory->log->Take();
    filter->AddEffect(Multi({"g", "g"}), "disregarded");
    filter->AddEffect(Multi({}), "disregarded");
    EXPECT_EQ(factory->log->Take(), "new g/Default new g/Default");
    filter->AddEffect(FakeSettings("s"), "named");
    EXPECT_EQ(factory->log->Take(), "new s/named");
}

TEST(FilterApplyEffectsVideo, RangesOfEffects)
{
    const SP<FakeEffectFactory> factory = MakeFactory();
    const std::string id = SettingsEffectStabilizer::CLASS_ID;
    const SP<IFilterApplyEffectsVideo> filter = MakeVideo(ScriptedVideo::Create("0 40 80"), factory, {});
    const auto range = [&]
    {
        const TimeToProgress found = filter->FindEffect("whatever")->GetTimeToProgress();
        filter->ClearEffects();
        return std::pair(found.begin, found.end);
    };
    EXPECT_FALSE(filter->FindEffect(id));
    filter->AddEffect(FakeSettings("other"), "impl");
    filter->AddEffect(FakeSettings(id), "impl");
    EXPECT_EQ(range(), std::pair(avTime{0}, 120 * ms)) << "of the whole stream";
    filter->AddEffect(Multi({"a", id}), "impl");
    EXPECT_EQ(range(), std::pair(avTime{0}, 1000 * ms));
    // The effect itself is not kept, its members are made anew.
    const SP<MultiEffectVideo> multi(new MultiEffectVideo(factory, "of the object", nullptr));
    multi->SetTimeToProgress({5, 10});
    multi->Initialise(Multi({id, "b"}));
    factory->log->Take();
    filter->AddEffect(multi);
    EXPECT_EQ(factory->log->Take(), "new " + id + "/of the object new b/of the object");
    EXPECT_EQ(DescribeChain(*filter), id + " b");
    EXPECT_EQ(range(), std::pair(avTime{5}, avTime{10}));
    EXPECT_THROW(filter->AddEffect(SP<IOneInputEffectVideo>()), std::invalid_argument);
}

TEST(FilterApplyEffects, TreesFormatsAndNames)
{
    const SP<FakeEffectFactory> factory = MakeFactory();
    const SP<IFilterApplyEffectsVideo> video = MakeVideo(ScriptedVideo::Create("0"), factory, {});
    const SP<IFilterApplyEffectsAudio> audio = FilterApplyEffectsAudio::Create(ScriptedAudio::Create("0"), factory);
    const auto describe = [](IStream& filter)
    {
        Visitors::InfoCollector names;
        Visitors::FrameTypeCollector types;
        filter.Accept(names);
        filter.Accept(types);
        return names.GetElements().front() + " in " + std::to_string(types.GetTypes().front());
    };
    EXPECT_EQ(describe(*video), "FilterApplyEffectsVideo (0) in 5");
    EXPECT_EQ(describe(*audio), "FilterApplyEffectsAudio (0) in 5");

    Core::Property gain("gain");
    gain.Add(Core::Property("value", 2.0));
    const std::vector<Core::Property> effects = {gain, Core::Property("any")};
    video->Initialize(IFilterApplyEffectsVideo::SettingsEffects2FilterSettings(effects));
    audio->Initialize(IFilterApplyEffectsAudio::SettingsEffects2FilterSettings(effects));
    EXPECT_EQ(factory->log->Take(), "new gain/Default new any/Default new gain/Default new any/Default");
    EXPECT_EQ(IFilterApplyEffectsVideo::FilterSettings2SettingsEffects(video->GetSettings()), effects);
    EXPECT_EQ(IFilterApplyEffectsAudio::FilterSettings2SettingsEffects(audio->GetSettings()), effects);
    EXPECT_EQ(describe(*video), "FilterApplyEffectsVideo (2) in 0");
    EXPECT_EQ(describe(*audio), "FilterApplyEffectsAudio (2) in 0");
    EXPECT_THROW(video->Initialize(audio->GetSettings()), FilterException);
    EXPECT_EQ(DescribeChain(*video), "gain any");

    EXPECT_EQ(video->GetFormatCodec()->GetProperties()["passed"].GetString(), "gain any");
    EXPECT_EQ(audio->GetFormatCodec()->GetProperties()["passed"].GetString(), "gain any");
}

TEST(FilterApplyEffects, StatisticsSeeksAndReleases)
{
    const SP<FakeEffectFactory> factory = MakeFactory();
    const SP<IFilterApplyEffectsVideo> video = MakeVideo(ScriptedVideo::Create("0 40"), factory, {"a"});
    const SP<IFilterApplyEffectsAudio> audio = FilterApplyEffectsAudio::Create(ScriptedAudio::Create("0 20"), factory);
    audio->AddEffect(Core::Property("b"));
    Seek(video, 40 * ms);
    Seek(audio, 20 * ms);
    EXPECT_EQ(factory->log->Take(), "new b/Default") << "effects are not told of seeks";
    video->ReleaseInternalData();
    audio->ReleaseInternalData();
    EXPECT_EQ(factory->log->Take(), "a.Release");

    EXPECT_EQ(ReadAll(video), "40 E");
    const Core::Property statistics = video->GetStatistic();
    EXPECT_EQ(statistics.GetName(), Core::StatisticsTag("FilterApplyEffectsVideo"));
    EXPECT_EQ(statistics["count"].GetInt64(), 1);
    ASSERT_EQ(statistics.size(), 4u) << "time, count, the effect, the parent";
    EXPECT_EQ((statistics.begin() + 2)->GetName(), "a statistics");
    factory->log->Take();
    video->ClearEffects();
    audio->ClearEffects();
    EXPECT_EQ(factory->log->Take(), "a.Statistic b.Statistic");
    EXPECT_EQ(DescribeChain(*video) + DescribeChain(*audio), "");
}

TEST(FilterApplyEffectsVideo, ASlowParentDoesNotBlockChanges)
{
    const SP<FakeEffectFactory> factory = MakeFactory();
    const auto source = HoldableSource<IStreamVideo>::Create(ScriptedVideo::Create("0 40"));
    const SP<IFilterApplyEffectsVideo> filter = MakeVideo(source, factory, {"a"});
    source->gate.Hold();
    std::thread reader([&] { filter->Read(); });
    source->gate.AwaitHeld();
    filter->AddEffect(Core::Property("b"), "impl");
    factory->log->Take();
    source->gate.Release();
    reader.join();
    EXPECT_EQ(factory->log->Take(), "a.Process b.Process") << "the frame passes the chain as it is when it comes";
}

TEST(FilterApplyEffects, ChainsChangeWhileTheyRun)
{
    const SP<FakeEffectFactory> factory = MakeFactory();
    const auto source = MappedVideo::InMemory(ScriptedVideo::Create(Regular(500)), FRAME_ALLOC_OGL);
    const SP<IFilterApplyEffectsVideo> video = MakeVideo(source, factory, {"cpu"});
    const SP<IFilterApplyEffectsAudio> audio =
        FilterApplyEffectsAudio::Create(ScriptedAudio::Create(Regular(500)), factory);
    std::atomic<int> running = 2;
    const auto read = [&](IStream& filter)
    {
        while (filter.ReadStream())
        {
        }
        --running;
    };
    std::thread videoReader([&] { read(*video); });
    std::thread audioReader([&] { read(*audio); });
    while (running > 0)
    {
        video->AddEffect(Multi({"cpu", "any"}), "");
        audio->AddEffect(Core::Property("x"));
        video->GetFormatCodec();
        video->GetStatistic();
        audio->GetStatistic();
        Visitors::InfoCollector names;
        video->Accept(names);
        video->ClearEffects();
        audio->ClearEffects();
        factory->log->Take();
    }
    videoReader.join();
    audioReader.join();
    EXPECT_FALSE(video->Read());
    EXPECT_FALSE(audio->Read());
}

} // namespace
} // namespace Tessor::Test
