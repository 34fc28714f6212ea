#include "cli/Report.h"

#include "jobs/reports/PropertyJson.h"

#include <fmt/format.h>
#include <iostream>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

/// Of the documents of all verbs, described in docs/.
constexpr int SCHEMA_VERSION = 1;

Json ToJson(const Statistics& statistics)
{
    Json json = Json::array();
    for (const TrackStatistics& track : statistics)
        json.push_back({{"track", track.track}, {"filters", PropertyToJson(track.filters)}});
    return json;
}

} // namespace

void PrintReport(const CommonOptions& common, const std::function<Json()>& document, const std::function<void()>& text,
                 const std::vector<std::string>& warnings, const Statistics& statistics)
{
    if (common.json)
    {
        Json json = {{"schema_version", SCHEMA_VERSION}};
        json.update(document());
        if (common.verbose)
            json["statistics"] = ToJson(statistics);
        std::cout << json.dump(2) << "\n";
        return;
    }
    if (common.quiet)
        return;
    text();
    if (common.verbose)
        std::cout << ToJson(statistics).dump(2) << "\n";
    for (const std::string& warning : warnings)
        fmt::print(stderr, "tessor: warning: {}\n", warning);
}

} // namespace Tessor::Cli
