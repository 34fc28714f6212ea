#pragma once

#include "tests/support/ScratchFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace Tessor::Cli::Tests
{

namespace fs = std::filesystem;

inline const fs::path samples = TESSOR_SAMPLES;

struct Outcome
{
    int status;
    std::string out, err;
};

inline std::string Slurp(const fs::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// A folder of the test's own, with the clips linked by name.
class Program : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!fs::exists(samples / "h264.mp4"))
            GTEST_SKIP() << "no samples: scripts/make-samples --tests";
    }

    /// Runs `tessor ARGS` in the folder; $S stands for the folder of samples.
    Outcome Run(const std::string& args, const std::string& prefix = "") const
    {
        const std::string command = "cd '" + folder.string() + "' && S='" + samples.string() + "' && " + prefix + " '" +
                                    TESSOR_PROGRAM + "' " + args + " >out.txt 2>err.txt </dev/null";
        const int status = std::system(command.c_str());
        Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(folder / "out.txt"),
                        Slurp(folder / "err.txt")};
        fs::remove(folder / "out.txt");
        fs::remove(folder / "err.txt");
        return outcome;
    }

    std::vector<std::string> FilesLeft() const { return scratch.List(); }

private:
    const Tessor::Test::ScratchFolder scratch;

protected:
    const fs::path folder = scratch.Path();
};

} // namespace Tessor::Cli::Tests
