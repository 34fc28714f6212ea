#include "Proc/Filters/Filters/FilterStreamMetadataUpdater.h"

#include "Proc/Filters/Filters/FilterHelpers.h"
#include "tests/support/Conformance.h"
#include "tests/support/ReadAll.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using VideoUpdater = FilterStreamMetadataUpdater<IStreamVideo, IStreamVideoEx>;
using AudioUpdater = FilterStreamMetadataUpdater<IStreamAudio, IStreamAudioEx>;

Core::Property Title(const char* title)
{
    Core::Property metadata("Metadata");
    metadata.SetChild("title", title);
    return metadata;
}

/// Settings of a class that no filter takes.
struct OtherSettings final : Settings
{
    const std::string& GetClassId() const override { return id; }
    OtherSettings* Clone() const override { return new OtherSettings; }
    const std::string id = "Other";
};

TEST(FilterStreamMetadataUpdater, Conforms)
{
    CheckConformance<IStreamVideo>("0 40 80:20 120", [](const SP<IStreamVideo>& source)
                                   { return VideoUpdater::Create(source, SettingsStreamMetadataUpdater()); });
    CheckConformance<IStreamAudio>(Regular(30, 64 / 3.0), [](const SP<IStreamAudio>& source)
                                   { return AudioUpdater::Create(source, SettingsStreamMetadataUpdater()); });
}

TEST(FilterStreamMetadataUpdater, AppliesItsMetadataToACopyOfTheFormat)
{
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0", 320, 240);
    const SP<IStreamVideoEx> filter = VideoUpdater::Create(source, SettingsStreamMetadataUpdater(Title("first")));
    const SP<Conf::IFormatCodecVideo> format = filter->GetFormatCodec();
    EXPECT_EQ(format->GetProperties()["title"].GetString(), "first");
    EXPECT_EQ(format->GetFrameInfo(), Conf::FrameInfo(320, 240));
    EXPECT_FALSE(source->GetFormatCodec()->GetProperties().ChildExists("title"));
    EXPECT_NE(filter->GetFormatCodec(), format);

    filter->Initialize(Title("second"));
    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["title"].GetString(), "second");
    filter->Initialize(SettingsStreamMetadataUpdater(Title("third")));
    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["title"].GetString(), "third");
    EXPECT_EQ(filter->GetSettings(), Title("third"));
    EXPECT_EQ(format->GetProperties()["title"].GetString(), "first");
}

TEST(FilterStreamMetadataUpdater, RefusesSettingsOfAnotherClass)
{
    const SP<IStreamVideo> source = ScriptedVideo::Create("0");
    EXPECT_THROW(VideoUpdater::Create(source, OtherSettings()), std::bad_cast);
    EXPECT_THROW(VideoUpdater::Create(source, SettingsStreamMetadataUpdater())->Initialize(OtherSettings()),
                 std::bad_cast);
    EXPECT_THROW(SettingsStreamMetadataUpdater().IsEqualTo(OtherSettings()), std::bad_cast);
    EXPECT_THROW(VideoUpdater::Create(nullptr, SettingsStreamMetadataUpdater()), std::invalid_argument);
}

TEST(FilterStreamMetadataUpdater, HidesStatisticsAndShowsItsName)
{
    const SP<IStreamVideo> filter = VideoUpdater::Create(ScriptedVideo::Create("0"), SettingsStreamMetadataUpdater());
    EXPECT_EQ(filter->GetStatistic(), Core::Property(""));
    Visitors::InfoCollector names;
    filter->Accept(names);
    EXPECT_EQ(names.GetElements(), (std::vector<std::string>{"FilterStreamMetadataUpdater", "Scripted"}));
}

TEST(Settings, BaseRefusesWhatAClassDoesNotHave)
{
    OtherSettings settings;
    EXPECT_FALSE(settings.IsEmpty());
    try
    {
        settings.IsEqualTo(settings);
        FAIL();
    }
    catch (const std::logic_error& e)
    {
        EXPECT_STREQ(e.what(), "Not implemented comparison for settings CLASS_ID=Other");
    }
    try
    {
        settings.Deserialize("");
        FAIL();
    }
    catch (const SettingsException& e)
    {
        EXPECT_EQ(Describe(e), "Not implemented fill from string for settings CLASS_ID=Other");
    }
}

TEST(FilterHelpers, RecordsAndRefusals)
{
    const std::string tag = Core::StatisticsTag("FilterCache", "StreamType", "Tessor::Proc::IStreamAudio");
    EXPECT_EQ(tag, "virtual Core::Property Tessor::Proc::FilterCache<Tessor::Proc::IStreamAudio>::GetStatistic() const "
                   "[StreamType = Tessor::Proc::IStreamAudio]");
    const Core::Property statistics = AddStatistics(ScriptedVideo::Create("0")->GetStatistic(), tag, 7, 3);
    ASSERT_EQ(statistics.size(), 2u) << "source first, one record a filter";
    EXPECT_EQ(statistics.begin()->GetName(), "Scripted");
    EXPECT_EQ(*(statistics.begin() + 1), Core::MakeStatistics(tag, 7, 3));

    EXPECT_NO_THROW(CheckClassName(TESSOR_HERE, Core::Property("X"), "X"));
    try
    {
        CheckClassName(TESSOR_HERE, Core::Property("Y"), "X");
        FAIL();
    }
    catch (const FilterException& e)
    {
        EXPECT_EQ(Describe(e), "Filter was initialized with incorrect class (Y)!");
    }
}

} // namespace
} // namespace Tessor::Test
