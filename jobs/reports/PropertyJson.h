#pragma once

#include "Fnd/Property/Property.h"

#include <nlohmann/json.hpp>

namespace Tessor::Jobs
{

/// A tree as JSON: a node is an array of single-member objects when names repeat, otherwise an object; a ratio is the
/// text "num/den".
TESSOR_API nlohmann::ordered_json PropertyToJson(const Core::Property& property);

} // namespace Tessor::Jobs
