#include "Proc/Filters/Filters/Effects/FilterApplyEffectsAudio.h"
#include "Proc/Filters/Filters/Effects/FilterApplyEffectsVideo.h"
#include "Proc/Settings/SettingsEffectStabilizer.h"
#include "Proc/Settings/SettingsFrameDownloader.h"
#include "Proc/Settings/SettingsFrameUploader.h"
#include "tests/Filters/FakeEffects.h"

#include <thread>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using Names = std::vector<std::string>;

const std::string UPLOADER = SettingsFrameUploader::CLASS_ID;
const std::string DOWNLOADER = SettingsFrameDownloader::CLASS_ID;

/// Filters whose effects "cpu", "ogl", "any" and "none" work in that memory, whose "drop" gives no item, and which can
/// bring fake frames from one memory to the other.
class FilterApplyEffects : public testing::Test
{
protected:
    FilterApplyEffects()
    {
        factory->behaviours = {{"ogl", {FRAME_ALLOC_OGL}},
                               {"any", {FRAME_ALLOC_ANY}},
                               {"none", {FRAME_ALLOC_NONE}},
                               {"drop", {.drops = [](IData&) { return true; }}},
                               {UPLOADER, {.moves = true}},
                               {DOWNLOADER, {.moves = true}},
                               {"fails", {.failsToInitialise = true}}};
    }

    template <class Filter>
    auto Make(const auto& source, const Names& effects) const
    {
        const auto filter = Filter::Create(source, factory);
        const std::vector<Core::Property> trees(effects.begin(), effects.end());
        filter->Initialize(filter->SettingsEffects2FilterSettings(trees));
        factory->log->Take();
        return filter;
    }
    auto Video(const SP<IStreamVideo>& source, const Names& effects = {}) const
    {
        return Make<FilterApplyEffectsVideo>(source, effects);
    }
    auto Audio(const std::string& script, const Names& effects = {}) const
    {
        return Make<FilterApplyEffectsAudio>(ScriptedAudio::Create(script), effects);
    }

    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
};

SettingsMultiEffect Multi(const Names& classIds)
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

TEST_F(FilterApplyEffects, BringFramesIntoTheMemoryOfEach)
{
    const std::string unsupported = "!(Unsupported frame allocators set)";
    const std::string up = "new " + UPLOADER + "/OGL " + UPLOADER + ".Process ";
    const std::string down = "new " + DOWNLOADER + "/OGL " + DOWNLOADER + ".Process ";
    // memory of frames, effects, what is read, what is called for the first frame
    const std::tuple<int, Names, std::string, std::string> rows[] = {
        {0, {"cpu", "cpu"}, "0", "cpu.Process cpu.Process"},
        {1, {"any", "ogl"}, "0", "any.Process ogl.Process"},
        {0, {"cpu", "ogl", "any", "cpu"}, "0", "cpu.Process " + up + "ogl.Process any.Process " + down + "cpu.Process"},
        {2, {"cpu"}, unsupported, ""},
        {0, {"none"}, unsupported, ""},
    };
    for (const auto& [frame, effects, read, calls] : rows)
    {
        SCOPED_TRACE(calls);
        const SP<ScriptedVideo> source = ScriptedVideo::Create("0x 40x"); // fakes
        source->memory = static_cast<FrameAllocType>(frame);
        const SP<IFilterApplyEffectsVideo> filter = Video(source, effects);
        EXPECT_EQ(ReadSome(filter, 1), read);
        EXPECT_EQ(factory->log->Take(), calls);
        ReadSome(filter, 1);
        EXPECT_EQ(factory->log->Take().find("new"), std::string::npos) << "converters are kept";
    }
}

TEST_F(FilterApplyEffects, HandNullOnAndDoNotCountIt)
{
    const SP<IFilterApplyEffectsVideo> video = Video(ScriptedVideo::Create("0 40"), {"cpu", "drop", "ogl"});
    EXPECT_FALSE(video->Read());
    EXPECT_EQ(factory->log->Take(), "cpu.Process drop.Process ogl.Process(null)");
    EXPECT_EQ(video->GetStatistic()["count"].GetInt64(), 0);
}

TEST_F(FilterApplyEffects, MakeTheMembersOfMultiSettings)
{
    factory->implementations = {{"g", {ImplNames::OGL, "other"}}, {"s", {"other", ImplNames::OGL}}, {"x", {}}};
    const SP<IFilterApplyEffectsVideo> filter = Video(ScriptedVideo::Create("0 40"), {"first"});
    const auto failure = [&](const Names& ids)
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

TEST_F(FilterApplyEffects, GiveRangesToEffects)
{
    const std::string id = SettingsEffectStabilizer::CLASS_ID;
    const SP<IFilterApplyEffectsVideo> filter = Video(ScriptedVideo::Create("0 40 80"));
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
    // the effect itself is not kept, its members are made anew
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

TEST_F(FilterApplyEffects, TreesFormatsAndSeeks)
{
    const std::vector<Core::Property> effects = {Core::Property("gain"), Core::Property("any")};
    const SP<IFilterApplyEffectsVideo> video = Video(ScriptedVideo::Create("0 40"), {"gain", "any"});
    const SP<IFilterApplyEffectsAudio> audio = Audio("0 20", {"gain", "any"});
    EXPECT_EQ(IFilterApplyEffectsVideo::FilterSettings2SettingsEffects(video->GetSettings()), effects);
    EXPECT_EQ(IFilterApplyEffectsAudio::FilterSettings2SettingsEffects(audio->GetSettings()), effects);
    EXPECT_THROW(video->Initialize(audio->GetSettings()), FilterException);
    EXPECT_EQ(DescribeChain(*video), "gain any");
    EXPECT_EQ(video->GetFormatCodec()->GetProperties()["passed"].GetString(), "gain any");
    EXPECT_EQ(audio->GetFormatCodec()->GetProperties()["passed"].GetString(), "gain any");

    Seek(video, 40 * ms);
    Seek(audio, 20 * ms);
    EXPECT_EQ(factory->log->Take(), "") << "effects are not told of seeks";
    video->ReleaseInternalData();
    audio->ReleaseInternalData();
    EXPECT_EQ(factory->log->Take(), "gain.Release any.Release") << "nor those of audio to let go";
    EXPECT_EQ(ReadAll(video), "40 E");
}

TEST_F(FilterApplyEffects, AnEffectMayEditTheChainThatItRunsIn)
{
    std::function<void()> edit;
    factory->behaviours["editor"] = {.drops = [&](IData&) { return edit(), false; }};
    const SP<IFilterApplyEffectsVideo> video = Video(ScriptedVideo::Create("0 40"), {"editor", "last"});
    edit = [&]
    {
        video->ClearEffects();
        video->AddEffect(Core::Property("new"), "impl");
    };
    EXPECT_EQ(ReadSome(video, 1), "0");
    EXPECT_EQ(factory->log->Take(), "editor.Process new new/impl last.Process");
    EXPECT_EQ(DescribeChain(*video), "new");
    const SP<IFilterApplyEffectsAudio> audio = Audio("0 40", {"editor", "last"});
    edit = [&] { audio->ClearEffects(); };
    EXPECT_EQ(ReadSome(audio, 1), "0");
    EXPECT_EQ(factory->log->Take(), "editor.Process last.Process");
}

TEST_F(FilterApplyEffects, ASlowParentDoesNotBlockChanges)
{
    const auto source = Hooked<IStreamVideo>::Create(ScriptedVideo::Create("0 40"));
    const SP<IFilterApplyEffectsVideo> filter = Video(source, {"a"});
    source->gate.Hold();
    std::thread reader([&] { filter->Read(); });
    source->gate.AwaitHeld();
    filter->AddEffect(Core::Property("b"), "impl");
    factory->log->Take();
    source->gate.Release();
    reader.join();
    EXPECT_EQ(factory->log->Take(), "a.Process b.Process") << "the frame passes the chain as it is when it comes";
}

TEST_F(FilterApplyEffects, ChainsChangeWhileTheyRun)
{
    const SP<ScriptedVideo> source = ScriptedVideo::Create(Regular(500));
    source->memory = FRAME_ALLOC_OGL;
    const SP<IFilterApplyEffectsVideo> video = Video(source, {"cpu"});
    std::atomic<bool> running = true;
    std::thread reader(
        [&]
        {
            while (video->Read())
            {
            }
            running = false;
        });
    while (running)
    {
        video->AddEffect(Multi({"cpu", "any"}), "");
        video->GetFormatCodec();
        video->GetStatistic();
        Visitors::InfoCollector names;
        video->Accept(names);
        video->ClearEffects();
        factory->log->Take();
    }
    reader.join();
    EXPECT_FALSE(video->Read());
}

} // namespace
} // namespace Tessor::Test
