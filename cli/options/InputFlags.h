#pragma once

#include "cli/options/OptionTable.h"
#include "ffhost/io/reading/DemuxerSettings.h"

namespace Tessor::Cli
{

/// The options by which verbs read their inputs.
void AddInputOptions(OptionTable& table, Host::DemuxerSettings& settings);

} // namespace Tessor::Cli
