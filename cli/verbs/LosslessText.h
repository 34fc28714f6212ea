#pragma once

#include "jobs/detect/Lossless.h"

#include <string>

namespace Tessor::Cli
{

/// What was found out about a track, in words.
std::string DescribeLossless(const Jobs::LosslessFinding& finding);

} // namespace Tessor::Cli
