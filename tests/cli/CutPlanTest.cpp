// What a plan says, and that the cut then does it.

#include "tests/cli/ProgramFixture.h"

using namespace Tessor::Cli::Tests;

namespace
{

struct Sums
{
    long long pictures = 0, bytes = 0, copied = 0, recoded = 0;
};

class Planning : public Program
{
protected:
    /// Pictures and bytes of a track as FFmpeg counts them.
    Sums Probe(const std::string& clip, int track) const
    {
        std::istringstream sizes(
            Ask("-select_streams " + std::to_string(track) + " -show_entries packet=size " + clip));
        Sums sums;
        for (long long size; sizes >> size; ++sums.pictures)
            sums.bytes += size;
        return sums;
    }

    static Sums Add(const json& plan, int track)
    {
        Sums sums;
        for (const json& row : plan["groups"])
        {
            if (row["track"] != track)
                continue;
            sums.pictures += row["pictures"].get<long long>();
            sums.bytes += row["bytes"].get<long long>();
            sums.copied += row["copied_pictures"].get<long long>();
            sums.recoded += row["recoded_pictures"].get<long long>();
        }
        return sums;
    }
};

} // namespace

TEST_F(Planning, AddsUpToTheFileAndIsWhatTheCutDoes)
{
    // the first with short groups and the second with long ones
    Make("ffmpeg -v error -f lavfi -i testsrc2=size=64x64:rate=25 -f lavfi -i testsrc=size=64x64:rate=25 -map 0 -map 1 "
         "-t 12 -c:v mpeg2video -bf:v:0 2 -g:v:0 12 -c:v:1 mpeg4 -g:v:1 150 -sc_threshold 1000000000 two.mkv");
    for (const std::string clip : {"two.mkv", "$S/h264.mp4", "$S/hevc.mp4", "$S/mpeg2.vob", "$S/vp9.webm"})
        for (const std::string keep : {"0.52-2.2,3.08-6.4", "1-1.04,5-5.52", "2.4-7.96"})
        {
            SCOPED_TRACE(clip + " " + keep);
            const json plan = Report("cut " + clip + " --plan --keep " + keep);
            const json done = Report("cut " + clip + " out.mkv -y --keep " + keep);
            EXPECT_EQ(plan["intervals"], done["intervals"]);
            for (const json& track : done["tracks"])
            {
                if (track["kind"] != "video")
                    continue;
                const Sums file = Probe(clip, track["index"]), sums = Add(plan, track["index"]);
                EXPECT_EQ(sums.pictures, file.pictures) << track["index"];
                EXPECT_EQ(sums.bytes, file.bytes) << track["index"];
                EXPECT_EQ(sums.copied, track["copied_packets"]) << track["index"];
                EXPECT_EQ(sums.recoded, track["recoded_packets"]) << track["index"];
            }
        }
}

// The cut takes a group of more than 50 MB in parts: none of them can be decoded.
TEST_F(Planning, GroupsThatAreTooLargeStayWhole)
{
    Make("ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 -f lavfi -i sine=sample_rate=48000 -t 7 "
         "-c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 75 -keyint_min 75 -sc_threshold 0 "
         "-x264-params nal-hrd=cbr -b:v 170M -maxrate 170M -minrate 170M -bufsize 170M -c:a aac large.mp4");
    const std::string args = " --keep 0.52-1,4-4.52,6.2-6.6";
    // the last group is short, and cut where it was asked for
    const json kept = json::parse("[[0.0, 6.0], [6.2, 6.6]]");
    const json plan = Report("cut large.mp4 --plan" + args);
    EXPECT_EQ(plan["intervals"], kept);
    EXPECT_EQ(plan["warnings"].size(), 2u) << plan["warnings"];
    EXPECT_EQ(plan["groups"][1]["reason"], "kept whole: it is too large to be re-encoded");
    const json report = Report("cut large.mp4 out.mp4 --verify" + args);
    EXPECT_EQ(report["intervals"], kept);
    EXPECT_EQ(report["verify"]["good"], true) << report["verify"];
    EXPECT_EQ(report["tracks"][0]["recoded_packets"], 10);
    EXPECT_NE(report["warnings"].dump().find("track 0: the group of pictures from 0:00:03.000000"), std::string::npos)
        << report["warnings"];
}

TEST_F(Planning, WhatHasNothingInTheKeptTimeIsLeftOut)
{
    Make("printf '1\\n00:00:01,000 --> 00:00:02,000\\none\\n' >s.srt && ffmpeg -v error -f lavfi -i "
         "testsrc2=size=64x64:rate=25:duration=6 -f lavfi -i testsrc=size=64x64:rate=25:duration=3 -f lavfi -i "
         "sine=duration=8 -f lavfi -i sine=duration=4 -i s.srt -map 0 -map 1 -map 2 -map 3 -map 4 -c:v mpeg4 "
         "-c:a ac3 -c:s srt source.mkv");
    // the tracks that are there, video first
    const std::tuple<std::string, json> rows[] = {
        {"1.5-7", {0, 1, 2, 3, 4}}, {"2.5-5", {0, 1, 2, 3}}, {"3.5-5", {0, 2, 3}}, {"6.5-7", {2}}};
    for (const auto& [keep, tracks] : rows)
    {
        const json report = Report("cut source.mkv out.mkv -y --verify --keep " + keep);
        json there = json::array();
        for (const json& track : report["tracks"])
            there.push_back(track["index"]);
        EXPECT_EQ(there, tracks) << keep;
        EXPECT_EQ(report["warnings"].size(), 5 - tracks.size()) << report["warnings"];
        EXPECT_EQ(report["verify"]["good"], true) << report["verify"];
    }
    fs::remove(folder / "out.mkv");
    ASSERT_EQ(
        RunCommand("ffmpeg -v error -i source.mkv -itsoffset 5 -i source.mkv -map 0:a:1 -map 1:a:1 -c copy gap.mkv")
            .status,
        0);
    const Outcome nothing = Run("cut gap.mkv out.mkv --keep 4.3-4.7");
    EXPECT_EQ(nothing.status, 1);
    EXPECT_NE(nothing.err.find("gap.mkv: there is neither picture nor sound in the kept time"), std::string::npos)
        << nothing.err;
    EXPECT_FALSE(fs::exists(folder / "out.mkv"));
}
