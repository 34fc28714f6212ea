// Runs the program itself: what a person or a script sees of it.

#include "tests/cli/ProgramFixture.h"

#include <cstring>
#include <random>

using namespace Tessor::Cli::Tests;

TEST_F(Program, CutsAndVerifiesEveryKindOfStreamInEveryContainer)
{
    for (const std::string pair :
         {"h264.mp4 a.mp4",  "h264.mp4 a.mkv",  "h264.mp4 a.ts",   "h264.mp4 a.m2ts",  "h264.mkv a.mkv",
          "h264.mkv a.mov",  "h264.ts a.ts",    "h264.ts a.mp4",   "h264.ts a.mkv",    "h264-cavlc.mov a.mov",
          "h263.3gp a.3gp",  "mpeg1.mpg a.mpg", "mpeg2.ts a.ts",   "mpeg2.ts a.vob",   "mpeg2.vob a.ts",
          "mpeg4.avi a.avi", "mpeg4.avi a.mp4", "mpeg4.mp4 a.mp4", "wmv2.wmv a.wmv",   "wmv2.wmv a.avi",
          "vp8.webm a.webm", "vp9.webm a.webm", "vp9.webm a.mkv",  "theora.ogv a.ogv", "hevc.mp4 a.mp4"})
    {
        SCOPED_TRACE(pair);
        const json report = Report("cut $S/" + pair + " --keep 0.52-2.2,3.08-6.4 --verify");
        const json& video = report["tracks"][0];
        const bool exact = pair.rfind("hevc", 0) != 0;
        EXPECT_EQ(video["cut_anywhere"], exact);
        EXPECT_EQ(video["recoded_packets"].get<int>() > 0, exact);
        // 42 + 83 pictures at 25 frames a second; NTSC for the one with another rate
        if (exact && pair.rfind("h264-cavlc", 0) != 0)
        {
            EXPECT_EQ(report["verify"]["output_pictures"], 125) << report;
        }
        EXPECT_EQ(report["verify"]["good"], true);
        const std::string out = pair.substr(pair.find(' ') + 1);
        EXPECT_EQ(FilesLeft(), std::vector<std::string>{out});
        fs::remove(folder / out);
    }
}

TEST_F(Program, PiecesAreWhatCanBeKept)
{
    const std::tuple<std::string, std::string, std::string, bool> rows[] = {
        // Pictures that stand for seconds: a piece is never without one.
        {"h264-vfr.mp4", "0.96-1.098,3.82-4.5", "[[0.65, 1.098003], [3.85, 4.5]]", true},
        // Pictures that open a group lean on the group before: a piece without one of that begins with the group.
        {"mpeg2-fields.vob", "0.525333-3", "[[0.525333, 3.005333]]", true},
        {"mpeg2-fields.vob", "0.500000-3", "[[0.525333, 3.005333]]", true},
        {"mpeg2-fields.vob", "0.470000-0.480000", "[[0.445333, 0.485333]]", true},
        // Nobody can decode its first 27 pictures, which are kept all or none.
        {"h264-headless.264", "0.5-2", "[[1.08, 2.0]]", true},
        {"h264-headless.264", "0-0.5,2-3", "[[2.0, 3.0]]", true},
        // Bounds are the pictures' own times, which lie off the grid of frames here; before the first one, at 14 ms,
        // there is nothing to cut through.
        {"vp9-late.webm", "0.730-1.212", "[[0.747, 1.214]]", true},
        {"vp9-late.webm", "0.010-1.340", "[[0.01, 1.347]]", false},
        // Open groups rule re-encoding out, and what a seam parts from its key picture is not worth a cut.
        {"h264-opengop.mp4", "1.96-9.96", "[[0.0, 9.96]]", false},
        {"h264-opengop.mp4", "6.1-12", "[[6.0, 12.0]]", false},
        // Seams where picture order counts step back and references are gone.
        {"h264-opengop.mp4", "4.5-5,8.1-9", "[[4.0, 5.96], [8.0, 9.96]]", false},
        {"h264-opengop.mp4", "0-1,4.5-12", "[[0.0, 1.96], [4.0, 12.0]]", false},
    };
    for (const auto& [clip, keep, intervals, encoded] : rows)
    {
        SCOPED_TRACE(clip + " " + keep);
        const std::string out = "out" + fs::path(clip).extension().string();
        const json report = Report("cut $S/" + clip + " " + out + " -y --verify --keep " + keep);
        EXPECT_EQ(report["intervals"], json::parse(intervals)) << report["intervals"];
        EXPECT_EQ(report["tracks"][0]["recoded_packets"] > 0, encoded);
    }
}

// Pictures that stand for long, in containers of coarse ticks, for no time, with the stamp of the one before, or that
// are shown again: each is there, at its place.
TEST_F(Program, PicturesStandForAnyTime)
{
    const std::tuple<std::string, std::string, std::string, int> rows[] = {
        {"\"testsrc=r=30:d=12,select='not(mod(n,30))',format=yuv420p\" -c:v libx264 -profile:v baseline -g 4", "v.mkv",
         "0-4.7,4.9-", 12},
        {"\"testsrc2=r=15:d=12,select='not(mod(n,4))',format=yuv420p\" -r 15 -c:v mpeg4 -g 6", "v.avi",
         "0.1-0.5,0.9-1.7,2.1-2.5,2.8-3.1,3.4-3.5,4-4.9,5.3-5.8,6.1-6.7,7.2-7.3,7.7-8.9,9.2-", 37},
        {"testsrc2=r=25:d=4 -c:v mjpeg -bsf:v \"setts=ts=TS-40*eq(N\\,50)\"", "w.mkv", "1-1.5,1.96-2.4", 24},
        {"color=gray:r=25:d=4 -c:v libx264", "s.mp4", "0.52-1.2,1.6-2.4", 37},
        {"color=red:r=25:d=6 -c:v mpeg2video -g 40 -bf 2", "s.ts", "0.5-2.3", 45},
    };
    for (const auto& [source, file, keep, pictures] : rows)
    {
        Make("ffmpeg -v error -f lavfi -i " + source + " -fps_mode passthrough -q:v 3 " + file);
        const json report = Report("cut " + file + " o-" + file + " --verify --keep " + keep);
        EXPECT_EQ(report["verify"]["output_pictures"], pictures) << report;
        EXPECT_LT(report["verify"]["worst_time_error_ms"], 1);
    }
}

// Without its table of key pictures an MP4 flags all: groups and seams stay where the pictures have them.
TEST_F(Program, KeyPicturesNeedNoTable)
{
    for (const std::string clip : {"h264.mp4", "hevc.mp4"})
    {
        SCOPED_TRACE(clip);
        Make("sed -b 's/stss/free/' $S/" + clip + " >all.mp4");
        const json known = Report("probe $S/" + clip)["tracks"][0];
        EXPECT_EQ(Report("probe all.mp4")["tracks"][0], known);
        const json report = Report("cut all.mp4 out.mp4 -y --verify --keep 2.52-4.2,5.08-6.4");
        EXPECT_EQ(report["intervals"], Report("cut $S/" + clip + " out.mp4 -y --keep 2.52-4.2,5.08-6.4")["intervals"]);
    }
}

// Pieces of one to four pictures, the last one being the last picture: none is lost, wherever groups begin and end.
TEST_F(Program, ManyShortPiecesLoseNothing)
{
    std::mt19937 dice(6);
    const auto roll = [&](int from, int to) { return from + static_cast<int>(dice() % (to - from + 1)); };
    for (const std::string row : {"mpeg1video -bf 2 -g 4 a.mkv", "mpeg2video -bf 2 -g 4 a.ts",
                                  "mpeg4 -bf 2 -g 7 -flags +cgop -sc_threshold 1000000000 a.mp4",
                                  "libx264 -bf 3 -g 8 -x264-params open-gop=0 a.mkv"})
    {
        const std::string file = row.substr(row.rfind(' ') + 1);
        Make("ffmpeg -v error -y -f lavfi -i testsrc2=size=128x96:rate=25:d=4 "
             "-pix_fmt yuv420p -q:v 3 -c:v " +
             row);
        for (int list = 0; list < 10; ++list)
        {
            std::string keep;
            int pictures = 1;
            for (int start = roll(0, 3); start + 4 < 99; start += roll(1, 8))
            {
                const int first = start;
                start += roll(1, 4);
                keep += std::to_string(first) + "f-" + std::to_string(start) + "f,";
                pictures += start - first;
            }
            SCOPED_TRACE(row + " " + keep);
            const json verify = Report("cut " + file + " o-" + file + " -y --verify --keep " + keep + "99f-")["verify"];
            EXPECT_EQ(verify["output_pictures"], pictures);
        }
    }
}

namespace
{

/// Cuts a box of an MP4 short, and makes the rest a free one.
void ShortenBox(const fs::path& file, const std::string& type, size_t size)
{
    std::string bytes = Slurp(file);
    const size_t at = bytes.find(type);
    const auto number = [](size_t n) { return std::string{0, 0, static_cast<char>(n >> 8), static_cast<char>(n)}; };
    const size_t whole = static_cast<unsigned char>(bytes[at - 2]) << 8 | static_cast<unsigned char>(bytes[at - 1]);
    bytes.replace(at - 4, 4, number(8 + size));
    bytes.replace(at + 4 + size, 8, number(whole - 8 - size) + "free");
    std::ofstream(file, std::ios::binary) << bytes;
}

} // namespace

// Packets may bring the parameter sets that a broken header doesn't tell. Where they don't, sound is still cut.
TEST_F(Program, HeadersMayBeBroken)
{
    const std::tuple<std::string, std::string, size_t, bool> rows[] = {
        {"-i $S/h264.ts", "avcC", 3, true},
        {"-i $S/h264.ts -tag:v avc3", "avcC", 7, true},
        {"-i $S/hevc.mp4 -c copy -f mpegts - | ffmpeg -y -v error -i - -tag:v hev1", "hvcC", 40, true},
        {"-i $S/h264.mp4", "avcC", 3, false},
        {"-i $S/hevc.mp4", "hvcC", 2, false}};
    for (const auto& [source, box, size, found] : rows)
    {
        SCOPED_TRACE(source);
        Make("ffmpeg -y -v error " + source + " -c copy in.mp4");
        ShortenBox(folder / "in.mp4", box, size);
        EXPECT_TRUE(Report("probe in.mp4")["tracks"][0].contains("header_unusable"));
        const json report = Report(std::string("cut in.mp4 out.mp4 -y --keep 2.5-6.3") + (found ? " --verify" : ""));
        ASSERT_EQ(report["tracks"].size(), found ? 2u : 1u) << report;
        EXPECT_EQ(report["tracks"][0]["kind"], found ? "video" : "audio");
        EXPECT_EQ(report["warnings"].dump().find("in.mp4: track 0 (video") != std::string::npos, !found) << report;
    }
}

// Pictures that change their size or chroma format: each group is encoded as it is, with sets of its own.
TEST_F(Program, PicturesMayChange)
{
    const std::string h264 = "-c:v libx264 -preset ultrafast -bf 2 -g 25 -sc_threshold 0 -f mpegts -pix_fmt ";
    const std::string vp9 = "-c:v libvpx-vp9 -deadline realtime -cpu-used 8 -g 25 -f webm -pix_fmt ";
    const std::string mpeg2 = "-c:v mpeg2video -q:v 3 -bf 2 -g 25 -sc_threshold 1000000000 -f mpegts -pix_fmt ";
    const std::string fields = "yuv420p -flags +ilme+ildct -vf setfield=tff";
    // FFmpeg's decoder drops a picture of MPEG-2 at each change
    const std::tuple<std::string, std::string, std::string, std::string, std::string, int, int> rows[] = {
        {h264, "192x128", "yuv420p", "in.ts", "out.ts", 60, 0},
        {h264, "192x128", "yuv420p", "in.mp4", "out.mp4", 60, 0},
        {h264, "192x128", "yuv420p", "in.mkv", "out.ts", 60, 0},
        {h264, "320x240", "yuv422p", "in.mkv", "out.mkv", 60, 0},
        {vp9, "192x128", "yuv420p", "in.webm", "out.mkv", 60, 0},
        {mpeg2, "192x128", "yuv420p", "in.ts", "out.mkv", 58, 0},
        {mpeg2, "320x240", fields, "in.ts", "out.ts", 58, 29},
        {h264, "320x240", fields, "in.ts", "out.mp4", 60, 30}};
    for (const auto& [encoder, size, format, in, out, pictures, interlaced] : rows)
    {
        SCOPED_TRACE(in + out + format);
        const std::string source = "ffmpeg -y -v error -f lavfi -i testsrc2=r=25:d=2:s=";
        Make(source + "320x240 " + encoder + "yuv420p one && " + source + size + " " + encoder + format +
             " two && printf 'file one\nfile two\nfile one\n' >list && "
             "ffmpeg -y -v error -f concat -i list -c copy " +
             in);
        // of the second part a group is kept as well, and the first format comes back
        const json report = Report("cut " + in + " " + out + " -y --verify --keep 0.4-0.8,2.4-3.6,4.4-4.8,5.2-5.6");
        EXPECT_EQ(report["verify"]["output_pictures"], pictures);
        EXPECT_GT(report["tracks"][0]["recoded_packets"], 30) << report;
        const std::string scan = Ask("-show_entries frame=interlaced_frame " + out);
        EXPECT_EQ(std::count(scan.begin(), scan.end(), '1'), interlaced);
    }
}

// Parts of a film that count time from their own start, one after the other.
TEST_F(Program, ClocksMayJump)
{
    // parts as start:length:quantizer, in seconds
    const std::tuple<std::string, double, std::string> rows[] = {
        {"1:20:2 21:20:31 41:8:4", 48, "0.4-0.8,47-47.4"}, // one clock, but the rate changes
        {"1:4:4 1:50:4", 54, "3.4-3.6,4-4.2,53-53.4"},     // the first is less than a first step
        {"1:4:4 1:50:4", 54, "20-20.8"},                   // the first seek goes past the jump
        {"5000:30:4 1:15:3 700:10:5", 55, "0.4-0.8,44-44.4"},
        {"1:8:31 300:4:31", 12, "0.4-0.8,11-11.4"}, // a short file
    };
    for (const auto& [parts, duration, keep] : rows)
    {
        Make("for p in " + parts +
             "; do (IFS=:; set -- $p; ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 "
             "-t $2 -c:v mpeg2video -g 1 -q:v $3 -muxdelay 0 -output_ts_offset $1 -f mpegts -); done >film.ts");
        EXPECT_NEAR(Report("probe film.ts")["duration"], duration, 0.001) << parts;
        const json report = Report("cut film.ts out.ts -y --verify --keep " + keep);
        EXPECT_EQ(report["verify"]["output_pictures"], 20) << parts;
    }
}

// What takes whole groups carries the source's header only, so that it can be cut exactly once more. A header that was
// joined can't be joined again, and who asks is told.
TEST_F(Program, ResultsCanBeCutAgain)
{
    for (const std::string extension : {"mp4", "mkv", "ts"})
    {
        SCOPED_TRACE(extension);
        const std::string clip = "$S/h264." + extension, once = "once." + extension;
        const json groups = Report("probe " + clip)["tracks"][0]["groups"]["list"];
        ASSERT_GT(groups.size(), 3u);
        const auto cut = [&](const std::string& args) { return Report("cut " + args + " -y --verify")["tracks"][0]; };
        EXPECT_EQ(cut(clip + " " + once + " --keep " + groups[1]["start"].dump() + "-" +
                      groups.back()["start"].dump())["recoded_packets"],
                  0);
        const json twice = cut(once + " twice.mkv --keep 0.52-1.2");
        EXPECT_EQ(twice["cut_anywhere"], true);
        EXPECT_GT(twice["recoded_packets"], 0);
        EXPECT_EQ(cut("twice.mkv thrice.mkv --keep 0.2-0.4")["cut_anywhere"], false);
        const Outcome plan = Run("cut twice.mkv --plan --keep 0.2-0.4");
        EXPECT_NE(plan.out.find("cuts fall to key frames: the header has several SPS"), std::string::npos) << plan.out;
    }
}

TEST_F(Program, GroupsAreEncodedAsAskedFor)
{
    const auto measure = [this](const std::string& args)
    {
        EXPECT_EQ(Run("cut -y $S/h264.mp4 out.mp4 --keep 1.3-1.9 " + args).status, 0) << args;
        return std::filesystem::file_size(folder / "out.mp4");
    };
    EXPECT_LT(measure("--recode-quality 40"), measure(""));
    EXPECT_LT(measure("--recode-preset slow"), measure("--recode-preset ultrafast"));
}

// Everything of the source arrives, and a way there and back gives its packets again.
TEST_F(Program, RepacksThereAndBack)
{
    const std::tuple<std::string, std::string, std::string, size_t, size_t> rows[] = {
        {"h264.mp4", "a.mkv", "b.mp4", 2, 0},
        {"h264.mp4", "a.ts", "b.mp4", 2, 0},
        {"hevc.mp4", "a.ts", "b.mkv", 2, 0},
        {"h264.mp4", "a.264", "b.mp4", 1, 2}};
    for (const auto& [clip, there, back, tracks, warnings] : rows)
    {
        SCOPED_TRACE(clip + there);
        const json first = Report("repack $S/" + clip + " " + there + " -y");
        const json second = Report("repack " + there + " " + back + " -y");
        EXPECT_EQ(first["tracks"].size(), tracks);
        EXPECT_EQ(first["warnings"].size(), warnings) << first["warnings"];
        ASSERT_EQ(second["tracks"].size(), tracks);
        for (size_t i = 0; i < tracks; ++i)
            EXPECT_EQ(first["tracks"][i]["copied_packets"], second["tracks"][i]["copied_packets"]);
        // cutting at key frames works on what came back: its packets are as good as the source's
        EXPECT_EQ(Run("cut " + back + " c.mp4 -y --verify --keep 0-4").status, 0);
    }
}

// What a container says of itself is no loss in another one, in capitals or not.
TEST_F(Program, TheIndexComesFirstAndDatesAreKept)
{
    Make("cp $S/h264.mp4 in.mp4 && touch -d '2001-02-03 04:05:06.789' in.mp4");
    const std::string packets = Ask("-show_packets -show_data_hash md5 -show_entries packet=data_hash in.mp4");
    for (const auto& [options, first] :
         {std::pair{"--keep-date", true}, {"--faststart", true}, {"--no-faststart", false}})
    {
        Make(TESSOR_PROGRAM " repack in.mp4 out.mp4 -y " + std::string(options));
        const std::string bytes = Slurp(folder / "out.mp4");
        EXPECT_EQ(bytes.find("moov") < bytes.find("mdat"), first) << options;
        EXPECT_EQ(Ask("-show_packets -show_data_hash md5 -show_entries packet=data_hash out.mp4"), packets) << options;
        const bool kept = fs::last_write_time(folder / "out.mp4") == fs::last_write_time(folder / "in.mp4");
        EXPECT_EQ(kept, std::string(options) == "--keep-date");
    }
    EXPECT_EQ(Run("repack in.mp4 no.mp4 --faststart --no-faststart").status, 2);
}

TEST_F(Program, BrandsAreNoLoss)
{
    Make("ffmpeg -v error -i $S/h264.mp4 -c copy brands.mkv");
    EXPECT_NE(Report("probe brands.mkv")["tags"].dump().find("MAJOR_BRAND"), std::string::npos);
    EXPECT_EQ(Report("repack brands.mkv c.ts")["warnings"], json::array());
}

TEST_F(Program, ExitStatusAndOneClearLine)
{
    std::ofstream(folder / "empty.mp4");
    const std::string mp4 = Slurp(samples / "h264.mp4");
    std::ofstream(folder / "half.mp4", std::ios::binary) << mp4.substr(0, mp4.size() / 2);
    fs::create_directory(folder / "dir.mp4");
    fs::copy(samples / "h264-headless.264", folder / "cut.264");
    fs::copy(samples / "h264.mp4", folder / "in.mp4");
    fs::create_hard_link(folder / "in.mp4", folder / "same.mp4");
    std::ofstream(folder / "there.mp4") << "precious";
    const std::tuple<std::string, int, std::string> rows[] = {
        {"cut in.mp4 out.mp4", 2, "--keep or --remove"},
        {"cut in.mp4 out.mp4 --keep 1-2 --remove 3-4", 2, "--keep or --remove"},
        {"cut in.mp4 out.mp4 --keep 1000f-1001f", 2, "there is no frame 1000f"},
        {"cut in.mp4 out.mp4 --remove start-end", 2, "nothing would be left"},
        {"cut in.mp4 --keep 1-2", 2, "OUT is missing"},
        {"cut --kep 1-2 in.mp4 --wrong out.mp4", 2, "knows no --kep (did you mean --keep?), --wrong ("},
        {"cut in.mp4 out.mp4 more.mp4 --keep 1-2", 2, "more.mp4"},
        {"conver in.mp4 out.mp4 --vf x", 2, "no verb \"conver\" (did you mean convert?)"},
        {"-q cut in.mp4 out.mp4", 2, "-q stands before the verb"},
        {"", 2, "a verb is wanted: cut, "},
        {"tone t.wav --duration=1f", 2, "--duration 1f: a length of time"},
        {"tone t.wav --duration end", 2, "a length of time"},
        {"tone t.wav --duration -5", 2, "a length of time"},
        {"tone t.wav --duration 0", 2, "a length of time"},
        {"cut in.mp4 there.mp4 --keep 1-2", 3, "there.mp4: exists"},
        {"cut in.mp4 in.mp4 --keep 1-2 -y", 2, "the output is the input"},
        {"cut in.mp4 same.mp4 --keep 1-2 -y", 2, "the output is the input"},
        {"cut in.mp4 dir.mp4 --keep 1-2 -y", 1, "dir.mp4: is a folder"},
        {"cut in.mp4 nowhere/out.mp4 --keep 1-2", 1, "tessor: nowhere/out.mp4: can't be created: there is no such f"},
        {"cut in.mp4 /dev/full --keep 1-2 -y", 2, "/dev/full: "},
        {"cut missing.mp4 out.xyz --keep 1-2", 2, "out.xyz: no container of that name can be written; the usual"},
        {"cut in.mp4 out.mp4 --keep 1-2 --recode-encoder mpeg4", 2, "can't re-encode groups of h264; libx264 can"},
        {"cut in.mp4 out.mp4 --keep 1-2 --recode-preset nonsense", 2, "it knows ultrafast"},
        {"cut in.mp4 out.mp4 --keep 1-2 --recode-quality 52", 2, "libx264 takes a quality from 1 to 51"},
        {"cut missing.mp4 out.mp4 --keep 1-2", 1, "missing.mp4: can't be opened: there is no such file or folder"},
        {"cut empty.mp4 out.mp4 --keep 1-2", 1, "empty.mp4: is empty"},
        {"cut half.mp4 out.mp4 --keep 1-2", 1, "half.mp4: "}, // its index is gone
        {"cut dir.mp4 out.mp4 --keep 1-2", 1, "dir.mp4: is a folder"},
        {"cut cut.264 out.mp4 --keep 0.5-1", 1, "nothing can be decoded before 0:00:01.080000"},
        {"detect colour in.mp4", 2, "colour"},
        {"convert missing.mp4 out.mp4 --video-encoder libnone", 2,
         "there is no encoder \"libnone\"; encoders of pictures"},
        {"convert in.mp4 out.webm --video-encoder libx264", 2, "can't carry what \"libx264\" encodes"},
        {"convert missing.mp4 out.ogv --crf 20", 2, "libtheora does not take crf=20"},
        {"convert in.mp4 out.mp4 --crf 20 --video-bitrate 1M", 2, "exclude each other"},
        {"convert in.mp4 out.mp4 --vf scal", 2, "the nearest are scale"},
        {"convert missing.mp4 out.mp4 --preset nonsense", 2,
         "libx264 knows no preset \"nonsense\"; it knows ultrafast"},
        {"mix in.mp4 out.mp3 --audio-encoder libnone", 2, "there is no encoder \"libnone\""},
        {"convert in.mp4 out.mp4 --crf 60", 2, "libx264 takes crf from 0 to 51"},
        {"convert in.mp4 out.mp4 --af avfilter=graph=nonsense", 1, "nonsense"},
    };
    const std::vector<std::string> files = FilesLeft();
    for (const auto& [args, status, message] : rows)
    {
        const Outcome outcome = Run(args);
        EXPECT_EQ(outcome.status, status) << args << ": " << outcome.err;
        EXPECT_NE(outcome.err.find(message), std::string::npos) << args << ": " << outcome.err;
        EXPECT_EQ(outcome.err.rfind("tessor: ", 0), 0u) << args << ": " << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << args << ": " << outcome.err;
        EXPECT_EQ(outcome.out, "") << args;
        EXPECT_EQ(FilesLeft(), files) << args;
    }
    EXPECT_EQ(Slurp(folder / "in.mp4"), mp4);
    EXPECT_EQ(Slurp(folder / "there.mp4"), "precious");
}

// Names and titles in any bytes: on a terminal nothing but text arrives, and documents are UTF-8.
TEST_F(Program, TextOfAnyKindIsTold)
{
    const std::string name = "\"$(printf 'n\\n\\377').mkv\"";
    Make("printf ';FFMETADATA1\\n[CHAPTER]\\nTIMEBASE=1/1\\nSTART=0\\nEND=1\\n"
         "title=\303\251\\033[31m\\377\\342\\200\\256\\302\\205.\\n' >m.txt && "
         "ffmpeg -v error -i $S/h264.mp4 -i m.txt -map_metadata 1 -metadata:s:1 language=fra -c copy " +
         name);
    const json report = Report("probe " + name);
    EXPECT_EQ(report["input"], "n\n\uFFFD.mkv");
    EXPECT_EQ(report["tracks"][1]["language"], "fra");
    EXPECT_EQ(report["chapters"][0]["tags"]["title"], "\u00E9\x1B[31m\uFFFD\u202E\u0085.");
    const std::string text = Run("probe " + name).out;
    EXPECT_EQ(text.rfind("n\\n\\xff.mkv: matroska", 0), 0u) << text;
    EXPECT_NE(text.find("\u00E9\\x1b[31m\\xff\\u202e\\u0085.\n"), std::string::npos) << text;
    EXPECT_EQ(Run("repack $S/h264.mp4 " + name).err, "tessor: n\\n\\xff.mkv: exists (-y overwrites it)\n");
}

// The limit of a file's size stands for the disk.
TEST_F(Program, AFullDiskOrAnInterruptionLeavesNothingBehind)
{
    const Outcome full = Run("cut $S/mpeg2.vob out.vob --keep 0.5-7", "ulimit -f 200;");
    EXPECT_EQ(full.status, 1) << full.err;
    EXPECT_NE(full.err.find("out.vob: "), std::string::npos) << full.err;
    EXPECT_EQ(FilesLeft(), std::vector<std::string>{});

    for (const std::string signal : {"INT", "HUP"})
    {
        // once the part file is there
        const Outcome stopped = Run("cut $S/mpeg2.vob out.vob -y --keep 0.5-7 --verify & "
                                    "until ls -A | grep -q out.vob; do sleep 0.01; done; kill -" +
                                    signal + " $!; wait $!");
        EXPECT_EQ(stopped.status, 130) << stopped.err;
        EXPECT_EQ(FilesLeft(), std::vector<std::string>{});
    }
}

// Both a buffer that is written at the end and a text that is larger than that.
TEST_F(Program, AReportThatCannotBeWrittenIsAFailure)
{
    for (const std::string args : {"--help", "--version", "cut --help", "filters", "filters --json", "manual",
                                   "completion zsh", "probe $S/h264.mp4", "repack $S/h264.mp4 a.mkv -y --json"})
    {
        const Outcome full = Run(args + " >/dev/full");
        EXPECT_EQ(full.status, 1) << args;
        EXPECT_EQ(full.err.rfind("tessor: standard output: ", 0), 0u) << args << full.err;
    }
}

TEST_F(Program, ALogIsAppendedToLogsOnly)
{
    const std::string line = "one line of mine\n";
    std::ofstream(folder / "notes.txt") << line;
    std::ofstream(folder / "tessor.INFO") << line;
    fs::copy(samples / "h264.mp4", folder / "in.mp4");
    fs::create_hard_link(folder / "in.mp4", folder / "same.mp4");
    const std::pair<std::string, int> rows[] = {{"log", 0},       {"notes.txt", 2},    {"in.mp4", 2},   {"same.mp4", 2},
                                                {"./out.mkv", 2}, {"no/where.log", 1}, {"/dev/full", 1}};
    for (const auto& [log, status] : rows)
        EXPECT_EQ(Run("cut in.mp4 out.mkv -y --keep 0-2 --log-file " + log).status, status) << log;
    const std::string once = Slurp(folder / "log");
    EXPECT_GT(once.size(), 200u);
    EXPECT_EQ(Run("cut in.mp4 --plan --keep 0-2 --log-file log").status, 0);
    EXPECT_EQ(Slurp(folder / "log").substr(0, once.size()), once);
    EXPECT_GT(Slurp(folder / "log").size(), once.size());
    EXPECT_EQ(Slurp(folder / "notes.txt") + Slurp(folder / "tessor.INFO"), line + line);
    EXPECT_EQ(Slurp(folder / "in.mp4"), Slurp(samples / "h264.mp4"));
    const std::vector<std::string> files = {"in.mp4", "log", "notes.txt", "out.mkv", "same.mp4", "tessor.INFO"};
    EXPECT_EQ(FilesLeft(), files);
}

TEST_F(Program, TruncatedAndDamagedInputIsReadAsFarAsItGoes)
{
    const std::string whole = Slurp(samples / "h264.ts");
    std::ofstream(folder / "short.ts", std::ios::binary) << whole.substr(0, whole.size() * 2 / 3 + 77);
    std::string damaged = whole;
    for (size_t i = whole.size() / 2; i < whole.size() / 2 + 3000; ++i)
        damaged[i] = static_cast<char>(i * 7);
    std::ofstream(folder / "damaged.ts", std::ios::binary) << damaged;
    for (const std::string name : {"short.ts", "damaged.ts"})
    {
        EXPECT_GE(Report("convert " + name + " out.mp4 -y --preset ultrafast")["tracks"][0]["items_out"], 134) << name;
        const json video = Report("cut " + name + " out.ts --keep 0.3-4 -y")["tracks"][0];
        EXPECT_EQ(video["copied_packets"], 50) << name << video;
    }
}

// By every verb that reads, in one warning, which its document has as well.
TEST_F(Program, HowMuchOfADamagedFileWasThereIsTold)
{
    const std::string mkv = Slurp(samples / "h264.mkv");
    std::ofstream(folder / "short.mkv", std::ios::binary) << mkv.substr(0, mkv.size() / 2);
    const std::pair<std::string, std::string> files[] = {{"$S/truncated.mp4", "truncated.mp4: damaged after 0:00:01."},
                                                         {"short.mkv", "short.mkv: damaged after 0:00:04.0"}};
    for (const auto& [name, told] : files)
        for (const std::string verb :
             {"probe IN", "cut IN --keep 0-1,2- --plan", "cut IN a.mkv --keep 1- -y", "repack IN a.mkv -y",
              "convert IN a.mkv --no-video -y", "mix IN a.wav -y", "detect volume IN", "detect lossless IN"})
        {
            std::string args = verb;
            args.replace(args.find("IN"), 2, name);
            const Outcome text = Run(args);
            EXPECT_NE(text.err.find(told), std::string::npos) << args << text.err;
            EXPECT_EQ(text.err.find("damaged after"), text.err.rfind("damaged after")) << args << text.err;
            const std::string warnings = json::parse(Run(args + " --json").out).at("warnings").dump();
            EXPECT_NE(warnings.find(told), std::string::npos) << args << warnings;
        }
}

// A hole in the middle that the container knows nothing of: who decodes finds it.
TEST_F(Program, WhatCanNotBeDecodedIsTold)
{
    Make(
        "ffmpeg -v error -f lavfi -i testsrc2=s=320x240:d=8 -f lavfi -i sine=d=8 -c:v libx264 -g 50 -c:a aac hole.mp4");
    const auto size = static_cast<std::streamoff>(fs::file_size(folder / "hole.mp4"));
    std::fstream(folder / "hole.mp4", std::ios::in | std::ios::out | std::ios::binary).seekp(size / 2)
        << std::string(20000, 0);
    EXPECT_NE(Run("convert hole.mp4 a.mkv").err.find("of track 0, "), std::string::npos);
    EXPECT_NE(Run("mix hole.mp4 a.wav").err.find("could not be decoded without faults"), std::string::npos);
    const Outcome cut = Run("cut hole.mp4 b.mkv --keep 3.1-5.5 --verify");
    EXPECT_EQ(cut.status, 4) << cut.out;
    EXPECT_NE(cut.err.find("of what is encoded anew, "), std::string::npos) << cut.err;
    // copied as it is, it is what the source has
    EXPECT_EQ(Run("cut hole.mp4 c.mkv --keep 2- --verify").status, 0);
}

// Such as a file whose data has been cut off, and what nobody has asked for.
TEST_F(Program, AResultOfNothingIsNoResult)
{
    Make("ffmpeg -v error -i $S/h264.mp4 -c copy -movflags +faststart whole.mp4");
    const std::string whole = Slurp(folder / "whole.mp4");
    std::ofstream(folder / "empty.mp4", std::ios::binary) << whole.substr(0, whole.find("mdat") + 4);
    fs::remove(folder / "whole.mp4");
    for (const std::string args : {"repack empty.mp4 out.mkv", "repack empty.mp4 out.ts", "convert empty.mp4 out.mp4",
                                   "cut empty.mp4 out.mp4 --keep 0-1", "mix empty.mp4 out.wav"})
    {
        const Outcome outcome = Run(args);
        EXPECT_EQ(outcome.status, 1) << args;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << args << outcome.err;
        EXPECT_EQ(FilesLeft(), std::vector<std::string>{"empty.mp4"}) << args;
    }
}

// A playlist may have any name, and may name any file.
TEST_F(Program, AnInputIsOneFileUnlessReferencesAreAllowed)
{
    fs::create_directories(folder / "in" / "parts");
    fs::copy(samples / "mpeg2.ts", folder / "in" / "parts" / "a.ts");
    fs::copy(samples / "mpeg2.ts", folder / "outside.ts");
    fs::create_symlink(folder / "outside.ts", folder / "in" / "link.ts");
    const auto list = [&](const std::string& name)
    {
        std::ofstream(folder / "in" / "list.mp4") << "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:20\n#EXTINF:9,\n"
                                                  << name << "\n#EXT-X-ENDLIST\n";
    };
    const auto repack = [&](const std::string& args) { return Run("repack -y in/list.mp4 out.mkv " + args); };
    for (const std::string& name : {std::string("parts/a.ts"), std::string("../outside.ts"), std::string("link.ts"),
                                    (folder / "outside.ts").string(), std::string("http://localhost:9/a.ts")})
    {
        list(name);
        const Outcome refused = repack("");
        EXPECT_EQ(refused.status, 1) << name;
        EXPECT_NE(refused.err.find("list.mp4: refers to another file"), std::string::npos) << refused.err;
        EXPECT_NE(refused.err.find(fs::path(name).filename().string()), std::string::npos) << refused.err;
        EXPECT_EQ(repack("--allow-references").status, name == "parts/a.ts" ? 0 : 1) << name;
    }
    std::ofstream(folder / "in" / "list.mp4") << "ffconcat version 1.0\nfile parts/a.ts\n";
    for (const char* args : {"", "--allow-references"})
        EXPECT_NE(repack(args).err.find("lists other files (concat)"), std::string::npos) << args;
    EXPECT_EQ(Run("repack in/parts/a.ts a.mkv --formats matroska,mp4").status, 1);
    EXPECT_EQ(Run("repack in/parts/a.ts a.mkv --formats matroska,mpegts").status, 0);
}

// "Not lossless" is an answer, and what can't be examined is none; of a probe it is a part.
TEST_F(Program, OnePacketThatIsNoneIsTold)
{
    std::string bytes = Slurp(samples / "hevc.mp4");
    const size_t packet =
        std::stoul(Ask("-select_streams v -show_entries packet=pos -read_intervals %+#9 $S/hevc.mp4 | "
                       "tail -n 1"));
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(packet), 4, '\x7F');
    std::ofstream(folder / "torn.mp4", std::ios::binary) << bytes;
    EXPECT_FALSE(Report("probe torn.mp4").at("tracks").at(0).at("error").empty());
    const Outcome failed = Run("detect lossless torn.mp4 --json");
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.err.find("torn.mp4: track 0: "), std::string::npos) << failed.err;
    EXPECT_FALSE(json::parse(failed.out).at("tracks").at(0).at("error").empty());
    EXPECT_EQ(Run("detect lossless $S/hevc-cra.mp4").err, "");
}

TEST_F(Program, EveryVerbTellsItsStatistics)
{
    for (const std::string args :
         {"cut $S/h264.mp4 a.mp4 --keep 0-2", "probe $S/h264.mp4", "repack $S/h264.mp4 a.mkv",
          "convert $S/h264.mp4 b.mp4 --vf scale=width=64 --preset ultrafast", "tone c.wav --duration 1 -y",
          "mix c.wav:50 c.wav d.wav", "detect volume c.wav", "detect lossless $S/h264.mp4"})
    {
        const json statistics = Report(args + " -v").at("statistics");
        ASSERT_FALSE(statistics.empty()) << args;
        EXPECT_FALSE(statistics[0].at("filters").empty()) << args;
        const Outcome text = RunCommand("rm -f a.mp4 a.mkv b.mp4 d.wav; '" TESSOR_PROGRAM "' " + args + " -v");
        EXPECT_NE(text.out.find("\"filters\""), std::string::npos) << args;
    }
}

TEST_F(Program, CompletionAndManualKnowTheOptions)
{
    for (const char* args : {"completion bash", "completion zsh", "completion fish", "manual"})
        for (const char* known : {"repack", "verify", "crf", "completion", "threads"})
            EXPECT_NE(Run(args).out.find(known), std::string::npos) << args << ": " << known;
    for (const char* args : {"cut --help", "manual"})
        for (const char* known : {"frame 123", "keep 1:02", "start, end"})
            EXPECT_NE(Run(args).out.find(known), std::string::npos) << args << ": " << known;
    // the words of a command line, and what is offered for the last one
    const std::pair<const char*, const char*> rows[] = {{"li", "list"},
                                                        {"detect vol", "volume"},
                                                        {"completion f", "fish"},
                                                        {"filters volu", "volume"},
                                                        {"list enc", "encoders"},
                                                        {"convert --video-encoder libx26", "libx264"},
                                                        {"cut --over", "--overwrite"},
                                                        {"tone a.wav --layout st", "stereo"}};
    for (const auto& [words, offered] : rows)
    {
        const std::string script = "compopt() { :; }; . ./c.bash; COMP_WORDS=(tessor " + std::string(words) +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _tessor; echo ${COMPREPLY[@]}";
        Make("'" TESSOR_PROGRAM "' completion bash >c.bash");
        const std::string reply = RunCommand("bash -c '" + script + "'").out;
        EXPECT_EQ(reply.substr(0, std::strlen(offered)), offered) << words << ": " << reply;
    }
}

// Their forms are what scripts/check-docs holds against the schemas.
TEST_F(Program, DocumentsHoldWhatIsThere)
{
    const struct
    {
        const char *args, *place;
        json value;
    } values[] = {
        {"cut $S/h264.mp4 --keep 0-2,3-6 --plan", "/groups/0/action", "copy"},
        {"cut $S/h264.mp4 --keep 0-2,3-6 --plan", "/groups/1/action", "re-encode"},
        {"cut $S/h264.mp4 --keep 0-2,3-6 --plan", "/groups/3/action", "drop"},
        {"probe $S/h264.mp4", "/schema_version", 1},
        {"probe $S/h264.mp4", "/tracks/0/header/visible_width", 640},
        {"probe $S/h264.mp4", "/tracks/0/groups/count", 4},
        {"probe $S/h264.mp4", "/tracks/0/cut_anywhere", true},
        {"probe $S/hevc-cra.mp4", "/tracks/0/lossless/cut", false},
        {"probe $S/h264-rotated.mov", "/tracks/0/rotation", 270},
        {"probe $S/mpeg2-fields.vob", "/tracks/0/field_order", "top field first"},
        {"probe $S/hevc-hdr10.mp4", "/tracks/0/pixel_format", "yuv420p10le"},
        {"probe $S/hevc-hdr10.mp4", "/tracks/0/colour/transfer", "smpte2084"},
        {"probe $S/hevc-hdr10.mp4", "/tracks/0/content_light/pixel", 1000},
        {"probe $S/pcm.wav", "/tracks/0/bit_rate", 1152000},
        {"list encoders", "/encoders/0/kind", "video"},
        {"detect lossless $S/hevc-hdr10.mp4", "/lossless", true},
        {"detect lossless $S/hevc-cra.mp4", "/lossless", false},
        {"detect lossless $S/hevc-cra.mp4", "/tracks/0/cut_ended_at_packet", 30},
    };
    for (const auto& [args, place, value] : values)
    {
        const bool refused = args == std::string("detect lossless $S/hevc-cra.mp4");
        EXPECT_EQ(Report(args, refused)[json::json_pointer(place)], value) << args << " " << place;
    }
}
