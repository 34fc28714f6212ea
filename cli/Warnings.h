#pragma once

#include "cli/Verb.h"

namespace Tessor::Cli
{

/// Prints warnings on standard error, a line each, unless the report is JSON (which has them) or none is wanted.
void Warn(const std::vector<std::string>& warnings, const CommonOptions& common);

} // namespace Tessor::Cli
