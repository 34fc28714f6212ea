#include "jobs/reports/DocumentParts.h"
#include "jobs/split/SplitJob.h"

namespace Tessor::Jobs
{

Json ToJson(const SplitReport& report)
{
    Json json = BeginDocument();
    json["input"] = report.input;
    json["pieces"] = Json::array();
    for (const CutReport& piece : report.pieces)
    {
        Json one = ToJson(piece);
        one.erase("schema_version");
        one.erase("input");
        json["pieces"].push_back(std::move(one));
    }
    json["warnings"] = report.warnings;
    json["wall_seconds"] = report.wallSeconds;
    return json;
}

} // namespace Tessor::Jobs
