#pragma once

#include <string>
#include <vector>

namespace Tessor::Cli
{

/// Refuses an output that is one of the inputs (whatever its name) or exists already. Throws UserError.
void CheckOutput(const std::string& output, const std::vector<std::string>& inputs, bool overwrite);

} // namespace Tessor::Cli
