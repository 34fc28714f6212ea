#include "cli/verbs/SoundText.h"

#include "Fnd/Plural.h"
#include "cli/Printable.h"
#include "cli/Report.h"

namespace Tessor::Cli
{

using namespace Jobs;

void PrintSound(const SoundReport& report, const CommonOptions& common)
{
    PrintReport(common, report,
                [&]
                {
                    Print("{}: {} of {} Hz, {}, by {} in {:.2f} s\n", report.output, T2S(report.duration), report.rate,
                          Count(report.channels, "channel"), report.encoder, report.wallSeconds);
                });
}

} // namespace Tessor::Cli
