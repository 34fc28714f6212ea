#include "jobs/convert/ConvertJob.h"
#include "jobs/reports/DocumentParts.h"

namespace Tessor::Jobs
{

namespace
{

Json TrackToJson(const ConvertTrack& track)
{
    Json json = {{"index", track.index},      {"kind", track.kind},
                 {"codec", track.codec},      {"encoder", TextToJson(track.encoder)},
                 {"items_in", track.itemsIn}, {"items_out", track.itemsOut}};
    if (track.resultRate > 0)
    {
        json["frame_rate_in"] = track.sourceRate;
        json["frame_rate_out"] = track.resultRate;
        json["frames_doubled"] = track.doubled;
        json["frames_dropped"] = track.dropped;
    }
    return json;
}

} // namespace

Json ToJson(const ConvertReport& report)
{
    Json json = BeginDocument();
    json["input"] = report.input;
    json["output"] = report.output;
    if (!report.intervals.empty())
        json["intervals"] = RangesToJson(report.intervals);
    json["duration"] = Seconds(report.duration);
    json["tracks"] = Json::array();
    for (const ConvertTrack& track : report.tracks)
        json["tracks"].push_back(TrackToJson(track));
    json["warnings"] = report.warnings;
    json["wall_seconds"] = report.wallSeconds;
    return json;
}

} // namespace Tessor::Jobs
