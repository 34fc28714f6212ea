#include "jobs/cut/CutReport.h"
#include "jobs/reports/DocumentParts.h"

#include <cmath>

namespace Tessor::Jobs
{

namespace
{

/// JSON knows no infinity: null stands for pictures that are all identical.
Json RatioToJson(double ratio)
{
    return std::isinf(ratio) ? Json(nullptr) : Json(ratio);
}

Json TrackToJson(const TrackReport& track)
{
    Json json = {{"index", track.index},
                 {"kind", track.kind},
                 {"codec", track.codec},
                 {"copied_packets", track.GetCopiedPackets()},
                 {"recoded_packets", track.recodedPackets},
                 {"encoder", TextToJson(track.encoder)},
                 {"recode_seconds", track.recodeSeconds},
                 {"cut_anywhere", track.cutAnywhere}};
    if (!track.cutAnywhere)
        json["cut_at_key_frames_because"] = track.obstacle;
    return json;
}

Json VerdictToJson(const TrackVerdict& track)
{
    Json json = {
        {"index", track.index}, {"kind", track.kind}, {"codec", track.codec}, {"checked", track.unchecked.empty()}};
    if (!track.unchecked.empty())
        json["unchecked_because"] = track.unchecked;
    if (track.pictures)
        json.update({{"expected_pictures", track.pictures->expected},
                     {"output_pictures", track.pictures->found},
                     {"identical_pictures", track.pictures->identical},
                     {"lowest_psnr", RatioToJson(track.pictures->lowestRatio)},
                     {"worst_time_error_ms", track.pictures->worstTimeErrorMs}});
    if (!track.packets)
        return json;
    json.update({{"expected_packets", track.packets->expected},
                 {"output_packets", track.packets->found},
                 {"identical_packets", track.packets->identical}});
    // those of video that are encoded anew are none of the source's, and its pictures are what counts
    if (!track.pictures)
        json.update({{"missing_packets", track.packets->missing},
                     {"doubled_packets", track.packets->doubled},
                     {"misplaced_packets", track.packets->misplaced},
                     {"foreign_packets", track.packets->foreign},
                     {"adjusted_packets", track.packets->adjusted},
                     {"worst_time_error_ms", track.packets->worstTimeErrorMs}});
    return json;
}

Json VerdictToJson(const VerifyReport& report)
{
    const PictureVerdict pictures = report.SumPictures();
    const PacketVerdict packets = report.SumVideoPackets();
    Json json = {{"good", report.IsGood()},
                 {"faults", report.faults},
                 {"expected_pictures", pictures.expected},
                 {"output_pictures", pictures.found},
                 {"identical_pictures", pictures.identical},
                 {"lowest_psnr", RatioToJson(pictures.lowestRatio)},
                 {"worst_time_error_ms", pictures.worstTimeErrorMs},
                 {"video_packets", packets.found},
                 {"identical_video_packets", packets.identical},
                 {"tracks", Json::array()}};
    for (const TrackVerdict& track : report.tracks)
        json["tracks"].push_back(VerdictToJson(track));
    return json;
}

} // namespace

Json ToJson(const CutReport& report)
{
    Json json = BeginDocument();
    json["input"] = report.input;
    json["output"] = report.output;
    json["intervals"] = RangesToJson(report.intervals);
    AddMoved(json, report.moved);
    json["result_duration"] = Seconds(report.resultDuration);
    json["tracks"] = Json::array();
    for (const TrackReport& track : report.tracks)
        json["tracks"].push_back(TrackToJson(track));
    json["warnings"] = report.warnings;
    json["wall_seconds"] = report.wallSeconds;
    if (report.verdict)
        json["verify"] = VerdictToJson(*report.verdict);
    return json;
}

} // namespace Tessor::Jobs
