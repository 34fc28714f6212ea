#pragma once

#include "jobs/reports/Statistics.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// What every job reports beside its findings.
struct JobReport
{
    std::vector<std::string> warnings; ///< what was done otherwise than asked, and what is lost
    Statistics statistics;             ///< of the tracks that were read through filters
};

} // namespace Tessor::Jobs
