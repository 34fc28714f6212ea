#include "jobs/repack/RepackJob.h"
#include "jobs/reports/DocumentParts.h"

namespace Tessor::Jobs
{

Json ToJson(const RepackReport& report)
{
    Json json = BeginDocument();
    json["input"] = report.input;
    json["output"] = report.output;
    json["duration"] = Seconds(report.duration);
    json["tracks"] = Json::array();
    for (const CopiedTrack& track : report.tracks)
        json["tracks"].push_back(
            {{"index", track.index}, {"kind", track.kind}, {"codec", track.codec}, {"copied_packets", track.packets}});
    json["warnings"] = report.warnings;
    json["wall_seconds"] = report.wallSeconds;
    return json;
}

} // namespace Tessor::Jobs
