#include "cli/Warnings.h"

#include <fmt/format.h>

namespace Tessor::Cli
{

void Warn(const std::vector<std::string>& warnings, const CommonOptions& common)
{
    if (common.json || common.quiet)
        return;
    for (const std::string& warning : warnings)
        fmt::print(stderr, "tessor: warning: {}\n", warning);
}

} // namespace Tessor::Cli
