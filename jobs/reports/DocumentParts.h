#pragma once

#include "jobs/Times.h"
#include "jobs/cut/CutReport.h"
#include "jobs/detect/Lossless.h"
#include "jobs/reports/Documents.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// What several documents are made of.
namespace Tessor::Jobs
{

using Json = nlohmann::ordered_json;

/// With the version of its schema and nothing else.
Json BeginDocument();

/// Pairs of seconds.
Json RangesToJson(const std::vector<Range>& ranges);

/// Adds "moved_bounds" where there are any.
void AddMoved(Json& json, const std::vector<MovedBound>& moved);

/// Null when empty.
Json TextToJson(const std::string& text);

/// "copy", "cut", and for those that are false the packet that showed it.
Json LosslessToJson(const LosslessFinding& finding);

} // namespace Tessor::Jobs
