#pragma once

#include "cli/Verb.h"

#include <string>

namespace Tessor::Cli
{

/// The completion script of "bash", "zsh" or "fish", from the verbs' option tables.
std::string GetCompletion(const std::string& shell, const std::vector<std::unique_ptr<Verb>>& verbs);

} // namespace Tessor::Cli
