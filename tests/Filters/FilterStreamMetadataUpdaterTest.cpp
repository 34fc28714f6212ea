#include "Proc/Filters/Filters/FilterStreamMetadataUpdater.h"

#include "tests/support/ScriptedStream.h"

#include <gtest/gtest.h>

namespace Tessor::Test
{
namespace
{

using namespace Proc;
using VideoUpdater = FilterStreamMetadataUpdater<IStreamVideo, IStreamVideoEx>;

Core::Property Title(const char* title)
{
    Core::Property metadata("Metadata");
    metadata.SetChild("title", title);
    return metadata;
}

TEST(FilterStreamMetadataUpdater, AppliesItsMetadataToACopyOfTheFormat)
{
    const SP<ScriptedVideo> source = ScriptedVideo::Create("0");
    const SP<IStreamVideoEx> filter = VideoUpdater::Create(source, SettingsStreamMetadataUpdater(Title("first")));
    const SP<Conf::IFormatCodecVideo> format = filter->GetFormatCodec();
    EXPECT_EQ(format->GetProperties()["title"].GetString(), "first");
    EXPECT_EQ(format->GetFrameInfo(), Conf::FrameInfo(16, 8));
    EXPECT_FALSE(source->GetFormatCodec()->GetProperties().ChildExists("title"));
    EXPECT_NE(filter->GetFormatCodec(), format);

    filter->Initialize(Title("second"));
    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["title"].GetString(), "second");
    filter->Initialize(SettingsStreamMetadataUpdater(Title("third")));
    EXPECT_EQ(filter->GetFormatCodec()->GetProperties()["title"].GetString(), "third");
    EXPECT_EQ(filter->GetSettings(), Title("third"));
    EXPECT_EQ(format->GetProperties()["title"].GetString(), "first");
    EXPECT_EQ(filter->GetStatistic(), Core::Property("")) << "it hides those of its parents";
}

} // namespace
} // namespace Tessor::Test
