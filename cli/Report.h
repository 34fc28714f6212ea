#pragma once

#include "cli/Verb.h"
#include "jobs/reports/Documents.h"
#include "jobs/reports/JobReport.h"

#include <concepts>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace Tessor::Cli
{

using Json = nlohmann::ordered_json;

/// Prints what a verb found or did on standard output, as its caller wants it: the document, what `text` prints, or
/// nothing, as where the verb has written media there. With -v the statistics follow. Warnings go to standard error;
/// with a document they are part of it.
void PrintReport(const CommonOptions& common, const std::function<Json()>& document, const std::function<void()>& text,
                 const std::vector<std::string>& warnings = {}, const Jobs::Statistics& statistics = {});

/// The same for the report of a job.
template <std::derived_from<Jobs::JobReport> Report>
void PrintReport(const CommonOptions& common, const Report& report, const std::function<void()>& text)
{
    PrintReport(
        common, [&] { return Jobs::ToJson(report); }, text, report.warnings, report.statistics);
}

} // namespace Tessor::Cli
