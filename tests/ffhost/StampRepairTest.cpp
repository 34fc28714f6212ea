#include "ffhost/io/reading/StampRepair.h"
#include "ffhost/io/reading/TrackClock.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <gtest/gtest.h>
#include <sstream>

namespace Tessor::Host::Tests
{

namespace
{

/// Packets of 40 ms, by their decoding times in ms; "80/120" is shown at 120, and "80/?" nobody knows when.
std::string Mend(const std::string& told, bool pictures, bool clockJumps, long long& count)
{
    StampRepair repair({{1, 1000}, 0, pictures, clockJumps});
    std::istringstream words(told);
    for (std::string word; words >> word;)
    {
        PacketPtr packet(av_packet_alloc());
        const size_t slash = word.find('/');
        packet->dts = std::stoll(word);
        packet->pts = slash == std::string::npos ? packet->dts : std::stoll(word.substr(slash + 1));
        packet->duration = 40;
        repair.Push(std::move(packet));
    }
    repair.Finish();
    std::string mended;
    while (const PacketPtr packet = repair.Pull())
    {
        mended += (mended.empty() ? "" : " ") + std::to_string(packet->dts);
        if (packet->pts != packet->dts)
            mended += "/" + (packet->pts == AV_NOPTS_VALUE ? "?" : std::to_string(packet->pts));
    }
    count = repair.GetCount();
    return mended;
}

} // namespace

TEST(StampRepairTest, OnlyWhatIsContradictedIsMended)
{
    constexpr bool sound = false, pictures = true, steady = false, jumping = true;
    const std::tuple<const char*, bool, bool, std::string, std::string, long long> rows[] = {
        {"one leaps", sound, steady, "0 40 9000080 120 160", "0 40 80 120 160", 1},
        {"one falls", sound, steady, "2000 2040 0 2120 2160", "2000 2040 2080 2120 2160", 1},
        {"a block leaps", pictures, steady, "0/40 40/80 5080/5200 5120/5160 160/200",
         "0/40 40/80 80/200 120/160 160/200", 2},
        {"a gap", sound, steady, "0 40 9000080 9000120 9000160", "0 40 9000080 9000120 9000160", 0},
        {"gaps, each of which would need a leap to be wrong", pictures, steady, "0 1000 2000 1200", "0 1000 2000 1200",
         0},
        {"all stand after a leap", sound, steady, "0 40 9080 9081 9082 9083 9084 9085 9086 9087 9088 9089",
         "0 40 80 120 160 200 240 280 320 360 400 440", 10},
        {"pictures that stand are shown as they say themselves", pictures, steady, "0 40 41 42 43 44 45 46 47 48",
         "0 40 80/? 120/? 160/? 200/? 240/? 280/? 320/? 360/?", 8},
        {"a burst", sound, steady, "0 40 41 42 160 200", "0 40 41 42 160 200", 0},
        {"a picture is shown hours later", pictures, steady, "0/80 40/9000120 80/80", "0/80 40/120 80", 1},
        {"a clock that jumps is not mended", sound, jumping, "0 40 9000080 120 9000160", "0 40 9000080 120 9000160", 0},
        {"one leaps less far than clocks jump", sound, jumping, "0 40 5080 120 160", "0 40 80 120 160", 1},
    };
    for (const auto& [what, kind, clock, told, mended, expected] : rows)
    {
        long long count = 0;
        EXPECT_EQ(Mend(told, kind, clock, count), mended) << what;
        EXPECT_EQ(count, expected) << what;
    }
}

// A wrong time is followed by those of before, a jump by its own.
TEST(StampRepairTest, AClockThatIsBackHasNotJumped)
{
    const std::pair<std::vector<int64_t>, avTime> rows[] = {
        {{4000, 4040, 2000, 4120, 4160}, 4160},
        {{4000, 4040, 9000000, 4120, 4160}, 4160},
        {{4000, 4040, 2000, 2040, 2080}, 4160},
        {{4000, 4040, 9000000, 9000040, 9000080}, 4160},
    };
    for (const auto& [told, end] : rows)
    {
        ClockJumps jumps;
        // the second track knows the jump that the first one has met
        for (TrackClock clock : {TrackClock({1, 1000}, 0, &jumps), TrackClock({1, 1000}, 0, &jumps)})
        {
            for (const int64_t ticks : told)
                clock.Follow(ticks, 40 * MILLISECOND);
            EXPECT_EQ(clock.ToTime(told.back()), end * MILLISECOND) << told[2];
        }
    }
}

} // namespace Tessor::Host::Tests
