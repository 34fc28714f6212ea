#include "jobs/reports/DocumentParts.h"

#include "jobs/reports/PropertyJson.h"

namespace Tessor::Jobs
{

Json BeginDocument()
{
    return {{"schema_version", SCHEMA_VERSION}};
}

Json RangesToJson(const std::vector<Range>& ranges)
{
    Json json = Json::array();
    for (const Range& range : ranges)
        json.push_back({Seconds(range.start), Seconds(range.end)});
    return json;
}

void AddMoved(Json& json, const std::vector<MovedBound>& moved)
{
    for (const MovedBound& bound : moved)
        json["moved_bounds"].push_back({{"asked", Seconds(bound.asked)}, {"kept", Seconds(bound.kept)}});
}

Json TextToJson(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

Json LosslessToJson(const LosslessFinding& finding)
{
    Json json = {{"copy", finding.copying}, {"cut", finding.cutting}};
    if (!finding.copying)
        json["copy_ended_at_packet"] = finding.copyingEnd;
    if (!finding.cutting)
        json["cut_ended_at_packet"] = finding.cuttingEnd;
    return json;
}

Json ToJson(const Statistics& statistics)
{
    Json json = Json::array();
    for (const TrackStatistics& track : statistics)
        json.push_back({{"track", track.track}, {"filters", PropertyToJson(track.filters)}});
    return json;
}

std::string Serialize(const Json& document)
{
    return document.dump(2, ' ', false, Json::error_handler_t::replace);
}

} // namespace Tessor::Jobs
