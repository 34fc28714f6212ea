#include "jobs/cut/SparseTrack.h"
#include "jobs/cut/KeptRanges.h"

#include "tests/support/FakeItems.h"

#include <gtest/gtest.h>

using namespace Tessor;
using namespace Tessor::Jobs;
using namespace Tessor::Test;

TEST(SparseTrack, ItemsAreCutToWhatIsKept)
{
    const Proc::CutTimeline cut = KeepRanges({{0, 1000000}, {2000000, 3000000}}, MAX_DURATION);
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"100:200 900:200 1500:100 1950:300 2500:100", "100:200 900:100 1000:250 1500:100", "each for itself"},
        {"500:2000", "500:1000", "runs through the whole deleted time"},
        {"100:0 1200:0 1500:0 2300:0", "100:0 1000:0 1300:0", "the third stands when kept time begins again"},
        {"1200:0 1900:0 1950:0", "1000:0", "the last one stands when kept time begins again"},
        {"1200:0 3100:0", "1000:0", "nothing is kept after the second"},
    };
    for (const auto& [items, wanted, why] : rows)
    {
        SparseTrack track;
        Script result;
        const auto take = [&](const std::vector<SP<Proc::IDataPacket>>& pieces)
        {
            for (const SP<Proc::IDataPacket>& piece : pieces)
            {
                result.push_back(DescribeItem(*piece));
                EXPECT_EQ(std::exchange(result.back().dts, NoTime), piece->GetPTS());
            }
        };
        for (const ScriptItem& item : ParseScript(items))
            take(track.Push(CreateFakePacket(item, MediaType::Subtitle), cut));
        take(track.Push(nullptr, cut));
        EXPECT_EQ(PrintScript(result), PrintScript(ParseScript(wanted))) << why;
    }
}
