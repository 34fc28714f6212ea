#include "cli/Report.h"

#include <fmt/format.h>
#include <iostream>

namespace Tessor::Cli
{

namespace
{

/// Of the documents of all verbs, described in docs/.
constexpr int SCHEMA_VERSION = 1;

} // namespace

void PrintReport(const CommonOptions& common, const std::function<Json()>& document, const std::function<void()>& text,
                 const std::vector<std::string>& warnings)
{
    if (common.json)
    {
        Json json = {{"schema_version", SCHEMA_VERSION}};
        json.update(document());
        std::cout << json.dump(2) << "\n";
        return;
    }
    if (common.quiet)
        return;
    text();
    for (const std::string& warning : warnings)
        fmt::print(stderr, "tessor: warning: {}\n", warning);
}

} // namespace Tessor::Cli
