#include "Proc/CodecParsers/MPEG1_2PTSRestorer.h"

#include "tests/CodecParsers/HeaderTools.h"

#include <sstream>

using namespace Tessor;
using namespace Tessor::Proc;
using namespace Tessor::Proc::CodecParsers;
using namespace Tessor::Test;

namespace
{

// "I80" is an I picture shown at 80; "-" stands for an unknown time. A "~" behind it takes the DTS away, which is
// otherwise 40 for each packet before. "X" is a packet without a picture.
SP<DataPacketFF> ParsePacket(const std::string& token, avTime dts)
{
    const auto type = static_cast<uint8_t>(std::string("XIPB").find(token[0]));
    const Bytes payload = type == 0 ? Bytes{0, 0, 1, 0xB3} : Bytes{0, 0, 1, 0, 0, uint8_t(type << 3)};
    const avTime pts = token[1] == '-' ? NoTime : std::stoll(token.substr(1));
    return MakePacket(payload, pts, token.back() == '~' ? NoTime : dts, 40);
}

void PullAll(IPTSRestorer& restorer, const std::map<const IDataPacket*, char>& types, std::string& text)
{
    for (auto entry = restorer.Pull(); entry.first; entry = restorer.Pull())
    {
        EXPECT_EQ(entry.second.dts, entry.first->GetDTS());
        const avTime pts = entry.second.pts;
        text += (text.empty() ? "" : " ") + std::string(1, types.at(entry.first.get())) +
                (pts == NoTime ? "-" : std::to_string(pts));
    }
}

// Pushes the packets in turn, "|" the end, and gives what was pulled behind each.
std::string Restore(const std::string& packets)
{
    MPEG1_2PTSRestorer restorer;
    std::map<const IDataPacket*, char> types;
    std::vector<SP<DataPacketFF>> kept;
    std::string text, token;
    std::istringstream stream(packets);
    while (stream >> token)
    {
        if (token == "|")
            restorer.Push(nullptr);
        else
        {
            kept.push_back(ParsePacket(token, 40 * static_cast<avTime>(kept.size())));
            types[kept.back().get()] = token[0];
            restorer.Push(kept.back());
        }
        PullAll(restorer, types, text);
    }
    return text;
}

} // namespace

TEST(MPEG1_2PTSRestorer, Rows)
{
    const struct
    {
        const char* packets;
        const char* restored;
    } rows[] = {
        {"|", ""},
        {"I40 P160 B80 B120", "I40 P160 B80 B120"},                   // nothing to do
        {"I-", ""},                                                   // waits
        {"I- B40 B80", ""},                                           // still waits
        {"I- B40 B80 P240", "I120 B40 B80 P240"},                     // the next reference tells
        {"I- B40 B80 P- B160 B200", "I120 B40 B80"},                  // and may lack a time itself
        {"I- P- P- |", "I40 P80 P120"},                               // without reordering
        {"I- B40 B80 |", "I120 B40 B80"},                             // B pictures at the end
        {"I- B40 B80 | |", "I120 B40 B80"},                           // an end has no second one
        {"I- B-", "I40"},                                             // a B picture without a time closes, too
        {"I- B40 X200", "I80 B40 X200"},                              // what is no B picture is a reference
        {"I- B40 P-~ |", "I- B40 P-"},                                // nothing is made of unknown times
        {"P40 I- B80 | I- B160 P320", "P40 I120 B80 I200 B160 P320"}, // goes on behind an end
    };
    for (const auto& row : rows)
        EXPECT_EQ(Restore(row.packets), row.restored) << row.packets;
}

TEST(MPEG1_2PTSRestorer, ResetForgets)
{
    MPEG1_2PTSRestorer restorer;
    for (const char* token : {"I40", "I-"}) // one finished, one pending
        restorer.Push(ParsePacket(token, 0));
    restorer.Reset();
    restorer.Push(nullptr);
    EXPECT_EQ(restorer.Pull().first, nullptr);
    restorer.Push(ParsePacket("B80", 0));
    EXPECT_EQ(restorer.Pull().second.pts, 80);
}
