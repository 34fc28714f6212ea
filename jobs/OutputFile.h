#pragma once

#include "Fnd/Export.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Refuses an output that is one of the inputs (whatever its name) or exists already. Throws JobError.
TESSOR_API void CheckOutput(const std::string& output, const std::vector<std::string>& inputs, bool overwrite);

} // namespace Tessor::Jobs
