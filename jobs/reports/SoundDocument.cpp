#include "jobs/reports/DocumentParts.h"
#include "jobs/sound/SoundFile.h"

namespace Tessor::Jobs
{

Json ToJson(const SoundReport& report)
{
    Json json = BeginDocument();
    json["output"] = report.output;
    json["duration"] = Seconds(report.duration);
    json["encoder"] = report.encoder;
    json["sample_rate"] = report.rate;
    json["channels"] = report.channels;
    json["warnings"] = report.warnings;
    json["wall_seconds"] = report.wallSeconds;
    return json;
}

} // namespace Tessor::Jobs
