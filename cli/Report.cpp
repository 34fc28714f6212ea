#include "cli/Report.h"

#include "cli/Printable.h"
#include "cli/UserError.h"

#include <iostream>
#include <system_error>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

/// fmt tells of a full disk at once, streams keep it for the end of the program; both are no failures of the job's.
void WriteOut(const std::function<void()>& print)
try
{
    print();
}
catch (const std::system_error& e)
{
    throw UserError(ExitCode::Failed, "standard output: " + e.code().message());
}

} // namespace

// A document is printed with -q as well: who asks for one reads it.
void PrintReport(const CommonOptions& common, const std::function<Json()>& document, const std::function<void()>& text,
                 const std::vector<std::string>& warnings, const Statistics& statistics)
{
    if (common.json)
    {
        Json json = document();
        if (common.verbose)
            json["statistics"] = ToJson(statistics);
        std::cout << Serialize(json) << "\n";
        return;
    }
    if (common.quiet)
        return;
    if (!common.outputTaken)
        WriteOut(text);
    if (common.verbose && !statistics.empty())
        (common.outputTaken ? std::cerr : std::cout) << Serialize(ToJson(statistics)) << "\n";
    for (const std::string& warning : warnings)
        fmt::print(stderr, "tessor: warning: {}\n", Printable(warning));
}

} // namespace Tessor::Cli
