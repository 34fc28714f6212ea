#include "Fnd/Exception.h"
#include "Proc/Settings/SettingsFade.h"
#include "Proc/Settings/SettingsMultiEffect.h"
#include "Proc/Settings/SettingsResizer.h"
#include "Proc/StreamTemplates/IStreamVideoEx.h"
#include "effects/MultiEffect.h"
#include "ffhost/registry/Host.h"
#include "host/IAudioFormatter.h"
#include "tests/ffhost/Items.h"
#include "tests/ffhost/Streams.h"

#include <gtest/gtest.h>

namespace Tessor::Host::Tests
{

using namespace Proc;

namespace
{

SP<IStreamVideo> MakeStream()
{
    return SP<IStreamVideo>(
        new PictureList(MakeVideoFormat(PixFmt::YUV420P, 64, 48), {MakePicture(PixFmt::YUV420P, 64, 48)}));
}

TEST(RegistryTest, FiltersAreMadeByNameAndRun)
{
    const MediaHost host = MakeHost();
    const SP<const IFilterFactory> filters = host.filters;
    SettingsResizer settings;
    settings.SetCustomMode(SettingsResizer::CustomModes::Exact, Conf::FrameInfo(32, 16));
    for (const std::string& name : {ImplNames::TESSOR, ImplNames::DEFAULT, std::string()})
    {
        const SP<IStreamVideoEx> filter = filters->CreateFilterVideoEx(settings, name, MakeStream());
        EXPECT_EQ(filter->GetFormatCodec()->GetFrameInfo(), Conf::FrameInfo(32, 16));
        EXPECT_EQ(filter->Read()->GetWidth(), 32);
    }
    EXPECT_THROW(filters->CreateFilterVideoEx(settings, "OGL", nullptr), FilterException);
    EXPECT_THROW(filters->CreateFilterVideoEx(SettingsFade(), "", nullptr), FilterException);
    EXPECT_THROW(host.effects->CreateEffectVideo("Snow", "", nullptr), EffectException);
    EXPECT_THROW(host.algorithms->CreateAudioFormatter("OGL"), AlgorithmException);
}

// Sound effects need not be fed: they have tests of their own.
TEST(RegistryTest, ListedEffectsCanAllBeMadeAndBearPicturesOfAnySize)
{
    const MediaHost host = MakeHost();
    for (const RegistryEntry& entry : host.effects->List())
        for (const std::string& name : entry.implementations)
        {
            SCOPED_TRACE(entry.classId + " " + name);
            if (entry.kind != "video effect")
            {
                EXPECT_TRUE(host.effects->CreateEffectAudio(entry.classId, name, nullptr));
                continue;
            }
            const SP<IOneInputEffectVideo> effect = host.effects->CreateEffectVideo(entry.classId, name, nullptr);
            EXPECT_EQ(effect->GetSettings().GetName(), entry.classId);
            EXPECT_NO_THROW(effect->Initialize(effect->GetSettings()));
            for (const int size : {128, 37, 2})
                try
                {
                    SP<IDataVideo> frame = MakePicture(PixFmt::YUV420P, size, size);
                    effect->Process(frame);
                    ASSERT_TRUE(frame);
                    EXPECT_EQ(frame->GetPTS(), 1000000);
                }
                catch (const EffectException& e)
                {
                    EXPECT_EQ(size, 2) << Describe(e);
                }
        }
}

TEST(RegistryTest, BundlesMakeTheirMembers)
{
    const SP<IOneInputEffectVideo> bundle =
        MakeHost().effects->CreateEffectVideo(SettingsMultiEffect::CLASS_ID, "", nullptr);
    auto resizer = std::make_shared<SettingsResizer>();
    resizer->SetCustomMode(SettingsResizer::CustomModes::Exact, Conf::FrameInfo(16, 16));
    bundle->Initialise(SettingsMultiEffect({resizer, std::make_shared<SettingsFade>()}));
    bundle->SetTimeToProgress({2000000, 3000000, &TimeToProgress::Linear});
    SP<IDataVideo> frame = MakeStream()->Read();
    frame->Fill(Color(255, 255, 255, 255));
    bundle->Process(frame);
    EXPECT_EQ(frame->GetWidth(), 16);
    EXPECT_EQ(*frame->GetPlane(0).GetOffsetPtr(0, 0), 16) << "the fade has not begun";
}

} // namespace

} // namespace Tessor::Host::Tests
