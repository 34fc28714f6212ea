#include "Proc/CodecParsers/H264PTSRestorer.h"
#include "tests/CodecParsers/NaluTestTools.h"

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

constexpr avTime Duration = 10;

SP<IDataPacket> Slice(char type, avTime dts, avTime duration)
{
    const std::string slices[] = {"P41 e0", "B41 a0", "I41 b0"};
    for (const std::string& slice : slices)
        if (slice[0] == type)
            return MakePacket(Hex("00 00 01 " + slice.substr(1)), NoTime, dts, duration);
    return nullptr;
}

std::string Text(avTime time)
{
    return time == NoTime ? "?" : std::to_string(time);
}

// Pushes "I0 B10 P?", '.' being the flush, and prints "dts>pts" of what comes out of each push, '|' between pushes.
std::string Restore(const std::string& packets)
{
    H264PTSRestorer restorer(false, 0);
    std::string out;
    std::istringstream in(packets);
    for (std::string token; in >> token;)
    {
        const avTime dts = token.size() < 2 || token[1] == '?' ? NoTime : std::stoll(token.substr(1));
        restorer.Push(Slice(token[0], dts, Duration));
        for (auto [packet, times] = restorer.Pull(); packet; std::tie(packet, times) = restorer.Pull())
            out += Text(times.dts) + ">" + Text(times.pts) + " ";
        out += "|";
    }
    return out;
}

} // namespace

TEST(H264PTSRestorer, Table)
{
    const struct
    {
        const char* packets;
        const char* result;
    } rows[] = {
        {"I0 B10 B20 P30 .", "|||0>20 10>0 20>10 |30>30 |"},
        {"I0 P10 P20", "|0>0 |10>10 |"},
        {"B0 B10 P20", "||0>-10 10>0 |"},         // a B at the head plays in its own place
        {"I0 B? B? P30", "|||0>20 10>0 20>10 |"}, // unknown ones are counted back from the next reference
        // DTS 10 at index 1 of 2: P is at 20 and I at 0; then P at 20, B at 30, I at 40.
        {"I? B10 P? B? I?", "||0>10 10>0 ||20>30 30>20 |"},
        // At the flush the group's end is the first known DTS plus the steps behind it.
        {"I0 B10 .", "||0>10 10>0 |"},
        {"I? B? B20 .", "|||0>20 10>0 20>10 |"},
        {"I? B? P?", "||?>? ?>? |"},
        {". . I0 .", "|||0>0 |"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Restore(row.packets), row.result) << row.packets;
}

TEST(H264PTSRestorer, ResetForgets)
{
    H264PTSRestorer restorer(false, 0);
    restorer.Push(Slice('I', 0, Duration));
    restorer.Push(Slice('P', 10, Duration));
    restorer.Reset();
    EXPECT_EQ(restorer.Pull().first, nullptr);
    restorer.Push(nullptr);
    EXPECT_EQ(restorer.Pull().first, nullptr);
}

TEST(H264PTSRestorer, ExtremeDurationsNeitherOverflowNorInventTimes)
{
    for (const avTime duration : {std::numeric_limits<avTime>::max(), NoTime})
    {
        H264PTSRestorer restorer(false, 0);
        for (const char type : {'I', 'B', 'P'})
            restorer.Push(Slice(type, type == 'I' ? 5 : NoTime, duration));
        EXPECT_EQ(restorer.Pull().second.pts, NoTime);
    }
}
