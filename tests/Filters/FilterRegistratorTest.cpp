#include "Proc/Filters/Filters/FilterRegistrator.h"
#include "Proc/Settings/SettingsStreamMetadataUpdater.h"
#include "host/ImplNames.h"
#include "tests/Filters/RecordingRegistrator.h"
#include "tests/support/ReadAll.h"
#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;

TEST(FilterRegistrator, RegistersInOrder)
{
    RecordingRegistrator registry;
    FilterRegistrator(&registry);
    EXPECT_EQ(registry.order, (std::vector<std::string>{"Resize/Tessor",
                                                        "FrameRate/Tessor",
                                                        "Resample/Tessor",
                                                        "AudioMixer/Tessor",
                                                        "AudioFormatter/Tessor",
                                                        "CutController/Tessor",
                                                        "ApplyEffectsVideo/Tessor",
                                                        "ApplyEffectsAudio/Tessor",
                                                        "VolumeDetect/Tessor",
                                                        "LosslessDetect/Tessor",
                                                        "audio SettingsAudioGenerator/Tessor",
                                                        "audio SettingsFilterAudioVolume/Tessor",
                                                        "audio SettingsFilterResample/Tessor",
                                                        "audio SettingsFilterAudioFormatter/Tessor",
                                                        "audio SettingsStreamMetadataUpdater/Tessor",
                                                        "video SettingsDeinterlace/Tessor",
                                                        "video SettingsFilterFrameRate/Default",
                                                        "video SettingsFilterFrameRate/Adjust",
                                                        "video SettingsResizer/Tessor",
                                                        "video SettingsFilterBlurTransparentBorder/Tessor",
                                                        "video SettingsStreamMetadataUpdater/Tessor",
                                                        "raw SettingsFilterBitStream/Tessor"}));
}

TEST(FilterRegistrator, WhatWasRegisteredBuildsFilters)
{
    RecordingRegistrator registry;
    FilterRegistrator(&registry);
    const std::pair key(SettingsStreamMetadataUpdater::CLASS_ID, ImplNames::TESSOR);
    const SettingsStreamMetadataUpdater settings;
    EXPECT_EQ(ReadAll(registry.audio.at(key)(settings, ScriptedAudio::Create("0 20"), nullptr, nullptr, nullptr)),
              "0 20 E");
    EXPECT_EQ(
        ReadAll(registry.video.at(key)(settings, ScriptedVideo::Create("0 40"), nullptr, nullptr, nullptr, nullptr)),
        "0 40 E");
}

TEST(IFilterFactoryRegistrator, NarrowFormsGetTheirArgumentsOfTheWideOne)
{
    RecordingRegistrator registry;
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0");
    const SettingsStreamMetadataUpdater settings;
    int calls = 0;
    const auto checks = [&](const SP<IStreamVideo>& stream, const Settings& given) -> SP<IStreamVideoEx>
    {
        calls += stream == source && &given == &settings;
        return nullptr;
    };
    registry.RegisterFilterVideoEx("X", "default", checks);
    registry.RegisterFilterVideoEx("X", "adjust",
                                   [&](const SP<IStreamVideo>& stream, const SP<const IEffectFactory>&,
                                       const Settings& given) { return checks(stream, given); });
    registry.video.at({"X", "default"})(settings, source, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(calls, 1);
    registry.video.at({"X", "adjust"})(settings, source, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(calls, 2) << "one class under two names";
}

} // namespace
} // namespace Tessor::Test
