#include "Proc/Filters/Filters/Audio/FilterAudioFormatter.h"
#include "Proc/Filters/Filters/Audio/FilterAudioGenerator.h"
#include "Proc/Filters/Filters/Audio/FilterAudioVolume.h"
#include "Proc/Filters/Filters/Audio/FilterResample.h"
#include "Proc/Filters/Filters/Cutting/FilterBitStream.h"
#include "Proc/Filters/Filters/Effects/FilterApplyEffectsAudio.h"
#include "Proc/Filters/Filters/Effects/FilterApplyEffectsVideo.h"
#include "Proc/Filters/Filters/FilterStreamMetadataUpdater.h"
#include "Proc/Filters/Filters/Proof/FilterLosslessDetect.h"
#include "Proc/Filters/Filters/Video/FilterBlurTransparentBorder.h"
#include "Proc/Filters/Filters/Video/FilterDeinterlace.h"
#include "Proc/Filters/Filters/Video/FilterFrameRate.h"
#include "Proc/Filters/Filters/Video/FilterResize.h"
#include "Proc/Settings/SettingsFilterAudioFormatter.h"
#include "ffhost/registry/Host.h"
#include "tests/Filters/FakeEffects.h"
#include "tests/support/Decorators.h"
#include "tests/support/ReadAll.h"

#include <gtest/gtest.h>
#include <random>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

template <class Kind>
struct Filter
{
    std::string name; ///< as visitors see it
    SP<IStream> (*make)(const SP<Kind>& parent);
    const char* refusal = nullptr; ///< of a tree that is not its own
};

const char* const WRONG_CLASS = "Filter was initialized with incorrect class (X)!";

template <class Kind>
using StreamEx =
    std::conditional_t<std::is_same_v<Kind, IStreamVideo>, IStreamVideoEx,
                       std::conditional_t<std::is_same_v<Kind, IStreamAudio>, IStreamAudioEx, IStreamRawEx>>;

/// What every filter must keep to, however it is used: random reads, seeks, visits, terminations and failures of the
/// parent, against what one reading from start to end gives. It must deliver the same items at the same times however
/// it was reached: a seek leads to the item that holds the target (packets: to the last key frame at or before it).
template <class Kind>
class RandomUse
{
public:
    RandomUse(const Filter<Kind>& tested, const SP<ScriptedStream<Kind>>& script, unsigned seed)
        : random(seed), source(script), hook(Hooked<Kind>::Create(script)), name(tested.name), filter(tested.make(hook))
    {
        for (SP<IData> item; (item = filter->ReadStream());)
            expected.push_back(DescribeItem(*item));
        SeekTo(0);
    }

    void Run()
    {
        for (int i = 0; i < 200 && !testing::Test::HasFailure(); ++i)
            Step(random() % 16);
    }

private:
    void Step(unsigned choice)
    {
        if (choice == 3)
            filter->RequestSeek(RandomTime(), nullptr); // and another one before it is done
        if (choice == 4)
            filter->ReleaseInternalData();
        if (choice < 5)
            SeekTo(RandomTime());
        else if (choice == 5)
            CheckPosition();
        else if (choice == 6)
            CheckVisit();
        else if (choice == 7)
            CheckTermination();
        else if (choice == 8)
            CheckFailure();
        else
            CheckRead();
    }

    avTime RandomTime()
    {
        const avTime end = AddTime(expected.back().pts, expected.back().duration);
        return static_cast<avTime>(random() % static_cast<unsigned>(end + 100 * ms + 1));
    }

    void SeekTo(avTime target)
    {
        Seek(filter, target);
        EXPECT_TRUE(filter->GetSeekResult());
        EXPECT_FALSE(filter->IsTerminated());
        next = FindPlace(target);
        afterSeek = true;
    }

    size_t FindPlace(avTime target) const
    {
        constexpr bool packets = std::is_same_v<Kind, IStreamRaw>;
        size_t place = 0;
        for (size_t i = 0; i < expected.size(); ++i)
            if (packets && expected[i].key && expected[i].pts <= target)
                place = i;
            else if (!packets && AddTime(expected[i].pts, expected[i].duration) <= target)
                place = i + 1;
        return place;
    }

    void CheckRead()
    {
        const SP<IData> item = filter->ReadStream();
        ASSERT_EQ(item != nullptr, next < expected.size()) << "the end stays the end";
        if (!item)
            return;
        EXPECT_EQ(PrintScript({DescribeItem(*item)}, true), PrintScript({expected[next]}, true));
        EXPECT_EQ(filter->GetPosition(), AddTime(item->GetPTS(), item->GetDuration()));
        ++next;
        afterSeek = false;
    }

    void CheckPosition()
    {
        const avTime start = next < expected.size() ? expected[next].pts : NoTime;
        EXPECT_EQ(filter->GetPosition(),
                  afterSeek ? start : AddTime(expected[next - 1].pts, expected[next - 1].duration));
    }

    void CheckVisit()
    {
        Visitors::InfoCollector names;
        filter->Accept(names);
        EXPECT_EQ(names.GetElements().front(), name);
        EXPECT_EQ(names.GetElements().back(), "Scripted") << "the walk reaches the source";
        EXPECT_EQ(filter->GetStatistic(), filter->GetStatistic()) << "asking counts for nothing";
    }

    void CheckTermination()
    {
        filter->Terminate();
        EXPECT_TRUE(filter->IsTerminated() && source->IsTerminated());
        filter->ReadStream(); // an item or the end, as the filter likes
        SeekTo(RandomTime());
        EXPECT_FALSE(source->IsTerminated());
    }

    /// The parent fails in one of the next reads; the filter passes that on, survives another read, and is right again
    /// after a seek.
    void CheckFailure()
    {
        SeekTo(RandomTime());
        hook->beforeRead = [left = 1 + random() % 3]() mutable
        {
            if (left > 0 && --left == 0)
                Throw<FilterException>(TESSOR_HERE, "scripted failure");
        };
        ReadSome(filter, 5);
        hook->beforeRead = [] {};
        SeekTo(RandomTime());
    }

    std::mt19937 random;
    const SP<ScriptedStream<Kind>> source;
    const SP<Hooked<Kind>> hook;
    const std::string name;
    const SP<IStream> filter;
    Script expected;       // all items, as one reading from start to end gives them
    size_t next = 0;       // index of the item that the next read must give
    bool afterSeek = true; // nothing was read since
};

template <class Kind>
void CheckFilters(const std::vector<Filter<Kind>>& filters, const std::string& script)
{
    using Source = std::conditional_t<std::is_same_v<Kind, IStreamRaw>, ScriptedRaw, ScriptedStream<Kind>>;
    for (const Filter<Kind>& filter : filters)
    {
        SCOPED_TRACE(filter.name);
        for (unsigned seed = 1; seed <= 20 && !testing::Test::HasFailure(); ++seed)
        {
            SCOPED_TRACE(seed);
            RandomUse<Kind>(filter, Source::Create(script), seed).Run();
        }
        EXPECT_THROW(filter.make(nullptr), std::invalid_argument);
        const SP<IStream> made = filter.make(Source::Create(script));
        if (const auto ex = dynamic_cast<StreamEx<Kind>*>(made.get()))
        {
            EXPECT_THROW(ex->Initialize(FakeSettings("Other")), std::bad_cast);
        }
        if (filter.refusal)
        {
            EXPECT_EQ(TextOf<FilterException>([&] { made->Initialize(Core::Property("X")); }), filter.refusal);
        }
    }
}

/// Seeks to the times of a grid of 20 ms only: within a slot the first result is shorter.
SP<IStream> MakeFrameRate(const SP<IStreamVideo>& parent)
{
    const auto grid = Hooked<IStreamVideo>::Create(FilterFrameRate::CreateEx(parent, SettingsFilterFrameRate({50, 1})));
    grid->seekTo = [](avTime target) { return target - target % (20 * ms); };
    return grid;
}

SP<IStream> MakeApplyEffects(const SP<IStreamVideo>& parent)
{
    const auto filter = FilterApplyEffectsVideo::Create(parent, FakeEffectFactory::Create());
    filter->AddEffect(Core::Property("a"), "");
    filter->AddEffect(Core::Property("b"), "");
    return filter;
}

SettingsFilterAudioVolume Loud()
{
    SettingsFilterAudioVolume settings;
    settings.volume = 1.5;
    return settings;
}

SettingsFilterAudioFormatter Cut20()
{
    SettingsFilterAudioFormatter settings;
    settings.packetDuration = 20 * ms;
    return settings;
}

template <class Kind>
SP<IStream> MakeUpdater(const SP<Kind>& parent)
{
    return FilterStreamMetadataUpdater<Kind, StreamEx<Kind>>::Create(parent, SettingsStreamMetadataUpdater());
}

template <int form>
SP<IStream> MakeBitStream(const SP<IStreamRaw>& parent)
{
    return FilterBitStream::Create(parent,
                                   SettingsFilterBitStream(static_cast<SettingsFilterBitStream::StreamFormat>(form)));
}

using S = SP<IStream>;
using Border = SettingsFilterBlurTransparentBorder;

const std::vector<Filter<IStreamVideo>> VIDEO = {
    {"FilterResize", [](const auto& s) -> S { return FilterResize::Create(s, FakeEffectFactory::Create()); }},
    {"FilterDeinterlace",
     [](const auto& s) -> S
     { return FilterDeinterlace::Create(s, FakeEffectFactory::Create(), SettingsDeinterlace()); }},
    {"FilterBlurTransparentBorder",
     [](const auto& s) -> S { return FilterBlurTransparentBorder::Create(s, FakeEffectFactory::Create(), Border()); },
     "Method not implemented"},
    {"Hooked", MakeFrameRate, WRONG_CLASS},
    {"FilterApplyEffectsVideo (2)", MakeApplyEffects, WRONG_CLASS},
    {"FilterStreamMetadataUpdater", MakeUpdater<IStreamVideo>},
};

const std::vector<Filter<IStreamAudio>> AUDIO = {
    {"FilterAudioVolume", [](const auto& s) -> S { return FilterAudioVolume::Create(s, nullptr, Loud()); }},
    {"FilterResample",
     [](const auto& s) -> S
     { return FilterResample::CreateStreamEx(s, Host::MakeHost().effects, SettingsFilterResample()); },
     WRONG_CLASS},
    {"FilterAudioFormatter",
     [](const auto& s) -> S { return FilterAudioFormatter::CreateStreamEx(s, Host::MakeHost().algorithms, Cut20()); },
     WRONG_CLASS},
    {"FilterApplyEffectsAudio (0)",
     [](const auto& s) -> S { return FilterApplyEffectsAudio::Create(s, FakeEffectFactory::Create()); }},
    {"FilterStreamMetadataUpdater", MakeUpdater<IStreamAudio>},
};

const std::vector<Filter<IStreamRaw>> RAW = {
    {"FilterBitStream", MakeBitStream<0>, "Deprecated method"}, // to Annex B; without a header there are no lengths
    {"FilterBitStream", MakeBitStream<2>},                      // to raw AAC
    {"FilterBitStream", MakeBitStream<4>},                      // as it is
    {"FilterLosslessDetect",
     [](const auto& s) -> S { return FilterLosslessDetect::Create(s, SettingsLosslessDetect()); }},
};

TEST(Filters, DeliverTheSameHoweverTheyAreUsedAndRefuseWhatIsNotTheirs)
{
    CheckFilters(VIDEO, "0 40 80:20 100");
    CheckFilters(VIDEO, "0i 40i 80:20i 100i");
    CheckFilters(AUDIO, Regular(30, 20));
    CheckFilters(RAW, "0K 40 80 120K 160");
    EXPECT_THROW(FilterAudioGenerator::Create(FakeSettings("Other")), std::bad_cast);
}

TEST(Settings, BaseRefusesWhatAClassDoesNotHave)
{
    FakeSettings settings("Other");
    EXPECT_EQ(TextOf<std::logic_error>([&] { settings.IsEqualTo(settings); }),
              "Not implemented comparison for settings CLASS_ID=Other");
    EXPECT_EQ(TextOf<SettingsException>([&] { settings.Deserialize(""); }),
              "Not implemented fill from string for settings CLASS_ID=Other");
}

} // namespace
} // namespace Tessor::Test
