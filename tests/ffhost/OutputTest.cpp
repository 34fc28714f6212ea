#include "Fnd/Exception.h"
#include "ffhost/io/Container.h"
#include "ffhost/io/DtsRepair.h"
#include "ffhost/io/Interleaver.h"
#include "ffhost/io/OutputFile.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avio.h>
}

#include <filesystem>
#include <fstream>
#include <random>

namespace Tessor::Host::Tests
{

using Tessor::Test::ScratchFolder;

namespace
{

std::string TextOf(const std::string& path)
{
    std::ifstream input(path);
    return std::string(std::istreambuf_iterator<char>(input), {});
}

/// The message of what `action` throws.
template <class Action>
std::string FailureOf(const Action& action)
{
    try
    {
        action();
        return "";
    }
    catch (const Core::IOException& e)
    {
        return Describe(e);
    }
}

PacketPtr MakePacket(int64_t pts, int64_t dts)
{
    PacketPtr packet(av_packet_alloc());
    packet->pts = pts;
    packet->dts = dts;
    return packet;
}

void WriteText(OutputFile& file, const std::string& text)
{
    avio_write(file.GetContext(), reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
}

} // namespace

// The long text is more than waits to be written. Its first byte is written again at the end.
TEST(OutputFileTest, AppearsWhenCommittedAndLeavesNothingOtherwise)
{
    std::string longText;
    for (int i = 0; longText.size() < 20 << 20; ++i)
        longText += std::to_string(i);
    for (const std::string& text : {std::string("short"), longText})
    {
        const ScratchFolder folder;
        const std::string target = folder / "film.mp4";
        {
            OutputFile dropped(target);
            WriteText(dropped, text);
            avio_flush(dropped.GetContext());
            EXPECT_EQ(folder.List().size(), 1u);
            EXPECT_FALSE(std::filesystem::exists(target));
        }
        EXPECT_TRUE(folder.List().empty());

        std::ofstream(target) << "old";
        std::filesystem::create_symlink("film.mp4", folder / "link.mp4");
        OutputFile file(folder / "link.mp4");
        WriteText(file, "?" + text.substr(1));
        avio_seek(file.GetContext(), 0, SEEK_SET);
        WriteText(file, text.substr(0, 1));
        EXPECT_EQ(TextOf(target), "old");
        file.Commit();
        EXPECT_TRUE(TextOf(target) == text);
        EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.mp4"));
        EXPECT_EQ(folder.List().size(), 2u);
    }
}

TEST(OutputFileTest, AFullDiskIsNamed)
{
    OutputFile full("/dev/full");
    WriteText(full, std::string(8 << 20, 'x'));
    EXPECT_EQ(FailureOf([&] { full.Commit(); }), "/dev/full: No space left on device");
    EXPECT_EQ(FailureOf([&] { full.Check(); }), "/dev/full: No space left on device");
}

TEST(OutputFileTest, ANameAsLongAsNamesMayBeHasAPartName)
{
    const ScratchFolder folder;
    const std::string longest(255, 'n');
    OutputFile file(folder / longest);
    file.Commit();
    EXPECT_EQ(folder.List(), std::vector<std::string>{longest});
}

TEST(ContainerTest, VideoCountsInTheSourcesTicksWhereAllTimesFit)
{
    const struct
    {
        const char* name;
        int ticks, rate;
        avTime start;
        int expected;
    } rows[] = {
        {"a.mov", 600, 30, NoTime, 600}, {"a.mkv", 600, 30, NoTime, 0}, // not a choice there
        {"a.mp4", 25, 25, 80000, 25},                                   // a tick is a frame
        {"a.mp4", 25, 25, 21333, 0},                                    // which would move against the sound
        {"a.mp4", 100, 25, 0, 0},                                       // too coarse for times in between
        {"a.mp4", 5, 5, 0, 0},                                          // so slow that cuts fall between frames
        {"a.mp4", 2000000000, 30, 0, 0},                                // finer than any time
    };
    for (const auto& row : rows)
    {
        TrackInfo track;
        track.timeBaseDen = row.ticks;
        track.frameRateNum = row.rate;
        track.start = row.start;
        EXPECT_EQ(Container::Guess(row.name).ChooseVideoTimescale(track), row.expected) << row.name << row.ticks;
    }
}

// Where the whole track is in sight, a DTS is the latest that is none behind its PTS and in front of all that follow.
TEST(DtsRepairTest, TimesRiseAndMoveNoMoreThanTheyMust)
{
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round)
    {
        const size_t count = 1 + random() % 60, lookAhead = round % 3 == 0 ? 4 : 64;
        std::vector<std::pair<int64_t, int64_t>> times, out;
        DtsRepair repair(lookAhead);
        for (size_t i = 0; i <= count; ++i)
        {
            if (i < count)
            {
                const int64_t dts = static_cast<int64_t>(i * 3 + random() % 12);
                times.emplace_back(dts + static_cast<int64_t>(random() % 9) - 2, dts);
                repair.Push(MakePacket(times[i].first, dts));
            }
            else
                repair.End();
            while (const PacketPtr packet = repair.Pull())
                out.emplace_back(packet->pts, packet->dts);
        }
        ASSERT_EQ(out.size(), count);
        int64_t latest = INT64_MAX;
        for (size_t i = count; i-- > 0;)
        {
            EXPECT_LE(out[i].second, out[i].first);
            EXPECT_TRUE(i == 0 || out[i - 1].second < out[i].second);
            latest = std::min({latest - 1, times[i].first, times[i].second});
            if (lookAhead > count)
            {
                EXPECT_EQ(out[i], std::make_pair(times[i].first, latest)) << "round " << round;
            }
        }
    }
}

TEST(InterleaverTest, WaitsForOpenTracksAndPutsVideoFirst)
{
    Interleaver interleaver;
    interleaver.AddTrack({{1, 1000}, 1, false}); // audio
    interleaver.AddTrack({{1, 100}, 0, false});  // video, in coarser ticks
    interleaver.AddTrack({{1, 1000}, 1, true});  // subtitles
    const auto pull = [&]
    {
        std::string order;
        while (const PacketPtr packet = interleaver.Pull())
            order += std::string(1, "avs"[packet->stream_index]) + std::to_string(packet->dts) + " ";
        return order;
    };
    const auto push = [&](int track, int64_t dts)
    {
        interleaver.Push(track, MakePacket(dts, dts));
        return pull();
    };
    EXPECT_EQ(push(0, 0), "");
    EXPECT_EQ(push(0, 20), "");
    EXPECT_EQ(push(1, 0), "v0 ");
    EXPECT_EQ(push(2, 15), "");
    EXPECT_EQ(push(1, 2), "a0 s15 v2 ");
    interleaver.EndTrack(1);
    EXPECT_EQ(pull(), "a20 ");
}

} // namespace Tessor::Host::Tests
