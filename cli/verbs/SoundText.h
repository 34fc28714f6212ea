#pragma once

#include "cli/Verb.h"
#include "jobs/sound/SoundFile.h"

#include <string>

namespace Tessor::Cli
{

/// Prints the report on standard output, as JSON where that is wanted.
void PrintSound(const Jobs::SoundReport& report, const std::string& path, const CommonOptions& common);

} // namespace Tessor::Cli
