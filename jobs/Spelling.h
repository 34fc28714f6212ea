#pragma once

#include "Fnd/Export.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Those of the words that are most like one that is none of them, the nearest first, three at most.
std::vector<std::string> FindNearest(const std::string& word, const std::vector<std::string>& words);

/// The one that is meant where a word is written wrongly; empty where none is near enough.
TESSOR_API std::string FindMeant(const std::string& word, const std::vector<std::string>& words);

} // namespace Tessor::Jobs
