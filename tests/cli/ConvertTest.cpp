// Converts clips with the program and asks FFmpeg what came out.

#include "tests/cli/ProgramFixture.h"

#include <array>
#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>
#include <numbers>

using namespace Tessor::Cli::Tests;
using nlohmann::json;

namespace
{

class Convert : public Program
{
protected:
    /// What a shell command prints; it runs in the test's folder, with $S for the samples.
    std::string Ask(const std::string& command) const
    {
        const std::string whole = "cd '" + folder.string() + "' && S='" + samples.string() + "' && " + command;
        std::string text;
        FILE* pipe = popen(whole.c_str(), "r");
        std::array<char, 4096> part{};
        for (size_t size = 0; (size = fread(part.data(), 1, part.size(), pipe)) > 0;)
            text.append(part.data(), size);
        pclose(pipe);
        return text;
    }

    json Probe(const std::string& file, const std::string& track) const
    {
        const json all =
            json::parse(Ask("ffprobe -v error -count_frames -show_streams -show_format -of json -select_streams " +
                            track + " " + file));
        return all["streams"].empty() ? json() : all["streams"][0];
    }

    /// Samples of the first channel of a file.
    std::vector<float> Samples(const std::string& file) const
    {
        const std::string bytes = Ask("ffmpeg -v error -i " + file + " -map 0:a:0 -af pan='mono|c0=c0' -f f32le -");
        std::vector<float> samples(bytes.size() / sizeof(float));
        std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
        return samples;
    }
};

} // namespace

TEST_F(Convert, KeepsPicturesTimesAndSoundInEveryContainer)
{
    struct Row
    {
        const char *clip, *out, *video, *audio;
    };
    const Row rows[] = {
        {"h264.mp4", "a.mkv", "h264", "aac"},         {"h264.ts", "b.mp4", "h264", "aac"},
        {"mpeg2.vob", "c.ts", "h264", "aac"},         {"mpeg4.avi", "d.mov", "h264", "aac"},
        {"theora.ogv", "e.webm", "vp9", "opus"},      {"vp8.webm", "f.ogv", "theora", "vorbis"},
        {"wmv2.wmv", "g.avi", "mpeg4", "mp3"},        {"mpeg1.mpg", "h.vob", "mpeg2video", "ac3"},
        {"h264-cavlc.mov", "i.wmv", "wmv2", "wmav2"},
    };
    for (const Row& row : rows)
    {
        const std::string in = "$S/" + std::string(row.clip);
        const Outcome outcome = Run("convert " + in + " " + row.out + " --vf scale=width=160 --json");
        ASSERT_EQ(outcome.status, 0) << row.clip << outcome.err;
        const json source = Probe(in, "v:0"), video = Probe(row.out, "v:0"), audio = Probe(row.out, "a:0");
        EXPECT_EQ(video["codec_name"], row.video) << row.out;
        EXPECT_EQ(audio["codec_name"], row.audio) << row.out;
        EXPECT_EQ(video["width"], 160) << row.out;
        EXPECT_EQ(video["nb_read_frames"], source["nb_read_frames"]) << row.out;
        const double seconds =
            std::stod(Ask("ffprobe -v error -show_entries format=duration -of csv=p=0 " + std::string(row.out)));
        EXPECT_NEAR(seconds, 8, 0.15) << row.out;
        const json report = json::parse(outcome.out);
        EXPECT_EQ(std::to_string(report["tracks"][0]["items_out"].get<int>()), source["nb_read_frames"]) << row.out;
        EXPECT_EQ(report["tracks"][0]["frames_dropped"], 0) << row.out;
    }
}

TEST_F(Convert, PicturesAreThoseOfTheSource)
{
    ASSERT_EQ(Run("convert $S/h264.mp4 out.mp4 --crf 12 --preset ultrafast").status, 0);
    const std::string text =
        Ask("ffmpeg -v info -nostats -i out.mp4 -i $S/h264.mp4 -lavfi '[0:v][1:v]psnr' -f null - 2>&1");
    const size_t at = text.find("min:");
    ASSERT_NE(at, std::string::npos) << text;
    EXPECT_GT(std::stod(text.substr(at + 4)), 30) << "a picture at another place";
}

TEST_F(Convert, FrameRatesAreTold)
{
    const Outcome half = Run("convert $S/h264.mp4 out.mp4 --vf fps=rate=12.5 --preset ultrafast --no-audio");
    ASSERT_EQ(half.status, 0) << half.err;
    EXPECT_NE(half.out.find("25 to 12.5 fps: 0 frames doubled, 100 dropped"), std::string::npos) << half.out;
    EXPECT_EQ(Probe("out.mp4", "v:0")["nb_read_frames"], "100");
    EXPECT_TRUE(Probe("out.mp4", "a:0").is_null());
    const Outcome twice = Run("convert $S/h264.mp4 twice.mp4 --vf fps=rate=50 --preset ultrafast --no-audio");
    EXPECT_NE(twice.out.find("25 to 50 fps: 200 frames doubled, 0 dropped"), std::string::npos) << twice.out;
    EXPECT_EQ(Probe("twice.mp4", "v:0")["nb_read_frames"], "400");
}

TEST_F(Convert, OddSizesAreMadeEvenAndTold)
{
    const Outcome odd = Run("convert $S/h264.mp4 out.mp4 --vf scale=width=161:height=91:mode=exact --preset ultrafast");
    ASSERT_EQ(odd.status, 0) << odd.err;
    EXPECT_EQ(Probe("out.mp4", "v:0")["width"], 160);
    EXPECT_EQ(Probe("out.mp4", "v:0")["height"], 90);
    EXPECT_NE(odd.err.find("161x91 to 160x90"), std::string::npos) << odd.err;
}

TEST_F(Convert, RefusesInOneLineAndLeavesNothing)
{
    struct Row
    {
        const char* args;
        int status;
        const char* message;
    };
    const Row rows[] = {
        {"$S/h264.mp4 out.mp4 --video-encoder libnone", 1, "there is no encoder \"libnone\"; encoders of pictures"},
        {"$S/h264.mp4 out.mp4 --audio-encoder libx264", 1, "\"libx264\" encodes no sound"},
        {"$S/h264.mp4 out.webm --video-encoder libx264", 1, "can't carry what \"libx264\" encodes"},
        {"$S/h264.mp4 out.ogv --crf 20", 1, "libtheora does not take crf=20"},
        {"$S/h264.mp4 out.mp4 --crf 20 --video-bitrate 1M", 2, "exclude each other"},
        {"$S/h264.mp4 out.mp4 --vf scal", 2, "the nearest are scale"},
        {"$S/h264.mp4 out.mp4 --preset nonsense", 1, "libx264 knows no preset \"nonsense\"; it knows ultrafast"},
        {"$S/h264.mp4 out.mp4 --crf 60", 1, "libx264 takes crf from 0 to 51"},
        {"$S/h264.mp4 out.mp4 --no-video --no-audio", 1, "neither picture nor sound"},
        {"$S/h264.mp4 out.mp4 --af avfilter=graph=nonsense", 1, "nonsense"},
    };
    for (const Row& row : rows)
    {
        const Outcome outcome = Run("convert " + std::string(row.args));
        EXPECT_EQ(outcome.status, row.status) << row.args << outcome.err;
        EXPECT_NE(outcome.err.find(row.message), std::string::npos) << row.args << ": " << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
        EXPECT_TRUE(FilesLeft().empty()) << row.args;
    }
}

TEST_F(Convert, TonesAndMixesAreTheSamplesThatTheyShouldBe)
{
    ASSERT_EQ(
        Run("tone a.wav --frequency 1000 --duration 2.5 --level 0.5 --layout mono --audio-encoder pcm_f32le").status,
        0);
    ASSERT_EQ(Run("tone b.wav --frequency 250 --duration 1 --level 0.8 --layout mono --audio-encoder pcm_f32le").status,
              0);
    const Outcome mix = Run("mix a.wav:50 b.wav:-25 out.wav --audio-encoder pcm_f32le");
    ASSERT_EQ(mix.status, 0) << mix.err;
    const std::vector<float> tone = Samples("a.wav"), sum = Samples("out.wav");
    ASSERT_EQ(tone.size(), 120000u);
    ASSERT_EQ(sum.size(), 120000u);
    double worst = 0;
    for (size_t i = 0; i < sum.size(); ++i)
    {
        const double turn = 2 * std::numbers::pi * static_cast<double>(i) / 48000;
        const double first = 0.5 * std::sin(1000 * turn);
        const double second = i < 48000 ? 0.8 * std::sin(250 * turn) : 0;
        worst = std::max({worst, std::abs(tone[i] - first), std::abs(sum[i] - (0.5 * first - 0.25 * second))});
    }
    EXPECT_LT(worst, 1e-5);
    EXPECT_NE(Run("detect volume a.wav").out.find("peak 0.5000 (-6.0 dB)"), std::string::npos);
}

// A click under a flash stays there in every container, whatever run-in an encoder of sound needs.
TEST_F(Convert, SoundKeepsItsPlaceAndLength)
{
    Ask("ffmpeg -v error -f lavfi -i \"color=black:s=64x48:r=50,geq=lum='if(eq(N,50),235,16)':cb=128:cr=128\" "
        "-f lavfi -i \"aevalsrc='if(between(t,1,1.005),0.9,0)':s=48000:d=2\" -t 2 -c:v libx264 -c:a pcm_s16le in.mov");
    for (const char* out : {"a.mp4", "b.mkv", "c.avi", "d.ts", "e.webm", "f.mov", "g.vob"})
    {
        ASSERT_EQ(Run(std::string("convert in.mov ") + out).status, 0) << out;
        const std::string name(out);
        const auto start = [&](const char* track)
        {
            return Ask(
                "ffprobe -v error -of csv=p=0 -show_entries frame=best_effort_timestamp_time -read_intervals %+0.3 "
                "-select_streams " +
                std::string(track) + " " + name);
        };
        const std::string flash = Ask("ffmpeg -v error -i " + name +
                                      " -map 0:v -vf scale=1:1,format=gray -f rawvideo "
                                      "-fps_mode passthrough -");
        const std::vector<float> sound = Samples(name);
        const auto bright = std::find_if(flash.begin(), flash.end(), [](char c) { return (c & 0x80) != 0; });
        const auto loud = std::find_if(sound.begin(), sound.end(), [](float s) { return std::abs(s) > 0.3F; });
        const double seen = std::stod(start("v:0")) + static_cast<double>(bright - flash.begin()) / 50;
        const double heard = std::stod(start("a:0")) + static_cast<double>(loud - sound.begin()) / 48000;
        EXPECT_NEAR(heard, seen, 0.006) << out;
        EXPECT_NEAR(static_cast<double>(sound.size()) / 48000, 2, 0.06) << out;
        EXPECT_EQ(flash.size(), 100u) << out;
    }
}

TEST_F(Convert, StreamsThatChangeInTheMiddleBecomeOneSizeAndFormat)
{
    Ask("for p in 320x240:yuv420p 161x121:yuv444p; do ffmpeg -v error -f lavfi -i testsrc2=size=${p%:*}:rate=25 -t 1 "
        "-pix_fmt ${p#*:} -c:v libx264 -preset ultrafast -f h264 - ; done > in.264");
    const Outcome outcome = Run("convert in.264 out.mp4 --preset ultrafast");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json video = Probe("out.mp4", "v:0");
    EXPECT_EQ(video["nb_read_frames"], "50");
    EXPECT_EQ(video["width"], 320);
    EXPECT_EQ(video["pix_fmt"], "yuv420p");
}

// Sound that goes on is no reason to hold the last picture; what came before the first key picture can't be shown.
TEST_F(Convert, OnlyThePicturesThatThereAre)
{
    Ask("ffmpeg -v error -i $S/h264.mp4 -t 2 -an -c copy v.mp4; ffmpeg -v error -i v.mp4 -i $S/h264.mp4 -map 0:v -map "
        "1:a "
        "-c copy in.mp4");
    ASSERT_EQ(Run("convert in.mp4 out.mp4 --vf fps=rate=50 --preset ultrafast").status, 0);
    // the last of the copied pictures ends at 2.2 s, the sound at 8 s
    EXPECT_EQ(Probe("out.mp4", "v:0")["nb_read_frames"], "110");
    const fs::path clip = fs::path(TESSOR_SOURCE_DIR) / "../shared/media/h264-missing-idr.264";
    if (!fs::exists(clip))
        GTEST_SKIP() << "no clips";
    fs::create_symlink(clip, folder / "cut.264");
    const Outcome outcome = Run("convert cut.264 cut.mp4 --preset ultrafast");
    EXPECT_NE(outcome.err.find("27 pictures before the first key picture"), std::string::npos) << outcome.err;
    EXPECT_EQ(Probe("cut.mp4", "v:0")["nb_read_frames"], "70");
}
