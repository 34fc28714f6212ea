#include "jobs/chains/FilterCatalog.h"

#include "Proc/Settings/SettingsFilterFrameRate.h"
#include "Proc/Settings/SettingsResizer.h"
#include "jobs/JobError.h"
#include "tests/support/ScriptedStream.h"

using namespace Tessor;
using namespace Tessor::Jobs;

namespace
{

/// "name[key|value][key|value] name"
std::string Print(const std::vector<FilterCall>& chain)
{
    std::string text;
    for (const FilterCall& call : chain)
    {
        text += (text.empty() ? "" : " ") + call.name;
        for (const auto& [key, value] : call.options)
            text += "[" + key + (value ? "|" + *value : "") + "]";
    }
    return text;
}

} // namespace

TEST(FilterChain, ReadsTheGrammar)
{
    const std::pair<const char*, const char*> rows[] = {
        {" scale = width = 640 : height=360 , fps=rate=25 ", "scale[width|640][height|360] fps[rate|25]"},
        {"a=k:l=1,b=640", "a[k][l|1] b[640]"},
        {"a=k=:l=''", "a[k|][l|]"},
        {"avfilter=graph='hqdn3d,eq=gamma=1.2'", "avfilter[graph|hqdn3d,eq=gamma=1.2]"},
        {"a=k=b\\,c\\:d\\\\e\\'f", "a[k|b,c:d\\e'f]"},
        {"a=k='in quotes \\ is itself'", "a[k|in quotes \\ is itself]"},
        {"a=k=x'y, 'z", "a[k|xy, z]"},
        {"a=k=' x ' ,b", "a[k| x ] b"},
        {"a=k=two words:l=\\ m", "a[k|two words][l| m]"},
    };
    for (const auto& [text, wanted] : rows)
        EXPECT_EQ(Print(ParseFilterChain(text)), wanted) << text;
}

TEST(FilterCatalog, SetsSettingsFromChains)
{
    const std::vector<FilterStep> steps =
        ReadFilters("scale=width=640:aspect=16/15:mode=exact,fps=rate=29.97:mode=adjust,fade=start=1.5:duration=0.25",
                    MediaType::Video);
    ASSERT_EQ(steps.size(), 3u);
    const auto& scale = dynamic_cast<const Proc::SettingsResizer&>(*steps[0].settings);
    EXPECT_EQ(scale.width, 640);
    EXPECT_EQ(scale.height, 0);
    EXPECT_EQ(scale.aspect, Core::Property::Ratio(16, 15));
    EXPECT_EQ(scale.mode, Proc::SettingsResizer::CustomModes::Exact);
    const auto& rate = dynamic_cast<const Proc::SettingsFilterFrameRate&>(*steps[1].settings);
    EXPECT_EQ(rate.frameRate, Core::Property::Ratio(2997, 100));
    EXPECT_EQ(steps[1].implName, Proc::SettingsFilterFrameRate::IMPL_ADJUST);
    EXPECT_EQ(steps[2].start, 1500000);
    EXPECT_EQ(steps[2].duration, 250000);
    // a chain does not change the defaults of the next
    EXPECT_EQ(dynamic_cast<const Proc::SettingsResizer&>(*ReadFilters("scale", MediaType::Video)[0].settings).width, 0);
}

TEST(FilterCatalog, TellsWhatIsWrongAndWhatThereIs)
{
    const std::tuple<const char*, MediaType, std::vector<std::string>> rows[] = {
        {"scale,", MediaType::Video, {"character 7: a filter is missing"}},
        {"scale=width=640:", MediaType::Video, {"character 17: a key is missing"}},
        {"scale width=640", MediaType::Video, {"character 7: \"w\" is not expected"}},
        {"a=k='open", MediaType::Video, {"character 5: the quote has no end"}},
        {"scal=width=1", MediaType::Video, {"there is no filter \"scal\"", "scale"}},
        {"volume=gain=2", MediaType::Video, {"\"volume\" is a filter of sound"}},
        {"scale=640", MediaType::Video, {"there is no key \"640\"", "width, height"}},
        {"scale=width", MediaType::Video, {"\"width\" has no value"}},
        {"scale=width=17000", MediaType::Video, {"width=17000 is out of range", "from 0 to 16384"}},
        {"fps=rate=-5", MediaType::Video, {"rate=-5 is out of range"}},
        {"scale=width=99999999999999999999", MediaType::Video, {"is no value"}},
        {"scale=aspect=1/0", MediaType::Video, {"\"1/0\" is no value of aspect", "ratio"}},
        {"scale=mode=crop", MediaType::Video, {"\"crop\" is no value of mode", "fit|fill|exact"}},
        {"format=formats=yuv9p", MediaType::Video, {"\"yuv9p\" is no pixel format"}},
        {"volume=normalize=maybe", MediaType::Audio, {"yes|no"}},
    };
    for (const auto& [chain, kind, parts] : rows)
    {
        const auto read = [chain = chain, kind = kind] { ReadFilters(chain, kind); };
        const std::string message = Tessor::Test::TextOf<JobError>(read);
        for (const std::string& part : parts)
            EXPECT_NE(message.find(part), std::string::npos) << chain << ": " << message;
    }
}

TEST(FilterCatalog, ListsTheImplementationsThatItTakes)
{
    const Factories factories = Factories::Make();
    const auto video = Tessor::Test::ScriptedVideo::Create("0 40");
    const auto audio = Tessor::Test::ScriptedAudio::Create("0 40");
    for (const CatalogRow& row : GetCatalog())
    {
        const std::vector<std::string> listed = ListImplementations(row, factories);
        EXPECT_EQ(listed.empty(), row.name == "fps") << row.name; // whose mode says it
        const auto make = [&](const std::string& option)
        {
            const std::string graph = row.kind == MediaType::Video ? "graph=null:" : "graph=anull:";
            const std::string chain = row.name + "=" + (row.name == "avfilter" ? graph : "") + option;
            for (const FilterStep& step : ReadFilters(chain, row.kind))
                if (row.kind == MediaType::Video)
                    MakeFilter(step, video, factories);
                else
                    MakeFilter(step, audio, factories);
        };
        for (const std::string name : {"Tessor", "FFmpeg", "OGL", "nonsense"})
            if (std::find(listed.begin(), listed.end(), name) != listed.end())
                EXPECT_NO_THROW(make("impl=" + name)) << row.name << " " << name;
            else
                EXPECT_ANY_THROW(make("impl=" + name)) << row.name << " " << name;
    }
}
