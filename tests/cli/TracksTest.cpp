// Which tracks go from a file to another one, and what that one says of them.

#include "tests/cli/ProgramFixture.h"

using namespace Tessor::Cli::Tests;

namespace
{

/// Two tracks each of pictures and sound, and one of subtitles.
class Tracks : public Program
{
protected:
    void SetUp() override
    {
        Program::SetUp();
        std::ofstream(folder / "s.srt") << "1\n00:00:00,400 --> 00:00:01,200\nline\n";
        std::ofstream(folder / "c.txt") << ";FFMETADATA1\ntitle=Old\nartist=me\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\n"
                                           "END=2000\ntitle=one\n";
        Make("ffmpeg -v error -f lavfi -i testsrc2=s=64x48:d=2 -f lavfi -i testsrc=s=96x48:d=2 -f lavfi -i "
             "sine=d=2:r=48000 -f lavfi -i sine=500:d=2:r=48000 -i s.srt -i c.txt -map 0 -map 2 -map 1 -map 3 -map 4 "
             "-map_metadata 5 -c:v libx264 -g 20 -c:a ac3 -metadata:s:a:0 language=eng -metadata:s:a:1 language=deu "
             "-metadata:s:v title=screen -metadata:s:s:0 language=fra -disposition:a:0 default film.mkv");
    }

    /// The packets of a track, whatever their times.
    std::string Packets(const std::string& track, const std::string& file) const
    {
        return RunCommand("ffmpeg -v error -i " + file + " -map 0:" + track + " -c copy -f streamhash -").out;
    }
};

} // namespace

TEST_F(Tracks, AreChosenByKindNumberAndLanguage)
{
    const std::pair<std::string, std::string> rows[] = {
        {"v:1,a", "video audio,eng audio,deu "},
        {"a:deu,s", "audio,deu subtitle,fra "},
        {"s:fra,2", "video subtitle,fra "},
        {"3,0,a:1", "video audio,deu "},
        {"v:und", "video video "},
    };
    for (const auto& [wanted, found] : rows)
        for (const std::string job : {"repack", "cut --keep 0.5-1", "convert"})
        {
            const json report = Report(job + " -y film.mkv out.mkv --tracks " + wanted);
            EXPECT_EQ(Ask("-show_entries stream=codec_type:stream_tags=language out.mkv"), found) << job << wanted;
            EXPECT_EQ(report["warnings"], json::array()) << job << wanted;
        }
    EXPECT_EQ(Ask("-show_entries stream=width -select_streams v film.mkv"), "64 96 ");
    Make("'" TESSOR_PROGRAM "' cut film.mkv wide.mkv --tracks v:1,a:deu --keep 10f-35f --verify");
    EXPECT_EQ(Ask("-count_packets -show_entries stream=width,nb_read_packets -select_streams v wide.mkv"), "96,25 ");
    Make("'" TESSOR_PROGRAM "' mix film.mkv deu.wav --tracks a:deu && '" TESSOR_PROGRAM "' mix film.mkv one.wav");
    EXPECT_NE(Packets("a", "deu.wav"), Packets("a", "one.wav"));
}

// The same words for all jobs that carry tracks over.
TEST_F(Tracks, AndFileSayWhatIsAskedFor)
{
    const std::string changes = " --default a:deu --language a:eng=fra --language a:deu=ENG --title a:0=First "
                                "--title v= --no-chapters --no-tags --tag title=New=er --tracks v:0,a:eng,a:deu";
    for (const std::string job : {"repack", "cut --keep 0.5-1", "convert"})
    {
        ASSERT_EQ(Run(job + " -y film.mkv out.mkv" + changes).status, 0) << job;
        EXPECT_EQ(Ask("-show_entries stream_disposition=default:stream_tags=language,title -select_streams a out.mkv"),
                  "0,fra,First 1,eng ")
            << job;
        EXPECT_EQ(Ask("-show_entries stream_tags=language,title -select_streams v out.mkv"), " ") << job;
        EXPECT_EQ(Ask("-show_entries format_tags=title,artist:chapter=id out.mkv"), "New=er ") << job;
        ASSERT_EQ(Run(job + " -y film.mkv out.mkv --tag artist= --no-chapters").status, 0) << job;
        EXPECT_EQ(Ask("-show_entries format_tags=title,artist:chapter=id out.mkv"), "Old ") << job;
    }
    ASSERT_EQ(Run("repack -y film.mkv out.mp4" + changes).status, 0);
    EXPECT_EQ(
        Ask("-show_entries stream_disposition=default:stream_tags=language -select_streams a out.mp4 | sed 's/,$//'"),
        "0,fra 1,eng ");
    // QuickTime has names of its own for languages, and not for all of them
    EXPECT_EQ(Run("repack -y film.mkv out.mov --tracks a --language a:deu=hrv").err,
              "tessor: warning: not carried over: the language hrv of track 3\n");
    EXPECT_EQ(Ask("-show_entries stream_tags=language -select_streams a out.mov"), "eng, , ");
    ASSERT_EQ(Run("repack -y film.mkv out.mov --tracks a").status, 0);
    EXPECT_EQ(Ask("-show_entries stream_tags=language -select_streams a out.mov"), "eng, ger, ");
    EXPECT_NE(Run("repack film.mkv out.ts --tracks v:0,a --default a:1").err.find("which tracks players choose"),
              std::string::npos);
}

TEST_F(Tracks, OfChapterTextsAreChapters)
{
    ASSERT_EQ(Run("repack film.mkv film.mp4 --tracks v:0,a:0").status, 0);
    EXPECT_EQ(Run("repack film.mp4 again.mp4").err, "");
    EXPECT_EQ(Ask("-show_entries chapter_tags=title again.mp4"), "one ");
}

// Chapters that begin a little before their first picture, as in files whose first picture is not at 0.
TEST_F(Tracks, ArePartedAtTheFirstPictureOfAChapter)
{
    std::ofstream(folder / "d.txt")
        << ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=780\ntitle=a\n[CHAPTER]\n"
           "TIMEBASE=1/1000\nSTART=780\nEND=1000\ntitle=b\n[CHAPTER]\nTIMEBASE=1/1000\n"
           "START=1000\nEND=2000\ntitle=c\n";
    Make("ffmpeg -v error -i film.mkv -i d.txt -map 0:v:0 -map_chapters 1 -c copy d.mkv");
    const Outcome parted = Run("repack d.mkv '{title}.mkv' --split-chapters");
    EXPECT_EQ(parted.status, 0) << parted.err;
    EXPECT_NE(parted.err.find("the chapter \"c\" at 0:00:00.995000 has no key frame of its own"), std::string::npos)
        << parted.err;
    EXPECT_EQ(Ask("-count_packets -show_entries stream=nb_read_packets b.mkv"), "30 ");
    EXPECT_FALSE(fs::exists(folder / "c.mkv"));
}

TEST_F(Tracks, AreCopiedWhereNothingIsToBeDone)
{
    const json report = Report("convert film.mkv quiet.mkv --video copy --af volume=gain=0.5 --tracks v,a:0");
    EXPECT_EQ(report["tracks"][0]["encoder"], nullptr);
    EXPECT_EQ(report["tracks"][0]["items_in"], 50);
    EXPECT_EQ(report["duration"], 2.016);
    EXPECT_EQ(Packets("v", "quiet.mkv"), Packets("v", "film.mkv"));
    EXPECT_NE(Packets("a", "quiet.mkv"), Packets("a:0", "film.mkv"));
    // sound is cut as the verb cut does it
    const std::string keep = " --keep 0.51-0.9,1.2-1.7";
    ASSERT_EQ(Run("convert film.mkv small.mkv --audio copy --vf scale=width=32 --tracks v:0,a" + keep).status, 0);
    ASSERT_EQ(Run("cut film.mkv cut.mkv --tracks a" + keep).status, 0);
    const std::string sound = " -show_entries packet=pts_time,size -select_streams a ";
    EXPECT_EQ(Ask(sound + "small.mkv"), Ask(sound + "cut.mkv"));
    EXPECT_EQ(Packets("a", "small.mkv"), Packets("a", "cut.mkv"));
    EXPECT_EQ(Ask("-show_entries stream=width -select_streams v small.mkv"), "32 ");
}

// Nothing tells how long it stands, and nothing comes after it.
TEST_F(Tracks, EndWithASubtitleThatStands)
{
    Make("ffmpeg -v error -i film.mkv -map 0:v:0 -map 0:s -c copy -bsf:s setts=duration=0 in.mkv");
    EXPECT_EQ(Report("cut in.mkv out.mkv --keep 1.5- --verify")["verify"]["good"], true);
    EXPECT_EQ(Ask("-show_entries packet=pts_time -select_streams s out.mkv"), "0.000000 ");
}

TEST_F(Tracks, ThatAreNotThereAreNamed)
{
    const std::tuple<std::string, int, std::string> rows[] = {
        {"repack film.mkv out.mkv --tracks v:0,a:fra", 2,
         "no track a:fra in film.mkv, which has v:0, a:0 (eng), v:1, a:1 (deu), s:0 (fra)"},
        {"cut film.mkv out.mkv --keep 0-1 --tracks 5", 2, "no track 5 in film.mkv"},
        {"convert film.mkv out.mkv --tracks x:0", 2, "--tracks: \"x:0\" names no track"},
        {"cut film.mkv out.mkv --keep 0-1 --tracks s", 1, "neither picture nor sound"},
        {"mix film.mkv out.wav --tracks v", 1, "film.mkv: there is no sound in the tracks v"},
        {"repack film.mkv out.mkv --language a:0=english", 2, "\"english\" is no language of three letters"},
        {"repack film.mkv out.mkv --default a:2", 2, "--default: there is no track a:2"},
        {"repack film.mkv out.mkv --title none", 2, "--title: \"none\" has no ="},
        {"convert film.mkv out.mkv --video copy --vf fps=rate=5", 2, "--video copy leaves nothing to do"},
        {"convert film.mkv out.mkv --video copy --keep 0-1", 2, "cut without loss by the verb cut"},
        {"convert film.mkv out.webm --audio copy", 1, "out.webm: the container can't carry track 1 (audio) as it is"},
    };
    const std::vector<std::string> files = FilesLeft();
    for (const auto& [args, status, message] : rows)
    {
        const Outcome outcome = Run(args);
        EXPECT_EQ(outcome.status, status) << args << ": " << outcome.err;
        EXPECT_NE(outcome.err.find(message), std::string::npos) << args << ": " << outcome.err;
        EXPECT_EQ(FilesLeft(), files) << args;
    }
}
