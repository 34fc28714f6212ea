#pragma once

#include "Fnd/Export.h"

#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// Names of files for the pieces of an input, with these titles. In the pattern {name} is the input's name without its
/// extension, {number} counts from 1, with as many digits for all, and {title} is the piece's title, or "part" where it
/// has none. A pattern with neither number nor title gets "-{number}" before its extension. What no file name should
/// hold (slashes, control codes, bytes that are no UTF-8) becomes an underscore, and what is too long is cut short.
/// Throws JobError for a field that there isn't, and where two pieces would have one name.
TESSOR_API std::vector<std::string> NamePieces(const std::string& pattern, const std::string& input,
                                               const std::vector<std::string>& titles);

} // namespace Tessor::Jobs
