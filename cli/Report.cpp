#include "cli/Report.h"

#include "cli/Printable.h"

#include <iostream>

namespace Tessor::Cli
{

using namespace Jobs;

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
    text();
    if (common.verbose && !statistics.empty())
        std::cout << Serialize(ToJson(statistics)) << "\n";
    for (const std::string& warning : warnings)
        fmt::print(stderr, "tessor: warning: {}\n", Printable(warning));
}

} // namespace Tessor::Cli
