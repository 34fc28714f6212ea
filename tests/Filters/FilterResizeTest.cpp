#include "Proc/Filters/Filters/FilterResize.h"

#include "tests/Filters/FakeEffects.h"
#include "tests/support/ReadAll.h"

#include <gtest/gtest.h>
#include <thread>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

SettingsResizer Size(int width, int height)
{
    SettingsResizer settings;
    settings.SetCustomMode(SettingsResizer::CustomModes::Exact, {width, height});
    settings.implName = "impl";
    return settings;
}

TEST(FilterResize, MakesItsEffectOfTheSettings)
{
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0 40 80");
    const SP<IStreamVideoEx> filter = FilterResize::CreateStreamEx(source, factory, Size(64, 32));
    const auto& resize = dynamic_cast<IFilterResize&>(*filter);
    EXPECT_EQ(factory->log->Take(), "new " + IResize::CLASS_ID + "/impl for a stream");
    filter->Initialize(IFilterResize::Settings2Property(Size(16, 8)));
    factory->behaviours[IResize::CLASS_ID].failsToInitialise = true;
    EXPECT_THROW(filter->Initialize(Size(1, 1)), EffectException);
    EXPECT_TRUE(resize.GetSettings2().IsEqualTo(Size(16, 8))) << "the running effect stays";
    EXPECT_EQ(filter->GetSettings(), IFilterResize::Settings2Property(Size(16, 8)));

    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["passed"].GetString(), IResize::CLASS_ID);
    EXPECT_EQ(ReadAll(filter), "0 40 80 E");
    filter->ReleaseInternalData();
    const std::string calls = factory->log->Take();
    EXPECT_EQ(calls.substr(calls.find('.')), ".Process " + IResize::CLASS_ID + ".Process " + IResize::CLASS_ID +
                                                 ".Process " + IResize::CLASS_ID + ".Release");
    source->SetFormat(nullptr);
    EXPECT_EQ(TextOf<FilterException>([&] { filter->GetFormatCodec(); }), "Source format codec must be present");
    EXPECT_THROW(FilterResize::Create(source, nullptr), std::invalid_argument);
}

TEST(FilterResize, AChangeWaitsForTheEndOfARead)
{
    const SP<FakeEffectFactory> factory = FakeEffectFactory::Create();
    const auto source = Hooked<IStreamVideo>::Create(ScriptedVideo::Create("0 40"));
    const SP<IFilterResize> filter = FilterResize::Create(source, factory);
    source->gate.Hold();
    std::atomic<bool> changed = false;
    std::thread reader([&] { filter->Read(); });
    source->gate.AwaitHeld();
    std::thread changer(
        [&]
        {
            filter->Initialize(Size(64, 32));
            changed = true;
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(changed);
    source->gate.Release();
    reader.join();
    changer.join();
}

} // namespace
} // namespace Tessor::Test
