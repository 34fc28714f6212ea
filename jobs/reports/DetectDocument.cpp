#include "jobs/detect/LosslessJob.h"
#include "jobs/detect/VolumeJob.h"
#include "jobs/reports/DocumentParts.h"

namespace Tessor::Jobs
{

namespace
{

Json BeginDetection(const std::string& input, const char* kind)
{
    Json json = BeginDocument();
    json["input"] = input;
    json["kind"] = kind;
    return json;
}

} // namespace

Json ToJson(const LosslessReport& report)
{
    Json json = BeginDetection(report.input, "lossless");
    json["tracks"] = Json::array();
    for (const LosslessFinding& finding : report.tracks)
    {
        Json row = {
            {"index", finding.track}, {"kind", finding.kind}, {"codec", finding.codec}, {"packets", finding.packets}};
        row.update(LosslessToJson(finding));
        if (!finding.fault.empty())
            row["error"] = finding.fault;
        json["tracks"].push_back(row);
    }
    json["lossless"] = report.IsLossless();
    json["warnings"] = report.warnings;
    return json;
}

Json ToJson(const VolumeReport& report)
{
    Json json = BeginDetection(report.input, "volume");
    const std::optional<double> decibels = report.GetDecibels();
    json["peak"] = report.peak;
    json["peak_db"] = decibels ? Json(*decibels) : Json(nullptr);
    json["low_level"] = report.lowLevel;
    json["warnings"] = report.warnings;
    return json;
}

} // namespace Tessor::Jobs
