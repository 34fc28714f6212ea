#include "tests/cli/ProgramFixture.h"

namespace Tessor::Cli::Tests
{

// Tracks that the beginning of a transport stream does not tell of.
TEST_F(Program, TracksThatBeginLaterAreFound)
{
    const std::string make =
        "ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 -f lavfi -i sine -c:v mpeg2video "
        "-c:a mp2 -muxdelay 0 -f mpegts ";
    const Outcome made = RunCommand("(" + make + "-t 10 -b:v 6M -minrate 6M -maxrate 6M -bufsize 1M -; " + make +
                                    "-t 4 -output_ts_offset 10 -mpegts_start_pid 0x200 -; " + make +
                                    "-t 4 -output_ts_offset 14 -) >late.ts");
    ASSERT_EQ(made.status, 0) << made.err;
    const json report = Report("repack late.ts late.mkv");
    ASSERT_EQ(report["tracks"].size(), 4u) << report;
    std::vector<long long> pictures;
    for (const json& track : report["tracks"])
        if (track["kind"] == "video")
            pictures.push_back(track["copied_packets"]);
    EXPECT_EQ(pictures, (std::vector<long long>{350, 100}));
}

// What an edit list leaves off at the end is not shown by the result either, whatever leans on it.
TEST_F(Program, PicturesThatAnEditListEndsStayHidden)
{
    const std::string source = Slurp(samples / "h264.mp4");
    const size_t list = source.find("elst");
    ASSERT_NE(list, std::string::npos);
    const auto shown = [&](const std::string& name)
    { return RunCommand("ffmpeg -v error -i " + name + " -map 0:v -f framemd5 - | grep -v '#' | sed 's/.*,//'").out; };
    for (const unsigned milliseconds : {7720u, 7800u, 7840u, 7880u, 7920u})
    {
        std::string bytes = source;
        for (int i = 0; i < 4; ++i)
            bytes[list + 12 + static_cast<size_t>(i)] = static_cast<char>(milliseconds >> (24 - 8 * i));
        std::ofstream(folder / "ended.mp4", std::ios::binary) << bytes;
        ASSERT_EQ(Run("repack ended.mp4 out.mp4 -y").status, 0);
        const std::string expected = shown("ended.mp4");
        EXPECT_EQ(std::count(expected.begin(), expected.end(), '\n'), milliseconds / 40);
        EXPECT_EQ(shown("out.mp4"), expected) << milliseconds;
        EXPECT_EQ(Run("cut ended.mp4 out.mp4 -y --verify --keep 1-").status, 0) << milliseconds;
    }
}

} // namespace Tessor::Cli::Tests
