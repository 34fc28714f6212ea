#pragma once

#include "tests/support/Media.h"
#include "tests/support/ScratchFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

namespace Tessor::Cli::Tests
{

namespace fs = std::filesystem;
using nlohmann::json;
using Tessor::Test::Slurp;

inline const fs::path samples = fs::path(Tessor::Test::ClipPath("h264.mp4")).parent_path();

struct Outcome
{
    int status;
    std::string out, err;
};

/// A folder of the test's own.
class Program : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(fs::exists(samples / "h264.mp4")) << "run scripts/make-samples --tests"; }

    /// Runs a command of the shell in the folder; $S stands for the folder of samples.
    Outcome RunCommand(const std::string& command) const
    {
        const int status = std::system(("cd '" + folder.string() + "' && S='" + samples.string() + "' && (" + command +
                                        ") >out.txt 2>err.txt </dev/null")
                                           .c_str());
        Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(folder / "out.txt"),
                        Slurp(folder / "err.txt")};
        fs::remove(folder / "out.txt");
        fs::remove(folder / "err.txt");
        return outcome;
    }

    /// Runs a command that has to succeed.
    void Make(const std::string& command) const
    {
        const Outcome made = RunCommand(command);
        EXPECT_EQ(made.status, 0) << command << made.err;
    }

    /// What ffprobe tells, on one line.
    std::string Ask(const std::string& args) const
    {
        return RunCommand("ffprobe -v error -of csv=p=0 " + args + " | tr '\\n' ' '").out;
    }

    /// Runs `tessor ARGS`.
    Outcome Run(const std::string& args, const std::string& prefix = "") const
    {
        return RunCommand(prefix + " '" TESSOR_PROGRAM "' " + args);
    }

    /// The document that a run prints, which has to end with the status.
    json Report(const std::string& args, int status = 0) const
    {
        const Outcome outcome = Run(args + " --json");
        EXPECT_EQ(outcome.status, status) << args << ": " << outcome.err << outcome.out;
        return json::parse(outcome.out);
    }

    std::vector<std::string> FilesLeft() const { return scratch.List(); }

private:
    const Tessor::Test::ScratchFolder scratch;

protected:
    const fs::path folder = scratch.Path();
};

} // namespace Tessor::Cli::Tests
