#include "Proc/Filters/Filters/Audio/IFilterAudioFormatter.h"
#include "Proc/Filters/Filters/Audio/IFilterAudioMixer.h"
#include "Proc/Filters/Filters/Audio/IFilterResample.h"
#include "Proc/Filters/Filters/Audio/IFilterVolumeDetect.h"
#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsAudio.h"
#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsVideo.h"
#include "Proc/Filters/Filters/FilterRegistrator.h"
#include "Proc/Filters/Filters/Video/IFilterFrameRate.h"
#include "Proc/Filters/Filters/Video/IFilterResize.h"
#include "Proc/Settings/SettingsAVFilter.h"
#include "Proc/Settings/SettingsAudioGenerator.h"
#include "Proc/Settings/SettingsDeinterlace.h"
#include "Proc/Settings/SettingsFilterAudioFormatter.h"
#include "Proc/Settings/SettingsFilterAudioVolume.h"
#include "Proc/Settings/SettingsFilterBitStream.h"
#include "Proc/Settings/SettingsFilterBlurTransparentBorder.h"
#include "Proc/Settings/SettingsFilterFrameRate.h"
#include "Proc/Settings/SettingsFilterResample.h"
#include "Proc/Settings/SettingsLosslessDetect.h"
#include "Proc/Settings/SettingsResizer.h"
#include "Proc/Settings/SettingsStreamMetadataUpdater.h"
#include "ffhost/registry/Host.h"
#include "tests/Filters/CutTestTools.h"
#include "tests/Filters/FakeEffects.h"
#include "tests/support/Media.h"

#include <random>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

using S = SP<IStream>;

template <class Kind>
using Maker = std::function<S(const SP<Kind>& parent)>;

template <class Kind>
struct Filter
{
    std::string name; ///< as visitors see it
    Maker<Kind> make;
    const char* refusal = nullptr; ///< of a tree that is not its own
    bool tellsTarget = false;      ///< its position after a seek is the target, whatever will come
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
        : random(seed), source(script), hook(Hooked<Kind>::Create(script)), tested(tested), filter(tested.make(hook))
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
        sought = target;
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
        const avTime start = tested.tellsTarget ? sought : next < expected.size() ? expected[next].pts : NoTime;
        EXPECT_EQ(filter->GetPosition(),
                  afterSeek ? start : AddTime(expected[next - 1].pts, expected[next - 1].duration))
            << "item " << next << ", sought " << sought;
    }

    void CheckVisit()
    {
        Visitors::InfoCollector names;
        filter->Accept(names);
        EXPECT_EQ(names.GetElements().front(), tested.name);
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
    const Filter<Kind>& tested;
    const SP<IStream> filter;
    Script expected;       // all items, as one reading from start to end gives them
    size_t next = 0;       // index of the item that the next read must give
    avTime sought = 0;     // the target of the last seek
    bool afterSeek = true; // nothing was read since
};

template <class Kind>
void CheckFilter(const Filter<Kind>& filter, const std::string& script)
{
    using Source = std::conditional_t<std::is_same_v<Kind, IStreamRaw>, ScriptedRaw, ScriptedStream<Kind>>;
    for (unsigned seed = 1; seed <= 20 && !testing::Test::HasFailure(); ++seed)
    {
        SCOPED_TRACE(filter.name + ", seed " + std::to_string(seed));
        RandomUse<Kind>(filter, Source::Create(script), seed).Run();
    }
    EXPECT_THROW(filter.make(nullptr), std::invalid_argument);
    const S made = filter.make(Source::Create(script));
    if (const auto ex = dynamic_cast<StreamEx<Kind>*>(made.get()))
    {
        EXPECT_THROW(ex->Initialize(FakeSettings("Other")), std::bad_cast);
    }
    if (filter.refusal)
    {
        EXPECT_EQ(TextOf<FilterException>([&] { made->Initialize(Core::Property("X")); }), filter.refusal);
    }
}

using Trial = std::function<void()>;

template <class Kind>
Trial On(const std::string& name, const Maker<Kind>& make, const char* refusal = nullptr)
{
    std::vector<std::string> scripts{"0 40 80:20 100", "0i 40i 80:20i 100i"};
    if constexpr (std::is_same_v<Kind, IStreamAudio>)
        scripts = {Regular(30, 20)};
    if constexpr (std::is_same_v<Kind, IStreamRaw>)
        scripts = {"0K 40 80 120K 160"};
    return [=]
    {
        for (const std::string& script : scripts)
            CheckFilter<Kind>({name, make, refusal}, script);
    };
}

/// The registry as the library fills it, over effects of pictures that do nothing and the host's engines of sound.
SP<Host::FilterRegistry> MakeRegistry(const SP<const IEffectFactory>& effects)
{
    const auto registry = Host::FilterRegistry::Create(effects, Host::MakeHost().algorithms, nullptr);
    FilterRegistrator(registry.get());
    return registry;
}

template <class Kind>
const IFilterFactory& RegistryOf()
{
    static const auto pictures = MakeRegistry(FakeEffectFactory::Create()),
                      sounds = MakeRegistry(Host::MakeHost().effects);
    return std::is_same_v<Kind, IStreamVideo> ? *pictures : *sounds;
}

/// Filters of a slot of their own.
template <class Kind, class Result>
Maker<Kind> Typed(SP<Result> (IFilterFactory::*create)(const std::string&, const SP<Kind>&) const)
{
    return [create](const SP<Kind>& parent) -> S { return (RegistryOf<Kind>().*create)("", parent); };
}

/// Filters that are made by their settings.
template <class Kind, class Result, class TypedSettings>
Maker<Kind> Wide(SP<Result> (IFilterFactory::*create)(const Settings&, const std::string&, const SP<Kind>&) const,
                 const TypedSettings& settings, const std::string& implementation = "")
{
    return [=](const SP<Kind>& parent) -> S { return (RegistryOf<Kind>().*create)(settings, implementation, parent); };
}

constexpr auto WIDE_AUDIO = &IFilterFactory::CreateFilterAudioEx;
constexpr auto WIDE_VIDEO = &IFilterFactory::CreateFilterVideoEx;

/// The host's own filter.
template <class Kind, class Result>
Maker<Kind> Chain(SP<Result> (IFilterFactory::*create)(const Settings&, const std::string&, const SP<Kind>&) const,
                  const std::string& graph)
{
    static const auto host = Host::MakeHost();
    return [=](const SP<Kind>& parent) -> S { return (*host.filters.*create)(SettingsAVFilter(graph), "", parent); };
}

template <class Kind>
Maker<Kind> Cut(const Ranges& kept)
{
    return [kept](const SP<Kind>& parent) -> S
    {
        const auto controller = RegistryOf<Kind>().CreateCutController("", Keep(kept), FakeCodecs::Create());
        const S cut =
            controller->AddStream(parent ? parent : throw std::invalid_argument("a controller takes no null"));
        Seek(cut, 0); // back from where the search for an encoder ended
        return cut;
    };
}

/// Packets that a cut has finished come after a seek all the same: they are of the group before it, and are let go.
S DropFinished(const S& cut)
{
    const auto raw = boost::dynamic_pointer_cast<IStreamRaw>(cut);
    const auto entered = Hooked<IStreamRaw>::Create(raw);
    const auto sought = std::make_shared<bool>(false);
    entered->seekTo = [sought](avTime target) { return *sought = true, target; };
    entered->map = [raw, sought](SP<IDataPacket> packet)
    {
        while (packet && *sought && !packet->IsKeyFrame())
            packet = raw->Read();
        *sought = false;
        return packet;
    };
    return entered;
}

/// How much is kept of packets, and whether it is encoded anew, is held against a model in RandomCutTest.
void CheckCutStreams()
{
    On("FilterCutControllerStreamImpl", Cut<IStreamVideo>({{20, 60}, {90, 140}}))();
    On("FilterCutControllerStreamImpl", Cut<IStreamAudio>({{0, 110}, {200, 410}, {500, 600}}))();
    const Ranges groups{{0, 120}, {240, 800}};
    CheckFilter<IStreamRaw>({"FilterCutControllerStreamRawImpl", Cut<IStreamRaw>(groups)}, Regular(20, 40, 1));
    const Maker<IStreamRaw> drop = [make = Cut<IStreamRaw>(groups)](auto& parent)
    { return DropFinished(make(parent)); };
    CheckFilter<IStreamRaw>({"Hooked", drop}, Regular(20, 40, 3));
}

S MakeMixer(const SP<IStreamAudio>& parent)
{
    const auto mixer = RegistryOf<IStreamAudio>().CreateAudioMixer("");
    mixer->AddStream(parent ? parent : throw std::invalid_argument("its own refusal comes later"), 150);
    return mixer;
}

void CheckMixer() // over blocks of its own length
{
    CheckFilter<IStreamAudio>({"FilterAudioMixer", MakeMixer, nullptr, true}, Regular(10, 100));
}

S MakeFormatter(const SP<IStreamAudio>& parent)
{
    const auto filter = RegistryOf<IStreamAudio>().CreateAudioFormatter("", parent);
    filter->SetPacketDuration(20 * ms);
    return filter;
}

S MakeApplyEffects(const SP<IStreamVideo>& parent)
{
    const auto filter = RegistryOf<IStreamVideo>().CreateApplyEffectsVideo("", parent);
    filter->AddEffect(Core::Property("a"), "");
    filter->AddEffect(Core::Property("b"), "");
    return filter;
}

S MakeLosslessDetect(const SP<IStreamRaw>& parent)
{
    return RegistryOf<IStreamRaw>().CreateLosslessDetect("", parent, SettingsLosslessDetect());
}

void CheckVolumeDetect()
{
    const auto detect = RegistryOf<IStreamAudio>().CreateVolumeDetect("");
    detect->Process(ScriptedAudio::Create("0=3000 20=32767"));
    EXPECT_EQ(detect->GetPeakValue(), 1.0);
}

void CheckGenerator()
{
    SettingsAudioGenerator settings;
    settings.duration = 100 * ms;
    settings.samplesPerBlock = 882;
    const auto source = RegistryOf<IStreamAudio>().CreateFilterAudioEx(settings, "", nullptr);
    Seek(source, 40 * ms);
    EXPECT_EQ(ReadAll(source), "40 60 80 E");
    EXPECT_THROW(source->Initialize(FakeSettings("Other")), std::bad_cast);
}

/// Seeks to the times of a grid of 20 ms only: within a slot the first result is shorter.
Maker<IStreamVideo> OnGrid(const Maker<IStreamVideo>& make)
{
    return [make](const SP<IStreamVideo>& parent) -> S
    {
        const auto filter = boost::dynamic_pointer_cast<IFilterFrameRate>(make(parent));
        filter->Initialize(IFilterFrameRate::MakeSettings({50, 1}));
        const auto grid = Hooked<IStreamVideo>::Create(filter);
        grid->seekTo = [](avTime target) { return target - target % (20 * ms); };
        return grid;
    };
}

/// A frame waits for its successor, also across a seek: that is all its own.
void CheckAdjust()
{
    const SettingsFilterFrameRate rate({25, 1});
    const auto adjust = Wide(WIDE_VIDEO, rate, rate.IMPL_ADJUST);
    EXPECT_EQ(ReadAll(*adjust(ScriptedVideo::Create("0 10 80"))), "0 20.4 80:70 E");
    EXPECT_THROW(adjust(nullptr), std::invalid_argument);
}

void CheckBitStream()
{
    const char* refusal = "Deprecated method";
    for (const int form : {0, 2, 4}) // to Annex B, where without a header there are no lengths; to raw AAC; as it is
    {
        const SettingsFilterBitStream settings(static_cast<SettingsFilterBitStream::StreamFormat>(form));
        On("FilterBitStream", Wide(&IFilterFactory::CreateFilterRawEx, settings), std::exchange(refusal, nullptr))();
    }
}

/// Everything that the library and its host register, in that order, and how each is tried.
std::vector<std::pair<std::string, Trial>> Trials()
{
    using F = IFilterFactory;
    SettingsFilterAudioVolume loud;
    loud.volume = 1.5;
    SettingsFilterAudioFormatter cut20;
    cut20.packetDuration = 20 * ms;
    const SettingsStreamMetadataUpdater update;
    return {
        {"resize", On("FilterResize", Typed(&F::CreateResize))},
        {"frame rate", On("Hooked", OnGrid(Typed(&F::CreateFrameRate)), WRONG_CLASS)},
        {"resample", On("FilterResample", Typed(&F::CreateResample), WRONG_CLASS)},
        {"audio mixer", CheckMixer},
        {"audio formatter", On<IStreamAudio>("FilterAudioFormatter", MakeFormatter, WRONG_CLASS)},
        {"cut controller", CheckCutStreams},
        {"apply effects video", On<IStreamVideo>("FilterApplyEffectsVideo (2)", MakeApplyEffects, WRONG_CLASS)},
        {"apply effects audio", On("FilterApplyEffectsAudio (0)", Typed(&F::CreateApplyEffectsAudio))},
        {"volume detect", CheckVolumeDetect},
        {"lossless detect", On<IStreamRaw>("FilterLosslessDetect", MakeLosslessDetect)},
        {"audio filter SettingsAudioGenerator", CheckGenerator},
        {"audio filter SettingsFilterAudioVolume", On("FilterAudioVolume", Wide(WIDE_AUDIO, loud))},
        {"audio filter SettingsFilterResample",
         On("FilterResample", Wide(WIDE_AUDIO, SettingsFilterResample()), WRONG_CLASS)},
        {"audio filter SettingsFilterAudioFormatter", On("FilterAudioFormatter", Wide(WIDE_AUDIO, cut20), WRONG_CLASS)},
        {"audio filter SettingsStreamMetadataUpdater", On("FilterStreamMetadataUpdater", Wide(WIDE_AUDIO, update))},
        {"video filter SettingsDeinterlace", On("FilterDeinterlace", Wide(WIDE_VIDEO, SettingsDeinterlace()))},
        {"video filter SettingsFilterFrameRate",
         On("Hooked", OnGrid(Wide(WIDE_VIDEO, SettingsFilterFrameRate({50, 1}))), WRONG_CLASS)},
        {"video filter SettingsFilterFrameRate Adjust", CheckAdjust},
        {"video filter SettingsResizer", On("FilterResize", Wide(WIDE_VIDEO, SettingsResizer()))},
        {"video filter SettingsFilterBlurTransparentBorder",
         On("FilterBlurTransparentBorder", Wide(WIDE_VIDEO, SettingsFilterBlurTransparentBorder()),
            "Method not implemented")},
        {"video filter SettingsStreamMetadataUpdater", On("FilterStreamMetadataUpdater", Wide(WIDE_VIDEO, update))},
        {"raw filter SettingsFilterBitStream", CheckBitStream},
        {"video filter SettingsAVFilter", On("GraphStream", Chain(WIDE_VIDEO, "null"))},
        {"audio filter SettingsAVFilter", On("GraphStream", Chain(WIDE_AUDIO, "anull"))},
    };
}

TEST(Filters, AreAllRegisteredInOrderAndTried)
{
    std::vector<std::string> registered, tried;
    for (const Host::RegistryEntry& entry : Host::MakeHost().filters->List())
        for (size_t i = 0; i < entry.implementations.size(); ++i)
            registered.push_back(entry.kind + (entry.classId.empty() ? "" : " ") + entry.classId +
                                 (i ? " " + entry.implementations[i] : ""));
    for (const auto& [name, trial] : Trials())
        tried.push_back(name);
    EXPECT_EQ(registered, tried) << "a filter that is registered needs a row, in its place";
}

using Registered = testing::TestWithParam<std::pair<std::string, Trial>>;

TEST_P(Registered, DeliversTheSameHoweverItIsUsedAndRefusesWhatIsNotItsOwn)
{
    GetParam().second();
}

INSTANTIATE_TEST_SUITE_P(, Registered, testing::ValuesIn(Trials()),
                         [](const auto& info) { return ToTestName(info.param.first); });

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
