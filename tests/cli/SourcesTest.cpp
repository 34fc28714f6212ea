#include "jobs/verify/VerifyJob.h"
#include "tests/cli/ProgramFixture.h"

namespace Tessor::Cli::Tests
{

// Tracks that the beginning of a transport stream does not tell of.
TEST_F(Program, TracksThatBeginLaterAreFound)
{
    const std::string make =
        "ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 -f lavfi -i sine -c:v mpeg2video "
        "-c:a mp2 -muxdelay 0 -f mpegts ";
    Make("(" + make + "-t 10 -b:v 6M -minrate 6M -maxrate 6M -bufsize 1M -; " + make +
         "-t 4 -output_ts_offset 10 -mpegts_start_pid 0x200 -; " + make + "-t 4 -output_ts_offset 14 -) >late.ts");
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
    std::string source = Slurp(samples / "h264.mp4");
    const size_t list = source.find("elst");
    ASSERT_NE(list, std::string::npos);
    const auto shown = [&](const std::string& name)
    { return RunCommand("ffmpeg -v error -i " + name + " -map 0:v -f framemd5 - | grep -v '#' | sed 's/.*,//'").out; };
    // of the last group but one a picture that is hidden comes before two that are not
    constexpr unsigned milliseconds = 7840;
    for (int i = 0; i < 4; ++i)
        source[list + 12 + static_cast<size_t>(i)] = static_cast<char>(milliseconds >> (24 - 8 * i));
    std::ofstream(folder / "ended.mp4", std::ios::binary) << source;
    ASSERT_EQ(Run("repack ended.mp4 out.mp4 -y").status, 0);
    const std::string expected = shown("ended.mp4");
    EXPECT_EQ(std::count(expected.begin(), expected.end(), '\n'), milliseconds / 40);
    EXPECT_EQ(shown("out.mp4"), expected);
    EXPECT_EQ(Run("cut ended.mp4 out.mp4 -y --verify --keep 1-").status, 0);
}

// What an edit list hides before its start is cut off where the container would show it. Where groups can't be parted
// it is shown, which is told, and the judge accepts no more than that.
TEST_F(Program, PicturesThatAnEditListHidesAreCutOffOrTold)
{
    // 13 pictures more where they are shown
    const std::tuple<std::string, std::string, int, bool> rows[] = {
        {"h264.mp4", "o.mp4", 187, false}, {"h264.mp4", "o.mkv", 187, true},  {"h264.mp4", "o.avi", 187, true},
        {"mpeg4.mp4", "o.ts", 187, true},  {"hevc.mp4", "o.mov", 187, false}, {"hevc.mp4", "o.mkv", 200, false}};
    for (const auto& [clip, output, pictures, cut] : rows)
    {
        SCOPED_TRACE(clip + output);
        Make("ffmpeg -v error -y -ss 0.5 -i $S/" + clip + " -c copy in.mp4");
        const json report = Report("cut in.mp4 " + output + " -y --verify --keep 0-");
        EXPECT_EQ(report["verify"]["output_pictures"], pictures) << report;
        EXPECT_EQ(report["tracks"][0]["recoded_packets"] > 0, cut) << report;
        EXPECT_EQ(report["warnings"].dump().find("which are shown") != std::string::npos, pictures == 200);
        Jobs::VerifySettings untold;
        untold.source = folder / "in.mp4";
        untold.output = folder / output;
        untold.intervals = {{0, MAX_DURATION}};
        untold.keepsLead = !cut;
        for (const json& track : report["tracks"])
            untold.tracks.push_back(track["index"]);
        Jobs::NoProgress nobody;
        EXPECT_EQ(Jobs::VerifyJob(untold).Run(nobody).IsGood(), pictures == 187);
    }
}

// A cover becomes no track of video: it is written as the container has covers, or left out with a warning.
TEST_F(Program, CoversStayCovers)
{
    Make(
        "ffmpeg -v error -f lavfi -i testsrc2=s=64x64 -frames:v 1 c.png && "
        "ffmpeg -v error -i c.png c.jpg && ffmpeg -v error -f lavfi -i sine=d=4 -i c.jpg -map 0 -map 1 -c:a libmp3lame "
        "-c:v copy -disposition:v attached_pic in.mp3 && ffmpeg -v error -i $S/h264.mp4 -i c.png -i c.jpg "
        "-map 0 -map 1 -map 2 -c copy -disposition:v:1 attached_pic -disposition:v:2 attached_pic in.mp4");
    const std::tuple<std::string, std::string, std::string, size_t> rows[] = {
        {"in.mp4", "o.m4a", "png mjpeg ", 0},
        {"in.mp4", "o.mkv", "png cover.png mjpeg cover-2.jpg ", 0},
        {"o.mkv", "p.mp4", "png mjpeg ", 0},
        {"in.mp4", "o.mov", "", 2},
        {"in.mp4", "o.ts", "", 2},
        {"in.mp3", "o.mp3", "mjpeg ", 0},
        {"in.mp3", "o.avi", "", 1}};
    for (const auto& [input, output, wanted, missing] : rows)
    {
        SCOPED_TRACE(input + output);
        const json report = Report("cut " + input + " " + output + " --verify --keep 0.5-2");
        EXPECT_EQ(report["verify"]["good"], true) << report;
        const std::string warnings = report["warnings"].dump();
        size_t leftOut = 0;
        for (size_t at = 0; (at = warnings.find("(cover, ", at)) != std::string::npos; ++at)
            ++leftOut;
        EXPECT_EQ(leftOut, missing) << warnings;
        const std::string covers = Ask(
            "-select_streams v -show_entries stream=codec_name:stream_disposition=attached_pic:stream_tags=filename " +
            output + " | sed -n 's/,1$//p; s/,1,/ /p'");
        EXPECT_EQ(covers, wanted);
    }
}

// What readers would not find again is left out; what they can't decode without its header gets that.
TEST_F(Program, WhatIsCarriedComesBack)
{
    // the items that come back of the first track, none where it is left out
    const std::tuple<std::string, std::string, int> rows[] = {
        {"-i $S/mpeg4.mp4 -map 0:v -c copy", "o.ts", 200},
        {"-f lavfi -i testsrc2=s=64x64:d=1 -c:v mjpeg", "o.ts", 0},
        {"-f lavfi -i sine=d=1 -c:a aac", "o.wav", 0},
        {"-f lavfi -i sine=d=1:r=16000 -c:a libspeex", "o.wav", 0},
        {"-f lavfi -i sine=d=1:r=48000 -c:a ac3", "o.wav", 32},
        {"-f lavfi -i sine=d=1:r=48000 -c:a libopus", "o.caf", 51}};
    for (const auto& [source, output, items] : rows)
    {
        SCOPED_TRACE(source);
        Make("ffmpeg -v error -y " + source + " in.mkv");
        const Outcome repacked = Run("repack in.mkv " + output + " -y");
        EXPECT_EQ(repacked.status, items == 0) << repacked.err;
        EXPECT_EQ(repacked.err.find("can carry none of the tracks") != std::string::npos, items == 0);
        if (items == 0)
            continue;
        const std::string found = Ask("-count_frames -show_entries stream=nb_read_frames " + output);
        EXPECT_EQ(std::atoi(found.c_str()), items) << found;
    }
}

// Packets of TrueHD are shorter than a tick of Matroska, and several share a stamp.
TEST_F(Program, PacketsShorterThanATickKeepTheirTimes)
{
    Make("ffmpeg -v error -f lavfi -i sine=d=10:r=48000 -c:a truehd -strict -2 short.mkv");
    ASSERT_EQ(Run("repack short.mkv out.mkv").status, 0);
    const std::string expected = Ask("-show_entries packet=pts_time short.mkv");
    EXPECT_NE(expected.find("9.99"), std::string::npos);
    EXPECT_EQ(Ask("-show_entries packet=pts_time out.mkv"), expected);
}

// AVI packs pictures for players that know no reordering: each is shown where such a player shows it.
TEST_F(Program, PackedPicturesAreTakenApart)
{
    Make("ffmpeg -v error -f lavfi -i testsrc2=size=128x96:rate=25:d=4 -c:v libxvid -bf 2 "
         "-g 25 -q:v 3 in.avi && ffmpeg -v error -i in.avi -c copy in.mp4");
    const auto shown = [&](const std::string& name)
    {
        return RunCommand("ffmpeg -v error -i " + name +
                          " -f framemd5 - | grep -v '#' | awk -F, 'NR == 1 {first = $3} {print $3 - first, $6}'")
            .out;
    };
    const std::string expected = shown("in.avi");
    for (const std::string way : {"in.avi out.avi", "in.avi out.mkv", "in.mp4 out.mp4"})
    {
        ASSERT_EQ(Run("repack " + way + " -y").status, 0);
        EXPECT_EQ(shown(way.substr(7)), expected) << way;
        EXPECT_EQ(Report("cut " + way + " -y --verify --remove 1.05-3.3")["verify"]["output_pictures"], 48) << way;
    }
}

// What containers ask of a piece: readers look for a transport stream's packets, of which a short piece of sound has
// few; in AVI pictures are counted in decoding order, and those left out must not leave a hole before the next.
TEST_F(Program, PiecesAreReadAsWhatTheyAre)
{
    Make("ffmpeg -v error -f lavfi -i sine=d=2:r=48000 -c:a aac -b:a 16k sound.mp4");
    for (const std::string args : {"sound.mp4 out.ts --keep 0.1-0.25", "$S/mpeg1.mpg out.avi --keep 1-2,4.1-5,6-6.5",
                                   "$S/mpeg2.vob out.avi --keep 1-2,4.1-5,6-6.5"})
        EXPECT_EQ(Report("cut " + args + " -y --verify")["verify"]["good"], true) << args;
}

} // namespace Tessor::Cli::Tests
