// Runs the program itself: what a person or a script sees of it.

#include "tests/cli/ProgramFixture.h"

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <sys/resource.h>

using namespace Tessor::Cli::Tests;

TEST_F(Program, CutsAndVerifiesEveryKindOfStream)
{
    for (const char* clip : {"h264.mp4", "h264.mkv", "h264.ts", "h264-cavlc.mov", "h263.3gp", "mpeg1.mpg", "mpeg2.ts",
                             "mpeg4.avi", "mpeg4.mp4", "wmv2.wmv", "vp8.webm", "vp9.webm", "theora.ogv", "hevc.mp4"})
    {
        const std::string out = "out" + fs::path(clip).extension().string();
        const Outcome cut =
            Run("cut $S/" + std::string(clip) + " " + out + " --keep 0.52-2.2,3.08-6.4 --verify --json");
        ASSERT_EQ(cut.status, 0) << clip << ": " << cut.err << cut.out;
        const nlohmann::json report = nlohmann::json::parse(cut.out);
        const nlohmann::json& video = report["tracks"][0];
        const bool exact = std::string(clip) != "hevc.mp4";
        EXPECT_EQ(video["cut_anywhere"], exact) << clip;
        EXPECT_EQ(video["recoded_packets"].get<int>() > 0, exact) << clip;
        // 42 + 83 pictures at 25 frames a second; NTSC for the one with another rate
        if (exact && std::string(clip) != "h264-cavlc.mov")
        {
            EXPECT_EQ(report["verify"]["output_pictures"], 125) << clip << cut.out;
        }
        EXPECT_EQ(report["verify"]["good"], true) << clip;
        EXPECT_EQ(FilesLeft(), std::vector<std::string>{out}) << clip;
        fs::remove(folder / out);
    }
}

// Pictures that stand for seconds, and pieces that begin in the middle of one.
TEST_F(Program, APieceIsNeverWithoutAPicture)
{
    const fs::path clip = fs::path(TESSOR_SOURCE_DIR) / "../shared/media/h264-vfr-screen.mp4";
    if (!fs::exists(clip))
        GTEST_SKIP() << "no clips";
    fs::create_symlink(clip, folder / "in.mp4");
    const Outcome cut = Run("cut in.mp4 out.mp4 --keep 0.96-1.098,7.3-8.7 --json --verify");
    ASSERT_EQ(cut.status, 0) << cut.err << cut.out;
    const nlohmann::json report = nlohmann::json::parse(cut.out);
    EXPECT_EQ(report["intervals"], nlohmann::json::parse("[[0.0, 1.115208], [7.155503, 8.725503]]"));
    EXPECT_EQ(report["verify"]["output_pictures"], 2);
}

// Open groups rule re-encoding out, wherever the request was looked up before that was asked.
TEST_F(Program, OpenGroupsAreCutAtKeyFrames)
{
    const fs::path clip = fs::path(TESSOR_SOURCE_DIR) / "../shared/media/h264-opengop-bpyramid-synth.mp4";
    if (!fs::exists(clip))
        GTEST_SKIP() << "no clips";
    fs::create_symlink(clip, folder / "in.mp4");
    const std::pair<const char*, const char*> rows[] = {
        {"1.96-9.96", "[[0.0, 9.96]]"},
        {"6.1-12", "[[6.0, 12.0]]"},
        {"0-1.96,3.96-12", "[[0.0, 12.0]]"}, // what a seam parts from its key picture is not worth a cut
        // seams where picture order counts step back and references are gone
        {"4.5-5,8.1-9", "[[4.0, 5.96], [8.0, 9.96]]"},
        {"1.32-1.36,4.44-4.48,8.76-8.8", "[[0.0, 1.96], [4.0, 5.96], [8.0, 9.96]]"},
        {"0-1,4.5-12", "[[0.0, 1.96], [4.0, 12.0]]"},
    };
    for (const auto& [keep, intervals] : rows)
    {
        const Outcome cut = Run(std::string("cut in.mp4 out.mp4 -y --json --verify --keep ") + keep);
        ASSERT_EQ(cut.status, 0) << keep << cut.err << cut.out;
        const nlohmann::json report = nlohmann::json::parse(cut.out);
        EXPECT_EQ(report["intervals"], nlohmann::json::parse(intervals)) << keep;
        EXPECT_EQ(report["tracks"][0]["recoded_packets"], 0) << keep;
    }
}

// What takes whole groups carries the source's header only, so that it can be cut exactly once more. A header that was
// joined can't be joined again, and who asks is told.
TEST_F(Program, ResultsCanBeCutAgain)
{
    const auto run = [&](const std::string& args)
    {
        const Outcome cut = Run("cut " + args + " --verify --json");
        EXPECT_EQ(cut.status, 0) << args << cut.err << cut.out;
        return cut.status == 0 ? nlohmann::json::parse(cut.out)["tracks"][0] : nlohmann::json();
    };
    for (const char* extension : {"mp4", "mkv", "ts"})
    {
        const std::string clip = std::string("h264.") + extension, once = "once." + std::string(extension);
        const nlohmann::json probe = nlohmann::json::parse(Run("probe --json $S/" + clip).out);
        const nlohmann::json& groups = probe["tracks"][0]["groups"]["list"];
        ASSERT_GT(groups.size(), 3u) << clip;
        const auto range = [](const nlohmann::json& from, const nlohmann::json& to)
        { return " --keep " + from.dump() + "-" + to.dump() + " "; };
        EXPECT_EQ(run("$S/" + clip + " " + once + range(groups[1]["start"], groups.back()["start"]))["recoded_packets"],
                  0);
        const nlohmann::json twice = run(once + " twice.mkv --keep 0.52-1.2");
        EXPECT_EQ(twice["cut_anywhere"], true) << clip;
        EXPECT_GT(twice["recoded_packets"], 0) << clip;
        const nlohmann::json thrice = run("twice.mkv thrice.mkv --keep 0.2-0.4");
        EXPECT_EQ(thrice["cut_anywhere"], false) << clip;
        EXPECT_NE(thrice["cut_at_key_frames_because"].get<std::string>().find("several SPS"), std::string::npos)
            << clip;
        const Outcome plan = Run("cut twice.mkv --plan --keep 0.2-0.4");
        EXPECT_NE(plan.out.find("cuts fall to key frames: the header has several SPS"), std::string::npos) << plan.out;
        for (const std::string& name : FilesLeft())
            fs::remove(folder / name);
    }
}

TEST_F(Program, OneContainerIntoAnother)
{
    for (const char* pair :
         {"h264.mp4 a.mkv", "h264.mp4 a.ts", "h264.mp4 a.m2ts", "h264.ts a.mp4", "h264.ts a.mkv", "h264.mkv a.mov",
          "mpeg2.vob a.ts", "mpeg2.ts a.vob", "mpeg4.avi a.mp4", "vp9.webm a.mkv", "wmv2.wmv a.avi"})
    {
        const std::string out = std::string(pair).substr(std::string(pair).find(' ') + 1);
        const Outcome cut = Run("cut $S/" + std::string(pair) + " --keep 1.2-2.4,3-5.52 --verify");
        EXPECT_EQ(cut.status, 0) << pair << ": " << cut.err << cut.out;
        fs::remove(folder / out);
    }
}

// Everything of the source arrives, and a way there and back gives its packets again.
TEST_F(Program, RepacksThereAndBack)
{
    const struct
    {
        const char* clip;
        const char* there;
        const char* back;
        int tracks;
    } rows[] = {{"h264.mp4", "a.mkv", "b.mp4", 2},
                {"h264.mp4", "a.ts", "b.mp4", 2},
                {"hevc.mp4", "a.ts", "b.mkv", -1},
                {"mpeg4.mp4", "a.mkv", "b.mp4", 2},
                {"h264.mp4", "a.264", "b.mp4", 1}};
    for (const auto& row : rows)
    {
        SCOPED_TRACE(std::string(row.clip) + " " + row.there);
        const Outcome there = Run("repack $S/" + std::string(row.clip) + " " + row.there + " -y --json");
        ASSERT_EQ(there.status, 0) << there.err;
        const Outcome back = Run(std::string("repack ") + row.there + " " + row.back + " -y --json");
        ASSERT_EQ(back.status, 0) << back.err;
        const nlohmann::json first = nlohmann::json::parse(there.out), second = nlohmann::json::parse(back.out);
        EXPECT_EQ(first["tracks"].size(), second["tracks"].size());
        if (row.tracks >= 0)
        {
            EXPECT_EQ(first["tracks"].size(), static_cast<size_t>(row.tracks));
        }
        for (size_t i = 0; i < second["tracks"].size(); ++i)
            EXPECT_EQ(first["tracks"][i]["copied_packets"], second["tracks"][i]["copied_packets"]);
        EXPECT_EQ(first["warnings"].empty(), row.tracks != 1) << first["warnings"];
        EXPECT_EQ(Run(std::string("repack ") + row.back + " " + row.back + " -y").status, 2); // onto itself
        EXPECT_EQ(Run(std::string("repack ") + row.there + " " + row.back).status, 3);
        // cutting at key frames works on what came back: its packets are as good as the source's
        EXPECT_EQ(Run(std::string("cut ") + row.back + " c.mp4 -y --verify --keep 0-4").status, 0);
    }
}

TEST_F(Program, DetectLosslessAnswersScripts)
{
    const fs::path media = fs::path(TESSOR_SOURCE_DIR) / "../shared/media";
    if (!fs::exists(media))
        GTEST_SKIP() << "no clips";
    fs::create_symlink(media, folder / "m");
    EXPECT_EQ(Run("detect lossless m/hevc-annexb-aac.ts").status, 0);
    const Outcome open = Run("detect lossless m/hevc-hev1-cra-aac.mp4 --json");
    EXPECT_EQ(open.status, 1) << open.err;
    const nlohmann::json report = nlohmann::json::parse(open.out);
    EXPECT_EQ(report["lossless"], false);
    EXPECT_EQ(report["tracks"][0]["copy"], true);
    EXPECT_EQ(report["tracks"][0]["cut_ended_at_packet"], 28);
    EXPECT_EQ(report["tracks"][1]["cut"], true);
    EXPECT_EQ(Run("detect colour m/hevc-annexb-aac.ts").status, 2);
    EXPECT_EQ(Run("detect lossless m/none.mp4").status, 1);

    const nlohmann::json probe = nlohmann::json::parse(Run("probe m/hevc-hev1-cra-aac.mp4 --json").out);
    EXPECT_EQ(probe["tracks"][0]["lossless"]["cut"], false);
    EXPECT_EQ(probe["tracks"][0]["header"]["visible_width"], 1280);
    EXPECT_EQ(probe["tracks"][1]["header"]["sampling_frequency"], 44100);
}

TEST_F(Program, ExitStatusAndOneClearLine)
{
    std::ofstream(folder / "empty.mp4");
    std::ofstream(folder / "noise.mp4") << std::string(4000, 'x');
    fs::create_directory(folder / "dir.mp4");
    fs::copy(samples / "h264.mp4", folder / "in.mp4");
    fs::create_hard_link(folder / "in.mp4", folder / "same.mp4");
    std::ofstream(folder / "there.mp4") << "precious";
    const struct
    {
        const char* args;
        int status;
        const char* message;
    } rows[] = {
        {"cut in.mp4 out.mp4", 2, "--keep or --remove"},
        {"cut in.mp4 out.mp4 --keep 1-2 --remove 3-4", 2, "--keep or --remove"},
        {"cut in.mp4 out.mp4 --keep 2-1", 2, "ends before it begins"},
        {"cut in.mp4 out.mp4 --keep 1-3,2-4", 2, "overlap"},
        {"cut in.mp4 out.mp4 --keep 100-200", 2, "beyond the end"},
        {"cut in.mp4 out.mp4 --keep 1.2.3-4", 2, "is no time"},
        {"cut in.mp4 out.mp4 --keep 1000f-1001f", 2, "there is no frame 1000f"},
        {"cut in.mp4 out.mp4 --remove start-end", 2, "nothing would be left"},
        {"cut in.mp4 --keep 1-2", 2, "OUT is missing"},
        {"cut in.mp4 out.mp4 --keep 1-2 --wrong", 2, "--wrong"},
        {"nonsense", 2, ""},
        {"", 2, ""},
        {"cut in.mp4 there.mp4 --keep 1-2", 3, "there.mp4: exists"},
        {"cut in.mp4 in.mp4 --keep 1-2 -y", 2, "the output is the input"},
        {"cut in.mp4 same.mp4 --keep 1-2 -y", 2, "the output is the input"},
        {"cut in.mp4 dir.mp4 --keep 1-2 -y", 1, "dir.mp4: is a folder"},
        {"cut in.mp4 nowhere/out.mp4 --keep 1-2", 1, "nowhere/out.mp4: "},
        {"cut in.mp4 /dev/full --keep 1-2 -y", 1, "/dev/full: "},
        {"cut in.mp4 out.xyz --keep 1-2", 1, "out.xyz: "},
        {"cut missing.mp4 out.mp4 --keep 1-2", 1, "missing.mp4: "},
        {"cut empty.mp4 out.mp4 --keep 1-2", 1, "empty.mp4: "},
        {"cut noise.mp4 out.mp4 --keep 1-2", 1, "noise.mp4: "},
        {"cut dir.mp4 out.mp4 --keep 1-2", 1, "dir.mp4: "},
        {"probe missing.mp4", 1, "missing.mp4: "},
    };
    const std::string before = Slurp(folder / "in.mp4");
    const std::vector<std::string> files = FilesLeft();
    for (const auto& row : rows)
    {
        const Outcome outcome = Run(row.args);
        EXPECT_EQ(outcome.status, row.status) << row.args << ": " << outcome.err;
        EXPECT_NE(outcome.err.find(row.message), std::string::npos) << row.args << ": " << outcome.err;
        EXPECT_EQ(outcome.err.rfind("tessor: ", 0), 0u) << row.args << ": " << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << row.args << ": " << outcome.err;
        EXPECT_EQ(outcome.out, "") << row.args;
        EXPECT_EQ(FilesLeft(), files) << row.args;
    }
    EXPECT_EQ(Slurp(folder / "in.mp4"), before);
    EXPECT_EQ(Slurp(folder / "there.mp4"), "precious");
}

TEST_F(Program, AFullDiskLeavesNothingBehind)
{
    // the limit of a file's size stands for the disk
    const Outcome outcome = Run("cut $S/mpeg2.vob out.vob --keep 0.5-7", "ulimit -f 200;");
    EXPECT_EQ(outcome.status, 1) << outcome.err;
    EXPECT_NE(outcome.err.find("out.vob: "), std::string::npos) << outcome.err;
    EXPECT_EQ(FilesLeft(), std::vector<std::string>{});
}

TEST_F(Program, AnInterruptionLeavesNothingBehind)
{
    const Outcome outcome =
        Run("cut $S/mpeg2.vob out.vob --keep 0.5-7 --verify", "timeout --preserve-status -s INT 0.15");
    if (outcome.status == 0)
        GTEST_SKIP() << "the cut was faster than the interruption";
    EXPECT_EQ(outcome.status, 130) << outcome.err;
    for (const std::string& name : FilesLeft())
        EXPECT_EQ(name, "out.vob") << "only a complete file may be there, when the interruption hit its verification";
}

TEST_F(Program, TruncatedAndDamagedInputIsReadAsFarAsItGoes)
{
    const std::string whole = Slurp(samples / "h264.ts");
    std::ofstream(folder / "short.ts", std::ios::binary) << whole.substr(0, whole.size() * 2 / 3 + 77);
    std::string damaged = whole;
    for (size_t i = whole.size() / 2; i < whole.size() / 2 + 3000; ++i)
        damaged[i] = static_cast<char>(i * 7);
    std::ofstream(folder / "damaged.ts", std::ios::binary) << damaged;
    for (const char* name : {"short.ts", "damaged.ts"})
    {
        const Outcome outcome = Run("cut " + std::string(name) + " out.ts --keep 0.3-4 -y");
        EXPECT_EQ(outcome.status, 0) << name << outcome.err;
    }
    const std::string mp4 = Slurp(samples / "h264.mp4");
    std::ofstream(folder / "noindex.mp4", std::ios::binary) << mp4.substr(0, mp4.size() / 2);
    const Outcome outcome = Run("cut noindex.mp4 out2.mp4 --keep 0.3-4");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("noindex.mp4: "), std::string::npos) << outcome.err;
}

TEST_F(Program, ProbeTellsWhatItFinds)
{
    const nlohmann::json json = nlohmann::json::parse(Run("probe $S/h264.mp4 --json").out);
    EXPECT_EQ(json["schema_version"], 1);
    const nlohmann::json& video = json["tracks"][0];
    EXPECT_EQ(video["codec"], "h264");
    EXPECT_EQ(video["header"]["visible_width"], 640);
    EXPECT_EQ(video["groups"]["count"], 4);
    EXPECT_EQ(video["groups"]["pictures"], 200);
    EXPECT_EQ(video["cut_anywhere"], true);
}

TEST_F(Program, ThePlanWritesNothing)
{
    const Outcome outcome = Run("cut $S/h264.mp4 --keep 0-2,3-6 --plan --json");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const nlohmann::json plan = nlohmann::json::parse(outcome.out);
    std::string actions;
    for (const nlohmann::json& group : plan["groups"])
        actions += group["action"].get<std::string>() + " ";
    EXPECT_EQ(actions, "copy re-encode copy drop ");
    EXPECT_EQ(FilesLeft(), std::vector<std::string>{});
}

TEST_F(Program, CompletionAndManualNameEveryOption)
{
    for (const char* args : {"completion bash", "completion zsh", "completion fish", "manual"})
    {
        std::string text = Run(args).out;
        text.erase(std::remove(text.begin(), text.end(), '\\'), text.end()); // of the manual's hyphens
        for (const char* verb : {"cut", "repack", "probe", "convert", "filters", "mix", "tone", "detect"})
        {
            const std::string help = Run(std::string(verb) + " --help").out;
            EXPECT_NE(text.find(verb), std::string::npos) << args << ": " << verb;
            for (size_t at = help.find("--"); at != std::string::npos; at = help.find("--", at + 2))
            {
                const size_t end = help.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", at + 2);
                const std::string option = help.substr(at + 2, end - at - 2);
                EXPECT_TRUE(option == "help" || text.find(option) != std::string::npos)
                    << args << ": " << verb << option;
            }
        }
    }
}

namespace
{

/// Keys that a schema asks for and are not there, or that it doesn't know.
void CheckDocument(const nlohmann::json& schema, const nlohmann::json& document, const std::string& where)
{
    if (document.is_array() && schema.contains("items"))
        for (const nlohmann::json& item : document)
            CheckDocument(schema["items"], item, where + "[]");
    if (!document.is_object() || !schema.contains("properties"))
        return;
    for (const nlohmann::json& key : schema.value("required", nlohmann::json::array()))
        EXPECT_TRUE(document.contains(key)) << where << ": " << key << " is missing";
    for (const auto& [key, value] : document.items())
    {
        EXPECT_TRUE(schema["properties"].contains(key)) << where << ": " << key << " is not documented";
        if (schema["properties"].contains(key))
            CheckDocument(schema["properties"][key], value, where + "." + key);
    }
}

} // namespace

TEST_F(Program, DocumentsAreWhatTheirSchemasSay)
{
    const std::pair<const char*, const char*> rows[] = {
        {"cut", "cut $S/h264.mp4 a.mp4 --keep 0-2 --verify"},
        {"probe", "probe $S/h264.mp4"},
        {"repack", "repack $S/h264.mp4 b.mkv"},
        {"convert", "convert $S/h264.mp4 c.mp4 --vf fps=rate=12.5,scale=width=64 --preset ultrafast"},
        {"sound", "tone d.wav --duration 1"},
        {"sound", "mix d.wav:50 d.wav e.wav"},
        {"filters", "filters"},
        {"detect", "detect volume d.wav"},
        {"detect", "detect lossless $S/h264.mp4"},
    };
    for (const auto& [name, args] : rows)
    {
        const Outcome outcome = Run(std::string(args) + " --json");
        ASSERT_EQ(outcome.status, 0) << args << outcome.err;
        const fs::path schema = fs::path(TESSOR_SOURCE_DIR) / "docs" / (std::string(name) + ".schema.json");
        CheckDocument(nlohmann::json::parse(Slurp(schema)), nlohmann::json::parse(outcome.out), args);
    }
}
