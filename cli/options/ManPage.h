#pragma once

#include "cli/Verb.h"

#include <string>

namespace Tessor::Cli
{

/// The manual page in roff, from the verbs' option tables.
std::string GetManPage(const std::vector<std::unique_ptr<Verb>>& verbs);

} // namespace Tessor::Cli
