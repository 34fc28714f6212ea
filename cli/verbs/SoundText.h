#pragma once

#include "cli/Verb.h"
#include "jobs/sound/SoundFile.h"

namespace Tessor::Cli
{

/// Prints the report on standard output, as JSON where that is wanted.
void PrintSound(const Jobs::SoundReport& report, const CommonOptions& common);

} // namespace Tessor::Cli
