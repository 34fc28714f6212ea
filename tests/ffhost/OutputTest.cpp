#include "ffhost/bitstream/SoundCounter.h"
#include "ffhost/io/Container.h"
#include "ffhost/io/writing/DtsRepair.h"
#include "ffhost/io/writing/Interleaver.h"
#include "ffhost/io/writing/MovIndex.h"
#include "ffhost/io/writing/OutputFile.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avio.h>
}

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <sys/mman.h>
#include <tuple>
#include <unistd.h>

namespace Tessor::Host::Tests
{

namespace
{

PacketPtr MakePacket(int64_t pts, int64_t dts)
{
    PacketPtr packet(av_packet_alloc());
    packet->pts = pts;
    packet->dts = dts;
    return packet;
}

} // namespace

// The long text is more than waits to be written, the long name as long as names may be. The beginning is written last,
// as containers do it.
TEST(OutputFileTest, AppearsWhenCommittedAndLeavesNothingOtherwise)
{
    std::string longText;
    for (int i = 0; longText.size() < 20 << 20; ++i)
        longText += std::to_string(i);
    for (const auto& [name, text] : {std::pair{std::string(255, 'n'), std::string("short")}, {"film.mp4", longText}})
    {
        const Tessor::Test::ScratchFolder folder;
        const auto write = [&text = text](OutputFile& file)
        {
            const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
            avio_wb32(file.GetContext(), 0);
            avio_write(file.GetContext(), bytes + 4, static_cast<int>(text.size()) - 4);
            avio_seek(file.GetContext(), 0, SEEK_SET);
            avio_write(file.GetContext(), bytes, 4);
        };
        const std::string target = folder / name;
        {
            OutputFile dropped(target);
            write(dropped);
            avio_flush(dropped.GetContext());
            EXPECT_EQ(folder.List().size(), 1u);
            EXPECT_FALSE(std::filesystem::exists(target));
        }
        EXPECT_TRUE(folder.List().empty());

        std::ofstream(target) << "old";
        std::filesystem::create_symlink(name, folder / "link.mp4");
        OutputFile file(folder / "link.mp4");
        write(file);
        EXPECT_EQ(Tessor::Test::Slurp(target), "old");
        file.Commit(true);
        EXPECT_TRUE(Tessor::Test::Slurp(target) == text);
        EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.mp4"));
        EXPECT_EQ(folder.List().size(), 2u);
    }
}

// A process that was killed leaves a part without a lock; its number may be that of a living one by now.
TEST(OutputFileTest, TakesNoPlaceAndNoPartOfOthers)
{
    const Tessor::Test::ScratchFolder folder;
    const std::string target = folder / "film.mp4";
    std::ofstream(folder / (".film.mp4." + std::to_string(getpid()) + ".tessor-part")) << "of the dead";
    std::ofstream(folder / ".film.mp4.1-2.tessor-part") << "of the dead";
    std::ofstream(folder / ".film.mp4.notes.tessor-part") << "of someone else";
    OutputFile first(target), second(target);
    EXPECT_EQ(folder.List().size(), 3u);
    second.Commit(false);
    {
        const PartFile old = *PartFile::LinkTo(target);
        const OutputFile third(target);
        EXPECT_EQ(folder.List().size(), 5u);
    }
    EXPECT_THROW(first.Commit(false), OutputExistsException);
    std::filesystem::remove(target);
    std::filesystem::create_symlink("linked.mp4", target);
    OutputFile(target).Commit(false);
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "linked.mp4"));
}

// Files with a packet of 16 bytes in each corner of what lies between their header and their index. Memory is a file in
// which room can't be made without copying.
TEST(MovIndexTest, ComesForwardWithThePlacesOfAllPackets)
{
    const auto number = [](uint64_t value, int bytes)
    {
        std::string text;
        while (bytes-- > 0)
            text += static_cast<char>(value >> (8 * bytes));
        return text;
    };
    const auto box = [&](const char* type, const std::string& content)
    { return number(content.size() + 8, 4) + type + content; };
    const std::string begin = box("ftyp", "qt  ") + box("wide", "");
    for (const auto& [size, width, first, moves] : {std::tuple{50000, 4, 0LL, true},
                                                    {3000000, 4, 0LL, true},
                                                    {3000000, 8, 0LL, true},
                                                    {50000, 4, 0xFFFF3C80LL, false}})
    {
        std::string data(static_cast<size_t>(size), 0);
        std::generate(data.begin(), data.end(), std::mt19937(1));
        std::vector<uint64_t> places = {begin.size() + 8, begin.size() + 8 + data.size() / 2,
                                        begin.size() + data.size() - 8};
        const auto index = [&, width = width](uint64_t more)
        {
            std::string table = number(0, 4) + number(places.size(), 4);
            for (const uint64_t place : places)
                table += number(place + more, width);
            return box(
                "moov",
                box("mvhd", "stco") +
                    box("trak", box("mdia", box("minf", box("stbl", box(width == 4 ? "stco" : "co64", table))))));
        };
        std::string file = begin + box("mdat", data) + index(static_cast<uint64_t>(first));
        const Tessor::Test::ScratchFolder folder;
        const std::string path = folder / "a.mov";
        std::ofstream(path) << file;
        const FileHandle disk(open(path.c_str(), O_RDWR)), memory(memfd_create("a.mov", 0));
        ASSERT_EQ(write(memory.Get(), file.data(), file.size()), static_cast<ssize_t>(file.size()));

        EXPECT_EQ(MovIndex(disk.Get()).BringForward(), moves);
        EXPECT_EQ(MovIndex(memory.Get()).BringForward(), moves);
        EXPECT_FALSE(MovIndex(disk.Get()).BringForward());
        const std::string moved = Tessor::Test::Slurp(path);
        EXPECT_TRUE(moved == Tessor::Test::Slurp("/proc/self/fd/" + std::to_string(memory.Get())));
        const size_t shift = moves ? moved.find("wide") - file.find("wide") : 0;
        EXPECT_TRUE(moved.substr(begin.size() - 8 + shift, 16 + data.size()) ==
                    file.substr(begin.size() - 8, 16 + data.size()));
        EXPECT_EQ(moved.find(index(static_cast<uint64_t>(first) + shift)),
                  moves ? begin.size() - 8 : file.size() - index(0).size());
        EXPECT_LT(moved.size(), file.size() + 4096 + 8);
    }
}

TEST(ContainerTest, VideoCountsInTheSourcesTicksWhereAllTimesFit)
{
    const std::tuple<const char*, int, int, avTime, int> rows[] = {
        {"a.mov", 600, 30, NoTime, 600}, {"a.mkv", 600, 30, NoTime, 0}, // not a choice there
        {"a.mp4", 25, 25, 80000, 25},                                   // a tick is a frame
        {"a.mp4", 25, 25, 21333, 0},                                    // which would move against the sound
        {"a.mp4", 100, 25, 0, 0},                                       // too coarse for times in between
        {"a.mp4", 2000000000, 30, 0, 0},                                // finer than any time
    };
    for (const auto& [name, ticks, rate, start, expected] : rows)
    {
        TrackInfo track;
        track.timeBaseDen = ticks;
        track.frameRateNum = rate;
        track.start = start;
        EXPECT_EQ(Container::Choose(name, "").ChooseVideoTimescale(track), expected) << name << ticks;
    }
}

// Where the whole track is in sight, a DTS is the latest that is none after its PTS and in front of all that follow.
TEST(DtsRepairTest, TimesRiseAndMoveNoMoreThanTheyMust)
{
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round)
    {
        const size_t count = 1 + random() % 60, lookAhead = round % 3 == 0 ? 4 : 64;
        std::vector<std::pair<int64_t, int64_t>> times, out;
        const int64_t step = round % 2; // none where packets may share a time
        DtsRepair repair(lookAhead, step);
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
            EXPECT_TRUE(i == 0 || out[i - 1].second + step <= out[i].second);
            latest = std::min({latest - step, times[i].first, times[i].second});
            if (lookAhead > count)
            {
                EXPECT_EQ(out[i], std::make_pair(times[i].first, latest)) << "round " << round;
            }
        }
    }
}

// Pieces of no whole number of packets, one after the other, and a late start: the error must not add up.
TEST(SoundCounterTest, StaysInPlaceOverManySeams)
{
    constexpr int rate = 48000;
    constexpr AVRational microseconds{1, 1000000};
    // samples and bytes of a packet, its tick, the error allowed in microseconds
    const std::tuple<AVCodecID, int, int, AVRational, int64_t, bool> rows[] = {
        {AV_CODEC_ID_AC3, 1536, 768, {1536, rate}, 17100, false},
        {AV_CODEC_ID_PCM_S16LE, 960, 3840, {1, rate}, 1100, true},
    };
    for (const auto& [codec, samples, bytes, tick, within, startsAnywhere] : rows)
    {
        AVCodecParameters parameters{};
        parameters.codec_type = AVMEDIA_TYPE_AUDIO;
        parameters.codec_id = codec;
        parameters.sample_rate = rate;
        av_channel_layout_default(&parameters.ch_layout, 2);
        ASSERT_TRUE(SoundCounter::Counts(parameters, tick));
        SoundCounter counter(parameters, tick, startsAnywhere);

        std::mt19937 dice(7);
        const int64_t length = 1000000LL * samples / rate;
        int64_t start = 90000;
        int64_t counted = startsAnywhere ? av_rescale_q(start, microseconds, tick) : 0;
        for (int piece = 0; piece < 200; ++piece)
        {
            const int64_t packets = 1 + static_cast<int64_t>(dice() % 30);
            for (int64_t i = 0; i < packets; ++i)
            {
                PacketPtr packet = MakePacket(start + i * length, AV_NOPTS_VALUE);
                ASSERT_EQ(av_grow_packet(packet.get(), bytes), 0);
                int64_t last = AV_NOPTS_VALUE;
                counter.Place(std::move(packet),
                              [&, &bytes = bytes, &tick = tick](const PacketPtr& out)
                              {
                                  EXPECT_EQ(out->pts, counted);
                                  counted += out->duration;
                                  // what was cut begins later
                                  last =
                                      out->size == bytes ? av_rescale_q(out->pts, tick, microseconds) : AV_NOPTS_VALUE;
                              });
                // what was left out is not there to be off
                EXPECT_TRUE(last == AV_NOPTS_VALUE || std::abs(last - start - i * length) <= within) << last;
            }
            start += packets * length - static_cast<int64_t>(dice() % static_cast<unsigned>(length)) + length / 2;
        }
    }
}

// Ten seconds of silence are what a leap of an hour costs.
TEST(SoundCounterTest, WhatFollowsAWrongTimeIsNotLost)
{
    AVCodecParameters parameters{};
    parameters.codec_type = AVMEDIA_TYPE_AUDIO;
    parameters.codec_id = AV_CODEC_ID_PCM_S16LE;
    parameters.sample_rate = 8000;
    av_channel_layout_default(&parameters.ch_layout, 1);
    SoundCounter counter(parameters, {1, 8000}, true);
    int64_t written = 0;
    for (const avTime time : std::vector<avTime>{0, 100000, 3600 * SECOND, 300000, 400000, 500000})
    {
        PacketPtr packet = MakePacket(time, AV_NOPTS_VALUE);
        ASSERT_EQ(av_grow_packet(packet.get(), 1600), 0);
        counter.Place(std::move(packet), [&](const PacketPtr& out) { written += out->duration; });
    }
    EXPECT_EQ(written, 6 * 800 + 10 * 8000);
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
