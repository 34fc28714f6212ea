// Converts clips with the program and asks FFmpeg what came out.

#include "tests/cli/ProgramFixture.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>

using namespace Tessor::Cli::Tests;

namespace
{

class Convert : public Program
{
protected:
    /// "video", "audio" and "format" as ffprobe sees them.
    json Probe(const std::string& file) const
    {
        const json all =
            json::parse(RunCommand("ffprobe -v error -count_frames -show_streams -show_format -of json " + file).out);
        json found{{"format", all["format"]}};
        for (const json& stream : all["streams"])
            found[stream["codec_type"].get<std::string>()] = stream;
        return found;
    }

    /// The mean level of each picture of a file.
    std::string Levels(const std::string& file) const
    {
        return RunCommand("ffmpeg -v error -i " + file +
                          " -map 0:v -vf scale=1:1,format=gray -f rawvideo -fps_mode passthrough -")
            .out;
    }

    /// Samples of the first channel of a file.
    std::vector<float> Samples(const std::string& file) const
    {
        const std::string bytes =
            RunCommand("ffmpeg -v error -i " + file + " -map 0:a:0 -af pan='mono|c0=c0' -f f32le -").out;
        std::vector<float> samples(bytes.size() / sizeof(float));
        std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
        return samples;
    }
};

// One wrong time is seen as what a careless multiplexer makes of it: all that follows stands still there.
TEST_F(Convert, WrongTimesCostNothingAndGapsHaveALimit)
{
    Make("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=25:d=4 -f lavfi -i sine=d=4:r=48000 -c:v mpeg4 -bf 0 "
         "-c:a pcm_s16le in.mkv; for way in eq:10800 gte:12; do later=\"if(${way%:*}(N,50),%s+${way#*:}/TB,%s)\"; "
         "stamps=$(printf \"setts=pts='$later':dts='$later'\" PTS PTS DTS DTS); "
         "ffmpeg -v error -i in.mkv -c copy -bsf:v $stamps -bsf:a $stamps ${way%:*}.mkv; done");
    // seconds of sound, and pictures, of which one may stand for the limit
    const std::tuple<std::string, int, int, std::string> rows[] = {
        {"eq.mkv out.mkv", 4, 100, "damaged packets"},
        {"gte.mkv out.mkv", 4, 349, "1 gap of more than 0:00:10.000000 closed"},
        {"gte.mkv out.mkv --max-gap 15", 16, 400, ""},
    };
    for (const auto& [args, seconds, pictures, told] : rows)
    {
        const json report = Report("convert -y --audio-encoder pcm_s16le --preset ultrafast "
                                   "--vf \"avfilter=graph='fps=25'\" " +
                                   args);
        EXPECT_NEAR(report["tracks"][0]["items_out"], pictures, 1) << args;
        EXPECT_NEAR(static_cast<double>(Samples("out.mkv").size()), seconds * 48000, 2048) << args;
        EXPECT_NE(report["warnings"].dump().find(told), std::string::npos) << report["warnings"];
    }
}

} // namespace

// The encoder tells in the stream.
TEST_F(Convert, ThreadsAreLimited)
{
    for (const std::string count : {"1", "3"})
    {
        Make(TESSOR_PROGRAM " convert $S/h264.mp4 out.mp4 -y --keep 0-0.5 --preset ultrafast --threads " + count);
        EXPECT_NE(Slurp(folder / "out.mp4").find(" threads=" + count + " "), std::string::npos);
    }
    for (const std::string wrong : {"0", "65", "2x", "-1"})
        EXPECT_EQ(Run("detect volume $S/h264.mp4 --threads=" + wrong).status, 2) << wrong;
}

TEST_F(Convert, KeepsPicturesTimesAndSoundInEveryContainer)
{
    const std::tuple<std::string, std::string, std::string, std::string> rows[] = {
        {"h264.mp4", "a.mkv", "h264", "aac"},         {"h264.ts", "b.mp4", "h264", "aac"},
        {"mpeg2.vob", "c.ts", "h264", "aac"},         {"mpeg4.avi", "d.mov", "h264", "aac"},
        {"theora.ogv", "e.webm", "vp9", "opus"},      {"vp8.webm", "f.ogv", "theora", "vorbis"},
        {"wmv2.wmv", "g.avi", "mpeg4", "mp3"},        {"mpeg1.mpg", "h.vob", "mpeg2video", "ac3"},
        {"h264-cavlc.mov", "i.wmv", "wmv2", "wmav2"},
    };
    for (const auto& [clip, out, pictures, sound] : rows)
    {
        const std::string in = "$S/" + clip;
        const json report = Report("convert " + in + " " + out + " --vf scale=width=160");
        const json source = Probe(in)["video"], result = Probe(out), video = result["video"];
        EXPECT_EQ(video["codec_name"], pictures) << out;
        EXPECT_EQ(result["audio"]["codec_name"], sound) << out;
        EXPECT_EQ(video["width"], 160) << out;
        EXPECT_EQ(video["nb_read_frames"], source["nb_read_frames"]) << out;
        EXPECT_NEAR(std::stod(result["format"]["duration"].get<std::string>()), 8, 0.15) << out;
        EXPECT_EQ(std::to_string(report["tracks"][0]["items_out"].get<int>()), source["nb_read_frames"]) << out;
        EXPECT_EQ(report["tracks"][0]["frames_dropped"], 0) << out;
    }
}

// FFmpeg counts the pictures; the samples are those between the times that the report tells.
TEST_F(Convert, ACutIsExactToThePictureAndTheSample)
{
    const std::string sound = "-f lavfi -i \"aevalsrc='sin(40*t*t)/2':s=44100:d=14\"";
    Make("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=25:d=14 " + sound +
         " -c:v libx264 -g 40 -bf 3 -x264-params open-gop=1:b-pyramid=normal -c:a pcm_s16le open.mkv; "
         "ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=30000/1001:d=14 " +
         sound + " -vf 'select=mod(n\\,7)*gt(mod(n\\,31)\\,3)' -fps_mode vfr -c:v libx264 -g 40 -c:a aac vfr.mp4");
    const std::tuple<std::string, std::vector<std::pair<int, int>>> rows[] = {
        {"open.mkv", {{0, 1}, {165, 166}, {330, 349}}}, // with stretches that are jumped; times are whole milliseconds
        {"open.mkv", {{37, 39}, {79, 80}, {81, 83}}},   // leading pictures; more than one bound in a block of sound
        {"open.mkv", {{0, 120}}},
        {"vfr.mp4", {{3, 9}, {10, 11}, {250, 290}}},
    };
    for (const auto& [clip, pieces] : rows)
    {
        std::string keep, pictures;
        for (const auto& [first, end] : pieces)
        {
            keep += " --keep " + std::to_string(first) + "f-" + std::to_string(end) + "f";
            pictures += (pictures.empty() ? "" : "+") + ("between(n\\," + std::to_string(first)) + "\\," +
                        std::to_string(end - 1) + ")";
        }
        const json report =
            Report("convert -y " + clip + " out.mkv --video-encoder ffv1 --audio-encoder pcm_f32le" + keep);
        const auto decode = [this](const std::string& args)
        { return RunCommand("ffmpeg -v error -i " + args + " -fps_mode passthrough -f md5 -").out; };
        EXPECT_EQ(decode("out.mkv -map 0:v"), decode(clip + " -map 0:v -vf 'select=" + pictures + "'")) << keep;

        const std::vector<float> source = Samples(clip);
        std::vector<float> kept;
        double length = 0;
        for (const json& interval : report["intervals"])
        {
            const double start = interval[0], end = interval[1];
            kept.insert(kept.end(), source.begin() + std::lround(start * 44100),
                        source.begin() + std::lround(end * 44100));
            length += end - start;
        }
        EXPECT_TRUE(Samples("out.mkv") == kept) << keep;
        EXPECT_NEAR(report["duration"].get<double>(), length, 1e-4) << keep;
    }
}

TEST_F(Convert, ACutPartsStillsAndMovesWhatIsCopied)
{
    std::ofstream(folder / "s.srt") << "1\n00:00:00,400 --> 00:00:01,200\nline\n";
    std::ofstream(folder / "c.txt") << ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=4000\ntitle=one\n";
    Make("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=1:d=4 -i s.srt -i c.txt -map_chapters 2 -c:v ffv1 stills.mkv");
    const json report = Report(
        "convert stills.mkv out.mkv --video-encoder ffv1 --keep 0.25-0.5,0.75-1.5 --vf fade=direction=in:duration=0.5");
    EXPECT_EQ(report["intervals"], json({{0.25, 0.5}, {0.75, 1.5}}));
    // the first still twice, once before and once after the seam; the filters see what is left
    EXPECT_EQ(Ask("-show_entries packet=pts_time -select_streams v out.mkv"), "0.000000 0.250000 0.500000 ");
    EXPECT_EQ(report["duration"], 1);
    EXPECT_EQ(Ask("-show_entries packet=pts_time,duration_time -select_streams s out.mkv"), "0.150000,0.550000 ");
    EXPECT_EQ(Ask("-show_entries chapter=start_time,end_time out.mkv"), "0.500000,1.000000 ");
    const std::string levels = Levels("out.mkv");
    ASSERT_EQ(levels.size(), 3u);
    EXPECT_LT(levels[0], 20) << "the fade begins with the result";
    Make("ffmpeg -v error -i stills.mkv -f lavfi -i sine=d=1 -map 0:v -map 1:a -c:v copy -c:a flac short.mkv");
    const std::string told = Run("convert -y short.mkv out.mkv --keep 2-3").err;
    EXPECT_NE(told.find("track 1 (audio, flac) is left out: it has nothing in the kept time"), std::string::npos)
        << told;
}

TEST_F(Convert, PicturesAreThoseOfTheSource)
{
    // the last two have a usual rate, which goes with the size of the pictures
    for (const std::string encoder : {"libx264 --crf 12 --preset ultrafast", "libvpx", "msmpeg4v2"})
    {
        ASSERT_EQ(Run("convert -y $S/h264.mp4 out.mkv --video-encoder " + encoder).status, 0);
        const std::string text =
            RunCommand("ffmpeg -v info -nostats -i out.mkv -i $S/h264.mp4 -lavfi '[0:v][1:v]psnr' -f null - 2>&1").out;
        const size_t at = text.find("min:");
        ASSERT_NE(at, std::string::npos) << text;
        EXPECT_GT(std::stod(text.substr(at + 4)), 36) << encoder;
    }
}

TEST_F(Convert, WhatChangesIsTold)
{
    Make("for p in 320x240:yuv420p 161x121:yuv444p; do ffmpeg -v error -f lavfi -i "
         "testsrc2=size=${p%:*}:rate=25 -t 1 -pix_fmt ${p#*:} -c:v libx264 -preset ultrafast -f h264 - ; done | "
         "cat > sizes.264; ffmpeg -v error -i $S/h264.mp4 -t 2 -an -c copy v.mp4; "
         "ffmpeg -v error -i v.mp4 -i $S/h264.mp4 -map 0:v -map 1:a -c copy longer.mp4");
    const std::tuple<std::string, std::string, int, bool, std::string> rows[] = {
        {"$S/h264.mp4 out.mp4 --no-audio --vf fps=rate=12.5", "100", 640, false,
         "25 to 12.5 fps: 0 frames doubled, 100 dropped"},
        {"$S/h264.mp4 out.mp4 --vf fps=rate=50", "400", 640, true, "25 to 50 fps: 200 frames doubled, 0 dropped"},
        {"$S/h264.mp4 out.mp4 --vf scale=width=161:height=91:mode=exact", "200", 160, true, "161x91 to 160x90"},
        // graphs that change sizes and rates, and hold pictures back
        {"$S/h264.mp4 out.mp4 --vf \"avfilter=graph='yadif=deint=all,transpose,fps=10'\"", "80", 360, true, ""},
        {"sizes.264 out.mp4 --vf \"avfilter=graph='yadif=deint=all,transpose'\"", "50", 240, false, ""},
        // a stream that changes in the middle becomes one size and format
        {"sizes.264 out.mp4", "50", 320, false, ""},
        // the last of its pictures ends at 2.2 s; sound that goes on is no reason to hold it
        {"longer.mp4 out.mp4 --vf fps=rate=50", "110", 640, true, ""},
        {"$S/h264-headless.264 out.mp4", "70", 176, false, "27 pictures before the first key picture"},
    };
    for (const auto& [args, frames, width, sound, told] : rows)
    {
        const Outcome outcome = Run("convert -y --preset ultrafast " + args);
        ASSERT_EQ(outcome.status, 0) << args << outcome.err;
        EXPECT_NE((outcome.out + outcome.err).find(told), std::string::npos) << outcome.out << outcome.err;
        const json result = Probe("out.mp4"), video = result["video"];
        EXPECT_EQ(video["nb_read_frames"], frames) << args;
        EXPECT_EQ(video["pix_fmt"], "yuv420p") << args;
        EXPECT_EQ(video["width"], width) << args;
        EXPECT_EQ(result.contains("audio"), sound) << args;
    }
}

// Who works on pictures sees what the container says of them, and what a stream says anew in the middle.
TEST_F(Convert, PicturesAreShapedAndScannedAsTheyAreShown)
{
    Make("white='-v error -f lavfi -i color=white:s=64x36:r=25:d=0.2'; "
         "ffmpeg $white -c:v mpeg4 v.mp4; ffmpeg -v error -i v.mp4 -c copy -aspect 4:3 asp.mp4; "
         "for a in 4:3 16:9; do ffmpeg $white -c:v mpeg2video -bf 0 -aspect $a -f mpeg2video - ; done > asp.m2v; "
         "ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=50:d=0.4 -vf tinterlace=interleave_top,format=yuv422p "
         "-c:v huffyuv -field_order tt fields.mkv");
    const auto brightest = [this](const std::string& clip)
    {
        const std::string args = "convert -y " + clip + " out.mkv --video-encoder ffv1 --vf ";
        EXPECT_EQ(Run(args + "scale=width=64:height=48:mode=fit").status, 0) << clip;
        return Ask("-f lavfi movie=out.mkv,crop=iw:2:0:0,signalstats -show_entries frame_tags=lavfi.signalstats.YMAX");
    };
    EXPECT_EQ(brightest("asp.mp4"), "235 235 235 235 235 ") << "there is no room for bars";
    const std::string levels = brightest("asp.m2v");
    EXPECT_EQ(levels.substr(0, 3) + levels.substr(levels.size() - 4), "235 16 ") << "the second half is wider";
    const auto sum = [this](const std::string& filters)
    {
        EXPECT_EQ(Run("convert -y fields.mkv out.mkv --video-encoder ffv1" + filters).status, 0);
        return RunCommand("ffmpeg -v error -i out.mkv -map 0:v -f md5 -").out;
    };
    EXPECT_NE(sum(" --vf deinterlace"), sum("")) << "the codec has no word for fields";
}

// What follows such a chain, and the report, go by what comes out of it.
TEST_F(Convert, ChainsThatChangeTimeTellHowLongTheyLast)
{
    Make("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:r=25:d=2 -f lavfi -i sine=d=2:r=48000 -c:v ffv1 "
         "-c:a pcm_s16le in.mkv");
    // a chain of sound has no frames
    const std::tuple<std::string, std::string, std::string, double, int> rows[] = {
        {"--vf", "setpts=2*PTS", ",fps=rate=25", 4, 100},
        {"--vf", "trim=end=1", ",fade=direction=out", 1, 25},
        {"--vf", "select=not(mod(n\\,2))", "", 2, 25},
        {"--vf", "tpad=stop_duration=1", ",fps=rate=50", 3, 150},
        {"--vf", "fps=250", "", 2, 500}, // far more than one for one
        {"--vf", "tmedian", ",fade=direction=out", 1.92, 48},
        {"--vf", "loop=loop=20:size=25", "", 23, 550}, // FFmpeg's loop leaves its own length free after it
        {"--af", "atrim=end=1", ",fade=direction=out", 1, 0},
        {"--af", "areverse", "", 2, 0},
        {"--af", "apad=whole_dur=3", ",fade=direction=out", 3, 0},
        {"--af", "aloop=loop=20:size=48000", "", 22, 0},
    };
    for (const auto& [kind, graph, next, seconds, frames] : rows)
    {
        const std::string chain = kind + " \"avfilter=graph='" + graph + "'" + next + "\"";
        const json report = Report("convert -y in.mkv out.mkv --video-encoder ffv1 --audio-encoder pcm_s16le " + chain +
                                   (frames ? " --no-audio" : " --no-video"));
        EXPECT_EQ(report["duration"], seconds) << chain;
        if (frames)
            EXPECT_EQ(report["tracks"][0]["items_out"], frames) << chain;
        else
            EXPECT_EQ(static_cast<double>(Samples("out.mkv").size()) / 48000, seconds) << chain;
    }
    Make("ffmpeg -v error -f lavfi -i color=white:s=64x48:r=25:d=2 -c:v ffv1 white.mkv");
    const std::string fade = "\"avfilter=graph='setpts=2*PTS',fade=direction=out\"";
    ASSERT_EQ(Run("convert white.mkv faded.mkv --video-encoder ffv1 --vf " + fade).status, 0);
    const std::string levels = Levels("faded.mkv");
    ASSERT_EQ(levels.size(), 50u);
    EXPECT_NEAR(static_cast<uint8_t>(levels[25]), 128, 4) << "half of it, not all";
}

TEST_F(Convert, DepthAndTransparencyAreKeptWhereTheyCanBe)
{
    Make("picture='-v error -f lavfi -i testsrc2=s=64x48:r=25:d=0.2'; "
         "ffmpeg $picture -vf format=rgba,colorchannelmixer=aa=0.5 -c:v png alpha.mov; "
         "ffmpeg $picture -pix_fmt bgra -c:v ffv1 rgb.mkv; ffmpeg $picture -pix_fmt yuv420p10le -c:v ffv1 ten.mkv; "
         "ffmpeg $picture -pix_fmt rgb24 -c:v rawvideo plain.nut");
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"alpha.mov out.mkv --video-encoder ffv1", "bgra", ""},
        {"alpha.mov out.mov --video-encoder qtrle", "argb", ""},
        {"alpha.mov out.mov --video-encoder prores_ks", "yuva444p12le", ""},
        {"alpha.mov out.mkv --video-encoder libx264", "yuvj420p", "libx264 carries no transparency"},
        {"ten.mkv out.mkv --video-encoder ffv1 --vf deinterlace", "yuv420p10le", ""},
        {"plain.nut out.mkv --video-encoder ffv1", "bgr0", ""},
    };
    for (const auto& [args, format, told] : rows)
    {
        const Outcome outcome = Run("convert -y " + args);
        ASSERT_EQ(outcome.status, 0) << args << outcome.err;
        const std::string file = args.find(".mov --") != std::string::npos ? "out.mov" : "out.mkv";
        EXPECT_EQ(Probe(file)["video"]["pix_fmt"], format) << args;
        EXPECT_EQ(outcome.err.find("transparency") != std::string::npos, !told.empty()) << outcome.err;
        EXPECT_NE(outcome.err.find(told), std::string::npos) << outcome.err;
    }
    for (const std::string encoder : {"libvpx", "libvpx-vp9"})
    {
        ASSERT_EQ(Run("convert -y alpha.mov out.webm --video-encoder " + encoder).status, 0);
        EXPECT_EQ(Probe("out.webm")["video"]["tags"]["alpha_mode"], "1") << encoder;
        EXPECT_NE(Run("convert -y out.webm gone.mkv").err.find("transparency"), std::string::npos) << encoder;
        EXPECT_FALSE(Probe("gone.mkv")["video"]["tags"].contains("alpha_mode")) << encoder;
        // its colours have no matrix, and those of the result one of their own
        ASSERT_EQ(Run("convert -y rgb.mkv out.webm --video-encoder " + encoder).status, 0);
        EXPECT_EQ(RunCommand("ffmpeg -v error -i out.webm -f null -").err, "") << encoder;
    }
}

TEST_F(Convert, TonesAndMixesAreTheSamplesThatTheyShouldBe)
{
    for (const std::string args :
         {"tone a.wav --frequency 1000 --duration 2.5 --level 0.5 --layout mono",
          "tone b.wav --frequency 250 --duration 1 --level 0.8 --layout mono", "mix a.wav:50 b.wav:-25 out.wav"})
        ASSERT_EQ(Run(args + " --audio-encoder pcm_f32le").status, 0) << args;
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

    for (const std::string codec : {"pcm_u8", "pcm_s16le", "pcm_s32le"})
    {
        const std::string encoder = " -y --audio-encoder " + codec;
        ASSERT_EQ(Run("convert a.wav c.wav" + encoder).status, 0);
        ASSERT_EQ(Run("convert c.wav d.wav --af fade=direction=out:start=0.5:duration=1" + encoder).status, 0);
        const std::vector<float> whole = Samples("c.wav"), faded = Samples("d.wav");
        ASSERT_EQ(faded.size(), 120000u);
        for (size_t i = 29000; i < 67000; ++i) // away from the bends, which are those of blocks
            ASSERT_NEAR(faded[i], whole[i] * (1.5 - static_cast<double>(i) / 48000), codec == "pcm_u8" ? 5e-3 : 2e-5)
                << codec << i;
    }
    const std::string graph = "aresample=22050,asetnsamples=999:p=0,aformat=channel_layouts=stereo";
    ASSERT_EQ(Run("convert a.wav g.wav --af \"avfilter=graph='" + graph + "'\"").status, 0);
    EXPECT_EQ(Samples("g.wav").size(), 55125u);
    EXPECT_EQ(Probe("g.wav")["audio"]["channels"], 2);
    EXPECT_NE(Run("detect volume a.wav").out.find("peak 0.5000 (-6.0 dB)"), std::string::npos);
}

// A click under a flash stays there in every container, whatever run-in an encoder of sound needs.
TEST_F(Convert, SoundIsEncodedAtAnyRate)
{
    for (const std::string args :
         {"8000 a.ogg", "64000 b.ogg", "96000 c.ogg", "8000 d.mp2", "16000 e.mp2", "96000 f.wma"})
        EXPECT_EQ(Run("tone --duration 0.5 --rate " + args).status, 0) << args;
}

TEST_F(Convert, SoundKeepsItsPlaceAndLength)
{
    Make("ffmpeg -v error -f lavfi -i \"color=black:s=64x48:r=50,geq=lum='if(eq(N,50),235,16)':cb=128:cr=128\" "
         "-f lavfi -i \"aevalsrc='if(between(t,1,1.005),0.9,0)':s=48000:d=2\" -t 2 -c:v libx264 -c:a pcm_s16le in.mov");
    for (const std::string out : {"a.mp4", "b.mkv", "c.avi", "d.ts", "e.webm", "f.mov", "g.vob"})
    {
        ASSERT_EQ(Run("convert in.mov " + out).status, 0) << out;
        const auto start = [&](const char* track)
        {
            return std::stod(Ask("-show_entries frame=best_effort_timestamp_time -read_intervals %+0.3 "
                                 "-select_streams " +
                                 (track + (" " + out))));
        };
        const std::string flash = Levels(out);
        const std::vector<float> sound = Samples(out);
        const auto bright = std::find_if(flash.begin(), flash.end(), [](char c) { return (c & 0x80) != 0; });
        const auto loud = std::find_if(sound.begin(), sound.end(), [](float s) { return std::abs(s) > 0.3F; });
        const double seen = start("v:0") + static_cast<double>(bright - flash.begin()) / 50;
        const double heard = start("a:0") + static_cast<double>(loud - sound.begin()) / 48000;
        EXPECT_NEAR(heard, seen, 0.006) << out;
        EXPECT_NEAR(static_cast<double>(sound.size()) / 48000, 2, 0.06) << out;
        EXPECT_EQ(flash.size(), 100u) << out;
    }
}
