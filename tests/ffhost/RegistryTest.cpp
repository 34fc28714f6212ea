#include "Fnd/Exception.h"
#include "Proc/Filters/Filters/IFilterResample.h"
#include "Proc/Filters/Filters/IFilterResize.h"
#include "Proc/Settings/SettingsFade.h"
#include "Proc/Settings/SettingsFilterFrameRate.h"
#include "Proc/Settings/SettingsMultiEffect.h"
#include "effects/IResample.h"
#include "effects/IResize.h"
#include "effects/MultiEffect.h"
#include "ffhost/registry/Host.h"
#include "host/IAudioFormatter.h"
#include "media/DataVideoFF.h"
#include "tests/ffhost/Streams.h"

#include <gtest/gtest.h>

namespace Tessor::Host::Tests
{

using namespace Proc;

namespace
{

template <class E, class F>
std::string TextOf(F call)
{
    try
    {
        call();
    }
    catch (const E& e)
    {
        return Describe(e);
    }
    return "";
}

SP<IStreamVideo> MakeStream()
{
    const SP<Conf::IFormatCodecVideo> format = Conf::IFormatCodecVideo::Create();
    format->InitByPixelAspect(64, 48, 1, 1);
    const SP<IDataVideo> frame = DataVideoFF::Create(PixFmt::YUV420P, Conf::FrameInfo(64, 48), nullptr);
    frame->SetPTS(0);
    frame->SetDuration(40000);
    return SP<IStreamVideo>(new PictureList(format, {frame}));
}

SP<IStreamVideoEx> MakeNothing(const Settings&, const SP<IStreamVideo>&, const SP<const IEffectFactory>&,
                               const SP<const IFilterFactory>&, const SP<const IAlgorithmFactory>&,
                               const SP<const IFactoryDataVideo>&)
{
    return nullptr;
}

TEST(RegistryTest, FiltersAreMadeByNameAndRun)
{
    const MediaHost host = MakeHost();
    SettingsResizer settings;
    settings.SetCustomMode(SettingsResizer::CustomModes::Exact, Conf::FrameInfo(32, 16));
    for (const std::string& name : {ImplNames::TESSOR, ImplNames::DEFAULT, std::string()})
    {
        const SP<IStreamVideoEx> filter = host.filters->CreateFilterVideoEx(settings, name, MakeStream());
        EXPECT_EQ(filter->GetFormatCodec()->GetFrameInfo(), Conf::FrameInfo(32, 16));
        EXPECT_EQ(filter->Read()->GetWidth(), 32);
    }
    const SP<IStreamVideo> resize(host.filters->CreateResize(ImplNames::DEFAULT, MakeStream()));
    EXPECT_EQ(resize->Read()->GetWidth(), 64);
}

TEST(RegistryTest, WhatIsUnknownIsNamed)
{
    const MediaHost host = MakeHost();
    const SettingsFade fade;
    const SettingsResizer resizer;
    const SP<const IFilterFactory> filters = host.filters;
    EXPECT_EQ(TextOf<FilterException>([&] { filters->CreateFilterVideoEx(fade, "", nullptr); }),
              "No implementation of video filter SettingsFade");
    EXPECT_EQ(TextOf<FilterException>([&] { filters->CreateFilterVideoEx(resizer, "OGL", nullptr); }),
              "No implementation \"OGL\" of video filter SettingsResizer");
    EXPECT_EQ(TextOf<FilterException>([&] { filters->CreateResize("OGL", nullptr); }),
              "No implementation \"OGL\" of resize");
    EXPECT_EQ(TextOf<EffectException>([&] { host.effects->CreateEffectVideo("Snow", "", nullptr); }),
              "No implementation of video effect Snow");
    EXPECT_EQ(TextOf<EffectException>([&] { host.effects->CreateEffectAudio(IResample::CLASS_ID, "OGL", nullptr); }),
              "No implementation \"OGL\" of audio effect IResample");
    EXPECT_EQ(TextOf<AlgorithmException>([&] { host.algorithms->CreateAudioFormatter("OGL"); }),
              "No implementation \"OGL\" of audio algorithm IAudioFormatter");
    EXPECT_TRUE(host.effects->ListVideoImplementations("Snow").empty());
}

TEST(RegistryTest, DefaultIsOurOwnOrTheFirst)
{
    const SP<FilterRegistry> registry = FilterRegistry::Create(nullptr, nullptr, nullptr);
    int made = 0;
    const auto note = [&](int number)
    {
        return [&made, number](auto&&... arguments)
        {
            made = number;
            return MakeNothing(arguments...);
        };
    };
    const SettingsFade settings;
    const std::string classId = settings.GetClassId();
    const SP<const IFilterFactory> filters = registry;
    const auto makeDefault = [&] { filters->CreateFilterVideoEx(settings, ImplNames::DEFAULT, nullptr); };
    registry->RegisterFilterVideoEx(classId, "A", IFilterFactoryRegistrator::VideoFactory(note(1)));
    registry->RegisterFilterVideoEx(classId, "B", IFilterFactoryRegistrator::VideoFactory(note(2)));
    makeDefault();
    EXPECT_EQ(made, 1);
    registry->RegisterFilterVideoEx(classId, ImplNames::TESSOR, IFilterFactoryRegistrator::VideoFactory(note(3)));
    makeDefault();
    EXPECT_EQ(made, 3);
    registry->RegisterFilterVideoEx(classId, "B", IFilterFactoryRegistrator::VideoFactory(note(4)));
    filters->CreateFilterVideoEx(settings, "B", nullptr);
    EXPECT_EQ(made, 4);
    ASSERT_EQ(registry->List().size(), 1U);
    EXPECT_EQ(registry->List()[0].implementations, (std::vector<std::string>{"A", "B", ImplNames::TESSOR}));
}

TEST(RegistryTest, FrameRateHasItsOwnDefault)
{
    const std::vector<RegistryEntry> entries = MakeHost().List();
    const auto rate =
        std::find_if(entries.begin(), entries.end(),
                     [](const RegistryEntry& e) { return e.classId == SettingsFilterFrameRate::CLASS_ID; });
    ASSERT_NE(rate, entries.end());
    EXPECT_EQ(rate->implementations[FindImplementation<FilterException>(*rate, "", DefaultImplementation::Own)],
              SettingsFilterFrameRate::IMPL_DEFAULT);
}

TEST(RegistryTest, ListedEffectsCanAllBeMade)
{
    const MediaHost host = MakeHost();
    for (const RegistryEntry& entry : host.effects->List())
        for (const std::string& name : entry.implementations)
        {
            const bool video = entry.kind == "video effect";
            const SP<IEffect> effect = video
                                           ? SP<IEffect>(host.effects->CreateEffectVideo(entry.classId, name, nullptr))
                                           : SP<IEffect>(host.effects->CreateEffectAudio(entry.classId, name, nullptr));
            EXPECT_EQ(effect->GetSettings().GetName(), entry.classId);
            EXPECT_NO_THROW(effect->Initialize(effect->GetSettings()));
        }
    const SP<IEffect> wide = host.effects->CreateEffect(IResize::CLASS_ID, Core::Property(), MakeStream(), "", nullptr);
    EXPECT_TRUE(dynamic_cast<IResize*>(wide.get()));
}

TEST(RegistryTest, BundlesMakeTheirMembers)
{
    const SP<IOneInputEffectVideo> bundle =
        MakeHost().effects->CreateEffectVideo(SettingsMultiEffect::CLASS_ID, "", nullptr);
    auto resizer = std::make_shared<SettingsResizer>();
    resizer->SetCustomMode(SettingsResizer::CustomModes::Exact, Conf::FrameInfo(16, 16));
    bundle->Initialise(SettingsMultiEffect({resizer, std::make_shared<SettingsFade>()}));
    bundle->SetTimeToProgress({1000000, 2000000, &TimeToProgress::Linear});
    SP<IDataVideo> frame = MakeStream()->Read();
    frame->Fill(Color(255, 255, 255, 255));
    bundle->Process(frame);
    EXPECT_EQ(frame->GetWidth(), 16);
    EXPECT_EQ(*frame->GetPlane(0).GetOffsetPtr(0, 0), 16) << "the fade has not begun";
}

} // namespace

} // namespace Tessor::Host::Tests
