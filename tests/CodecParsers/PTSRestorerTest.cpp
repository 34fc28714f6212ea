#include "Proc/CodecParsers/H264PTSRestorer.h"
#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"
#include "tests/CodecParsers/HeaderTools.h"

namespace Tessor::Test
{

namespace
{

/// "I80" is an I picture shown at 80; "-" stands for an unknown time, "~" after it for an unknown DTS too, which is
/// otherwise `index` times the duration of 40. "X" is a packet without a picture.
SP<DataPacketFF> ParsePacket(const std::string& token, avTime index)
{
    // A picture of MPEG-2 and a slice of H.264, each of which passes the other over.
    const std::string payloads[] = {"00 00 01 b3", "00 00 01 00 00 08 00 00 01 41 b0",
                                    "00 00 01 00 00 10 00 00 01 41 e0", "00 00 01 00 00 18 00 00 01 41 a0"};
    const avTime pts = token[1] == '-' ? NoTime : std::stoll(token.substr(1));
    return MakePacket(Hex(payloads[std::string("XIPB").find(token[0])]), pts, token.back() == '~' ? NoTime : 40 * index,
                      40);
}

std::string Text(avTime time)
{
    return time == NoTime ? "-" : std::to_string(time);
}

/// Pushes the packets in turn, "." the end, and gives PTS and DTS of what comes out; "|" is between pushes.
std::string Restore(IPTSRestorer& restorer, const std::string& packets)
{
    std::string text;
    avTime index = 0;
    std::istringstream stream(packets);
    for (std::string token; stream >> token;)
    {
        restorer.Push(token == "." ? nullptr : ParsePacket(token, index++));
        for (auto entry = restorer.Pull(); entry.first; entry = restorer.Pull())
            text += Text(entry.second.pts) + "/" + Text(entry.second.dts) + " ";
        text += "|";
    }
    return text;
}

template <class Restorer, class... Args>
void CheckRestored(const std::vector<std::pair<std::string, std::string>>& rows, const Args&... args)
{
    for (const auto& [packets, restored] : rows)
    {
        Restorer restorer(args...);
        EXPECT_EQ(Restore(restorer, packets), restored) << packets;
    }
}

} // namespace

TEST(PTSRestorer, H264)
{
    CheckRestored<H264PTSRestorer>(
        {{"I- B- B- P- .", "|||80/0 0/40 40/80 |120/120 |"},
         {"B- B- P-", "||-40/0 0/40 |"},            // a B at the head plays in its own place
         {"I- B-~ B-~ P-", "|||80/0 0/40 40/80 |"}, // unknown ones are counted back from the next reference
         // DTS 40 at index 1 of 2: P is at 80 and I at 0; then P at 80, B at 120, I at 160.
         {"I-~ B- P-~ B-~ I-~", "||40/0 0/40 ||120/80 80/120 |"},
         // At the flush the group's end is the first known DTS plus the steps after it.
         {"I- B- .", "||40/0 0/40 |"},
         {"I-~ B-~ B- .", "|||80/0 0/40 40/80 |"},
         {"I-~ B-~ P-~", "||-/- -/- |"},
         {". . I- .", "|||0/0 |"}},
        false, 0);
}

TEST(PTSRestorer, MPEG1_2)
{
    CheckRestored<MPEG1_2PTSRestorer>(
        {{"I40 P160 B80 B120", "40/0 |160/40 |80/80 |120/120 |"}, // nothing to do
         {"I- B40 B80 P240", "|||120/0 40/40 80/80 240/120 |"},   // the next reference tells
         {"I- B40 B80 P- B160 B200", "|||120/0 40/40 80/80 |||"}, // and may lack a time itself
         {"I- B40 B80 . .", "|||120/0 40/40 80/80 ||"},           // an end has no second one
         {"I- B-", "|40/0 |"},                                    // a B picture without a time closes, too
         {"I- B40 X200", "||80/0 40/40 200/80 |"},                // what is no B picture is a reference
         {"I- B40 P-~ .", "||-/0 40/40 |-/- |"},                  // nothing is made of unknown times
         {"P40 I- B80 . I- B160 P320", "40/0 |||120/40 80/80 |||200/120 160/160 320/200 |"}}); // goes on after an end
}

TEST(PTSRestorer, ResetForgets)
{
    H264PTSRestorer h264(false, 0);
    MPEG1_2PTSRestorer mpeg;
    for (IPTSRestorer* restorer : std::initializer_list<IPTSRestorer*>{&h264, &mpeg})
    {
        for (const char* token : {"I40", "I-"}) // one finished, one pending
            restorer->Push(ParsePacket(token, 0));
        restorer->Reset();
        EXPECT_EQ(Restore(*restorer, ". I40 ."), restorer == &h264 ? "||0/0 |" : "|40/0 ||");
    }
}

TEST(PTSRestorer, ExtremeDurationsNeitherOverflowNorInventTimes)
{
    for (const avTime duration : {std::numeric_limits<avTime>::max(), NoTime})
    {
        H264PTSRestorer restorer(false, 0);
        for (const char* token : {"I-", "B-~", "P-~"})
        {
            const SP<DataPacketFF> packet = ParsePacket(token, 1);
            packet->SetDuration(duration);
            restorer.Push(packet);
        }
        EXPECT_EQ(restorer.Pull().second.pts, NoTime);
    }
}

} // namespace Tessor::Test
