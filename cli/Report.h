#pragma once

#include "cli/Verb.h"
#include "jobs/reports/Statistics.h"

#include <functional>
#include <nlohmann/json.hpp>

namespace Tessor::Cli
{

using Json = nlohmann::ordered_json;

/// Prints what a verb found or did on standard output, as its caller wants it: the document with the version of its
/// schema in front, what `text` prints, or nothing. With -v the statistics follow. Warnings go to standard error; with
/// a document they are part of it.
void PrintReport(const CommonOptions& common, const std::function<Json()>& document, const std::function<void()>& text,
                 const std::vector<std::string>& warnings = {}, const Jobs::Statistics& statistics = {});

} // namespace Tessor::Cli
