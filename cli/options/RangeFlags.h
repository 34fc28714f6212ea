#pragma once

#include "cli/options/OptionTable.h"
#include "jobs/Times.h"

namespace Tessor::Cli
{

/// The options that tell what is kept of a file, or what is removed of it.
void AddRangeOptions(OptionTable& table, Jobs::RangeList& keep, Jobs::RangeList& remove);

} // namespace Tessor::Cli
