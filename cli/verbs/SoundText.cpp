#include "cli/verbs/SoundText.h"

#include "cli/Report.h"
#include "jobs/Times.h"

#include <fmt/format.h>

namespace Tessor::Cli
{

using namespace Jobs;

void PrintSound(const SoundReport& report, const std::string& path, const CommonOptions& common)
{
    const Json json = {{"output", path},
                       {"duration", Seconds(report.duration)},
                       {"encoder", report.encoder},
                       {"sample_rate", report.rate},
                       {"channels", report.channels},
                       {"wall_seconds", report.wallSeconds}};
    PrintReport(
        common, [&] { return json; },
        [&]
        {
            fmt::print("{}: {} of {} Hz, {} channels, by {} in {:.2f} s\n", path, T2S(report.duration), report.rate,
                       report.channels, report.encoder, report.wallSeconds);
        },
        {}, report.statistics);
}

} // namespace Tessor::Cli
