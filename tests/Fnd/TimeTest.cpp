#include "Fnd/Time.h"

#include <gtest/gtest.h>

using namespace Tessor;

TEST(Time, SumsKnowNoTimeAndDoNotOverflow)
{
    constexpr avTime max = std::numeric_limits<avTime>::max();
    EXPECT_EQ(AddTime(NoTime, 3), NoTime);
    EXPECT_EQ(AddTime(3, NoTime), NoTime);
    EXPECT_EQ(AddTime(max, 1), max);
    EXPECT_EQ(AddTime(NoTime + 2, -2), NoTime + 1);
    EXPECT_EQ(SubTime(3, 5), -2);
    EXPECT_EQ(SubTime(3, NoTime), NoTime);
    EXPECT_EQ(SubTime(NoTime + 1, max), NoTime + 1);
}

TEST(Time, Text)
{
    EXPECT_EQ(T2S(-3723000045), "-1:02:03.000045");
    EXPECT_EQ(T2S(MAX_DURATION), "720:00:00.000000");
    EXPECT_EQ(T2S(NoTime), "NoTime");
}
