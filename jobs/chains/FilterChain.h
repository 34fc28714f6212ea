#pragma once

#include "Fnd/Export.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tessor::Jobs
{

/// One filter of a chain as it was written.
struct FilterCall
{
    std::string name;
    /// Key and value, quotes taken off; in order. A word alone has no value.
    std::vector<std::pair<std::string, std::optional<std::string>>> options;
};

/// Reads a chain in FFmpeg's grammar: `name=key=value:key=value,name=...`. In a value, what stands between single
/// quotes is taken as it is, and outside of them a backslash takes the next character as it is; unquoted blanks round
/// names, keys and values are ignored. An empty text is an empty chain.
///
/// Throws JobError::BadRequest that tells the place, counted from 1.
TESSOR_API std::vector<FilterCall> ParseFilterChain(const std::string& text);

} // namespace Tessor::Jobs
