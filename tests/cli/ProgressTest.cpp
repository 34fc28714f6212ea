// What a person sees of a job that takes its time.

#include "cli/ProgressBar.h"
#include "tests/cli/ProgramFixture.h"

namespace Tessor::Cli::Tests
{

TEST(ProgressBar, FitsTheTerminalAndTellsMinutes)
{
    EXPECT_EQ(MakeProgressBar("cut", 0.5, 12.34, 65, 100),
              "cut [###############...............]  50 %  12.3x  1 min 05 s left");
    EXPECT_EQ(MakeProgressBar("cut", 1, 1, 7384, 46), "cut [##########] 100 %  1.0x  2 h 03 min left");
    for (size_t columns = 0; columns < 120; ++columns)
        EXPECT_LT(MakeProgressBar("verify", 0.3, 1e9, 59.7, columns).size(), std::max<size_t>(columns, 1));
    EXPECT_EQ(MakeProgressBar("verify", 0.3, 2, 3599, 40), "verify  30 %  2.0x  59 min 59 s left");
}

// A job of more than a second, on a terminal of 44 columns.
TEST_F(Program, TheBarIsGoneBeforeTheReport)
{
    const std::string job = TESSOR_PROGRAM " tone o.flac --duration 900";
    const std::string shown = RunCommand("script -qec \"stty cols 44; " + job + "\" /dev/null").out;
    const std::string wipe = "\r\x1b[K";
    const size_t bar = shown.find(wipe + "tone "), report = shown.find("o.flac: ");
    ASSERT_NE(bar, std::string::npos) << shown;
    ASSERT_NE(report, std::string::npos) << shown;
    EXPECT_EQ(shown.find('\n'), shown.find('\n', report)) << shown;
    EXPECT_EQ(shown.substr(report - wipe.size(), wipe.size()), wipe) << shown;
    for (size_t at = bar; at < report - wipe.size();)
    {
        const size_t next = shown.find(wipe, at + 1);
        EXPECT_LT(next - at - wipe.size(), 44u) << shown;
        at = next;
    }
}

// Each stage ends with a line that says so, whatever -q leaves out.
TEST_F(Program, ProgressForProgramsNamesItsStage)
{
    const std::tuple<std::string, std::vector<std::string>> rows[] = {
        {"cut $S/h264.mp4 o.mp4 -y --keep 1-2 --verify", {"cut", "verify"}},
        {"cut $S/h264.mp4 --plan --keep 1-2", {"plan"}},
        {"probe $S/h264.mp4", {"probe"}},
        {"detect lossless $S/h264.mp4", {"detect"}},
        {"detect volume $S/h264.mp4", {"detect"}}};
    for (const auto& [args, stages] : rows)
    {
        std::vector<std::string> finished;
        std::istringstream lines(Run(args + " -q --progress json").err);
        for (std::string line; std::getline(lines, line);)
            if (const json told = json::parse(line); told["finished"])
                finished.push_back(told["stage"]);
        EXPECT_EQ(finished, stages) << args;
    }
}

} // namespace Tessor::Cli::Tests
