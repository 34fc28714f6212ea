#include "cli/SparseTrack.h"

#include "media/DataPacketFF.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace Tessor;
using namespace Tessor::Cli;

namespace
{

/// Pushes "time:duration" items (ms) and prints what comes out in the same form.
std::string Cut(const std::string& items, const std::vector<std::pair<avTime, avTime>>& kept)
{
    Proc::SettingsFilterCutController cut;
    for (const auto& [start, end] : kept)
        cut.AddInterval(start * 1000, end * 1000, NoTime, false);
    cut.UpdateOptimizedList();
    SparseTrack track;
    std::istringstream in(items);
    std::string result;
    for (std::string item; in >> item;)
    {
        const size_t colon = item.find(':');
        const avTime pts = std::stoll(item.substr(0, colon)) * 1000;
        const avTime duration = std::stoll(item.substr(colon + 1)) * 1000;
        const auto packet = Proc::DataPacketFF::Create(Proc::CreatePacket(4), MediaType::Subtitle, pts, pts, duration);
        for (const SP<Proc::IDataPacket>& out : track.Push(packet, cut))
        {
            EXPECT_EQ(out->GetPTS(), out->GetDTS());
            result += (result.empty() ? "" : " ") + std::to_string(out->GetPTS() / 1000) + ":" +
                      std::to_string(out->GetDuration() / 1000);
        }
    }
    return result;
}

} // namespace

TEST(SparseTrack, ItemsWithDurationAreShortenedToWhatIsKept)
{
    EXPECT_EQ(Cut("100:200 900:200 1500:100 1950:300 2500:100", {{0, 1000}, {2000, 3000}}),
              "100:200 900:100 1000:250 1500:100");
    EXPECT_EQ(Cut("500:2000", {{0, 1000}, {2000, 3000}}), "500:1000") << "runs through the whole deleted time";
}

TEST(SparseTrack, ItemsWithoutDurationStandUntilTheNext)
{
    // the one at 1500 still stands when kept time begins again at 2000
    EXPECT_EQ(Cut("100:0 1200:0 1500:0 2300:0", {{0, 1000}, {2000, 3000}}), "100:0 1000:0 1300:0");
    // the next one comes before kept time begins: nothing of it is seen
    EXPECT_EQ(Cut("1200:0 1900:0 1950:0", {{0, 1000}, {2000, 3000}}), "");
}
