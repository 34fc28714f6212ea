// Standard input and output in the place of files.

#include "tests/cli/ProgramFixture.h"

using namespace Tessor::Cli::Tests;

namespace
{

const std::string tessor = "'" TESSOR_PROGRAM "' ";

/// Pictures and sound as they are decoded.
std::string Decoded(const std::string& file)
{
    return "ffmpeg -v error -i " + file + " -map 0 -f framemd5 - | grep -v '#'";
}

} // namespace

// What a job reads, and what it writes, does not depend on where that comes from and goes to.
TEST_F(Program, APipeGivesWhatAFileGives)
{
    const std::tuple<std::string, std::string, std::string, bool> rows[] = {
        {"repack", "h264.mp4", "mpegts", true},
        {"cut --keep 1.02-3.5,4-5", "h264.mp4", "mpegts", true},
        {"cut --keep 1.02-3.5,4-5", "h264.ts", "matroska", false},
        {"convert --keep 1-2 --no-audio --video-encoder ffv1", "mpeg4.avi", "nut", true},
        {"convert --no-video", "mpeg2.vob", "wav", false},
        {"mix", "aac.aac", "adts", true},
        {"repack", "pcm.wav", "wav", false}};
    for (const auto& [verb, clip, format, same] : rows)
    {
        SCOPED_TRACE(verb + clip);
        Make(tessor + verb + " -y $S/" + clip + " file --format " + format);
        const Outcome piped =
            RunCommand("cat $S/" + clip + " | " + tessor + verb + " --format=" + format + " - - | cat >piped && " +
                       tessor + verb + " --format=" + format + " - - <$S/" + clip + " | cmp - piped");
        EXPECT_EQ(piped.status, 0) << piped.err;
        EXPECT_EQ(piped.out, "");
        EXPECT_EQ(Slurp(folder / "piped") == Slurp(folder / "file"), same);
        const std::string decoded = RunCommand(Decoded("piped")).out;
        EXPECT_GT(decoded.size(), 1000u);
        EXPECT_EQ(decoded, RunCommand(Decoded("file")).out);
    }
    // its length is not told in it, which is no damage
    const Outcome tone = RunCommand(tessor + "tone --format wav - | " + tessor + "detect volume -");
    EXPECT_EQ(tone.out, "standard input: peak 0.5000 (-6.0 dB)\n");
    EXPECT_EQ(tone.err, "");
}

// Those that read a file several times, and tell its name.
TEST_F(Program, StandardInputCanBeReadAgain)
{
    const auto piped = [&](const std::string& args)
    {
        const Outcome outcome = RunCommand("cat $S/mpeg2.vob | TMPDIR=. " + tessor + args + " --json");
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return json::parse(outcome.out);
    };
    for (const std::string verb : {"probe", "detect lossless", "cut --keep 1-2 --plan"})
    {
        json expected = Report(verb + " $S/mpeg2.vob");
        EXPECT_EQ(std::exchange(expected["input"], "standard input"), (samples / "mpeg2.vob").string());
        EXPECT_EQ(piped(verb + " -"), expected);
    }
    EXPECT_EQ(piped("cut - out.ts --keep 1.1-2 --verify")["verify"]["good"], true);
    EXPECT_EQ(piped("cut - '{name}.ts' --keep 1-2,3-4 --split")["pieces"].size(), 2u);
    EXPECT_EQ(FilesLeft(), (std::vector<std::string>{"out.ts", "standard input-1.ts", "standard input-2.ts"}));
}

// The name of the output tells nothing then.
TEST_F(Program, TheContainerCanBeNamed)
{
    Make(tessor + "repack $S/h264.mp4 out.mp4 --format matroska && (printf me; " + tessor +
         "cut $S/h264.mp4 - --keep 0-1 --format mpegts) >piped");
    EXPECT_EQ(Slurp(folder / "piped").substr(0, 3), "meG"); // others write there, too
    EXPECT_EQ(Ask("-show_entries format=format_name out.mp4"), "\"matroska,webm\" ");
    EXPECT_EQ(Ask("-show_entries format=format_name piped"), "mpegts ");
    const std::string words = RunCommand(tessor + "completion bash | grep 'tone:--format)'").out;
    EXPECT_NE(words.find(" mpegts "), std::string::npos) << words;
}

TEST_F(Program, WhatCannotBeStreamedIsRefused)
{
    Make("mkfifo pipe && mkdir dir && cp $S/h264.mp4 in.mp4 && head -c 300000 /dev/urandom >noise && "
         "python3 -c 'import socket; socket.socket(socket.AF_UNIX).bind(\"socket\")'");
    const std::tuple<std::string, int, std::string> rows[] = {
        {"probe pipe", 1, "pipe: is a pipe, which can't be sought\n"},
        {"probe socket", 1, "socket: is a socket, which can't be sought\n"},
        {"probe /dev/zero", 1, "/dev/zero: is a device, which can't be sought\n"},
        {"probe dir", 1, "dir: is a folder\n"},
        {"probe /dev/stdin", 1, "/dev/stdin: is a pipe, which can't be sought; \"-\" reads standard input\n"},
        {"probe - <dir", 1, "standard input: can't be read: "},
        {"probe - </dev/null", 1, "standard input: is empty\n"},
        {"probe - <noise", 1, "standard input: unknown format or damaged header"},
        {"probe - <&-", 1, "standard input: is not open for reading\n"},
        {"repack - out.mkv --log-file log <&-", 1, "standard input: is not open for reading\n"},
        {"repack in.mp4 -", 2, "standard output: its container has to be named"},
        {"repack in.mp4 - --format mov", 2, "changed at the end; usual ones here: "},
        {"repack in.mp4 out.mkv --format mkv", 2, "out.mkv: no container mkv can be written; usual ones here: 3g2, "},
        {"repack in.mp4 - --format mpegts --json", 2, "standard output: takes the result or the document"},
        {"repack in.mp4 - --format mpegts --faststart", 2, "--faststart is for files"},
        {"repack in.mp4 - --format mpegts --keep-date", 2, "--keep-date is for files"},
        {"repack - out.ts --keep-date", 2, "--keep-date is for files"},
        {"repack in.mp4 - --format mpegts --split-time 1s", 2, "standard output: each piece needs a file"},
        {"cut in.mp4 - --format mpegts --keep 1-2 --verify", 2, "standard output: what is passed on can't be verified"},
        {"cut in.mp4 out.ts --keep 1-2 --write-list - --list-format csv", 2, "a cut list is written to a file"},
        {"mix - - out.wav", 2, "standard input: can't be several inputs"},
        {"repack in.mp4 - --format mpegts >>in.mp4", 2, "standard output: the output is the input"},
        {"repack - in.mp4 -y <in.mp4", 2, "in.mp4: the output is the input"},
        {"repack in.mp4 - --format mpegts >/dev/full", 1, "standard output: can't be written: "},
        {"repack in.mp4 - --format mpegts --log-file log >&-", 1, "standard output: is not open for writing\n"},
        {"tone - --format wav --audio-encoder none", 2, "standard output: there is no encoder \"none\""},
    };
    const std::string mp4 = Slurp(folder / "in.mp4");
    for (const auto& [args, status, message] : rows)
    {
        const Outcome outcome = RunCommand("echo | timeout 20 " + tessor + args);
        EXPECT_EQ(outcome.status, status) << args << ": " << outcome.err;
        EXPECT_NE(outcome.err.find(message), std::string::npos) << args << ": " << outcome.err;
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << args << ": " << outcome.err;
        EXPECT_EQ(outcome.out, "") << args;
    }
    EXPECT_EQ(Slurp(folder / "in.mp4"), mp4);
    EXPECT_EQ(FilesLeft(), (std::vector<std::string>{"dir", "in.mp4", "log", "noise", "pipe", "socket"}));
}

// The ends of a pipe come and go as they like. A copy of standard input has no name, and needs no clearing away.
TEST_F(Program, APipeThatEndsEarlyIsTold)
{
    Make("mkfifo pipe");
    const Outcome gone =
        RunCommand("(" + tessor + "repack $S/mpeg2.vob - --format mpegts; echo $? >&2) | head -c 9999");
    EXPECT_EQ(gone.out.size(), 9999u);
    EXPECT_EQ(gone.err.rfind("tessor: standard output: can't be written: nobody reads it any more\n", 0), 0u)
        << gone.err;
    EXPECT_EQ(gone.err.substr(gone.err.size() - 3), "\n1\n");

    const Outcome full = RunCommand("ulimit -f 200; cat $S/mpeg2.vob | TMPDIR=. " + tessor + "repack - out.mkv");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.err.rfind("tessor: standard input: can't be copied to .: ", 0), 0u) << full.err;

    // once the copy is there, of an input that does not end
    const Outcome stopped = RunCommand("exec 3<>pipe; TMPDIR=. " + tessor +
                                       "repack - out.mkv <pipe & cat $S/h264.ts >pipe; "
                                       "until ls -l /proc/$!/fd | grep -q deleted; do sleep 0.01; done; "
                                       "kill -INT $!; wait $!");
    EXPECT_EQ(stopped.status, 130) << stopped.err;

    // of a pipe that nobody reads, once it is full
    const Outcome stalled = RunCommand("exec 3<>pipe; " + tessor +
                                       "repack $S/mpeg2.vob - --format mpegts >pipe & "
                                       "sleep 1; kill -INT $!; wait $!");
    EXPECT_EQ(stalled.status, 130) << stalled.err;
    EXPECT_EQ(FilesLeft(), std::vector<std::string>{"pipe"});
}
