#include "Proc/Filters/Filters/FilterStreamMetadataUpdater.h"

#include "tests/support/ScriptedStream.h"

namespace Tessor::Test
{

using namespace Proc;

TEST(FilterStreamMetadataUpdater, AppliesItsMetadataToACopyOfTheFormat)
{
    const auto title = [](const char* text)
    {
        Core::Property metadata("Metadata");
        metadata.SetChild("title", text);
        return metadata;
    };
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0");
    const SP<IStreamVideoEx> filter = FilterStreamMetadataUpdater<IStreamVideo, IStreamVideoEx>::Create(
        source, SettingsStreamMetadataUpdater(title("first")));
    const SP<Conf::IFormatCodecVideo> format = filter->GetFormatCodec();
    filter->Initialize(title("second"));
    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["title"].GetString(), "second");
    EXPECT_EQ(format->GetProperties()["title"].GetString(), "first");
    EXPECT_FALSE(source->GetFormatCodec()->GetProperties().ChildExists("title"));
    filter->Initialize(SettingsStreamMetadataUpdater(title("third")));
    EXPECT_EQ(filter->GetSettings(), title("third"));
    EXPECT_THROW(filter->Initialize(Core::Property("title", "no node")), Core::MethodIsNotApplicable);
    EXPECT_EQ(filter->GetSettings(), title("third"));
    EXPECT_THROW((FilterStreamMetadataUpdater<IStreamVideo, IStreamVideoEx>::Create(
                     source, SettingsStreamMetadataUpdater(Core::Property("title", "no node")))),
                 Core::MethodIsNotApplicable);
    EXPECT_EQ(filter->GetStatistic(), Core::Property("")) << "it hides those of its parents";
}

} // namespace Tessor::Test
