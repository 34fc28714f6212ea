#pragma once

#include "cli/Verb.h"
#include "jobs/split/SplitJob.h"

namespace Tessor::Cli
{

/// Splits a file and prints the report. Throws UserError where a piece was verified and is not good.
ExitCode Split(const Jobs::SplitSettings& settings, const CommonOptions& common);

} // namespace Tessor::Cli
