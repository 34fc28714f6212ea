#include "jobs/cut/CutReport.h"
#include "jobs/reports/DocumentParts.h"

namespace Tessor::Jobs
{

namespace
{

Json TrackToJson(const PlannedTrack& track)
{
    Json json = {{"index", track.index}, {"cut_anywhere", track.cutAnywhere}};
    if (!track.cutAnywhere)
        json["cut_at_key_frames_because"] = track.obstacle;
    return json;
}

Json GroupToJson(const GroupPlan& row)
{
    return {{"track", row.track},
            {"start", Seconds(row.group.start)},
            {"end", Seconds(row.group.end)},
            {"pictures", row.group.pictures.size()},
            {"bytes", row.group.bytes},
            {"open", row.group.IsOpen()},
            {"action", ActionName(row.action)},
            {"copied_pictures", row.copied},
            {"recoded_pictures", row.recoded},
            {"reason", row.reason}};
}

} // namespace

Json ToJson(const PlanReport& report)
{
    Json json = BeginDocument();
    json["input"] = report.input;
    json["intervals"] = RangesToJson(report.intervals);
    AddMoved(json, report.moved);
    json["tracks"] = Json::array();
    for (const PlannedTrack& track : report.tracks)
        json["tracks"].push_back(TrackToJson(track));
    json["groups"] = Json::array();
    for (const GroupPlan& row : report.groups)
        json["groups"].push_back(GroupToJson(row));
    // once more, where it was before tracks had rows of their own
    if (!report.tracks.empty() && !report.tracks.front().obstacle.empty())
        json["cut_at_key_frames_because"] = report.tracks.front().obstacle;
    json["warnings"] = report.warnings;
    return json;
}

} // namespace Tessor::Jobs
